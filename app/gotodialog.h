// SPDX-License-Identifier: MIT
// The Go To dialog: asks for a position on the page, in the unit of the status bar. Receives and returns the
// position in page pixels.
#pragma once

#include "app/units.h"
#include "platform/dialog.h"

class CGoToDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CGoToDialog();

    int m_nUnits = kPixels; // the unit, as returned by UnitsFor
    int m_nXDpi = 0;        // dots per inch; not used if the unit is pixels
    int m_nYDpi = 0;
    // In: the position that is shown first, in page pixels. After IDOK: the position that the user chose; the
    // dialog sets no coordinate below 0.
    CPoint m_ptPlace;

protected:
    bool OnInitDialog() override;
    void DoDataExchange(CDataExchange* exchange) override;
};
