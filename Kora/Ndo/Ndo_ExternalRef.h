// Ndo_ExternalRef: refers to an undoable object of a class of its own, across the object's
// deletion and its return.
//
//     Ndo_ExternalRef<Time_MeterMap> ref = map;
//     map->NdoDelete();     // ref.Get() is null, ref.IsNull() is false
//     undo->Restore();      // ref.Get() is the map that came back
//
// Threads:   none inside; the application's model thread.
// Ownership: never the object's.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Ndo/Ndo_ExternalRefBase.h"

#include <cstddef>

template <class T>
class Ndo_ExternalRef : private Ndo_ExternalRefBase
{
public:
    Ndo_ExternalRef() = default;
    // Refers to nothing.
    Ndo_ExternalRef(std::nullptr_t) {}
    // The object is undoable, or null.
    Ndo_ExternalRef(T* iObjP)
        : Ndo_ExternalRefBase(iObjP)
    {
    }
    Ndo_ExternalRef& operator=(T* iObjP)
    {
        Ndo_ExternalRefBase::operator=(iObjP);
        return *this;
    }
    Ndo_ExternalRef& operator=(std::nullptr_t) { return *this = static_cast<T*>(nullptr); }

    // True when it refers to nothing; a reference to a deleted object is not null.
    using Ndo_ExternalRefBase::IsNull;

    // The object; null when it is deleted or the reference is null.
    T* Get() const { return IsNull() ? nullptr : static_cast<T*>(GetObjPtr()); }
    // True when there is an object right now.
    explicit operator bool() const { return Get() != nullptr; }
    // For a reference with an object right now; anything else asserts "objP != 0" first.
    T* operator->() const
    {
        T* const objP = Get();
        Cmn_ASSERT(objP != 0);
        return objP;
    }
    T& operator*() const { return *operator->(); }

    // By what is referred to: two references to one deleted object are equal, and unlike a null reference.
    bool operator==(const Ndo_ExternalRef& iOther) const { return RefersToSame(iOther); }
    // By the object that is there right now.
    bool operator==(const T* iObjP) const { return Get() == iObjP; }
};
