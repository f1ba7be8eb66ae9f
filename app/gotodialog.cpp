// SPDX-License-Identifier: MIT
#include "app/gotodialog.h"

#include "app/dialogids.h"

namespace
{
// Exchanges a number of pixels with a field, which shows it as a length in the unit. The shown length is
// rounded. So if the user has not changed the text, `pixels` is not computed from it.
void DDX_Length(CDataExchange* exchange, UINT id, int& pixels, int units, int dpi)
{
    const CString before = FormatExact(pixels, units, dpi);
    CString text = before;
    DDX_Text(exchange, id, text);
    if (exchange->HasFailed() || text == before)
        return;
    if (const std::optional<double> value = ParseDecimal(text))
        pixels = UnitsToPixels(*value, units, dpi);
    else
        exchange->Fail(id, "Enter a number.");
}
} // namespace

const CRuntimeClass CGoToDialog::classRecord{"CGoToDialog", &CDialog::classRecord, nullptr};

CGoToDialog::CGoToDialog() : CDialog(kGoToDialog) {}

bool CGoToDialog::OnInitDialog()
{
    CDialog::OnInitDialog();
    CString text;
    text.Format("Middle of the window, in %s:", UnitName(m_nUnits));
    SetDlgItemText(kGoToUnitText, text);
    return true;
}

void CGoToDialog::DoDataExchange(CDataExchange* exchange)
{
    CDialog::DoDataExchange(exchange);
    DDX_Length(exchange, kGoToX, m_ptPlace.x, m_nUnits, m_nXDpi);
    DDX_Length(exchange, kGoToY, m_ptPlace.y, m_nUnits, m_nYDpi);
}
