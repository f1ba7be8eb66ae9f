// SPDX-License-Identifier: MIT
// The Open dialog: asks for a page file, and shows the page label of the selected file.
#pragma once

#include "platform/filedialog.h"

class CPageOpenDialog : public CFileDialog
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    explicit CPageOpenDialog(const CString& filter); // see CFileDialog

protected:
    void OnLBSelChangedNotify(UINT list, int index, UINT code) override;
};
