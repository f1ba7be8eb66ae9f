#include "app/pageopendialog.h"

#include "app/pageheader.h"

const CRuntimeClass CPageOpenDialog::classRecord{"CPageOpenDialog", &CFileDialog::classRecord, nullptr};

CPageOpenDialog::CPageOpenDialog(const CString& filter) : CFileDialog(filter) {}

// Only a page file has a label; whatever else is selected, or cannot be read, empties the line.
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
