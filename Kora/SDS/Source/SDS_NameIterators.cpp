// The six kinds of iterators over nodes.
#include "Kora/SDS/Source/SDS_ChildIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionClosureIterator.h"
#include "Kora/SDS/Source/SDS_ConnectionIterator.h"
#include "Kora/SDS/Source/SDS_Name_p.h"
#include "Kora/SDS/Source/SDS_ParentIterator.h"

#include <new>
#include <utility>

SDS_Iterator::~SDS_Iterator() = default;

ESDSError SDS_Iterator::First() { return eSDSErr_NotSupported; }

ESDSError SDS_Iterator::Last() { return eSDSErr_NotSupported; }

ESDSError SDS_Iterator::Next() { return eSDSErr_NotSupported; }

ESDSError SDS_Iterator::Previous() { return eSDSErr_NotSupported; }

bool SDS_Iterator::Valid() { return mValid; }

void SDS_Iterator::Invalidate() { mValid = false; }

SDS_NameIterator::~SDS_NameIterator() = default;

// Children.

SDS_ChildIterator::~SDS_ChildIterator() { LetGo(); }

void SDS_ChildIterator::LetGo()
{
    mValid = false;
    if (SDS_Name* const child = std::exchange(mChild, nullptr)) SDS_NameRelease(*child);
    if (SDS_Name* const parent = std::exchange(mParent, nullptr)) SDS_NameRelease(*parent);
}

ESDSError SDS_ChildIterator::Reset(SDS_Name* iName)
{
    // The new hold comes before the old one goes: it may be the last on the same node.
    if (iName != nullptr && !SDS_NameAddReference(*iName)) {
        LetGo();
        return eSDSErr_OutOfMemory;
    }
    LetGo();
    mParent = iName;
    SDS_Name* const child = iName != nullptr ? iName->Links().mLiveChildren : nullptr;
    if (child == nullptr) return eSDSErr_None; // the node stays held, as with children
    if (!SDS_NameAddReference(*child)) {
        LetGo();
        return eSDSErr_OutOfMemory;
    }
    mChild = child;
    mValid = true;
    return eSDSErr_None;
}

ESDSError SDS_ChildIterator::Next()
{
    if (!mValid) return eSDSErr_IteratorDone;
    SDS_Name* const next = mChild->Links().mNext;
    if (next == nullptr || !SDS_NameAddReference(*next)) {
        LetGo();
        return next == nullptr ? eSDSErr_None : eSDSErr_OutOfMemory;
    }
    SDS_NameRelease(*std::exchange(mChild, next));
    return eSDSErr_None;
}

void* SDS_ChildIterator::Item() { return mValid ? mChild : nullptr; }

// Parents.

SDS_ParentIterator::~SDS_ParentIterator() { static_cast<void>(MoveTo(nullptr)); }

ESDSError SDS_ParentIterator::MoveTo(SDS_Name* iName)
{
    const bool held = iName == nullptr || SDS_NameAddReference(*iName);
    SDS_Name* const before = std::exchange(mName, held ? iName : nullptr);
    mValid = mName != nullptr;
    if (before != nullptr) SDS_NameRelease(*before);
    return held ? eSDSErr_None : eSDSErr_OutOfMemory;
}

ESDSError SDS_ParentIterator::Reset(SDS_Name* iName) { return MoveTo(iName); }

ESDSError SDS_ParentIterator::Next() { return mValid ? MoveTo(mName->mParent) : eSDSErr_IteratorDone; }

void* SDS_ParentIterator::Item() { return mValid ? mName : nullptr; }

// Lists gathered beforehand.

SDS_CachingNameIterator::SDS_CachingNameIterator(bool iHolds)
    : mHolds(iHolds)
{
}

bool SDS_CachingNameIterator::Hold(SDS_Name& ioName) const { return !mHolds || SDS_NameAddReference(ioName); }

void SDS_CachingNameIterator::LetGo(SDS_Name& ioName) const
{
    if (mHolds) SDS_NameRelease(ioName);
}

SDS_CachingNameIterator::~SDS_CachingNameIterator() { FreeConnectionList(); }

void SDS_CachingNameIterator::FreeConnectionList()
{
    mCurrent = nullptr;
    mValid = false;
    while (Entry* const entry = mHead) {
        mHead = entry->mNext;
        entry->mName->Links().mVisited = 0;
        LetGo(*entry->mName);
        delete entry;
    }
}

SDS_CachingNameIterator::Entry* SDS_CachingNameIterator::Push(SDS_Name* iName)
{
    Entry* const entry = new (std::nothrow) Entry{iName, mHead, nullptr, nullptr};
    if (entry == nullptr) return nullptr;
    if (!Hold(*iName)) {
        delete entry;
        return nullptr;
    }
    mHead = entry;
    return entry;
}

ESDSError SDS_CachingNameIterator::Reset(SDS_Name* iName)
{
    if (iName != nullptr && !Hold(*iName)) {
        FreeConnectionList();
        return eSDSErr_OutOfMemory;
    }
    FreeConnectionList();
    const ESDSError result = Set(iName);
    if (result != eSDSErr_None) FreeConnectionList();
    if (iName != nullptr) LetGo(*iName);
    return result;
}

ESDSError SDS_CachingNameIterator::First()
{
    mCurrent = mHead;
    mValid = mHead != nullptr;
    return eSDSErr_None;
}

ESDSError SDS_CachingNameIterator::Next()
{
    if (!mValid) return eSDSErr_IteratorDone;
    mCurrent = mCurrent->mNext;
    if (mCurrent == nullptr) Invalidate();
    return eSDSErr_None;
}

void* SDS_CachingNameIterator::Item() { return mValid ? mCurrent->mName : nullptr; }

SDS_ConnectionIterator::~SDS_ConnectionIterator() = default;

// The newest connection is the first of the node's list, and the last here.
ESDSError SDS_ConnectionIterator::Set(SDS_Name* iName)
{
    SDS_ConnectionRecord* record = iName != nullptr ? iName->Connections() : nullptr;
    for (; record != nullptr; record = record->NextOf(iName)) {
        if (Push(record->OtherThan(iName)) == nullptr) return eSDSErr_OutOfMemory;
    }
    return First();
}

SDS_ConnectionClosureIterator::SDS_ConnectionClosureIterator(Walk iWalk)
    : SDS_CachingNameIterator(iWalk == Walk::eHeld)
    , mSkipsQueued(iWalk == Walk::eUnheldUnqueued)
{
}

SDS_ConnectionClosureIterator::~SDS_ConnectionClosureIterator() = default;

ESDSError SDS_ConnectionClosureIterator::Set(SDS_Name* iName)
{
    if (const ESDSError result = WalkConnections(iName); result != eSDSErr_None) return result;
    for (Entry* entry = mHead; entry != nullptr; entry = entry->mNext)
        entry->mName->Links().mVisited = 0;
    return First();
}

SDS_CachingNameIterator::Entry* SDS_ConnectionClosureIterator::Visit(SDS_Name* iName, Entry* iFrom)
{
    Entry* const entry = Push(iName);
    if (entry == nullptr) return nullptr;
    iName->Links().mVisited = 1;
    entry->mRest = iName->Connections();
    entry->mFrom = iFrom;
    return entry;
}

// Depth first, without recursion: each entry knows what is left of its node's connections, and
// where it was reached from.
ESDSError SDS_ConnectionClosureIterator::WalkConnections(SDS_Name* iName)
{
    if (iName == nullptr || iName->Links().mVisited != 0) return eSDSErr_None;
    Entry* current = Visit(iName, nullptr);
    if (current == nullptr) return eSDSErr_OutOfMemory;
    while (current != nullptr) {
        SDS_ConnectionRecord* const record = current->mRest;
        if (record == nullptr) {
            current = current->mFrom;
            continue;
        }
        current->mRest = record->NextOf(current->mName);
        SDS_Name* const other = record->OtherThan(current->mName);
        if (other->Links().mVisited != 0 || (mSkipsQueued && other->IsQueued())) continue;
        current = Visit(other, current);
        if (current == nullptr) return eSDSErr_OutOfMemory;
    }
    return eSDSErr_None;
}
