// SPDX-License-Identifier: MIT
#include "app/linesperupdatedialog.h"

#include "app/dialogids.h"

const CRuntimeClass CLinesPerUpdateDialog::classRecord{"CLinesPerUpdateDialog", &CDialog::classRecord,
                                                       nullptr};

CLinesPerUpdateDialog::CLinesPerUpdateDialog() : CDialog(kLinesPerUpdateDialog) {}

void CLinesPerUpdateDialog::DoDataExchange(CDataExchange* exchange)
{
    CDialog::DoDataExchange(exchange);
    DDX_Number(exchange, kLinesControl, m_nLines, 1, INT32_MAX);
}
