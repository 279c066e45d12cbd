#include "Kora/SDS/Source/SDS_ActiveListenerList_p.h"

#include "Kora/SDS/Source/SDS_DeliveryQueue_p.h"
#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "Kora/SDS/Source/SDS_TokenTask.h"

#include <new>

namespace {

// Under the dispatcher's section. What lies here stays reachable, so leak checkers know it.
SDS_ActiveListenerList* sFreeLists = nullptr;
SDS_ActiveListener* sFreeActiveListeners = nullptr;

SDS_ActiveListener* CreateActiveListener()
{
    SDS_ActiveListener* const active = sFreeActiveListeners;
    if (active == nullptr) return new (std::nothrow) SDS_ActiveListener;
    sFreeActiveListeners = active->mNext;
    return active;
}

void RecycleActiveListener(SDS_ActiveListener& ioActive)
{
    if (SDS_TokenListener* const listener = ioActive.mListener.load(); listener != nullptr) {
        listener->RemoveActiveListener(&ioActive);
    }
    ioActive.mQueue->Release();
    ioActive.mQueue = nullptr;
    ioActive.mNewestPending = nullptr;
    ioActive.mMayHaveOrdinary = false;
    ioActive.mNext = sFreeActiveListeners;
    sFreeActiveListeners = &ioActive;
}

} // namespace

SDS_ActiveListenerList* SDS_ActiveListenerList::Create()
{
    SDS_ActiveListenerList* const list = sFreeLists;
    if (list == nullptr) return new (std::nothrow) SDS_ActiveListenerList;
    sFreeLists = list->mNextList;
    list->mNextList = nullptr;
    list->mGate.Reopen();
    return list;
}

void SDS_ActiveListenerList::Recycle(SDS_ActiveListenerList& ioList)
{
    while (SDS_ActiveListener* const active = ioList.mFirst) {
        ioList.mFirst = active->mNext;
        RecycleActiveListener(*active);
    }
    ioList.mLast = nullptr;
    ioList.mCount = 0;
    ioList.mReferences = 0;
    ioList.mNextList = sFreeLists;
    sFreeLists = &ioList;
}

bool SDS_ActiveListenerList::Append(SDS_TokenListener& iListener)
{
    SDS_ActiveListener* const active = CreateActiveListener();
    if (active == nullptr) return false;
    active->mNext = nullptr;
    active->mHearer = nullptr;
    active->mQueue = &iListener.GetTask()->DeliveryQueue()->GetBlock();
    active->mQueue->AddOwner();
    active->SetLatest(iListener.GetLatestFlag());
    active->mNotice.mKind = SDS_DeliveryElement::Kind::eMailbox;
    active->mNotice.mActiveListener = active;
    active->mNotice.mList = this;
    active->mNotice.mPrevious = nullptr;
    iListener.AddActiveListener(active);
    (mLast != nullptr ? mLast->mNext : mFirst) = active;
    mLast = active;
    ++mCount;
    return true;
}

// Nobody walks the list, so its room may be replaced.
bool SDS_ActiveListenerList::LayOut()
{
    if (mCount > 1 && mCount > mRoom) {
        mRoom = 0;
        mMore.reset(new (std::nothrow) SDS_Hearer[mCount]);
        if (mMore == nullptr) return false;
        mRoom = mCount;
    }
    mHearers = mCount > 1 ? mMore.get() : &mOnly;
    SDS_Hearer* hearer = mHearers;
    for (SDS_ActiveListener* active = mFirst; active != nullptr; active = active->mNext, ++hearer) {
        const SDS_TokenListener& listener = *active->mListener.load();
        hearer->mActive = active;
        hearer->mQueue = active->mQueue;
        hearer->mKind = SDS_Hearer::KindOf(listener.GetType(), listener.GetSubType());
        hearer->mHeardBits =
            SDS_Hearer::KindOf(listener.GetType() != 0 ? -1 : 0, listener.GetSubType() != 0 ? -1 : 0);
        active->mHearer = hearer;
        active->TellHearer();
    }
    return true;
}
