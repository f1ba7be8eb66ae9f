// SPDX-License-Identifier: MIT
#include "platform/cobject.h"

const CRuntimeClass CObject::classRecord{"CObject", nullptr, nullptr};

CObject::~CObject() = default;

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass& other) const
{
    for (const CRuntimeClass* record = this; record; record = record->base)
        if (record == &other)
            return true;
    return false;
}
