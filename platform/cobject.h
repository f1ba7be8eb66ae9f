// The root of the class family and its run-time class records.
#pragma once

#include <memory>

class CObject;

// One record a class: its name, its base's record, and how to make an object (null where none can be made).
struct CRuntimeClass {
    const char* name;
    const CRuntimeClass* base;
    CObject* (*create)();

    bool IsDerivedFrom(const CRuntimeClass& other) const;
    CObject* CreateObject() const { return create ? create() : nullptr; } // the caller owns it
};

template <class T>
CObject* CreateObjectOf()
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
    virtual const CRuntimeClass& GetRuntimeClass() const { return classRecord; }
    bool IsKindOf(const CRuntimeClass& record) const { return GetRuntimeClass().IsDerivedFrom(record); }
};

// The object as a T, by its run-time class record; null if it is none or there is no object.
template <class T>
T* DynamicDowncast(CObject* object)
{
    return object && object->IsKindOf(T::classRecord) ? static_cast<T*>(object) : nullptr;
}
