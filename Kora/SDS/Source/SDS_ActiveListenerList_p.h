// SDS_ActiveListenerList: the listeners that hear the tokens of one closure of connected nodes, ready to be
// walked by producers on any thread.
//
//                    nodes point at it           last node leaves        no use left
//   free ──built────▶ in force ─────────────────▶ retired ──────────────▶ free
//                     walked, elements in flight   elements in flight      recycled
//
// Invariants: (1) a list in force is never changed but for the atomics of its active listeners
//             (2) a list is recycled only when no node points at it and its use count is 0
//             (3) lists and active listeners are recycled, never handed back to the allocator: a producer
//                 that is late touches a list, whatever that is used for by then.
// Threads:    built, retired and recycled under the dispatcher's critical section; walked by any.
#pragma once

#include "Kora/SDS/Source/SDS_DeliveryElement_p.h"
#include "Kora/SDS/Source/SDS_ListGate_p.h"
#include "Kora/SDS/Source/SDS_Mailbox_p.h"

#include <atomic>

class SDS_QueueBlock;
class SDS_TokenListener;

template <class T>
using SDS_Atomic = std::atomic<T>;

struct SDS_ActiveListener
{
    // Set when the list is built; constant while it is in force.
    SDS_ActiveListener* mNext = nullptr;
    SDS_ActiveListener* mPrevious = nullptr;
    SDS_QueueBlock* mQueue = nullptr;
    Cmn_Int32 mType = 0;
    Cmn_Int32 mSubType = 0;
    // Null once the listener has gone: what is queued for it is then released unseen.
    // Written under the section.
    std::atomic<SDS_TokenListener*> mListener{nullptr};
    // Written under the section.
    std::atomic<bool> mLatest{false};
    // On lines of their own: producers read the above for each token, while the consumer writes here.
    alignas(cPSCacheLineBytes) SDS_DeliveryElement* mNewestPending = nullptr; // the consumer's
    SDS_BasicMailbox<SDS_Atomic, SDS_DeliveryElement> mMailbox;
    SDS_DeliveryElement mNotice{};
    // The listener's chain; under the section.
    SDS_ActiveListener* mChainNext = nullptr;
    SDS_ActiveListener* mChainPrevious = nullptr;

    bool Hears(const SDS_Token& iToken) const
    {
        return (mType == 0 || mType == iToken.type) && (mSubType == 0 || mSubType == iToken.subtype) &&
               mListener.load(std::memory_order_acquire) != nullptr;
    }
};

class SDS_ActiveListenerList
{
public:
    // Null when there is no memory. Section held.
    static SDS_ActiveListenerList* Create();
    // An empty, retired list whose gate is closed goes back to where Create finds it.
    static void Recycle(SDS_ActiveListenerList& ioList);

    // Appends an active listener for iListener; false when there is no memory. Section held.
    bool Append(SDS_TokenListener& iListener);

    SDS_ListGate mGate;
    SDS_ActiveListener* mFirst = nullptr;
    SDS_ActiveListener* mLast = nullptr;
    Cmn_UInt32 mCount = 0;                       // of active listeners
    Cmn_UInt32 mReferences = 0;                  // nodes that point here
    SDS_ActiveListenerList* mNextList = nullptr; // among the retired or the free
};
