// Shows when the program was built, and its version from the program's own file.
#pragma once

#include "platform/dialog.h"

class CAboutDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CAboutDialog();

    CString m_strProgram; // file that the version is read from; the running program's

protected:
    bool OnInitDialog() override;
};
