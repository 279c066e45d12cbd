#include "Kora/Ndo/Ndo_ExternalRefBase.h"

Ndo_ExternalRefBase::Ndo_ExternalRefBase() = default;

Ndo_ExternalRefBase::Ndo_ExternalRefBase(Ndo_Object* iObjP) { *this = iObjP; }

Ndo_ExternalRefBase::Ndo_ExternalRefBase(const Ndo_ExternalRefBase& iOther)
    : mIsNull(iOther.mIsNull)
    , mIter(iOther.mIter)
{
    if (!mIsNull) ++mIter->second.mRefCount;
}

Ndo_ExternalRefBase& Ndo_ExternalRefBase::operator=(const Ndo_ExternalRefBase& iOther)
{
    if (this == &iOther) return *this;
    Release();
    mIsNull = iOther.mIsNull;
    mIter = iOther.mIter;
    if (!mIsNull) ++mIter->second.mRefCount;
    return *this;
}

Ndo_ExternalRefBase& Ndo_ExternalRefBase::operator=(Ndo_Object* iObjP)
{
    if (iObjP == nullptr) {
        Release();
        return *this;
    }
    const Ndo_Manager::ObjDict::iterator entry = Ndo_gManager.LookupIter(iObjP);
    if (entry == Ndo_gManager.Dict().end()) return *this;
    // Counted before the old entry is released, which may be the same one.
    ++entry->second.mRefCount;
    Release();
    mIter = entry;
    mIsNull = false;
    return *this;
}

Ndo_ExternalRefBase::~Ndo_ExternalRefBase() { Release(); }

Ndo_Object* Ndo_ExternalRefBase::GetObjPtr() const { return mIter->second.mObjP; }

bool Ndo_ExternalRefBase::RefersToSame(const Ndo_ExternalRefBase& iOther) const
{
    return mIsNull || iOther.mIsNull ? mIsNull == iOther.mIsNull : mIter == iOther.mIter;
}

void Ndo_ExternalRefBase::Release()
{
    if (mIsNull) return;
    mIsNull = true;
    Ndo_gManager.DecrementEntryRefCount(mIter);
}
