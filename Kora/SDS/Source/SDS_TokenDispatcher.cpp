#include "Kora/SDS/Source/SDS_TokenDispatcher.h"

#include "Bastel/Sys/Sys_Clock.h"
#include "Kora/SDS/Source/SDS_DispatcherState_p.h"
#include "Kora/SDS/Source/SDS_InterleavingPoint_p.h"
#include "Kora/SDS/Source/SDS_Name_p.h"
#include "Kora/SDS/Source/SDS_Producer_p.h"
#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "Kora/SDS/Source/SDS_TokenTask.h"
#include "Kora/SDS/Source/SDS_TokenTracker.h"
#include "Kora/Sys/Sys_AssertInitialized.h"
#include "OstrelPlatformSupport/PSThread.h"

#include <cstring>
#include <new>

namespace {

constexpr SDS_TokenPool::Size cTokenCells[] = {{112, 1000}, {156, 1000}, {438, 1000}, {1128, 200}};

// How many listeners are served with one visit to the pool.
constexpr std::size_t cServedAtOnce = 32;

constexpr std::size_t cLine = 64, cChunk = 16; // bytes
static_assert(SDS_Token::cHeaderSize >= cChunk);

// What is left of a token behind its last whole line: sixteen bytes at a time, the last ones once more where they
// overlap, since no token is smaller than its header.
inline void CopyRest(std::byte* oTo, const std::byte* iFrom, const std::byte* iEnd)
{
    if (iFrom == iEnd) return;
    for (; iEnd - iFrom > static_cast<std::ptrdiff_t>(cChunk); iFrom += cChunk, oTo += cChunk)
        std::memcpy(oTo, iFrom, cChunk);
    std::memcpy(oTo - (iFrom + cChunk - iEnd), iEnd - cChunk, cChunk);
}

inline void CopyToken(SDS_DeliveryElement& oElement, const SDS_Token& iToken)
{
    auto* to = reinterpret_cast<std::byte*>(oElement.GetToken());
    const auto* from = reinterpret_cast<const std::byte*>(&iToken);
    const std::byte* const end = from + iToken.size;
    for (; end - from >= static_cast<std::ptrdiff_t>(cLine); from += cLine, to += cLine)
        std::memcpy(to, from, cLine);
    CopyRest(to, from, end);
}

// To several, each line to all of them.
void CopyToken(SDS_DeliveryElement* const* iElements, std::size_t iCount, const SDS_Token& iToken)
{
    const auto* from = reinterpret_cast<const std::byte*>(&iToken);
    const auto bytes = static_cast<std::size_t>(iToken.size);
    std::size_t at = 0;
    for (; at + cLine <= bytes; at += cLine) {
        for (std::size_t i = 0; i < iCount; ++i)
            std::memcpy(reinterpret_cast<std::byte*>(iElements[i]->GetToken()) + at, from + at, cLine);
    }
    for (std::size_t i = 0; at < bytes && i < iCount; ++i)
        CopyRest(reinterpret_cast<std::byte*>(iElements[i]->GetToken()) + at, from + at, from + bytes);
}

// All but its place in the queue; the copy is there.
void FillHeader(SDS_DeliveryElement& oElement, SDS_ActiveListener& iActive, SDS_ActiveListenerList& iList,
                SDS_DeliveryElement* iHint)
{
    oElement.mPrevious = iHint;
    oElement.mActiveListener = &iActive;
    oElement.mList = &iList;
    oElement.mKind = SDS_DeliveryElement::Kind::eToken;
    oElement.mIsLatest = false;
    oElement.GetToken()->element = &oElement;
    static_cast<void>(SDS_TokenTracker::TrackTokenDeliveryQueue(oElement.GetToken(), &iActive));
}

std::size_t NeededBytes(const SDS_Token& iToken)
{
    return sizeof(SDS_DeliveryElement) + static_cast<std::size_t>(iToken.size);
}

bool IsMailed(const SDS_Hearer& iHearer)
{
    return (iHearer.GetFlags() & SDS_Hearer::eIsLatest) != 0 &&
           iHearer.mQueue->mPriority.load(std::memory_order_relaxed) < SDS_TokenTask::cAudioPriority;
}

// What the calling thread keeps, for one dispatch.
class StProducer
{
public:
    StProducer()
        : mProducer(SDS_Producer::Enter())
    {
    }
    ~StProducer()
    {
        if (mProducer != nullptr) mProducer->Leave();
    }
    StProducer(const StProducer&) = delete;
    StProducer& operator=(const StProducer&) = delete;
    SDS_Producer* Get() const { return mProducer; }

private:
    SDS_Producer* const mProducer;
};

// A list with one use taken, and where more of them come from; null: from the list.
struct Entered
{
    SDS_ActiveListenerList* mList = nullptr;
    SDS_Producer::PaidUses* mPaid = nullptr;
};

// One dispatch's way along a list. It has entered with one use and takes as many as there are listeners, so
// that each element that is sent takes a use with it; what is left over goes back at the end.
class Walk
{
public:
    Walk(const SDS_Token& iToken, const Entered& iEntered, SDS_Producer* iProducer)
        : mToken(iToken)
        , mList(*iEntered.mList)
        , mPaid(iEntered.mPaid)
        , mProducer(iProducer)
        , mPool(*SDS_DispatcherState::fTokenPool)
        , mUses(mList.mCount)
    {
        if (mUses > 1) {
            if (mPaid != nullptr)
                mPaid->Take(mUses - 1);
            else
                mList.mGate.mUse.Add(mUses - 1);
        }
        if (mUses == 0) mUses = 1;
    }
    ~Walk()
    {
        if (mPaid != nullptr)
            mPaid->Return(mUses);
        else if (mUses > 0)
            mList.mGate.mUse.Subtract(mUses);
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    ESDSError Serve()
    {
        const Cmn_UInt64 kind = SDS_Hearer::KindOf(mToken.type, mToken.subtype);
        const SDS_Hearer* hearer = mList.mHearers;
        const SDS_Hearer* const end = hearer + mList.mCount;
        while (hearer != end) {
            const SDS_Hearer* heard[cServedAtOnce];
            std::size_t count = 0;
            for (; hearer != end && count < cServedAtOnce; ++hearer) {
                if (hearer->HearsKind(kind) && (hearer->GetFlags() & SDS_Hearer::eIsThere) != 0)
                    heard[count++] = hearer;
            }
            if (count > 0 && !ServeSome(heard, count)) return eSDSErr_TokenPoolFull;
        }
        return eSDSErr_None;
    }

private:
    // False when there were not cells for all.
    bool ServeSome(const SDS_Hearer* const* iHeard, std::size_t iCount)
    {
        SDS_DeliveryElement* cells[cServedAtOnce];
        std::size_t got = 0;
        // Those for an only listener, and the last ones of others, are the thread's own.
        if (mList.mCount > 1 || mProducer == nullptr)
            got = mPool.AllocateMany(NeededBytes(mToken), cells, iCount);
        while (got < iCount && mProducer != nullptr) {
            if ((cells[got] = mProducer->Cells().Allocate(NeededBytes(mToken))) == nullptr) break;
            ++got;
        }
        CopyToken(cells, got, mToken);
        for (std::size_t i = 0; i < got;) {
            if (IsMailed(*iHeard[i])) {
                SDS_ActiveListener& active = *iHeard[i]->mActive;
                FillHeader(*cells[i], active, mList, nullptr);
                Mail(active, *cells[i++]);
            } else {
                i = Queue(iHeard, cells, i, got);
            }
        }
        return got == iCount;
    }

    // Queues the copies for the neighbours in the list that belong to one task as one chain; returns the
    // first index that is left.
    std::size_t Queue(const SDS_Hearer* const* iHeard, SDS_DeliveryElement* const* iCells, std::size_t iFirst,
                      std::size_t iEnd)
    {
        SDS_QueueBlock& queue = *iHeard[iFirst]->mQueue;
        const Cmn_UInt64 number = queue.mNumber.load();
        SDS_DeliveryElement* last = nullptr;
        std::size_t i = iFirst;
        do { // the first one is queued, also when it is to be mailed since it was looked at
            FillHeader(*iCells[i], *iHeard[i]->mActive, mList, nullptr);
            iCells[i]->mNumber = number;
            iCells[i]->mNext = last;
            last = iCells[i++];
        } while (i < iEnd && iHeard[i]->mQueue == &queue && !IsMailed(*iHeard[i]));
        const auto sent = static_cast<Cmn_UInt32>(i - iFirst);
        SDS_InterleavingPoint();
        if (queue.mInbound.PushNewestFirst(*last, *iCells[iFirst])) {
            mUses -= sent;
            for (Cmn_UInt32 count = queue.HasEvent() ? sent : 0; count > 0; --count)
                queue.Signal();
        } else {
            // The task has gone: the cells go back.
            for (std::size_t k = iFirst; k < i; ++k)
                mPool.Free(iCells[k]);
        }
        return i;
    }

    void Mail(SDS_ActiveListener& ioActive, SDS_DeliveryElement& ioElement)
    {
        SDS_QueueBlock& queue = *ioActive.mQueue;
        // The notice's use, in hand before anybody can take the element and release its own.
        mList.mGate.mUse.Add();
        ioElement.mNumber = queue.mNumber.fetch_add(1) + 1;
        bool queueNotice = false;
        SDS_InterleavingPoint();
        SDS_DeliveryElement* const replaced = ioActive.mMailbox.Post(&ioElement, queueNotice);
        --mUses;
        SDS_InterleavingPoint();
        if (replaced != nullptr) {
            // The new one is the consumer's by now; the caller's token tells as much.
            static_cast<void>(
                SDS_TokenTracker::TrackTokenDropped(&mToken, &ioActive, replaced->GetToken(), true));
        }
        TakeBack(replaced);
        if (!queueNotice) {
            ++mUses;
        } else if (!queue.mInbound.Push(ioActive.mNotice)) {
            ++mUses;
            TakeBack(ioActive.mMailbox.Take());
        }
        queue.Signal();
    }

    // An element of this list that came back with its use.
    void TakeBack(SDS_DeliveryElement* ioElement)
    {
        if (ioElement == nullptr) return;
        mPool.Free(ioElement);
        ++mUses;
    }

    const SDS_Token& mToken;
    SDS_ActiveListenerList& mList;
    SDS_Producer::PaidUses* const mPaid;
    SDS_Producer* const mProducer;
    SDS_TokenPool& mPool;
    Cmn_UInt32 mUses;
};

Entered Enter(const std::atomic<SDS_ActiveListenerList*>& iPointer, SDS_Producer* ioProducer)
{
    SDS_ActiveListenerList* const list =
        iPointer.load(std::memory_order_relaxed); // a guess: entering looks again
    if (list == nullptr) return {};
    SDS_Producer::PaidUses* const paid = ioProducer != nullptr ? ioProducer->FindUses(list) : nullptr;
    if (paid != nullptr) return {paid->Enter(iPointer), paid};
    return {SDS_ListGate::Enter<SDS_ActiveListenerList>(iPointer), nullptr};
}

// The list that governs the token's node.
Entered EnterListOf(const SDS_Name& iName, SDS_Producer* ioProducer)
{
    const Entered entered = Enter(iName.mActiveList, ioProducer);
    return entered.mList != nullptr ? entered
                                    : Enter(SDS_DispatcherState::fActiveGlobalListeners, ioProducer);
}

// Any dispatch.
[[gnu::noinline]] ESDSError DispatchByWalk(const SDS_Token& iToken)
{
    const StProducer producer;
    const Entered entered = EnterListOf(*iToken.name, producer.Get());
    if (entered.mList == nullptr) return eSDSErr_None;
    Walk walk(iToken, entered, producer.Get());
    return walk.Serve();
}

// One that is seldom: filtered, to be stamped, or without a node.
[[gnu::noinline]] ESDSError DispatchSeldom(SDS_Token& ioToken, SDS_TokenDispatcher::TokenFilter iFilter)
{
    if (iFilter != nullptr && iFilter(&ioToken) != 0) return eSDSErr_None;
    if (ioToken.time == SDS_Token::cStampTime)
        ioToken.time = static_cast<Cmn_Int32>(Sys_Clock::GetMonotonicMicroseconds() / 1000);
    if (ioToken.name == nullptr) return eSDSErr_InvalidName;
    static_cast<void>(SDS_TokenTracker::TrackTokenReceived(&ioToken));
    return DispatchByWalk(ioToken);
}

// For a token that is heard, after the thread's cells have run out or were of another size.
[[gnu::noinline]] ESDSError DispatchWithFreshCells(const SDS_Token& iToken);

// The task has gone.
[[gnu::noinline]] ESDSError TakeBack(SDS_Producer& ioProducer, SDS_Producer::PaidUses& ioPaid,
                                     SDS_DeliveryElement& ioElement)
{
    ioPaid.Return(1);
    SDS_DispatcherState::fTokenPool->Free(&ioElement);
    ioProducer.Leave();
    return eSDSErr_None;
}

[[gnu::noinline]] ESDSError Signal(SDS_QueueBlock& ioQueue)
{
    ioQueue.Signal();
    return eSDSErr_None;
}

// The common dispatch: a token for its list's only listener, which is there and no latest one, by a thread that has a use
// paid and a cell at hand. Whatever else comes up is another function's, called last: so this one saves few registers,
// and little is left to be written before the queue's head, which waits for all of it.
inline ESDSError Dispatch(const SDS_Token& iToken)
{
    SDS_Producer* const producer = SDS_Producer::EnterAtOnce();
    if (producer == nullptr) [[unlikely]]
        return DispatchByWalk(iToken);
    SDS_ActiveListenerList* const list = iToken.name->mActiveList.load();
    SDS_InterleavingPoint();
    SDS_Producer::PaidUses* const paid = producer->FindPaid(list);
    if (paid == nullptr || list->mCount != 1 || list->mOnly.GetFlags() != SDS_Hearer::eIsThere) [[unlikely]] {
        producer->Leave();
        return DispatchByWalk(iToken);
    }
    if (!list->mOnly.HearsKind(SDS_Hearer::KindOf(iToken.type, iToken.subtype))) {
        producer->Leave();
        return eSDSErr_None;
    }
    if (!producer->Cells().HasFor(NeededBytes(iToken))) [[unlikely]] {
        producer->Leave();
        return DispatchWithFreshCells(iToken);
    }
    SDS_DeliveryElement& element = *producer->Cells().Take();
    CopyToken(element, iToken);
    SDS_QueueBlock& queue = *list->mOnly.mQueue;
    // The element's use, before anybody can take it.
    const Cmn_UInt32 left = paid->TakeOne();
    FillHeader(element, *list->mOnly.mActive, *list, producer->NoteSent(left, element));
    element.mNumber = queue.mNumber.load();
    SDS_InterleavingPoint();
    if (!queue.mInbound.Push(element, producer->ExchangeNewest(queue, element))) [[unlikely]]
        return TakeBack(*producer, *paid, element);
    producer->Leave();
    return queue.HasEvent() ? Signal(queue) : eSDSErr_None;
}

ESDSError DispatchWithFreshCells(const SDS_Token& iToken)
{
    {
        const StProducer producer;
        if (producer.Get() == nullptr) return DispatchByWalk(iToken);
        if (!producer.Get()->Cells().Fetch(NeededBytes(iToken))) return eSDSErr_TokenPoolFull;
    }
    return Dispatch(iToken);
}

} // namespace

ESDSError SDS_TokenDispatcher::Init()
{
    if (SDS_DispatcherState::fCS != nullptr) return eSDSErr_None;
    try {
        auto pool = std::make_unique<SDS_TokenPool>(std::initializer_list<SDS_TokenPool::Size>{
            cTokenCells[0], cTokenCells[1], cTokenCells[2], cTokenCells[3]});
        SDS_DispatcherState::fCS = gPSThread.CreateCriticalSection("SDS_TokenDispatcher_CS").release();
        SDS_Producer::Open(*pool);
        SDS_DispatcherState::fTokenPool = pool.release();
    } catch (const std::bad_alloc&) {
        return eSDSErr_OutOfMemory;
    }
    SDS_TokenTracker::Init();
    return eSDSErr_None;
}

ESDSError SDS_TokenDispatcher::DispatchToken(SDS_Token* ioToken) KORA_NONBLOCKING
{
    if (ioToken == nullptr || ioToken->size < SDS_Token::cHeaderSize) return eSDSErr_OutOfMemory;
    const TokenFilter filter = SDS_DispatcherState::fTokenFilter.load(std::memory_order_acquire);
    if (filter != nullptr || ioToken->time == SDS_Token::cStampTime || ioToken->name == nullptr) [[unlikely]]
        return DispatchSeldom(*ioToken, filter);
    static_cast<void>(SDS_TokenTracker::TrackTokenReceived(ioToken));
    return Dispatch(*ioToken);
}

ESDSError SDS_TokenDispatcher::GetToken(SDS_TokenTask* iTask, SDS_TokenListener** oListener,
                                        SDS_Token** oToken)
{
    if (iTask == nullptr) return eSDSErr_InvalidTask;
    if (oListener == nullptr || oToken == nullptr) return eSDSErr_OutOfMemory;
    SDS_ReleaseBatch batch(GetTokenPool());
    const auto [element, listener] = iTask->DeliveryQueue()->TakeNext(batch);
    *oListener = listener;
    *oToken = element != nullptr ? element->GetToken() : nullptr;
    return eSDSErr_None;
}

ESDSError SDS_TokenDispatcher::GetTokenAndTaskVal(SDS_TokenTask* iTask, SDS_TokenListener** oListener,
                                                  void** oTaskVal, SDS_Token** oToken)
{
    if (iTask == nullptr) return eSDSErr_InvalidTask;
    if (oTaskVal == nullptr) return eSDSErr_OutOfMemory;
    const ESDSError result = GetToken(iTask, oListener, oToken);
    if (result == eSDSErr_None) *oTaskVal = *oListener != nullptr ? (*oListener)->GetTaskVal() : nullptr;
    return result;
}

ESDSError SDS_TokenDispatcher::DoneWithToken(SDS_Token* iToken)
{
    if (iToken == nullptr) return eSDSErr_OutOfMemory;
    SDS_ReleaseBatch batch(GetTokenPool());
    batch.Release(*SDS_DeliveryElement::OfToken(*iToken));
    return eSDSErr_None;
}

ESDSError SDS_TokenDispatcher::TokensAvailable(SDS_TokenTask* iTask, unsigned char* oAvailable)
{
    if (iTask == nullptr) return eSDSErr_InvalidTask;
    if (oAvailable == nullptr) return eSDSErr_OutOfMemory;
    *oAvailable = iTask->DeliveryQueue()->HasTokens() ? 1 : 0;
    return eSDSErr_None;
}

void SDS_TokenDispatcher::SetDispatchTokenFilter(TokenFilter iFilter)
{
    SDS_DispatcherState::fTokenFilter.store(iFilter, std::memory_order_release);
}

IPSSyncPrim* SDS_TokenDispatcher::GetCriticalSection()
{
    if (!Sys_ASSERT_INITIALIZED(SDS_DispatcherState::fCS != nullptr)) static_cast<void>(Init());
    return SDS_DispatcherState::fCS;
}

SDS_TokenPool& SDS_TokenDispatcher::GetTokenPool() { return *SDS_DispatcherState::fTokenPool; }

void SDS_TokenDispatcher::GrowTokenPoolIfLow()
{
    SDS_TokenPool& pool = GetTokenPool();
    if (pool.IsRunningLow()) SDS_DispatcherState::fTokenPoolGrowCount.fetch_add(pool.GrowIfLow());
}

Cmn_UInt32 SDS_TokenDispatcher::GetTokenPoolGrowCount()
{
    return SDS_DispatcherState::fTokenPoolGrowCount.load();
}

void SDS_TokenDispatcher::SetInterleavingHook(void (*iHook)())
{
    SDS_DispatcherState::fInterleavingHook.store(iHook);
}

void SDS_TokenDispatcher::CallInterleavingHook()
{
    if (void (*const hook)() = SDS_DispatcherState::fInterleavingHook.load(std::memory_order_acquire)) hook();
}

std::string SDS_TokenDispatcher::Dump()
{
    const IPSSyncPrim::StEnter section(*GetCriticalSection());
    const SDS_TokenPool& pool = GetTokenPool();
    std::string text;
    for (std::size_t i = 0; i < pool.GetClassCount(); ++i) {
        text += "cells of " + std::to_string(cTokenCells[i].mCellBytes) +
                " bytes: " + std::to_string(pool.GetFreeCount(i)) + " of " +
                std::to_string(pool.GetCellCount(i)) + " free\n";
    }
    for (const SDS_ActiveListenerList* list = SDS_DispatcherState::fListsToFree; list != nullptr;
         list = list->mNextList)
    {
        text += "retired list of " + std::to_string(list->mCount) +
                " listeners: " + std::to_string(list->mGate.mUse.Get()) + " uses\n";
    }
    return text;
}
