#include "Kora/SDS/FicInterface/SDS_IName.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/SDS/FicInterface/SDS_Token.h"
#include "Kora/SDS/Source/SDS_ConnectionIterator.h"
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"

SDS_IName::SDS_IName(const char* const iPath) { Reserve(nullptr, iPath); }

SDS_IName::SDS_IName(const SDS_IName* iParent, const char* const iPath)
{
    if (iParent != nullptr && iParent->mID == nullptr) Sys_ThrowIfOSErr(eSDSErr_InvalidName);
    Reserve(iParent != nullptr ? iParent->mID : nullptr, iPath);
}

SDS_IName::SDS_IName(SDS_Name* iParent, const char* const iPath) { Reserve(iParent, iPath); }

SDS_IName::SDS_IName(SDS_Name* iName)
    : mID(iName)
{
}

SDS_IName::~SDS_IName()
{
    if (mID != nullptr && mOwns) static_cast<void>(SDS_NameRegistry::FreeName(mID, nullptr));
}

void SDS_IName::Reserve(SDS_Name* iBase, const char* const iPath)
{
    SDS_INameX();
    Sys_ThrowIfOSErr(SDS_NameRegistry::ReserveName(iBase, iPath, &mID));
    mOwns = true;
}

void SDS_IName::SDS_INameX()
{
    mID = nullptr;
    mOwns = false;
    mDataRef = nullptr;
}

void SDS_IName::SetDataRef(void* iDataRef)
{
    if (mID == nullptr || iDataRef == mDataRef) return;
    static_cast<void>(SDS_NameRegistry::SetObject(mID, nullptr, iDataRef));
    mDataRef = iDataRef;
}

void* SDS_IName::GetDataRef() const
{
    void* object = nullptr;
    if (mID == nullptr || SDS_NameRegistry::GetObject(mID, nullptr, &object) != eSDSErr_None) return nullptr;
    return object;
}

ESDSError SDS_IName::ConnectTo(const SDS_IName* iOther)
{
    if (iOther == nullptr) return eSDSErr_None;
    if (mID == nullptr || iOther->mID == nullptr) return eSDSErr_InvalidName;
    return SDS_NameRegistry::ConnectNames(mID, nullptr, iOther->mID, nullptr);
}

ESDSError SDS_IName::DisconnectFrom(const SDS_IName* iOther)
{
    if (iOther == nullptr) return eSDSErr_None;
    if (mID == nullptr || iOther->mID == nullptr) return eSDSErr_InvalidName;
    return SDS_NameRegistry::DisconnectNames(mID, nullptr, iOther->mID, nullptr);
}

ESDSError SDS_IName::BreakAllConnections()
{
    if (mID == nullptr) return eSDSErr_None;
    SDS_ConnectionIterator connected;
    ESDSError result = connected.Reset(mID);
    for (; connected.Valid(); static_cast<void>(connected.Next())) {
        result = SDS_NameRegistry::DisconnectNames(mID, nullptr, static_cast<SDS_Name*>(connected.Item()),
                                                   nullptr);
    }
    return result;
}

ESDSError SDS_IName::HandleToken(SDS_Token& ioToken) KORA_NONBLOCKING
{
    ioToken.name = mID;
    return SDS_TokenDispatcher::DispatchToken(&ioToken);
}
