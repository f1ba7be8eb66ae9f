// Asks for a page to open, and shows which page the selected file is.
#pragma once

#include "platform/filedialog.h"

class CPageOpenDialog : public CFileDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    explicit CPageOpenDialog(const CString& filter); // see CFileDialog

protected:
    void OnLBSelChangedNotify(UINT list, int index, UINT code) override;
};
