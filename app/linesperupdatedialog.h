// Asks how many lines of the reduced page to make between two updates of the screen.
#pragma once

#include "platform/dialog.h"

#include <cstdint>

class CLinesPerUpdateDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CLinesPerUpdateDialog();

    int32_t m_nLines = 1; // shown at the start; after IDOK what the user chose, 1 to 0x7fffffff

protected:
    void DoDataExchange(CDataExchange* exchange) override;
};
