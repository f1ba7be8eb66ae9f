// SPDX-License-Identifier: MIT
#include "app/pageopendialog.h"

#include "app/pageheader.h"

const CRuntimeClass CPageOpenDialog::classRecord{"CPageOpenDialog", &CFileDialog::classRecord, nullptr};

CPageOpenDialog::CPageOpenDialog(const CString& filter) : CFileDialog(filter) {}

// Shows the label of the selected page file. If anything else is selected or the file cannot be read, the
// line is empty.
void CPageOpenDialog::OnLBSelChangedNotify(UINT list, int index, UINT code)
{
    if (list == kFileDialogDirectories && GetCurSel(kFileDialogFiles) < 0)
        SetDlgItemText(kFileDialogLabel, {});
    if (list != kFileDialogFiles || code != CD_LBSELCHANGE)
        return;
    CString label;
    PageHeader header;
    if (header.ReadFromPath(GetEntryText(index)) == 0)
        label = CString("Page name: ") + FormatPageLabel(header.JobName, header.PageNumber, header.Layer);
    SetDlgItemText(kFileDialogLabel, label);
}
