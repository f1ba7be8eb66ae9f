// What an application brings along as constant data: menus, accelerators, texts, cursors, icon.
#pragma once

#include "platform/types.h"

#include <span>

struct MenuItem {
    const char* text; // with & before the access letter and, behind a tab, the keys to show
    UINT command;     // 0: a separator
};

struct PopupMenu {
    const char* text;
    std::span<const MenuItem> items;
};

struct Accelerator {
    const char* keys; // as "Ctrl+Alt+S"
    UINT command;
    bool full_screen_only = false; // in the main window alone, while that fills the screen
};

struct StringResource {
    UINT id;
    const char* text;
};

enum class CursorShape : uint8_t { arrow, fourHeadedArrow };

struct CursorResource {
    UINT id;
    CursorShape shape;
};

// Kinds of items of a dialog. A label leads to the next item that takes keys: that has its access letter and,
// without access mark and colon, its name for those who cannot see. A progress bar and a chart have their own
// text as that name.
enum class DialogItemKind : uint8_t {
    label,
    path, // one line, cut in the middle where it is too long; then it has the whole text as its tool tip
    number,
    list,  // sorted, with extended multiple selection
    combo, // drop-down list, sorted
    check,
    text,     // rows of names and values, to be selected and copied; lines: its height, 0: it grows
    progress, // of 100
    bars,     // a bar chart
    icon,     // the application's, at the left of all else
    defaultButton,
    button // the buttons stand in one row at the foot, in the desktop's order
};

struct DialogItem {
    DialogItemKind kind;
    bool beside = false;                       // on the line of the item before
    UINT id = 0;                               // 0: a label that nobody asks for
    const char* text = "";                     // with & before the access letter
    std::span<const char* const> entries = {}; // of a combo box at its start
    int lines = 0;
};

// A dialog from top to bottom. The toolkit lays the items out for their texts, the font and the screen.
struct DialogTemplate {
    UINT id;
    const char* title;
    std::span<const DialogItem> items;
};

struct ApplicationResources {
    UINT frame; // number of the menu, the accelerators and the frame's icon
    std::span<const PopupMenu> menus;
    std::span<const Accelerator> accelerators;
    std::span<const StringResource> strings; // prompts by command number, indicators, titles
    std::span<const CursorResource> cursors;
    const char* const* icon; // an XPM picture, or null
    std::span<const DialogTemplate> dialogs = {};

    const char* FindString(UINT id) const;           // null if there is none
    const DialogTemplate* FindDialog(UINT id) const; // null if there is none
};

// Command numbers of the layer.
constexpr UINT ID_FILE_OPEN = 57601;
constexpr UINT ID_FILE_PRINT_SETUP = 57606;
constexpr UINT ID_FILE_PRINT = 57607;
constexpr UINT ID_FILE_PRINT_PREVIEW = 57609;
constexpr UINT ID_APP_ABOUT = 57664;
constexpr UINT ID_APP_EXIT = 57665;
constexpr UINT ID_SEPARATOR = 0;

constexpr UINT AFX_IDS_APP_TITLE = 57344;
constexpr UINT AFX_IDS_IDLEMESSAGE = 57345;
constexpr UINT AFX_IDW_STATUS_BAR = 59393;
constexpr UINT AFX_IDW_PANE_FIRST = 0xe900;
