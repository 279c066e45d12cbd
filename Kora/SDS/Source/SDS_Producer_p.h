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

    // What is kept for one list.
    struct Place
    {
        PaidUses mUses;
        unsigned mMisses = 0;
    };

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
        producer->mIsBusy.store(true, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_seq_cst);
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
        producer->mIsBusy.store(
            true, std::memory_order_relaxed); // relaxed: a thread's own, and its signal handlers'
        std::atomic_signal_fence(std::memory_order_seq_cst);
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

    // Of a list that its pointer has led to just now, where its uses are kept; null when the thread has none left.
    Place* FindPaid(const SDS_ActiveListenerList* iList)
    {
        Place& place = PlaceOf(iList);
        if (!place.mUses.IsFor(iList)) return nullptr;
        if (place.mMisses != 0) place.mMisses = 0;
        return &place;
    }
    // Where the uses of a list are kept; null when they are not.
    PaidUses* FindUses(const SDS_ActiveListenerList* iList)
    {
        Place& place = PlaceOf(iList);
        if (place.mUses.IsFor(iList)) {
            place.mMisses = 0;
        } else if (place.mUses.HasSome() && ++place.mMisses < cMissesToMove) {
            return nullptr;
        }
        return &place.mUses;
    }
    // The element that the thread sent so many tokens before, wherever that is by now: a hint for the consumer, who
    // meets the newest first.
    SDS_DeliveryElement* NoteSent(SDS_DeliveryElement& iElement)
    {
        return std::exchange(mSent[++mSentCount % cSent], &iElement);
    }
    // What the queue's newest element is as far as the thread knows, before it notes the next one.
    PSAtomicQueueLink* GuessNewest(SDS_QueueBlock& iQueue)
    {
        if (mSentTo == &iQueue) [[likely]]
            return mSent[mSentCount % cSent];
        mSentTo = &iQueue;
        return nullptr;
    }
    SDS_TokenPool::Magazine& Cells() { return mCells; }

private:
    static constexpr std::size_t cPlaces = 4;
    // A list takes another's place when it is met so often in a row: two that take turns do not drive each other out.
    static constexpr unsigned cMissesToMove = 8;
    static constexpr unsigned cSent = 8;

    Place& PlaceOf(const SDS_ActiveListenerList* iList)
    {
        return mPlaces[reinterpret_cast<std::uintptr_t>(iList) / sizeof(SDS_ActiveListenerList) % cPlaces];
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
    SDS_DeliveryElement* mSent[cSent] = {};
    unsigned mSentCount = 0;
    SDS_QueueBlock* mSentTo = nullptr; // the last one
    SDS_TokenPool::Magazine mCells;
};
