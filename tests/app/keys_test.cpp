// SPDX-License-Identifier: MIT
// The list of keys. It must agree with the tables of docs/MANUAL.md and with the menus.
#include "app/dialogids.h"
#include "app/keysdialog.h"
#include "app/lumentaresources.h"
#include "tests/app/window_fixture.h"

#include <fstream>

namespace
{
using Lines = std::vector<std::string>;

// Returns the rows of the tables under "Menus" and "Keys and mouse", without the heads.
Lines TableRows()
{
    std::ifstream file(LUMENTA_MANUAL);
    Lines rows;
    bool inside = false;
    std::string before;
    for (std::string line; std::getline(file, line); before = line) {
        if (line.starts_with('#'))
            inside = line == "## Menus" || line == "## Keys and mouse";
        if (!inside || !line.starts_with('|'))
            continue;
        if (line.starts_with("|---"))
            rows.pop_back(); // the head of this table
        else
            rows.push_back(line);
    }
    return rows;
}

// Returns the start of each row that the manual must have: one per menu item and one per other action. If a
// menu item has dots instead of keys, the dots are part of its name.
Lines WantedRows()
{
    Lines wanted;
    for (const PopupMenu& menu : kLumentaResources.menus)
        for (const MenuItem& item : menu.items) {
            if (item.command == ID_SEPARATOR)
                continue;
            std::string row = std::string{"| "} + menu.text + " | " + item.text;
            std::erase(row, '&');
            const size_t tab = row.find('\t');
            const std::string keys = tab == std::string::npos ? "" : row.substr(tab + 1);
            row.resize(std::min(tab, row.size()));
            row += keys.empty() ? " | |" : keys == "..." ? " ... | |" : " | ";
            if (!row.ends_with('|'))
                row.append(keys).append(" |");
            wanted.push_back(row);
        }
    for (const KeyAction& action : kKeyActions)
        wanted.push_back(std::string{"| "} + action.keys + " | " + action.action + " |");
    return wanted;
}

TEST(Keys, EqualTheTablesOfTheManual)
{
    const Lines rows = TableRows();
    const Lines wanted = WantedRows();
    for (const std::string& row : wanted)
        EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](const auto& r) { return r.starts_with(row); }))
            << "docs/MANUAL.md has no row that begins with: " << row;
    for (const std::string& row : rows)
        EXPECT_TRUE(
            std::any_of(wanted.begin(), wanted.end(), [&](const auto& w) { return row.starts_with(w); }))
            << "no menu and no kKeyActions entry has this row of docs/MANUAL.md: " << row;
}

TEST(Keys, ShownInAMenuAreAccelerators)
{
    for (const PopupMenu& menu : kLumentaResources.menus)
        for (const MenuItem& item : menu.items) {
            const std::string text = item.text;
            const size_t tab = text.find('\t');
            if (tab == std::string::npos || text.substr(tab + 1) == "...")
                continue;
            EXPECT_TRUE(std::any_of(kLumentaResources.accelerators.begin(),
                                    kLumentaResources.accelerators.end(),
                                    [&](const Accelerator& a) {
                                        return a.command == item.command && text.substr(tab + 1) == a.keys;
                                    }))
                << text;
        }
}

TEST_F(AppWindowTest, TheKeysAreShownByF1)
{
    Start();
    std::string text;
    SetDialogHook([&](CDialog& dialog) { text = dialog.GetDlgItemText(kKeysText).c_str(); });
    PressAccelerator(*frame, "F1");
    for (const char* const line :
         {"F1\tKeys...", "Ctrl+Q\tExit", "Ctrl+Alt+P\tPrevious Page", "wheel\t48 screen pixels"})
        EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
}
} // namespace
