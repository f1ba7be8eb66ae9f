// SPDX-License-Identifier: MIT
#include "platform/resources.h"

const char* ApplicationResources::FindString(UINT id) const
{
    for (const StringResource& resource : strings)
        if (resource.id == id)
            return resource.text;
    return nullptr;
}

const DialogTemplate* ApplicationResources::FindDialog(UINT id) const
{
    for (const DialogTemplate& dialog : dialogs)
        if (dialog.id == id)
            return &dialog;
    return nullptr;
}
