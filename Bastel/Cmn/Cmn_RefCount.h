// Cmn_RefCountObject: an object that lives as long as someone refers to it.
//
// Threads:   the count is atomic; the object's own data is its class's business.
// Ownership: created with a count of 0, deleted when the last Cmn_RefCountPtr lets go.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <atomic>
#include <utility>

class KORA_API Cmn_RefCountObject
{
public:
    Cmn_RefCountObject() = default;
    // A copy is an object of its own: nobody refers to it yet.
    Cmn_RefCountObject(const Cmn_RefCountObject&) {}
    Cmn_RefCountObject& operator=(const Cmn_RefCountObject&) { return *this; }

    void AddRef() const { mCount.fetch_add(1, std::memory_order_relaxed); }
    // Deletes the object at 0; asserts "mCount > 0" when nobody held it.
    void Release() const;
    Cmn_Int32 GetRefCount() const { return mCount.load(std::memory_order_relaxed); }

protected:
    virtual ~Cmn_RefCountObject();

private:
    mutable std::atomic<Cmn_Int32> mCount{0};
};

template <class T>
class Cmn_RefCountPtr
{
public:
    Cmn_RefCountPtr() = default;
    Cmn_RefCountPtr(T* iObject)
        : mObject(iObject)
    {
        if (mObject != nullptr) mObject->AddRef();
    }
    Cmn_RefCountPtr(const Cmn_RefCountPtr& iOther)
        : Cmn_RefCountPtr(iOther.mObject)
    {
    }
    Cmn_RefCountPtr(Cmn_RefCountPtr&& ioOther) noexcept
        : mObject(std::exchange(ioOther.mObject, nullptr))
    {
    }
    Cmn_RefCountPtr& operator=(Cmn_RefCountPtr iOther) noexcept
    {
        std::swap(mObject, iOther.mObject);
        return *this;
    }
    ~Cmn_RefCountPtr()
    {
        if (mObject != nullptr) mObject->Release();
    }

    T* get() const { return mObject; }
    T& operator*() const { return *mObject; }
    T* operator->() const { return mObject; }
    explicit operator bool() const { return mObject != nullptr; }
    bool operator==(const Cmn_RefCountPtr&) const = default;

private:
    T* mObject = nullptr;
};
