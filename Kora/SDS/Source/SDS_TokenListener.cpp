#include "Kora/SDS/Source/SDS_TokenListener.h"

#include "Kora/SDS/Source/SDS_DispatcherState_p.h"
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/SDS/Source/SDS_Name_p.h"
#include "Kora/SDS/Source/SDS_TokenTask.h"
#include "OstrelPlatformSupport/IPSSyncPrim.h"

// The list of listeners of a node's audience, or the dispatcher's list of global ones.
struct SDS_NameListeners
{
    template <class THolder>
    static void Append(THolder& ioName, SDS_TokenListener& ioListener)
    {
        ioListener.mNextInName = nullptr;
        ioListener.mPreviousInName = ioName.mLastListener;
        (ioName.mLastListener != nullptr ? ioName.mLastListener->mNextInName : ioName.mFirstListener) =
            &ioListener;
        ioName.mLastListener = &ioListener;
        ++ioName.mListenerCount;
    }

    template <class THolder>
    static void Remove(THolder& ioName, SDS_TokenListener& ioListener)
    {
        SDS_TokenListener* const next = ioListener.mNextInName;
        SDS_TokenListener* const previous = ioListener.mPreviousInName;
        (previous != nullptr ? previous->mNextInName : ioName.mFirstListener) = next;
        (next != nullptr ? next->mPreviousInName : ioName.mLastListener) = previous;
        ioListener.mNextInName = ioListener.mPreviousInName = nullptr;
        --ioName.mListenerCount;
    }

    static void DetachAll(SDS_Name& ioName)
    {
        if (ioName.mAudience == nullptr) return;
        while (SDS_TokenListener* const listener = ioName.mAudience->mFirstListener) {
            listener->LeaveLists();
            listener->LeaveChain();
            listener->mName = nullptr;
        }
    }
};

// For a node that goes while listeners hang on it: they have no name then.
void SDS_DetachListeners(SDS_Name& ioName) { SDS_NameListeners::DetachAll(ioName); }

SDS_TokenListener::SDS_TokenListener() = default;

SDS_TokenListener::~SDS_TokenListener()
{
    const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
    static_cast<void>(Deactivate());
    if (mName != nullptr) SDS_NameRelease(*mName);
}

ESDSError SDS_TokenListener::SetName(SDS_Name* iBase, const char* iPath)
{
    const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
    SDS_Name* name = nullptr;
    if (const ESDSError result = SDS_NameRegistry::GetNameId(iBase, iPath, &name); result != eSDSErr_None)
        return result;
    if (!SDS_NameAddReference(*name)) return eSDSErr_OutOfMemory;
    SDS_Name* const before = mName;
    const ESDSError result = Change(mName, name);
    if (before != nullptr) SDS_NameRelease(*before);
    return result;
}

ESDSError SDS_TokenListener::SetType(Cmn_Int32 iType) { return Change(mType, iType); }

ESDSError SDS_TokenListener::SetSubType(Cmn_Int32 iSubType) { return Change(mSubType, iSubType); }

ESDSError SDS_TokenListener::SetManufacturer(Cmn_Int32 iManufacturer)
{
    return Change(mManufacturer, iManufacturer);
}

ESDSError SDS_TokenListener::SetProtocol(Cmn_Int32 iProtocol) { return Change(mProtocol, iProtocol); }

ESDSError SDS_TokenListener::SetTask(SDS_TokenTask* iTask) { return Change(mTask, iTask); }

ESDSError SDS_TokenListener::SetGlobal(bool iGlobal) { return Change(mGlobal, iGlobal); }

void SDS_TokenListener::SetLatestFlag(bool iLatest)
{
    const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
    mLatest = iLatest;
    for (SDS_ActiveListener* active = mChain; active != nullptr; active = active->mChainNext) {
        active->SetLatest(iLatest);
    }
}

// Out, changed, and in again; the first error of the three.
template <class T>
ESDSError SDS_TokenListener::Change(T& ioField, T iValue)
{
    const IPSSyncPrim::StEnter section(*SDS_TokenDispatcher::GetCriticalSection());
    const ESDSError outResult = Deactivate();
    ioField = iValue;
    const ESDSError inResult = Activate();
    return outResult != eSDSErr_None ? outResult : inResult;
}

ESDSError SDS_TokenListener::Activate()
{
    if (mActive || mTask == nullptr || (mName == nullptr && !mGlobal)) return eSDSErr_None;
    if (mGlobal)
        SDS_NameListeners::Append(SDS_DispatcherState::fGlobalListeners, *this);
    else if (SDS_NameEnsureAudience(*mName))
        SDS_NameListeners::Append(*mName->mAudience, *this);
    else
        return eSDSErr_OutOfMemory;
    mTask->AddListener(this);
    mNewestMail = 0;
    mActive = true;
    const ESDSError result = Rebuild();
    if (result != eSDSErr_None) LeaveLists();
    return result;
}

ESDSError SDS_TokenListener::Deactivate()
{
    if (!mActive) return eSDSErr_None;
    LeaveLists();
    const ESDSError result = Rebuild();
    LeaveChain();
    return result;
}

ESDSError SDS_TokenListener::Rebuild()
{
    return mGlobal ? SDS_TokenDispatcher::RebuildGlobalListeners()
                   : SDS_TokenDispatcher::RebuildActiveListenerList(mName, false);
}

void SDS_TokenListener::LeaveLists()
{
    if (mGlobal)
        SDS_NameListeners::Remove(SDS_DispatcherState::fGlobalListeners, *this);
    else
        SDS_NameListeners::Remove(*mName->mAudience, *this);
    mTask->RemoveListener(this);
    mActive = false;
}

// What is queued for this listener is released unseen from now on.
void SDS_TokenListener::LeaveChain()
{
    while (mChain != nullptr)
        RemoveActiveListener(mChain);
}

void SDS_TokenListener::AddActiveListener(SDS_ActiveListener* ioActive)
{
    ioActive->SetListener(this);
    ioActive->mChainPrevious = nullptr;
    ioActive->mChainNext = mChain;
    if (mChain != nullptr) mChain->mChainPrevious = ioActive;
    mChain = ioActive;
}

void SDS_TokenListener::RemoveActiveListener(SDS_ActiveListener* ioActive)
{
    SDS_ActiveListener* const next = ioActive->mChainNext;
    if (ioActive->mChainPrevious != nullptr)
        ioActive->mChainPrevious->mChainNext = next;
    else
        mChain = next;
    if (next != nullptr) next->mChainPrevious = ioActive->mChainPrevious;
    ioActive->mChainNext = ioActive->mChainPrevious = nullptr;
    ioActive->SetListener(nullptr);
}
