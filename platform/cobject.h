// SPDX-License-Identifier: MIT
// The base class of all classes of the layer, and its run-time class records.
#pragma once

#include <memory>

class CObject;

// The record of a class: its name, the record of its base class, and a function that creates an object. The
// function is null if objects cannot be created from the record.
struct CRuntimeClass {
    const char* name;
    const CRuntimeClass* base;
    CObject* (*create)();

    [[nodiscard]] bool IsDerivedFrom(const CRuntimeClass& other) const;
    // Returns a new object, which the caller owns, or null.
    [[nodiscard]] CObject* CreateObject() const { return create ? create() : nullptr; }
};

template <class T>
[[nodiscard]] CObject* CreateObjectOf()
{
    return new T;
}

class CObject
{
public:
    CObject() = default;
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;
    virtual ~CObject();

    static const CRuntimeClass classRecord;
    [[nodiscard]] virtual const CRuntimeClass& GetRuntimeClass() const { return classRecord; }
    [[nodiscard]] bool IsKindOf(const CRuntimeClass& record) const
    {
        return GetRuntimeClass().IsDerivedFrom(record);
    }
};

// Returns the object as a T, or null if it is null or not of class T by its run-time class record.
template <class T>
[[nodiscard]] T* DynamicDowncast(CObject* object)
{
    return object && object->IsKindOf(T::classRecord) ? static_cast<T*>(object) : nullptr;
}
