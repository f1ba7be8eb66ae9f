// SPDX-License-Identifier: MIT
// The Lines per update dialog: asks how many lines of the reduced picture are made between two updates of the
// screen. CLumentaDoc passes the number and stores the new one.
#pragma once

#include "platform/dialog.h"

#include <cstdint>

class CLinesPerUpdateDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLinesPerUpdateDialog();

    // In: the number that is shown first. After IDOK: the number that the user chose, 1 to INT32_MAX.
    int32_t m_nLines = 1;

protected:
    void DoDataExchange(CDataExchange* exchange) override;
};
