// Who hears whom: active lists built, put in force, retired and recycled. All of it under
// the dispatcher's section.
#include "Kora/SDS/Source/SDS_ConnectionClosureIterator.h"
#include "Kora/SDS/Source/SDS_DispatcherState_p.h"
#include "Kora/SDS/Source/SDS_Name_p.h"
#include "Kora/SDS/Source/SDS_Producer_p.h"
#include "Kora/SDS/Source/SDS_TokenListener.h"
#include "Kora/SDS/Source/SDS_TokenTask.h"

#include <utility>

namespace {

using State = SDS_DispatcherState;

// The node has an audience.
void PutOnBatchList(SDS_Name& ioName)
{
    SDS_NameListElement& element = ioName.mAudience->mBatchElement;
    SDS_BatchList& batch = State::fBatchRebuildActiveListenerList;
    element.mQueued = true;
    element.mNext = nullptr;
    element.mPrevious = batch.mLast;
    (batch.mLast != nullptr ? batch.mLast->mNext : batch.mFirst) = &element;
    batch.mLast = &element;
    ++batch.mCount;
}

// Recycles the retired lists that nobody uses any more.
void TryToFreeActiveListenerLists()
{
    if (State::fListsToFree != nullptr) SDS_Producer::GiveBack();
    SDS_ActiveListenerList* list = std::exchange(State::fListsToFree, nullptr);
    while (list != nullptr) {
        SDS_ActiveListenerList* const next = list->mNextList;
        if (list->mGate.TryToClose()) {
            SDS_ActiveListenerList::Recycle(*list);
        } else {
            list->mNextList = State::fListsToFree;
            State::fListsToFree = list;
        }
        list = next;
    }
    if (State::fListsToFree != nullptr) SDS_Producer::NoteRetired();
}

void DropReference(SDS_ActiveListenerList* ioList)
{
    if (ioList == nullptr || --ioList->mReferences > 0) return;
    ioList->mNextList = State::fListsToFree;
    State::fListsToFree = ioList;
}

void FreeListsUnlessBatching()
{
    if (State::fBatchRebuildActiveListenerList.mCount == 0) TryToFreeActiveListenerLists();
}

// A list that no node points at yet goes back. Producers may count themselves in even so: those who are
// late from its life before.
void Discard(SDS_ActiveListenerList& ioList)
{
    ioList.mGate.Close();
    SDS_ActiveListenerList::Recycle(ioList);
}

template <class TVisit>
void ForEach(SDS_ConnectionClosureIterator& ioClosure, TVisit iVisit)
{
    static_cast<void>(ioClosure.First());
    while (ioClosure.Valid()) {
        iVisit(*static_cast<SDS_Name*>(ioClosure.Item()));
        static_cast<void>(ioClosure.Next());
    }
}

// Of connected nodes all are on the batch list or none. So a walk ends at those that are, and a node that is
// has one neighbour at most that is not: the one it was just connected with. However many connections a pause
// sees, each node is visited once.
ESDSError PutClosureOnBatchList(SDS_Name& ioName)
{
    SDS_Name* from = &ioName;
    if (from->IsQueued() && from->Connections() != nullptr) from = from->Connections()->OtherThan(from);
    if (from->IsQueued()) return eSDSErr_None;
    // The others are connected, and so have one.
    if (!SDS_NameEnsureAudience(*from)) return eSDSErr_OutOfMemory;
    SDS_ConnectionClosureIterator closure(SDS_ConnectionClosureIterator::Walk::eUnheldUnqueued);
    if (const ESDSError result = closure.Reset(from); result != eSDSErr_None) return result;
    ForEach(closure, PutOnBatchList);
    return eSDSErr_None;
}

// False when there is no memory.
bool AppendAll(SDS_ActiveListenerList& ioList, SDS_TokenListener* iFirst)
{
    for (SDS_TokenListener* listener = iFirst; listener != nullptr; listener = listener->GetNextInName()) {
        if (!ioList.Append(*listener)) return false;
    }
    return true;
}

// Null when there is no memory.
SDS_ActiveListenerList* BuildList(SDS_ConnectionClosureIterator& ioClosure)
{
    SDS_ActiveListenerList* const list = SDS_ActiveListenerList::Create();
    if (list == nullptr) return nullptr;
    bool built = true;
    ForEach(ioClosure, [&](SDS_Name& iName) {
        if (iName.mAudience != nullptr) built = built && AppendAll(*list, iName.mAudience->mFirstListener);
    });
    if (built && list->LayOut()) return list;
    Discard(*list);
    return nullptr;
}

} // namespace

void SDS_TokenDispatcher::TakeOffBatchList(SDS_Name& ioName)
{
    if (!ioName.IsQueued()) return;
    SDS_NameListElement& element = ioName.mAudience->mBatchElement;
    SDS_BatchList& batch = State::fBatchRebuildActiveListenerList;
    (element.mPrevious != nullptr ? element.mPrevious->mNext : batch.mFirst) = element.mNext;
    (element.mNext != nullptr ? element.mNext->mPrevious : batch.mLast) = element.mPrevious;
    element.mNext = element.mPrevious = nullptr;
    element.mQueued = false;
    --batch.mCount;
}

ESDSError SDS_TokenDispatcher::RebuildActiveListenerList(SDS_Name* iName, bool iForce)
{
    if (iName == nullptr) return eSDSErr_InvalidName;
    const IPSSyncPrim::StEnter section(*State::fCS);
    if (!iForce && State::fTokensPausedCount.load() >= 1) return PutClosureOnBatchList(*iName);
    SDS_ConnectionClosureIterator closure(SDS_ConnectionClosureIterator::Walk::eUnheld);
    if (const ESDSError result = closure.Reset(iName); result != eSDSErr_None) return result;
    SDS_ActiveListenerList* const list = BuildList(closure);
    if (list == nullptr) return eSDSErr_OutOfMemory;
    ForEach(closure, [&](SDS_Name& ioName) {
        ++list->mReferences;
        DropReference(ioName.mActiveList.exchange(list));
        TakeOffBatchList(ioName);
    });
    FreeListsUnlessBatching();
    return eSDSErr_None;
}

ESDSError SDS_TokenDispatcher::FreeActiveListenerList(SDS_Name* iName)
{
    if (iName == nullptr) return eSDSErr_InvalidName;
    const IPSSyncPrim::StEnter section(*State::fCS);
    return FreeActiveListenerList(iName->mActiveList.exchange(nullptr));
}

ESDSError SDS_TokenDispatcher::FreeActiveListenerList(SDS_ActiveListenerList* ioList)
{
    const IPSSyncPrim::StEnter section(*State::fCS);
    DropReference(ioList);
    FreeListsUnlessBatching();
    return eSDSErr_None;
}

bool SDS_TokenDispatcher::GetTokensPaused() { return State::fTokensPausedCount.load() > 0; }

void SDS_TokenDispatcher::SetTokensPaused(bool iPaused)
{
    const IPSSyncPrim::StEnter section(*GetCriticalSection());
    if (iPaused) {
        State::fTokensPausedCount.fetch_add(1);
        return;
    }
    if (State::fTokensPausedCount.fetch_sub(1) != 1) return;
    while (SDS_NameListElement* const element = State::fBatchRebuildActiveListenerList.mFirst) {
        SDS_Name& name = *element->mName;
        // A node whose rebuild fails is taken off all the same.
        static_cast<void>(RebuildActiveListenerList(&name, true));
        TakeOffBatchList(name);
    }
    TryToFreeActiveListenerLists();
}

// A pause does not defer it: it concerns one list only.
ESDSError SDS_TokenDispatcher::RebuildGlobalListeners()
{
    const IPSSyncPrim::StEnter section(*State::fCS);
    SDS_ActiveListenerList* list = nullptr;
    if (State::fGlobalListeners.mFirstListener != nullptr) {
        list = SDS_ActiveListenerList::Create();
        if (list == nullptr) return eSDSErr_OutOfMemory;
        if (!AppendAll(*list, State::fGlobalListeners.mFirstListener) || !list->LayOut()) {
            Discard(*list);
            return eSDSErr_OutOfMemory;
        }
        list->mReferences = 1;
    }
    DropReference(State::fActiveGlobalListeners.exchange(list));
    FreeListsUnlessBatching();
    return eSDSErr_None;
}
