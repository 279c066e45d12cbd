// PSAtomicStructures: queues that many threads fill and one empties, without a lock.
//
//   struct Element : PSAtomicQueueLink { … };
//   std::unique_ptr<PSAtomicQueue> queue = gPSAtomicStructures.CreateMultiProducerQueue();
//   queue->Push(element);                                           // any thread
//   for (PSAtomicQueueLink* link = queue->Drain(); link != nullptr;) // the consumer: oldest first
//
//   mHead ──▶ newest ──▶ … ──▶ oldest ──▶ null      as the producers leave it
//   Drain ──▶ oldest ──▶ … ──▶ newest ──▶ null      turned round by the consumer
//
// Invariants: (1) what is pushed is drained once  (2) of two pushes, the one that returned before
//             the other began is drained first  (3) a closed queue holds nothing, and takes nothing
//             until it is opened anew.
// Words:      mHead is the only shared one. A push writes its link's `next` and publishes it with the
//             compare-and-swap; Drain takes all with one exchange. Nothing is taken from the middle, so a
//             head that went away and came back means the same as before.
// Threads:    Push, PushNewestFirst, IsEmpty: any. Drain: any as well, but the order holds only
//             within what one call got.
// Ownership:  links are the callers'. A link belongs to the queue from its push to the drain that returns it.
// Real time:  nothing is allocated, nobody waits: a push tries again only when another one has succeeded. All
//             words are sequentially consistent: who pushes and then looks whether the consumer sleeps, and
//             who announces sleep and then looks whether the queue is empty, do not miss each other.
#pragma once

#include "Export/Kora_API.h"
#include "OstrelPlatformSupport/PSStdAtomic.h"

#include <cstdint>
#include <memory>

// What an element of a queue derives from, or holds. Plain: it is written before it is
// published, and read after.
struct PSAtomicQueueLink
{
    PSAtomicQueueLink* mNext = nullptr;
};

template <template <class> class TAtomic>
class PSBasicAtomicQueue
{
public:
    PSBasicAtomicQueue() = default;
    // A queue that goes away does not look at links that are still in it.
    ~PSBasicAtomicQueue() = default;
    PSBasicAtomicQueue(const PSBasicAtomicQueue&) = delete;
    PSBasicAtomicQueue& operator=(const PSBasicAtomicQueue&) = delete;

    // Adds a link that is in no queue. Whatever its `next` held is lost. False, and the link stays the
    // caller's, when the queue is closed.
    [[nodiscard]] bool Push(PSAtomicQueueLink& ioLink) KORA_NONBLOCKING
    {
        return PushNewestFirst(ioLink, ioLink);
    }
    // The same by a producer who guesses which link is the newest: most likely the one that it pushed last, or null. A
    // right guess spares the wait for the head, a wrong one costs a compare-and-swap; a link that has left since is as
    // good a guess as any, for it is only compared.
    [[nodiscard]] bool Push(PSAtomicQueueLink& ioLink, PSAtomicQueueLink* iNewest) KORA_NONBLOCKING
    {
        ioLink.mNext = iNewest;
        return mHead.compare_exchange_strong(iNewest, &ioLink) || PushOnto(iNewest, ioLink, ioLink);
    }

    // Adds a chain that is linked from the newest to the oldest, with one compare-and-swap: no other link
    // comes to stand between them. What ioOldest's `next` held is lost. False when the queue is closed.
    [[nodiscard]] bool PushNewestFirst(PSAtomicQueueLink& ioNewest,
                                       PSAtomicQueueLink& ioOldest) KORA_NONBLOCKING
    {
        return PushOnto(mHead.load(std::memory_order_relaxed), ioNewest, ioOldest);
    }

    // Takes everything and returns the oldest link; its `next` leads to the newest, whose `next` is null.
    // Null when the queue is empty, which costs one load.
    PSAtomicQueueLink* Drain() KORA_NONBLOCKING;

    // The same, not yet turned round: the newest link first.
    PSAtomicQueueLink* DrainNewestFirst() KORA_NONBLOCKING
    {
        return IsEmpty() ? nullptr : mHead.exchange(nullptr);
    }

    // What was true at one moment; a push may have come since. A closed queue is empty.
    bool IsEmpty() const KORA_NONBLOCKING
    {
        const PSAtomicQueueLink* const head = mHead.load();
        return head == nullptr || head == &mClosed;
    }

    // Takes everything as Drain does and refuses all pushes from then on, in one step: nothing is ever
    // stranded. Drain and Close are called by one thread at a time then.
    PSAtomicQueueLink* Close()
    {
        PSAtomicQueueLink* const head = mHead.exchange(&mClosed);
        return head == &mClosed ? nullptr : Reverse(head);
    }
    // Takes pushes again, from empty.
    void Reopen() { mHead.store(nullptr); }

private:
    // iHead: a guess, only compared, never followed.
    bool PushOnto(PSAtomicQueueLink* iHead, PSAtomicQueueLink& ioNewest,
                  PSAtomicQueueLink& ioOldest) KORA_NONBLOCKING;
    // Turns a chain that ends with null round and returns its new first link.
    static PSAtomicQueueLink* Reverse(PSAtomicQueueLink* iFirst);

    alignas(cPSCacheLineBytes) TAtomic<PSAtomicQueueLink*> mHead{nullptr};
    PSAtomicQueueLink mClosed; // where mHead points in a closed queue; never followed
};

// The queue over the standard's atomics, which the library uses.
using PSAtomicQueue = PSBasicAtomicQueue<PSStdAtomic>;

class PSAtomicStructures
{
public:
    // Empty and open; the caller owns it.
    std::unique_ptr<PSAtomicQueue> CreateMultiProducerQueue() const
    {
        return std::make_unique<PSAtomicQueue>();
    }

    // True where pointers and words of 16 to 64 bits are atomic in hardware, as on
    // all platforms of the house.
    [[nodiscard]] constexpr bool IsLockFree() const
    {
        return std::atomic<PSAtomicQueueLink*>::is_always_lock_free &&
               std::atomic<std::uint64_t>::is_always_lock_free &&
               std::atomic<std::uint32_t>::is_always_lock_free &&
               std::atomic<std::uint16_t>::is_always_lock_free;
    }
};

inline constexpr PSAtomicStructures gPSAtomicStructures{};

template <template <class> class TAtomic>
PSAtomicQueueLink* PSBasicAtomicQueue<TAtomic>::Reverse(PSAtomicQueueLink* iFirst)
{
    PSAtomicQueueLink* reversed = nullptr;
    while (iFirst != nullptr) {
        PSAtomicQueueLink* const following = iFirst->mNext;
        iFirst->mNext = reversed;
        reversed = iFirst;
        iFirst = following;
    }
    return reversed;
}

template <template <class> class TAtomic>
bool PSBasicAtomicQueue<TAtomic>::PushOnto(PSAtomicQueueLink* iHead, PSAtomicQueueLink& ioNewest,
                                           PSAtomicQueueLink& ioOldest) KORA_NONBLOCKING
{
    do {
        if (iHead == &mClosed) return false;
        ioOldest.mNext = iHead;
    } while (!mHead.compare_exchange_weak(iHead, &ioNewest));
    return true;
}

template <template <class> class TAtomic>
PSAtomicQueueLink* PSBasicAtomicQueue<TAtomic>::Drain() KORA_NONBLOCKING
{
    return Reverse(DrainNewestFirst());
}
