// SPDX-License-Identifier: MIT
// The constant data of an application: menus, accelerators, texts, cursors, icon, dialogs. The application
// defines them. This layer makes its menus and dialogs from them.
#pragma once

#include "platform/types.h"

#include <span>

struct MenuItem {
    const char* text; // with & before the access letter; the keys to show are after a tab
    UINT command;     // 0: a separator
};

struct PopupMenu {
    const char* text;
    std::span<const MenuItem> items;
};

struct Accelerator {
    const char* keys; // for example "Ctrl+Alt+S"
    UINT command;
    bool full_screen_only = false; // only in the main window, while that fills the screen
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

// Kinds of items of a dialog. A label belongs to the next item that can have the focus. The label's access
// letter moves the focus to this item. The label's text, without access mark and colon, is the item's
// accessible name. The accessible name of a progress bar or chart is its own text.
enum class DialogItemKind : uint8_t {
    label,
    path, // one line, cut in the middle if it is too long; the tool tip then shows the whole text
    number,
    list,  // sorted, with extended multiple selection
    combo, // drop-down list, sorted
    check,
    text,     // rows of names and values, whose text can be selected
    progress, // in percent
    bars,     // a bar chart
    icon,     // the application's icon, at the left of all other items
    defaultButton,
    button // the buttons are in one row at the bottom, in the desktop's order
};

struct DialogItem {
    DialogItemKind kind;
    bool beside = false;                       // on the same line as the item before
    UINT id = 0;                               // 0: a label that the program never accesses
    const char* text = "";                     // with & before the access letter
    std::span<const char* const> entries = {}; // initial entries of a combo box
    // Height of a text item in lines of text. If 0, the item grows with the dialog.
    int lines = 0;
};

// A dialog from top to bottom. Qt computes the layout from the texts, the font and the screen.
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
    // Name of the installed desktop entry, without ".desktop", or null. A Wayland desktop finds the name and
    // the icon of the application by it.
    const char* desktop_entry = nullptr;

    [[nodiscard]] const char* FindString(UINT id) const;           // null if there is none
    [[nodiscard]] const DialogTemplate* FindDialog(UINT id) const; // null if there is none
};

// Command numbers that the layer uses.
constexpr UINT ID_FILE_OPEN = 57601;
constexpr UINT ID_FILE_PRINT_SETUP = 57606;
constexpr UINT ID_FILE_PRINT = 57607;
constexpr UINT ID_FILE_PRINT_PREVIEW = 57609;
constexpr UINT ID_APP_ABOUT = 57664;
constexpr UINT ID_APP_EXIT = 57665;
constexpr UINT ID_SEPARATOR = 0;

constexpr UINT AFX_IDS_APP_TITLE = 57344;
constexpr UINT AFX_IDS_IDLEMESSAGE = 57345;
constexpr UINT AFX_IDW_PANE_FIRST = 0xe900;
