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

// What a check has found: good rows, the first bad row, and the ink of the page and its zones.
Description DescribeCheck(const PageCheck& check, int32_t rows);

class CPageInformationDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CPageInformationDialog(CLumentaDoc* document, int units);

protected:
    bool OnInitDialog() override;
    bool OnWork() override; // a step of the check

    static const MessageMap messages;
    const MessageMap& GetMessageMap() const override { return messages; }

    void OnCheck();

private:
    static const MessageEntry entries[];

    void ShowCheck();

    CLumentaDoc* m_document;
    int m_nUnits;
    std::optional<PageCheck> m_check; // while it goes on
    std::chrono::steady_clock::time_point m_progress_shown;
};
