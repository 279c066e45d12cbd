// SDS_Producer: what a producing thread keeps between its dispatches, so that most of them change one shared word only,
// the queue's: uses of lists, paid for in advance, and cells, fetched ahead.
//
//   thread ──first dispatch──▶ takes one of 64 ──▶ its own ──thread ends──▶ gives back what it keeps, is free
//
// What a thread keeps from others meanwhile: the cells of a magazine, and lists that have been retired. Those it gives
// up with its next dispatch, rebuild or end.
//
// Words:      whether one is taken, exchanged by the threads that look for one; sRetired, raised by who retires lists,
//             read by producers. The rest is the thread's own.
// Threads:    Open by one, before the others come.
// Ownership:  all of them live until the process ends.
// Real time:  nothing but Open allocates, and nothing locks or waits.
#pragma once

#include "Kora/SDS/Source/SDS_ActiveListenerList_p.h"
#include "Kora/SDS/Source/SDS_DeliveryQueue_p.h"
#include "OstrelPlatformSupport/PSThreadSlot_p.h"

#include <utility>

class SDS_Producer
{
public:
    using PaidUses = SDS_PaidUses<SDS_ActiveListenerList>;

    explicit SDS_Producer(SDS_TokenPool& ioPool)
        : mCells(ioPool)
    {
    }
    SDS_Producer(const SDS_Producer&) = delete;
    SDS_Producer& operator=(const SDS_Producer&) = delete;

    // After the pool has been made. Throws std::bad_alloc.
    static void Open(SDS_TokenPool& ioPool);

    // The calling thread's, until Leave, when it has one, is in no dispatch, and has no list to give up.
    static SDS_Producer* EnterAtOnce()
    {
        auto* const producer = static_cast<SDS_Producer*>(PSThreadSlot::Get());
        if (producer == nullptr || producer->mIsBusy.load(std::memory_order_relaxed) ||
            sRetired.load(std::memory_order_relaxed) != producer->mRetiredSeen) [[unlikely]]
            return nullptr;
        producer->MarkBusy();
        return producer;
    }
    // The calling thread's, until Leave. Null when all are taken, or when the thread is inside a dispatch already: in a
    // host's event, or in a signal handler.
    static SDS_Producer* Enter()
    {
        auto* producer = static_cast<SDS_Producer*>(PSThreadSlot::Get());
        if (producer == nullptr && (producer = TakeFree()) == nullptr) [[unlikely]]
            return nullptr;
        if (producer->mIsBusy.load(std::memory_order_relaxed)) return nullptr;
        producer->MarkBusy();
        // relaxed: one that comes late costs a retired list some time.
        if (const Cmn_UInt32 retired = sRetired.load(std::memory_order_relaxed);
            retired != producer->mRetiredSeen) [[unlikely]]
            producer->GiveUpRetired(retired);
        return producer;
    }
    void Leave()
    {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        mIsBusy.store(false, std::memory_order_relaxed); // relaxed: a thread's own, and its signal handlers'
    }

    // Gives back what the calling thread keeps, unless it is inside a dispatch.
    static void GiveBack();
    // Lists have been retired that somebody uses: producers give up what they have paid for.
    static void NoteRetired() { sRetired.fetch_add(1); }

    // Of a list that its pointer has led to just now, the uses that are kept for it; null when the thread has none left.
    PaidUses* FindPaid(const SDS_ActiveListenerList* iList)
    {
        Place& place = PlaceOf(iList);
        return place.IsFor(iList) ? &place : nullptr;
    }
    // Where the uses of a list are kept; null when they are not.
    PaidUses* FindUses(const SDS_ActiveListenerList* iList)
    {
        Place& place = PlaceOf(iList);
        return place.IsFor(iList) || place.TakesAnother() ? &place : nullptr;
    }
    // What the queue's newest element is, as far as the thread knows, which is about to push the next one.
    PSAtomicQueueLink* ExchangeNewest(SDS_QueueBlock& iQueue, SDS_DeliveryElement& iElement)
    {
        SDS_DeliveryElement* const newest = std::exchange(mNewest, &iElement);
        return std::exchange(mNewestIn, &iQueue) == &iQueue ? newest : nullptr;
    }
    // The element that the thread sent about so many tokens before, wherever that is by now: a hint for the consumer, who
    // meets the newest first. iCount: one that changes by one from each token to the next.
    SDS_DeliveryElement* NoteSent(Cmn_UInt32 iCount, SDS_DeliveryElement& iElement)
    {
        return std::exchange(mSent[iCount % cSent], &iElement);
    }
    SDS_TokenPool::Magazine& Cells() { return mCells; }

private:
    static constexpr std::size_t cPlaces = 4;
    // A list takes another's place when it is met so often in a row: two that take turns do not drive each other out.
    static constexpr unsigned cMissesToMove = 8;
    static constexpr unsigned cSent = 8;

    // What is kept for one list, until another drives it out.
    class Place : public PaidUses
    {
    public:
        // Asked for another list: true in the end, when it has been so often in a row.
        bool TakesAnother()
        {
            if (!HasSome()) return true;
            if (std::exchange(mCountSeen, static_cast<Cmn_UInt16>(GetCount())) != GetCount()) mMisses = 0;
            return ++mMisses >= cMissesToMove;
        }

    private:
        Cmn_UInt16 mMisses = 0;
        Cmn_UInt16 mCountSeen = 0; // at the last miss: another one tells that it was used since
    };
    static_assert(sizeof(void*) != 8 || sizeof(Place) == 16);

    Place& PlaceOf(const SDS_ActiveListenerList* iList)
    {
        return mPlaces[reinterpret_cast<std::uintptr_t>(iList) / sizeof(SDS_ActiveListenerList) % cPlaces];
    }
    void MarkBusy()
    {
        mIsBusy.store(true, std::memory_order_relaxed); // relaxed: a thread's own, and its signal handlers'
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    static SDS_Producer* TakeFree();
    void GiveUpRetired(Cmn_UInt32 iRetired);
    static void EndThread(void* iProducer);
    void GiveBackUses();

    inline static std::atomic<Cmn_UInt32> sRetired{0};

    std::atomic<bool> mIsTaken{false};
    std::atomic<bool> mIsBusy{false};
    Cmn_UInt32 mRetiredSeen = 0;
    Place mPlaces[cPlaces];
    SDS_DeliveryElement* mNewest = nullptr; // that the thread has pushed
    SDS_QueueBlock* mNewestIn = nullptr;
    SDS_DeliveryElement* mSent[cSent] = {};
    SDS_TokenPool::Magazine mCells;
};
