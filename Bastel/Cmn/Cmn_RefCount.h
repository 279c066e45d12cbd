// Cmn_RefCountObject: an object that lives as long as someone refers to it; Cmn_RefCountPtr: such a
// reference; Cmn_AliasedRefCountPtr: one that keeps an object alive and points to a part of it.
//
// Threads:   the count is atomic, so references may be taken and let go on any thread; what each thread did
//            through its reference happens before the object is deleted. The object's own data is its class's
//            business, and so is one Cmn_RefCountPtr used by two threads.
// Ownership: created with a count of 0 by new, deleted when the last reference lets go. The count is inside,
//            so a plain pointer can become a reference again at any time.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <atomic>
#include <cstddef>
#include <type_traits>
#include <utility>

class KORA_API Cmn_RefCountObject
{
public:
    Cmn_RefCountObject() = default;
    // A copy is an object of its own: nobody refers to it yet.
    Cmn_RefCountObject(const Cmn_RefCountObject&) {}
    Cmn_RefCountObject& operator=(const Cmn_RefCountObject&) { return *this; }

    // Relaxed: who adds a reference has one already, or is the only one to know the object.
    void AddRef() const { mCount.fetch_add(1, std::memory_order_relaxed); }
    // Deletes the object at 0; asserts "mCount > 0" and changes nothing when nobody held it.
    void Release() const;
    // A snapshot: other threads may change it at once.
    Cmn_Int32 GetRefCount() const { return mCount.load(std::memory_order_relaxed); }

protected:
    virtual ~Cmn_RefCountObject();

private:
    mutable std::atomic<Cmn_Int32> mCount{0};
};

// Holds one reference to an object, or none.
template <class T>
class Cmn_RefCountPtr
{
public:
    Cmn_RefCountPtr() = default;
    // Adds a reference to the object; null holds none.
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
    // A reference to a class is one to its base as well.
    template <class U>
    requires std::is_convertible_v<U*, T*> Cmn_RefCountPtr(const Cmn_RefCountPtr<U>& iOther)
        : Cmn_RefCountPtr(iOther.get())
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

    // Null when it holds none.
    T* get() const { return mObject; }
    T& operator*() const { return *mObject; }
    T* operator->() const { return mObject; }
    explicit operator bool() const { return mObject != nullptr; }
    bool operator==(const Cmn_RefCountPtr&) const = default;

private:
    T* mObject = nullptr;
};

// Keeps one object alive and points to it, to a base of it, or to something that lives in it: who is handed
// the part does not see the whole, and T itself is counted or not.
//
//     Cmn_AliasedRefCountPtr<Label> label(window, &window->mTitle); // the window stays alive
template <class T>
class Cmn_AliasedRefCountPtr
{
public:
    Cmn_AliasedRefCountPtr() = default;
    // Holds none.
    Cmn_AliasedRefCountPtr(std::nullptr_t) {}
    // The object itself, or a base of it.
    template <class U>
    requires std::is_convertible_v<U*, T*> Cmn_AliasedRefCountPtr(const Cmn_RefCountPtr<U>& iObject)
        : mWhole(iObject.get())
        , mPart(iObject.get())
    {
    }
    template <class U>
    requires std::is_convertible_v<U*, T*> Cmn_AliasedRefCountPtr(const Cmn_AliasedRefCountPtr<U>& iOther)
        : mWhole(iOther.GetWhole())
        , mPart(iOther.get())
    {
    }
    // iPart lives no longer than iWhole's object; a null iWhole keeps nothing alive.
    template <class U>
    Cmn_AliasedRefCountPtr(const Cmn_RefCountPtr<U>& iWhole, T* iPart)
        : mWhole(iWhole.get())
        , mPart(iPart)
    {
    }

    // The part; null when it holds none.
    T* get() const { return mPart; }
    T& operator*() const { return *mPart; }
    T* operator->() const { return mPart; }
    explicit operator bool() const { return mPart != nullptr; }
    // What is kept alive.
    const Cmn_RefCountPtr<const Cmn_RefCountObject>& GetWhole() const { return mWhole; }
    // The same part; what keeps it alive is not compared.
    bool operator==(const Cmn_AliasedRefCountPtr& iOther) const { return mPart == iOther.mPart; }

private:
    Cmn_RefCountPtr<const Cmn_RefCountObject> mWhole;
    T* mPart = nullptr;
};
