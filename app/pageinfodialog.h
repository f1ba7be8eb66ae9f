// Shows what is known about the open page.
#pragma once

#include "app/description.h"
#include "app/pagecheck.h"
#include "platform/dialog.h"

#include <chrono>
#include <optional>

class CLumentaDoc;

// Of a document with a page, in a unit of UnitsFor.
Description DescribePage(const CLumentaDoc& document, int units);

// Returns what a check of this document's page has found: good rows, the first bad row and its message, the
// first suspicious row, and the ink of the page and its zones. Of a check that was stopped, returns what it
// found until then.
Description DescribeCheck(const CLumentaDoc& document, const PageCheck& check);

class CPageInformationDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CPageInformationDialog(CLumentaDoc* document, int units);

protected:
    bool OnInitDialog() override;
    bool OnWork() override;   // a step of the check
    void OnCancel() override; // stops the check; without a check closes the dialog

    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    void OnCheck();

private:
    static const MessageEntry entries[];

    void ShowCheck();
    void EndCheck();

    CLumentaDoc* m_document;
    int m_nUnits;
    std::optional<PageCheck> m_check; // while it goes on
    std::chrono::steady_clock::time_point m_progress_shown;
};
