#include "app/aboutdialog.h"

#include "app/dialogids.h"
#include "platform/versionnote.h"

const CRuntimeClass CAboutDialog::classRecord{"CAboutDialog", &CDialog::classRecord, nullptr};

CAboutDialog::CAboutDialog() : CDialog(kAboutDialog), m_strProgram(kOwnProgramFile) {}

bool CAboutDialog::OnInitDialog()
{
    CDialog::OnInitDialog();
    // The compiler takes both from SOURCE_DATE_EPOCH where that is set, so that a build can be repeated.
    SetDlgItemText(kBuildStampText, __TIME__ "  " __DATE__);
    if (const CString version = GetFileVersionText(m_strProgram); !version.IsEmpty())
        SetDlgItemText(kVersionText, version);
    return true;
}
