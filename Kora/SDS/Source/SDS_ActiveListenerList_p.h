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
#include <memory>

class SDS_QueueBlock;
class SDS_TokenListener;

struct SDS_ActiveListener;

template <class T>
using SDS_Atomic = std::atomic<T>;

// What a producer looks at of one active listener. Those of a list lie side by side, in their order.
struct SDS_Hearer
{
    // Set when the list is built; constant while it is in force.
    SDS_ActiveListener* mActive = nullptr;
    SDS_QueueBlock* mQueue = nullptr;
    Cmn_UInt64 mKind = 0;      // type and subtype
    Cmn_UInt64 mHeardBits = 0; // of them, those that count
    // Copies of the active listener's, in one word. Written under the section.
    enum Flags : Cmn_UInt8 { eIsThere = 1, eIsLatest = 2 };
    std::atomic<Cmn_UInt8> mFlags{0};

    static Cmn_UInt64 KindOf(Cmn_Int32 iType, Cmn_Int32 iSubType)
    {
        return static_cast<Cmn_UInt64>(static_cast<Cmn_UInt32>(iSubType)) << 32 |
               static_cast<Cmn_UInt32>(iType);
    }
    Cmn_UInt8 GetFlags() const { return mFlags.load(std::memory_order_acquire); }
    bool HearsKind(Cmn_UInt64 iKind) const { return ((iKind ^ mKind) & mHeardBits) == 0; }
};

struct SDS_ActiveListener
{
    // Set when the list is built; constant while it is in force.
    SDS_ActiveListener* mNext = nullptr;
    SDS_QueueBlock* mQueue = nullptr;
    SDS_Hearer* mHearer = nullptr;
    // Null once the listener has gone: what is queued for it is then released unseen.
    // Written under the section.
    std::atomic<SDS_TokenListener*> mListener{nullptr};
    // The consumer's: the pending token that came last while the listener was a latest one; and whether others may have
    // come since.
    SDS_DeliveryElement* mNewestPending = nullptr;
    bool mMayHaveOrdinary = false;
    // The listener's chain; under the section.
    SDS_ActiveListener* mChainNext = nullptr;
    SDS_ActiveListener* mChainPrevious = nullptr;
    // Written under the section.
    std::atomic<bool> mLatest{false};
    // On a line of their own: the consumer has the above, producers write here, for a latest listener.
    alignas(cPSCacheLineBytes) SDS_BasicMailbox<SDS_Atomic, SDS_DeliveryElement> mMailbox;
    SDS_DeliveryElement mNotice{};

    // By the consumer: of a latest listener, which the one before it, if it is pending, was dropped for.
    void SetNewest(SDS_DeliveryElement& iElement)
    {
        mNewestPending = &iElement;
        mMayHaveOrdinary = false;
    }
    // By the consumer: whether it is there, and no latest one.
    bool IsOrdinary() const
    {
        return mListener.load(std::memory_order_acquire) != nullptr &&
               !mLatest.load(std::memory_order_relaxed);
    }
    // Under the section.
    void SetListener(SDS_TokenListener* iListener)
    {
        mListener.store(iListener);
        TellHearer();
    }
    void SetLatest(bool iLatest)
    {
        mLatest.store(iLatest);
        TellHearer();
    }
    void TellHearer()
    {
        if (mHearer == nullptr) return;
        mHearer->mFlags.store(
            static_cast<Cmn_UInt8>((mListener.load() != nullptr ? SDS_Hearer::eIsThere : 0) |
                                   (mLatest.load() ? SDS_Hearer::eIsLatest : 0)));
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
    // After the last one, before the list is put in force: lays out what producers look at. False when there is no
    // memory.
    [[nodiscard]] bool LayOut();

    // Producers read these, and nothing else writes their line while the list is in force.
    alignas(cPSCacheLineBytes) SDS_Hearer* mHearers = nullptr;
    Cmn_UInt32 mCount = 0; // of active listeners
    SDS_Hearer mOnly;      // where mHearers leads when there is one
    // Whoever counts uses writes here.
    alignas(cPSCacheLineBytes) SDS_ListGate mGate;
    SDS_ActiveListener* mFirst = nullptr;
    SDS_ActiveListener* mLast = nullptr;
    Cmn_UInt32 mReferences = 0;                  // nodes that point here
    Cmn_UInt32 mRoom = 0;                        // in mMore
    std::unique_ptr<SDS_Hearer[]> mMore;         // where mHearers leads when there are several
    SDS_ActiveListenerList* mNextList = nullptr; // among the retired or the free
};
static_assert(sizeof(void*) != 8 || sizeof(SDS_ActiveListenerList) == 2 * cPSCacheLineBytes);
