// Asks for a position on the page, in the unit of the read-outs.
#pragma once

#include "app/units.h"
#include "platform/dialog.h"

class CGoToDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CGoToDialog();

    int m_nUnits = kPixels; // of UnitsFor
    int m_nXDpi = 0;
    int m_nYDpi = 0;
    CPoint m_ptPlace; // in pixels: shown at the start; after IDOK what the user chose, neither below 0

protected:
    bool OnInitDialog() override;
    void DoDataExchange(CDataExchange* exchange) override;
};
