// Shows what is known about the open page.
#pragma once

#include "app/description.h"
#include "platform/dialog.h"

class CLumentaDoc;

// Of a document with a page, in a unit of UnitsFor.
Description DescribePage(const CLumentaDoc& document, int units);

class CPageInformationDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CPageInformationDialog(CLumentaDoc* document, int units);

protected:
    bool OnInitDialog() override;

private:
    CLumentaDoc* m_document;
    int m_nUnits;
};
