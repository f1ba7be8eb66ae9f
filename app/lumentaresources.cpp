// SPDX-License-Identifier: MIT
#include "app/lumentaresources.h"

#include "app/dialogids.h"
#include "app/usermsg.h"
#include "platform/dialog.h"

namespace
{
constexpr MenuItem kFileMenu[] = {
    {"&Open...\tCtrl+O", ID_FILE_OPEN},
    {"Open Multiple...\tCtrl+M", kOpenMultipleCommand},
    {"", ID_SEPARATOR},
    {"&Print...\tCtrl+P", ID_FILE_PRINT},
    {"P&rint Setup...", ID_FILE_PRINT_SETUP},
    {"", ID_SEPARATOR},
    {"E&xit", ID_APP_EXIT},
    {"", ID_SEPARATOR},
    {"Print Pre&view...", ID_FILE_PRINT_PREVIEW},
};

constexpr MenuItem kViewMenu[] = {
    {"&Scaled Page\tCtrl+Alt+S", kScaledPageCommand},
    {"&Next Page\tCtrl+Alt+N", kNextPageCommand},
    {"Lines per update\t...", kLinesPerUpdateCommand},
    {"", ID_SEPARATOR},
    {"&Inches", kInchesCommand},
    {"&Millimeters", kMillimetersCommand},
    {"&Pixels", kPixelsCommand},
    {"P&oints", kPointsCommand},
    {"", ID_SEPARATOR},
    {"P&revious Page\tCtrl+Alt+P", kPreviousPageCommand},
    {"&Keep Place", kKeepPlaceCommand},
    {"&Clear List", kClearListCommand},
    {"", ID_SEPARATOR},
    {"&Go To...\tCtrl+G", kGoToCommand},
    {"Page In&formation...\tCtrl+I", kPageInformationCommand},
    {"", ID_SEPARATOR},
    {"Re&load\tF5", kReloadCommand},
    {"F&ull Screen\tF11", kFullScreenCommand},
    {"Close O&verview\tCtrl+W", kCloseOverviewCommand},
};

constexpr MenuItem kHelpMenu[] = {
    {"&About LUMENTA...", ID_APP_ABOUT},
    {"&Keys...\tF1", kKeysCommand},
};

constexpr PopupMenu kMenus[] = {
    {"&File", kFileMenu},
    {"&View", kViewMenu},
    {"&Help", kHelpMenu},
};

constexpr Accelerator kAccelerators[] = {
    {"Ctrl+O", ID_FILE_OPEN},
    {"Ctrl+M", kOpenMultipleCommand},
    {"Ctrl+P", ID_FILE_PRINT},
    {"Ctrl+Q", ID_APP_EXIT},
    {"Ctrl+Alt+S", kScaledPageCommand},
    {"Ctrl+Alt+N", kNextPageCommand},
    {"Ctrl+Alt+P", kPreviousPageCommand},
    {"Ctrl+G", kGoToCommand},
    {"Ctrl+I", kPageInformationCommand},
    {"F5", kReloadCommand},
    {"F11", kFullScreenCommand},
    {"Escape", kFullScreenCommand, true},
    {"Ctrl+W", kCloseOverviewCommand},
    {"F1", kKeysCommand},
};

constexpr StringResource kStrings[] = {
    {kFrameResource, "LUMENTA\n\nPAGE Document\nPage Files(*.fax)\n.fax\nTessaraPage\nVestrel Tessara Page"},
    {AFX_IDS_APP_TITLE, "LUMENTA"},
    {AFX_IDS_IDLEMESSAGE, "Ready"},

    // The length of each text sets the width of its status pane.
    {kPositionIndicator, "left=123456 top=123456"},
    {kSizeIndicator, "width=123456 depth=123456"},
    {kResolutionIndicator, "Res  X=1234 Y=1234"},

    // Prompts: the message field shows them while the entry is highlighted in the menu.
    {ID_FILE_OPEN, "Open a page file"},
    {ID_FILE_PRINT, "Print the page"},
    {ID_FILE_PRINT_SETUP, "Choose printer, paper and orientation"},
    {ID_FILE_PRINT_PREVIEW, "Show the page as it will be printed"},
    {ID_APP_EXIT, "Close the window and end the program"},
    {ID_APP_ABOUT, "Display program information and version"},
    {kScaledPageCommand, "Displayes reduced scale view of current page"},
    {kInchesCommand, "Display size and position in inches"},
    {kMillimetersCommand, "Display size and positions in millimeters"},
    {kPixelsCommand, "Display size and position in pixels"},
    {kPointsCommand, "Display size and position in points"},
    {kOpenMultipleCommand, "Select multiple pages for viewing"},
    {kNextPageCommand, "Display next selected page"},
    {kLinesPerUpdateCommand, "Number of lines to scale before updating screen"},
    {kPreviousPageCommand, "Display previous selected page"},
    {kKeepPlaceCommand, "Show the next page at the same place if it has the same size"},
    {kClearListCommand, "Remove all pages from the list"},
    {kPageInformationCommand, "Show information about the page, and check it"},
    {kGoToCommand, "Go to a position on the page"},
    {kReloadCommand, "Read the file of the page again and stay at the same place"},
    {kFullScreenCommand, "Let the page fill the whole screen"},
    {kCloseOverviewCommand, "Close the overview of the page"},
    {kKeysCommand, "List what keys and mouse buttons do"},
};

constexpr CursorResource kCursors[] = {
    {kDragCursor, CursorShape::fourHeadedArrow},
};

constexpr const char* kPageTypes[] = {"Low Res (*.low)", "TIFF (*.tif)", "Fax (*.fax)", "All (*.*)"};

constexpr DialogItem kAboutItems[] = {
    {.kind = DialogItemKind::icon, .id = kAboutIcon},
    {.kind = DialogItemKind::label, .text = "LUMENTA Bitmap Viewer"},
    {.kind = DialogItemKind::label, .text = "Version"},
    {.kind = DialogItemKind::label, .beside = true, .id = kVersionText, .text = "1.2.1.0"},
    {.kind = DialogItemKind::label, .beside = true, .id = kCommitText},
    {.kind = DialogItemKind::label, .id = kBuildStampText},
    {.kind = DialogItemKind::defaultButton, .id = IDOK, .text = "OK"},
};

constexpr DialogItem kOpenMultipleItems[] = {
    {.kind = DialogItemKind::label, .text = "&File list for:"},
    {.kind = DialogItemKind::path, .id = kDirectoryText},
    {.kind = DialogItemKind::list, .id = kPageList},
    {.kind = DialogItemKind::label, .text = "Display files of &type:"},
    {.kind = DialogItemKind::combo, .id = kTypeBox, .entries = kPageTypes},
    {.kind = DialogItemKind::check, .id = kShowViewedBox, .text = "&Display previously viewed pages"},
    {.kind = DialogItemKind::check, .id = kMarkViewedBox, .text = "&Mark viewed pages"},
    {.kind = DialogItemKind::defaultButton, .id = IDOK, .text = "OK"},
    {.kind = DialogItemKind::button, .id = IDCANCEL, .text = "Cancel"},
};

constexpr DialogItem kLinesPerUpdateItems[] = {
    {.kind = DialogItemKind::label, .text = "Maximum number of lines to scale between screen updates:"},
    {.kind = DialogItemKind::number, .id = kLinesControl},
    {.kind = DialogItemKind::defaultButton, .id = IDOK, .text = "OK"},
    {.kind = DialogItemKind::button, .id = IDCANCEL, .text = "Cancel"},
};

constexpr DialogItem kInformationItems[] = {
    {.kind = DialogItemKind::label, .text = "&Page:"},
    {.kind = DialogItemKind::text, .id = kPageText},
    {.kind = DialogItemKind::progress, .id = kCheckProgress, .text = "Progress of the check"},
    {.kind = DialogItemKind::label, .text = "&Result of the check:"},
    {.kind = DialogItemKind::text, .id = kCheckText, .lines = 10},
    {.kind = DialogItemKind::bars, .id = kCheckBars, .text = "Ink coverage across the page"},
    {.kind = DialogItemKind::button, .id = kCheckButton, .text = "&Check"},
    {.kind = DialogItemKind::defaultButton, .id = IDCANCEL, .text = "Close"},
};

constexpr DialogItem kKeysItems[] = {
    {.kind = DialogItemKind::label, .text = "&Keys and mouse actions:"},
    {.kind = DialogItemKind::text, .id = kKeysText},
    {.kind = DialogItemKind::defaultButton, .id = IDCANCEL, .text = "Close"},
};

constexpr DialogItem kGoToItems[] = {
    {.kind = DialogItemKind::label, .id = kGoToUnitText},
    {.kind = DialogItemKind::label, .text = "&X, from the left edge:"},
    {.kind = DialogItemKind::number, .beside = true, .id = kGoToX},
    {.kind = DialogItemKind::label, .text = "&Y, from the top edge:"},
    {.kind = DialogItemKind::number, .beside = true, .id = kGoToY},
    {.kind = DialogItemKind::defaultButton, .id = IDOK, .text = "OK"},
    {.kind = DialogItemKind::button, .id = IDCANCEL, .text = "Cancel"},
};

constexpr DialogTemplate kDialogs[] = {
    {kAboutDialog, "About LUMENTA", kAboutItems},
    {kOpenMultipleDialog, "Open Multiple", kOpenMultipleItems},
    {kLinesPerUpdateDialog, "Lines per update", kLinesPerUpdateItems},
    {kInformationDialog, "Page Information", kInformationItems},
    {kGoToDialog, "Go To", kGoToItems},
    {kKeysDialog, "Keys", kKeysItems},
};

// The icon, in XPM form: a sheet with lines of text and a halftone picture.
constexpr const char* kIcon[] = {
    "32 32 4 1", "  c None", ". c #303030", "+ c #ffffff", "o c #b8b8b8",
    // clang-format off
    "                                ",
    "                                ",
    "     ................           ",
    "     .++++++++++++++..          ",
    "     .++++++++++++++.o.         ",
    "     .++++++++++++++.oo.        ",
    "     .++++++++++++++.ooo.       ",
    "     .++++++++++++++.oooo.      ",
    "     .++++++++++++++.......     ",
    "     .++++++++++++++++++++.     ",
    "     .++++++++++++++++++++.     ",
    "     .++................++.     ",
    "     .++++++++++++++++++++.     ",
    "     .++..............++++.     ",
    "     .++++++++++++++++++++.     ",
    "     .++................++.     ",
    "     .++++++++++++++++++++.     ",
    "     .++........+o.o.o.o++.     ",
    "     .+++++++++++.o.o.o.++.     ",
    "     .++........+o.o.o.o++.     ",
    "     .+++++++++++.o.o.o.++.     ",
    "     .++........+o.o.o.o++.     ",
    "     .+++++++++++.o.o.o.++.     ",
    "     .++........+o.o.o.o++.     ",
    "     .++++++++++++++++++++.     ",
    "     .++...............+++.     ",
    "     .++++++++++++++++++++.     ",
    "     .++++++++++++++++++++.     ",
    "     .++++++++++++++++++++.     ",
    "     ......................     ",
    "                                ",
    "                                ",
    // clang-format on
};
} // namespace

constinit const ApplicationResources kLumentaResources{
    .frame = kFrameResource,
    .menus = kMenus,
    .accelerators = kAccelerators,
    .strings = kStrings,
    .cursors = kCursors,
    .icon = kIcon,
    .dialogs = kDialogs,
    .desktop_entry = "com.vestrel.Lumenta",
};
