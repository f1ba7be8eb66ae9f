// SPDX-License-Identifier: MIT
#include "platform/messages.h"

const MessageEntry* MessageMap::Find(MessageEntry::Kind kind, UINT id) const
{
    for (const MessageMap* map = this; map; map = map->base)
        for (const MessageEntry& entry : map->entries)
            if (entry.kind == kind && entry.id == id)
                return &entry;
    return nullptr;
}

const CRuntimeClass CCmdTarget::classRecord{"CCmdTarget", &CObject::classRecord, nullptr};
constinit const MessageMap CCmdTarget::messages{nullptr, {}};

bool CCmdTarget::OnCmdMsg(UINT command, CommandStep step, CCmdUI* ui)
{
    const auto kind = step == CommandStep::run ? MessageEntry::Kind::command : MessageEntry::Kind::update;
    const MessageEntry* entry = GetMessageMap().Find(kind, command);
    if (!entry)
        return false;
    entry->invoke(*this, command, PackPointer(ui));
    return true;
}

bool CCmdTarget::HasCommandHandler(UINT command)
{
    return GetMessageMap().Find(MessageEntry::Kind::command, command) != nullptr;
}
