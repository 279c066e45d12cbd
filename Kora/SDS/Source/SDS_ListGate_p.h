// SDS_ListGate: how a producer walks a list that others replace and recycle, without a lock.
//
//   producer                                    retiring, under the dispatcher's section
//   list = pointer                              pointer = new list
//   use(list) + 1                               references gone: retired
//   pointer still list? else use − 1, anew      use = 0? block + 1; use still 0? recycle, block = 0
//   … walk …
//   use − 1, or one use for each element sent
//
// All of it is sequentially consistent. A producer that finds its pointer unchanged has counted itself in
// before the pointer was replaced, so the retiring side sees its use. One that finds it changed has perhaps
// counted itself in at a list that is retired, free or in use elsewhere; lists are never handed back to the
// allocator, and its use goes away again. Nobody ever waits.
//
// SDS_PaidUses: a thread counts itself in for many walks at once. A list in use is not recycled; so while the thread
// has a use of it left, a pointer that leads to the list leads to this very one, and one look at it is enough.
//
// Invariant: the block is 1 while the list is free and 0 before a pointer leads to it.
//
// Shared words: the pointer is written by the retiring side; the uses by everybody; the
// block by the retiring side.
#pragma once

#include "Kora/SDS/Source/SDS_InterleavingPoint_p.h"
#include "OstrelPlatformSupport/PSAtomic_UInt32Semaphore.h"

template <class TSemaphore>
struct SDS_BasicListGate
{
    TSemaphore mUse;   // dispatches that walk the list, elements that came from it, mailboxes that are queued
    TSemaphore mBlock; // positive while the list is being freed, until it is used anew

    // The list that iPointer leads to, with so many uses taken; null when it leads to none.
    template <class TList, class TPointer>
    static TList* Enter(const TPointer& iPointer, Cmn_UInt32 iUses = 1)
    {
        TList* list = iPointer.load();
        while (list != nullptr) {
            SDS_InterleavingPoint();
            list->mGate.mUse.Add(iUses);
            SDS_InterleavingPoint();
            TList* const now = iPointer.load();
            if (now == list && list->mGate.mBlock.Get() == 0) return list;
            list->mGate.mUse.Subtract(iUses);
            list = now;
        }
        return nullptr;
    }

    // True when nobody uses the list, to which no pointer leads any more: it is then blocked, and free.
    bool TryToClose()
    {
        if (mUse.Get() > 0) return false;
        mBlock.Add();
        SDS_InterleavingPoint();
        if (mUse.Get() == 0) return true;
        mBlock.Subtract();
        return false;
    }

    // For a list that was taken for use and that no pointer has led to since: it is blocked, and
    // free, however many count themselves in just now. They come late, find that their pointer
    // leads elsewhere, and leave.
    void Close() { mBlock.Add(); }

    // Before the list is used anew.
    void Reopen() { mBlock.Subtract(); }
};

using SDS_ListGate = SDS_BasicListGate<PSAtomic_UInt32Semaphore>;

// One thread's uses of one list.
template <class TList>
class SDS_PaidUses
{
public:
    static constexpr Cmn_UInt32 cAhead = 64;

    bool IsFor(const TList* iList) const { return mUses > 0 && mList == iList; }
    bool HasSome() const { return mUses > 0; }
    Cmn_UInt32 GetCount() const { return mUses; }

    // As the gate's, with one use taken. What was paid for another list is given back.
    template <class TPointer>
    TList* Enter(const TPointer& iPointer)
    {
        TList* const list = iPointer.load();
        SDS_InterleavingPoint();
        if (mUses > 0 && list == mList) {
            --mUses;
            return mList;
        }
        GiveBack();
        mList = decltype(TList::mGate)::template Enter<TList>(iPointer, cAhead);
        mUses = mList != nullptr ? cAhead - 1 : 0;
        return mList;
    }
    // Further uses, while one is in hand; and those that are left.
    void Take(Cmn_UInt32 iCount)
    {
        if (mUses < iCount) {
            mList->mGate.mUse.Add(iCount + cAhead);
            mUses += iCount + cAhead;
        }
        mUses -= iCount;
    }
    void Return(Cmn_UInt32 iCount) { mUses += iCount; }
    // One of those that are left, of which there is one; how many there are then.
    Cmn_UInt32 TakeOne() { return --mUses; }

    void GiveBack()
    {
        if (mUses > 0) mList->mGate.mUse.Subtract(mUses);
        mUses = 0;
    }

private:
    TList* mList = nullptr;
    Cmn_UInt32 mUses = 0;
};
