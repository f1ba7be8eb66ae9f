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

struct ApplicationResources {
    UINT frame; // number of the menu, the accelerators and the frame's icon
    std::span<const PopupMenu> menus;
    std::span<const Accelerator> accelerators;
    std::span<const StringResource> strings; // prompts by command number, indicators, titles
    std::span<const CursorResource> cursors;
    const char* const* icon; // an XPM picture, or null

    const char* FindString(UINT id) const; // null if there is none
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
