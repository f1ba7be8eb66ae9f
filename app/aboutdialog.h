// SPDX-License-Identifier: MIT
// The About dialog. It shows the version, which it reads from the program file, and the time of the build.
#pragma once

#include "platform/dialog.h"

class CAboutDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CAboutDialog();

    // The program file whose version is shown; by default that of the running program. If it has no version,
    // the dialog shows the version that its template contains.
    CString m_strProgram;

protected:
    bool OnInitDialog() override;
};
