// SPDX-License-Identifier: MIT
#include "app/aboutdialog.h"

#include "app/dialogids.h"
#include "app/programversion.h"
#include "platform/versionnote.h"

const CRuntimeClass CAboutDialog::classRecord{"CAboutDialog", &CDialog::classRecord, nullptr};

CAboutDialog::CAboutDialog() : CDialog(kAboutDialog), m_strProgram(kOwnProgramFile) {}

bool CAboutDialog::OnInitDialog()
{
    CDialog::OnInitDialog();
    SetDlgItemText(kBuildStampText, kBuildStamp);
    SetDlgItemText(kCommitText, kLumentaCommit);
    if (const CString version = GetFileVersionText(m_strProgram); !version.IsEmpty())
        SetDlgItemText(kVersionText, version);
    return true;
}
