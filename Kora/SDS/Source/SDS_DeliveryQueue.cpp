#include "Kora/SDS/Source/SDS_DeliveryQueue_p.h"

#include "Kora/SDS/Source/SDS_InterleavingPoint_p.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "Kora/SDS/Source/SDS_TokenTask.h"
#include "Kora/SDS/Source/SDS_TokenTracker.h"
#include "OstrelPlatformSupport/IPSSyncPrim.h"
#include "OstrelPlatformSupport/PSPrefetch_p.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <thread>
#include <utility>

namespace {

SDS_QueueBlock* sFreeBlocks = nullptr; // under the dispatcher's section

Cmn_UInt64 NumberOf(const PSAtomicQueueLink& iLink)
{
    return static_cast<const SDS_DeliveryElement&>(iLink).mNumber;
}

// Of two chains whose numbers descend, one.
PSAtomicQueueLink* Merged(PSAtomicQueueLink* iA, PSAtomicQueueLink* iB)
{
    PSAtomicQueueLink* first = nullptr;
    PSAtomicQueueLink** end = &first;
    while (iA != nullptr && iB != nullptr) {
        PSAtomicQueueLink*& higher = NumberOf(*iA) > NumberOf(*iB) ? iA : iB;
        *end = higher;
        end = &higher->mNext;
        higher = *end;
    }
    *end = iA != nullptr ? iA : iB;
    return first;
}

// Turned round and linked both ways; oInOrder: whether all are ordinary tokens for listeners that are there, and their
// numbers ascend. What a producer wrote lies in its core's cache, each element where the one behind it says; so elements
// further on are asked for, by their producers' hints, before the walk comes to them.
SDS_DeliveryElement& OldestFirst(SDS_DeliveryElement& ioNewest, bool& oInOrder)
{
    SDS_DeliveryElement* element = &ioNewest;
    SDS_DeliveryElement* newer = nullptr;
    Cmn_UInt64 number = ioNewest.mNumber;
    bool inOrder = true;
    for (;;) {
        if (const SDS_DeliveryElement* const ahead = element->mPrevious; ahead != nullptr) {
            PSPrefetchForWrite(ahead);
            PSPrefetch(reinterpret_cast<const std::byte*>(ahead) + cPSCacheLineBytes);
            PSPrefetch(reinterpret_cast<const std::byte*>(ahead) + 2 * cPSCacheLineBytes);
        }
        SDS_DeliveryElement* const older = element->GetNext();
        element->mNext = newer;
        element->mPrevious = older;
        SDS_ActiveListener& active = *element->mActiveListener;
        if (element->mKind == SDS_DeliveryElement::Kind::eToken && element->mNumber <= number &&
            active.IsOrdinary()) [[likely]]
            active.mMayHaveOrdinary = true;
        else
            inOrder = false;
        if (older == nullptr) break;
        number = element->mNumber;
        newer = element;
        element = older;
    }
    oInOrder = inOrder;
    return *element;
}

PSAtomicQueueLink* SortedByDescendingNumber(PSAtomicQueueLink* iChain)
{
    // Sorted chains of 1, 2, 4 … elements; the last one takes what is beyond all the pool's cells.
    PSAtomicQueueLink* sorted[17] = {};
    while (iChain != nullptr) {
        PSAtomicQueueLink* link = std::exchange(iChain, iChain->mNext);
        link->mNext = nullptr;
        std::size_t size = 0;
        for (; size + 1 < std::size(sorted) && sorted[size] != nullptr; ++size)
            link = Merged(std::exchange(sorted[size], nullptr), link);
        sorted[size] = Merged(sorted[size], link);
    }
    for (PSAtomicQueueLink* const chain : sorted)
        iChain = Merged(chain, iChain);
    return iChain;
}

} // namespace

SDS_QueueBlock* SDS_QueueBlock::Create(Cmn_Int32 iPriority)
{
    SDS_QueueBlock* block = sFreeBlocks;
    if (block == nullptr) {
        block = new (std::nothrow) SDS_QueueBlock;
        if (block == nullptr) return nullptr;
    } else {
        sFreeBlocks = block->mNextFree;
        block->mInbound.Reopen();
        block->mOwners = 1;
    }
    block->mPriority.store(iPriority);
    return block;
}

void SDS_QueueBlock::Release()
{
    if (--mOwners > 0) return;
    mNextFree = sFreeBlocks;
    sFreeBlocks = this;
}

void SDS_QueueBlock::SignalEvent()
{
    // Counted before the pointer is read: whoever swaps the pointer and finds nobody counted
    // knows that it is unused.
    mSignalling.Add();
    if (IPSSyncPrim* const event = mEvent.load(); event != nullptr) event->Leave();
    mSignalling.Subtract();
}

void SDS_QueueBlock::SetEvent(IPSSyncPrim* iEvent)
{
    mEvent.store(iEvent);
    while (mSignalling.Get() > 0)
        std::this_thread::yield();
}

SDS_DeliveryQueue::SDS_DeliveryQueue(SDS_TokenTask& iTask)
    : mTask(iTask)
    , mBlock(SDS_QueueBlock::Create(iTask.GetPriority()))
{
    if (mBlock == nullptr) throw std::bad_alloc();
}

SDS_DeliveryQueue::~SDS_DeliveryQueue()
{
    mBlock->SetEvent(nullptr);
    SDS_ReleaseBatch batch(SDS_TokenDispatcher::GetTokenPool());
    PSAtomicQueueLink* link = mBlock->mInbound.Close();
    while (link != nullptr) {
        SDS_DeliveryElement& element = *static_cast<SDS_DeliveryElement*>(link);
        link = link->mNext;
        if (element.mKind == SDS_DeliveryElement::Kind::eToken) {
            batch.Release(element);
        } else {
            // A producer that finds the mailbox told no more queues another notice, is
            // refused, and empties it.
            if (SDS_DeliveryElement* const content = element.mActiveListener->mMailbox.Take())
                batch.Release(*content);
            batch.ReleaseUse(*element.mList);
        }
    }
    while (SDS_DeliveryElement* const head = GetHead()) {
        SDS_DeliveryElement& element = *head;
        Unlink(element);
        batch.Release(element);
    }
    batch.Flush();
    mBlock->Release();
}

SDS_DeliveryQueue::Taken SDS_DeliveryQueue::LookForNext(SDS_ReleaseBatch& ioBatch)
{
    for (;;) {
        if (!HeadIsSettled()) Look(ioBatch);
        SDS_DeliveryElement* const element = GetHead();
        if (element == nullptr) return {nullptr, nullptr};
        Unlink(*element);
        SDS_TokenListener* const listener =
            element->mActiveListener->mListener.load(std::memory_order_acquire);
        if (listener != nullptr) return {element, listener};
        ioBatch.Release(*element);
    }
}

// Drains the queue until the first pending token is settled: twice at most.
void SDS_DeliveryQueue::Look(SDS_ReleaseBatch& ioBatch)
{
    // Read before the queue is drained: what was sent before a token with a number up
    // to this has arrived then.
    mSettled = mBlock->mNumber.load();
    SDS_InterleavingPoint();
    Drain(ioBatch, nullptr);
    const SDS_DeliveryElement* const head = GetHead();
    if (head == nullptr || head->mNumber <= mSettled) return;
    // Sent meanwhile. What was sent before it arrives now. Newer ones for its own listener wait, so that it
    // is handed out however fast they follow.
    mSettled = head->mNumber;
    SDS_InterleavingPoint();
    Drain(ioBatch, head->mActiveListener);
}

// iPassedOver: whose mailbox is left for the next look; null for nobody's.
void SDS_DeliveryQueue::Drain(SDS_ReleaseBatch& ioBatch, const SDS_ActiveListener* iPassedOver)
{
    auto* const newest = static_cast<SDS_DeliveryElement*>(mBlock->mInbound.DrainNewestFirst());
    if (newest == nullptr) return;
    bool inOrder = false;
    SDS_DeliveryElement& oldest = OldestFirst(*newest, inOrder);
    if (inOrder && (mTail == nullptr || mTail->mNumber <= oldest.mNumber)) [[likely]] {
        AppendOrdinary(oldest, *newest);
        SDS_InterleavingPoint();
    } else {
        TakeOver(&oldest, ioBatch, iPassedOver);
    }
    GrowPool();
}

// One by one.
void SDS_DeliveryQueue::TakeOver(PSAtomicQueueLink* iOldest, SDS_ReleaseBatch& ioBatch,
                                 const SDS_ActiveListener* iPassedOver)
{
    PSAtomicQueueLink* link = iOldest;
    PSAtomicQueueLink* notices = nullptr;
    PSAtomicQueueLink** noticesEnd = &notices;
    while (link != nullptr) {
        SDS_DeliveryElement& element = *static_cast<SDS_DeliveryElement*>(link);
        link = link->mNext;
        if (element.mKind == SDS_DeliveryElement::Kind::eToken) {
            if (mTail != nullptr && element.mActiveListener->IsOrdinary()) {
                element.mNumber = std::max(element.mNumber, mTail->mNumber);
                element.mNext = nullptr;
                element.mActiveListener->mMayHaveOrdinary = true;
                AppendOrdinary(element, element);
            } else {
                Arrive(element, ioBatch);
            }
            continue;
        }
        element.mPrevious = nullptr; // no hint, when it is queued anew
        if (element.mActiveListener == iPassedOver) {
            static_cast<void>(mBlock->mInbound.Push(element));
        } else {
            *noticesEnd = &element;
            noticesEnd = &element.mNext;
        }
    }
    *noticesEnd = nullptr;
    SDS_InterleavingPoint();
    // Only now: a mailbox may hold a token that was sent after others of this drain.
    PSAtomicQueueLink* mail = nullptr;
    while (notices != nullptr) {
        // A notice may be queued anew as soon as its mailbox is taken.
        SDS_DeliveryElement& notice = *static_cast<SDS_DeliveryElement*>(notices);
        notices = notice.mNext;
        SDS_ActiveListenerList& list = *notice.mList;
        if (SDS_DeliveryElement* const content = TakeMailbox(*notice.mActiveListener, ioBatch)) {
            content->mNext = mail;
            mail = content;
        }
        ioBatch.ReleaseUse(list);
    }
    if (mail != nullptr) PlaceMail(mail);
}

// Appends a token from the queue to the pending list. Its number is raised to the one before it: the
// tokens of one producer have ascending numbers, and a latest token that belongs before the higher one
// belongs before this one too.
void SDS_DeliveryQueue::Arrive(SDS_DeliveryElement& ioElement, SDS_ReleaseBatch& ioBatch)
{
    SDS_ActiveListener& active = *ioElement.mActiveListener;
    if (active.mListener.load(std::memory_order_acquire) == nullptr) {
        ioBatch.Release(ioElement);
        return;
    }
    const bool isLatest = active.mLatest.load(std::memory_order_relaxed);
    if (isLatest) {
        if (SDS_DeliveryElement* const older = NewestPendingOf(active)) Drop(*older, ioElement, ioBatch);
    }
    if (mTail != nullptr) ioElement.mNumber = std::max(ioElement.mNumber, mTail->mNumber);
    InsertBefore(ioElement, nullptr, isLatest);
    if (isLatest)
        active.SetNewest(ioElement);
    else
        active.mMayHaveOrdinary = true;
}

// What a newer token of a latest listener drops: of its pending ones the last that came.
SDS_DeliveryElement* SDS_DeliveryQueue::NewestPendingOf(const SDS_ActiveListener& iActive) const
{
    if (!iActive.mMayHaveOrdinary) return iActive.mNewestPending;
    SDS_DeliveryElement* element = mTail;
    while (element != nullptr && element->mActiveListener != &iActive)
        element = element->mPrevious;
    return element;
}

// A pending token of a latest listener, for a newer one.
void SDS_DeliveryQueue::Drop(SDS_DeliveryElement& ioOlder, SDS_DeliveryElement& iNewer,
                             SDS_ReleaseBatch& ioBatch)
{
    static_cast<void>(SDS_TokenTracker::TrackTokenDropped(iNewer.GetToken(), iNewer.mActiveListener,
                                                          ioOlder.GetToken(), false));
    Unlink(ioOlder);
    ioBatch.Release(ioOlder);
}

// The token in the mailbox, which drops the older one; null when there is none or a newer
// one has been handed out.
SDS_DeliveryElement* SDS_DeliveryQueue::TakeMailbox(SDS_ActiveListener& ioActive, SDS_ReleaseBatch& ioBatch)
{
    SDS_DeliveryElement* const content = ioActive.mMailbox.Take();
    if (content == nullptr) return nullptr;
    SDS_DeliveryElement* const older = NewestPendingOf(ioActive);
    // A token that was queued since the priority was raised is the newer one.
    const bool overtaken = older != nullptr && older->mNumber >= content->mNumber;
    SDS_TokenListener* const listener = ioActive.mListener.load(std::memory_order_acquire);
    if (overtaken || listener == nullptr || listener->IsOvertaken(content->mNumber)) {
        ioBatch.Release(*content);
        return nullptr;
    }
    listener->NoteMail(content->mNumber);
    if (older != nullptr) Drop(*older, *content, ioBatch);
    ioActive.SetNewest(*content);
    return content;
}

// Each before the first pending token with the same number or a higher one: one walk for all of them.
void SDS_DeliveryQueue::PlaceMail(PSAtomicQueueLink* iMail)
{
    SDS_DeliveryElement* next = nullptr;
    SDS_DeliveryElement* before = mTail;
    for (PSAtomicQueueLink* link = SortedByDescendingNumber(iMail); link != nullptr;) {
        SDS_DeliveryElement& content = *static_cast<SDS_DeliveryElement*>(std::exchange(link, link->mNext));
        for (; before != nullptr && before->mNumber >= content.mNumber; before = before->mPrevious)
            next = before;
        InsertBefore(content, next, true);
        next = &content;
    }
}

// Null: at the end.
void SDS_DeliveryQueue::InsertBefore(SDS_DeliveryElement& ioElement, SDS_DeliveryElement* ioNext,
                                     bool iIsLatest)
{
    ioElement.mIsLatest = iIsLatest;
    if (iIsLatest) ++mLatestPending;
    SDS_DeliveryElement* const previous = ioNext != nullptr ? ioNext->mPrevious : mTail;
    ioElement.mNext = ioNext;
    ioElement.mPrevious = previous;
    if (previous != nullptr)
        previous->mNext = &ioElement;
    else
        SetHead(&ioElement);
    (ioNext != nullptr ? ioNext->mPrevious : mTail) = &ioElement;
}

void SDS_DeliveryQueue::Unlink(SDS_DeliveryElement& ioElement)
{
    if (ioElement.mIsLatest) --mLatestPending;
    SDS_DeliveryElement* const next = ioElement.GetNext();
    if (ioElement.mPrevious != nullptr)
        ioElement.mPrevious->mNext = next;
    else
        SetHead(next);
    (next != nullptr ? next->mPrevious : mTail) = ioElement.mPrevious;
    SDS_ActiveListener& active = *ioElement.mActiveListener;
    if (active.mNewestPending == &ioElement) active.mNewestPending = nullptr;
}

// Tasks below the audio threads' priority may allocate.
void SDS_DeliveryQueue::GrowPool()
{
    if (mBlock->mPriority.load(std::memory_order_relaxed) < SDS_TokenTask::cAudioPriority) {
        SDS_TokenDispatcher::GrowTokenPoolIfLow();
    }
}
