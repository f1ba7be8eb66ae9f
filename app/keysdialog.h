// Shows what keys and mouse buttons do.
#pragma once

#include "platform/dialog.h"

#include <span>
#include <vector>

// Keys and mouse actions that are not in a menu.
struct KeyAction {
    const char* keys;
    const char* action;
};
extern const std::span<const KeyAction> kKeyActions;

// The keys of the menu entries, then kKeyActions.
std::vector<NamedText> ListKeys();

class CKeysDialog : public CDialog
{
public:
    static const CRuntimeClass classRecord;
    const CRuntimeClass& GetRuntimeClass() const override { return classRecord; }

    CKeysDialog();

protected:
    bool OnInitDialog() override;
};
