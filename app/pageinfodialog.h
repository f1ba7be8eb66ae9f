// SPDX-License-Identifier: MIT
// The Page Information dialog: shows what is known about the open page, and can check the page. Receives the
// document and the unit for lengths.
#pragma once

#include "app/description.h"
#include "app/pagecheck.h"
#include "platform/dialog.h"

#include <chrono>
#include <optional>

class CLumentaDoc;

// Returns what is known about the page. The document must have one. `units` is a result of UnitsFor.
[[nodiscard]] Description DescribePage(const CLumentaDoc& document, int units);

// Returns what a check of this document's page has found: good rows, the first bad row and its message, the
// first suspicious row, and the ink of the page and its zones. If the check was stopped, returns what it had
// found until then.
[[nodiscard]] Description DescribeCheck(const CLumentaDoc& document, const PageCheck& check);

class CPageInformationDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    // The arguments are as for DescribePage.
    CPageInformationDialog(CLumentaDoc* document, int units);

protected:
    bool OnInitDialog() override;
    bool OnWork() override;   // a step of the check
    void OnCancel() override; // stops the check, or closes the dialog if there is no check

    static const MessageMap messages;
    [[nodiscard]] const MessageMap& GetMessageMap() const override { return messages; }

    void OnCheck();

private:
    static const MessageEntry entries[];

    void ShowCheck(); // shows the result of m_check
    void EndCheck();  // deletes m_check

    CLumentaDoc* m_document;
    int m_nUnits;
    std::optional<PageCheck> m_check; // the running check; empty if there is none
    bool m_in_step = false;           // a step of m_check is on the stack, perhaps with a message box
    bool m_stop_requested = false;    // the user has pressed Cancel during this step
    std::chrono::steady_clock::time_point m_progress_shown; // time of the last update of the progress bar
};
