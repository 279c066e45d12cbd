// SDS_DeliveryQueue: the tokens on their way to one task; SDS_QueueBlock: the part of
// it that producers touch.
//
// A block outlives its task as long as an active listener leads to it, and is then recycled, never
// handed back to the allocator: a producer that has just queued its element may still look whether
// there is an event to signal.
//
// Order. The block counts the tokens for latest listeners. Such a token carries the count with itself, an
// ordinary one the count that it finds. A latest listener's token waits in its mailbox, not in the queue, so
// its place is found when it is taken: before the first token with the same number or a higher one. One sent
// while the queue was being drained waits for a second drain, since tokens sent before it may be in the queue
// by now; that one leaves its listener's mailbox alone, so there is no third.
//
// Work. A look into the queue takes over all that came in, at most the pool's cells, and places the mail with
// one walk along the pending list; each token is taken over once. When all that came in is ordinary and in order, as it
// mostly is, the walk that turns it round is the only one. A listener that becomes a latest one while tokens wait costs a
// walk, with its first token.
//
// Shared words: mInbound and mNumber are written by producers, mInbound also by the consumer; the closing of
// mInbound, mPriority and mEvent are written under the dispatcher's section or by the task's owner;
// mSignalling by producers.
#pragma once

#include "Kora/SDS/Source/SDS_ActiveListenerList_p.h"
#include "Kora/Sys/Sys_MultiSizeAtomicPool.h"

#include <algorithm>

class IPSSyncPrim;
class SDS_TokenTask;

using SDS_TokenPool = Sys_MultiSizeAtomicPool<SDS_DeliveryElement>;

class SDS_QueueBlock
{
public:
    // A block with one owner; null when there is no memory. Section held, as for the next two.
    static SDS_QueueBlock* Create(Cmn_Int32 iPriority);
    void AddOwner() { ++mOwners; }
    void Release();

    // Signals the event, if there is one.
    void Signal()
    {
        if (HasEvent()) SignalEvent();
    }
    bool HasEvent() const { return mEvent.load(std::memory_order_relaxed) != nullptr; }
    // Swaps the event, and waits until nobody signals the one before.
    void SetEvent(IPSSyncPrim* iEvent);

    PSAtomicQueue mInbound;
    std::atomic<Cmn_UInt64> mNumber{0};
    std::atomic<Cmn_Int32> mPriority{0};

private:
    void SignalEvent();

    std::atomic<IPSSyncPrim*> mEvent{nullptr};
    PSAtomic_UInt32Semaphore mSignalling;
    Cmn_UInt32 mOwners = 1;
    SDS_QueueBlock* mNextFree = nullptr;
};

// Gives elements back: their cells to the pool and their uses to their lists, in batches.
class SDS_ReleaseBatch
{
public:
    explicit SDS_ReleaseBatch(SDS_TokenPool& ioPool)
        : mCells(ioPool)
    {
    }
    ~SDS_ReleaseBatch() { Flush(); }
    SDS_ReleaseBatch(const SDS_ReleaseBatch&) = delete;
    SDS_ReleaseBatch& operator=(const SDS_ReleaseBatch&) = delete;

    // Of an element that stands nowhere any more.
    void Release(SDS_DeliveryElement& ioElement)
    {
        SDS_ActiveListenerList& list = *ioElement.mList;
        mCells.Free(&ioElement);
        ReleaseUse(list);
    }
    void ReleaseUse(SDS_ActiveListenerList& ioList)
    {
        if (mList != &ioList) [[unlikely]] {
            ReleaseUses();
            mList = &ioList;
        }
        ++mUses;
    }
    // Before a handler, which may take its time.
    void ReturnScarce() { mCells.ReturnScarce(); }
    void Flush()
    {
        mCells.Flush();
        ReleaseUses();
    }

private:
    void ReleaseUses()
    {
        if (mUses > 0) mList->mGate.mUse.Subtract(mUses);
        mUses = 0;
    }

    SDS_TokenPool::Batch mCells;
    SDS_ActiveListenerList* mList = nullptr;
    Cmn_UInt32 mUses = 0;
};

class SDS_DeliveryQueue
{
public:
    explicit SDS_DeliveryQueue(SDS_TokenTask& iTask);
    // Closes the block, and releases all that is queued. No active listener leads a new token here any more.
    virtual ~SDS_DeliveryQueue();
    SDS_DeliveryQueue(const SDS_DeliveryQueue&) = delete;
    SDS_DeliveryQueue& operator=(const SDS_DeliveryQueue&) = delete;

    SDS_QueueBlock& GetBlock() const { return *mBlock; }
    SDS_TokenTask& GetTask() const { return mTask; }

    // An element with its listener; null both when none waits.
    struct Taken
    {
        SDS_DeliveryElement* mElement;
        SDS_TokenListener* mListener;
    };
    // Takes the next element whose listener is there, in order. The consumer only.
    Taken TakeNext(SDS_ReleaseBatch& ioBatch)
    {
        if (HeadIsSettled()) [[likely]] {
            SDS_DeliveryElement& element = *GetHead();
            SDS_TokenListener* const listener =
                element.mActiveListener->mListener.load(std::memory_order_acquire);
            if (listener != nullptr) [[likely]] {
                TakeOrdinaryHead(element);
                return {&element, listener};
            }
        }
        return LookForNext(ioBatch);
    }

    // Any thread.
    bool HasTokens() const
    {
        return mHead.load(std::memory_order_acquire) != nullptr || !mBlock->mInbound.IsEmpty();
    }

    // The pending list, for dumps; the consumer only.
    const SDS_DeliveryElement* GetFirstPending() const { return GetHead(); }

private:
    SDS_DeliveryElement* GetHead() const { return mHead.load(std::memory_order_relaxed); } // relaxed: its own
    void SetHead(SDS_DeliveryElement* iHead) { mHead.store(iHead, std::memory_order_release); }
    Taken LookForNext(SDS_ReleaseBatch& ioBatch);
    void Look(SDS_ReleaseBatch& ioBatch);
    void Drain(SDS_ReleaseBatch& ioBatch, const SDS_ActiveListener* iPassedOver);
    void TakeOver(PSAtomicQueueLink* iOldest, SDS_ReleaseBatch& ioBatch,
                  const SDS_ActiveListener* iPassedOver);
    void Arrive(SDS_DeliveryElement& ioElement, SDS_ReleaseBatch& ioBatch);
    void Drop(SDS_DeliveryElement& ioOlder, SDS_DeliveryElement& iNewer, SDS_ReleaseBatch& ioBatch);
    SDS_DeliveryElement* TakeMailbox(SDS_ActiveListener& ioActive, SDS_ReleaseBatch& ioBatch);
    void PlaceMail(PSAtomicQueueLink* iMail);
    SDS_DeliveryElement* NewestPendingOf(const SDS_ActiveListener& iActive) const;
    void InsertBefore(SDS_DeliveryElement& ioElement, SDS_DeliveryElement* ioNext, bool iIsLatest);
    // Whether the first pending token may be handed out without a look at the queue: nothing that has come in
    // since would stand before it, nor drop it. A look takes the queue's line from the producers.
    bool HeadIsSettled() const
    {
        const SDS_DeliveryElement* const head = GetHead();
        return head != nullptr && mLatestPending == 0 && head->mNumber <= mSettled;
    }
    // Unlink and InsertBefore, of a token for a listener that is not a latest one: at the front, and behind others.
    void TakeOrdinaryHead(SDS_DeliveryElement& ioHead)
    {
        SDS_DeliveryElement* const next = ioHead.GetNext();
        SetHead(next);
        (next != nullptr ? next->mPrevious : mTail) = nullptr;
    }
    // A chain whose links lead both ways.
    void AppendOrdinary(SDS_DeliveryElement& ioFirst, SDS_DeliveryElement& ioLast)
    {
        ioFirst.mPrevious = mTail;
        if (mTail != nullptr)
            mTail->mNext = &ioFirst;
        else
            SetHead(&ioFirst);
        mTail = &ioLast;
    }
    void Unlink(SDS_DeliveryElement& ioElement);
    void GrowPool();

    SDS_TokenTask& mTask;
    SDS_QueueBlock* const mBlock;
    // Numbers ascend along the pending list.
    std::atomic<SDS_DeliveryElement*> mHead{nullptr}; // written by the consumer, who alone follows it
    SDS_DeliveryElement* mTail = nullptr;
    Cmn_UInt32 mLatestPending = 0; // of them, those for latest listeners
    Cmn_UInt64 mSettled = 0;       // all that belongs before a pending token of this number has arrived
};
