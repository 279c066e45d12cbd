// Ndo_ExternalRefBase: refers to an undoable object across its deletion and its return.
//
// Use Ndo_ExternalRef, which has the object's own type.
//
// Invariant: a reference that is not null counts once in its entry's mRefCount.
// Threads:   none inside; the application's model thread.
// Ownership: keeps the manager's entry alive, never the object.
#pragma once

#include "Kora/Ndo/Ndo_Manager.h"

class KORA_API Ndo_ExternalRefBase
{
protected:
    Ndo_ExternalRefBase();
    // A null pointer gives a null reference, and so does an object that is not registered, which asserts
    // "iter != mObjDict.end()".
    explicit Ndo_ExternalRefBase(Ndo_Object* iObjP);
    Ndo_ExternalRefBase(const Ndo_ExternalRefBase& iOther);
    Ndo_ExternalRefBase& operator=(const Ndo_ExternalRefBase& iOther);
    // An object that is not registered asserts as above, and the reference stays as it was.
    Ndo_ExternalRefBase& operator=(Ndo_Object* iObjP);
    ~Ndo_ExternalRefBase();

    // True when it refers to nothing; a reference to a deleted object is not null.
    bool IsNull() const { return mIsNull; }
    // The object, or null while it is deleted. Only for a reference that is not null.
    Ndo_Object* GetObjPtr() const;
    // True when both refer to the same object, be it live or deleted, or both to nothing.
    [[nodiscard]] bool RefersToSame(const Ndo_ExternalRefBase& iOther) const;

private:
    void Release();

    bool mIsNull = true;
    Ndo_Manager::ObjDict::iterator mIter{}; // meaningful only when not null
};
