// SPDX-License-Identifier: MIT
// The Keys dialog: lists the keys and mouse actions. Those of the menu entries come from
// lumentaresources.cpp.
#pragma once

#include "platform/dialog.h"

#include <span>
#include <vector>

// A key or mouse action that has no menu entry.
struct KeyAction {
    const char* keys;
    const char* action;
};
extern const std::span<const KeyAction> kKeyActions;

// Returns the rows of the dialog: the keys of the menu entries, then kKeyActions.
[[nodiscard]] std::vector<NamedText> ListKeys();

class CKeysDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    [[nodiscard]] const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CKeysDialog();

protected:
    bool OnInitDialog() override;
};
