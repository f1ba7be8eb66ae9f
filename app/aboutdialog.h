// The About dialog: shows the program's version and when it was built.
#pragma once

#include "platform/dialog.h"

class CAboutDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CAboutDialog();

    // The program file whose version is shown; by default that of the running program. If it has no version,
    // the dialog shows the version that its template contains.
    CString m_strProgram;

protected:
    bool OnInitDialog() override;
};
