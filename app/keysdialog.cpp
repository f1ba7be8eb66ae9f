// SPDX-License-Identifier: MIT
#include "app/keysdialog.h"

#include "app/dialogids.h"
#include "app/lumentaresources.h"

#include <algorithm>
#include <string>

namespace
{
// Keys and mouse actions that are not in the accelerator table. docs/MANUAL.md has a row for each entry. A
// test compares the two lists.
constexpr KeyAction kActions[] = {
    {"Left, Right", "one pixel sideways; with Ctrl one window"},
    {"Up, Down", "one pixel up or down; with Ctrl one window"},
    {"Page Up, Page Down", "one window up or down"},
    {"Home, End", "to the left or right edge; with Ctrl to the top or bottom"},
    {"Escape", "stops measuring, long work and the reduction in the overview; in the main window also ends "
               "the full screen"},
    {"left button, drag", "the page follows the pointer"},
    {"right button, drag", "draws a line; the message field shows its length"},
    {"right button, double click", "next page of the list"},
    {"back and forward buttons", "previous and next page of the list"},
    {"wheel", "48 screen pixels per notch; with Shift sideways"},
    {"left button in the overview", "brings that place to the middle of the window"},
    {"left button, drag in an overview that fits its window", "keeps moving the page"},
    {"files dropped on a window",
     "opens the first and adds the others to the list of pages; local files only"},
};

// Returns the name of a menu entry. `text` is the text in the menu: the name, in which "&" precedes the
// access key, and then a tab and the keys.
std::string EntryName(const char* text)
{
    std::string name = text;
    name.resize(std::min(name.find('\t'), name.size()));
    std::erase(name, '&');
    return name;
}
} // namespace

const std::span<const KeyAction> kKeyActions = kActions;

std::vector<NamedText> ListKeys()
{
    std::vector<NamedText> rows;
    for (const PopupMenu& menu : kLumentaResources.menus)
        for (const MenuItem& item : menu.items)
            for (const Accelerator& accelerator : kLumentaResources.accelerators)
                if (accelerator.command == item.command && !accelerator.full_screen_only)
                    rows.push_back({accelerator.keys, CString{EntryName(item.text)}});
    for (const KeyAction& action : kActions)
        rows.push_back({action.keys, action.action});
    return rows;
}

const CRuntimeClass CKeysDialog::classRecord{"CKeysDialog", &CDialog::classRecord, nullptr};

CKeysDialog::CKeysDialog() : CDialog(kKeysDialog) {}

bool CKeysDialog::OnInitDialog()
{
    CDialog::OnInitDialog();
    SetDlgItemRows(kKeysText, ListKeys());
    return true;
}
