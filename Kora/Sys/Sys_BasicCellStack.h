// Sys_BasicCellStack: which cells of one size are free, and where they lie.
// Sys_MultiSizeAtomicPool has one a size.
//
//   head  ┌─ tag 32 ─┬─ free 16: 3 ─┬─ top 16: 0 ─┐     links  0: 2   1: none   2: 1     the stack is  0, 2,
//         1
//
// Units:      a cell's index is its block * 1024 + its place in the block, or cNone.
// Invariants: (1) the links from the top lead over exactly `free` cells, all different  (2) every change of
//             the head raises the tag  (3) the block of a cell that is or was on the stack is published.
// Words:      the head is changed by whoever takes or returns cells, with one compare-and-swap. The tag tells
//             a head that went away and came back from one that stood still; only a taker that slept through
//             exactly 2^32 changes would be misled. Links stand beside the cells, not inside: a taker with an
//             outdated head reads an outdated link, and never what a new owner writes into the cell. A
//             block's address is stored before its cells come onto the stack, and never changes.
// Threads:    any; AddBlock: one at a time.
// Ownership:  owns its links; the blocks' memory is the caller's.
// Real time:  nothing is allocated after construction, nobody waits: a call tries again only when
//             another one has succeeded.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "OstrelPlatformSupport/PSStdAtomic.h"

#include <cstddef>
#include <memory>

// Not in the template, and not in an exported class, so that every module has them as constants.
struct Sys_CellStackLimits
{
    static constexpr unsigned cPlaceBits = 10;
    static constexpr unsigned cMaxCellsInBlock = 1000;
    static constexpr unsigned cMaxBlocks = 16;
    static constexpr unsigned cMaxBatch = 32; // cells that one call takes or returns
    static constexpr unsigned cMaxSlots = cMaxBlocks << cPlaceBits;
    static constexpr Cmn_UInt16 cNone = 0xFFFF;
};
static_assert(Sys_CellStackLimits::cMaxSlots < Sys_CellStackLimits::cNone);

template <template <class> class TAtomic>
class Sys_BasicCellStack : public Sys_CellStackLimits
{
public:
    // Without cells. iStride: bytes from a cell to the next. iSlots: indices are below it.
    explicit Sys_BasicCellStack(std::size_t iStride, unsigned iSlots = cMaxSlots)
        : mStride(iStride)
        , mLinks(std::make_unique<TAtomic<Cmn_UInt16>[]>(iSlots))
    {
    }

    // Takes up to iWanted cells (1 to cMaxBatch), beginning with the top one, and returns how many: 0 when
    // none is free. oLeft: free cells that it left.
    unsigned Pop(Cmn_UInt16* oCells, unsigned iWanted, unsigned& oLeft) KORA_NONBLOCKING;

    // Returns iCount cells (1 or more), the first one becomes the top; how many are free then.
    unsigned Push(const Cmn_UInt16* iCells, unsigned iCount) KORA_NONBLOCKING;

    // Publishes block iBlock of iCount cells (1 to cMaxCellsInBlock) at iMemory and
    // pushes them in their order.
    void AddBlock(unsigned iBlock, std::byte* iMemory, unsigned iCount);

    // Where a cell lies that was taken from the stack.
    std::byte* Locate(Cmn_UInt16 iCell) const KORA_NONBLOCKING
    {
        // relaxed: the head that named the cell was read after the address was stored.
        return mBlocks[iCell >> cPlaceBits].load(std::memory_order_relaxed) +
               (iCell & ((1u << cPlaceBits) - 1)) * mStride;
    }

    // What was true at one moment.
    unsigned GetFreeCount() const KORA_NONBLOCKING { return FreeOf(mHead.load()); }
    std::size_t GetStride() const { return mStride; }

private:
    static constexpr Cmn_UInt16 TopOf(Cmn_UInt64 iHead) { return static_cast<Cmn_UInt16>(iHead); }
    static constexpr unsigned FreeOf(Cmn_UInt64 iHead) { return static_cast<Cmn_UInt16>(iHead >> 16); }
    // The head that follows iBefore, with the next tag.
    static constexpr Cmn_UInt64 Successor(Cmn_UInt64 iBefore, unsigned iFree, Cmn_UInt16 iTop)
    {
        return (((iBefore >> 32) + 1) << 32) | static_cast<Cmn_UInt64>(iFree) << 16 | iTop;
    }
    unsigned PushLinked(Cmn_UInt16 iFirst, Cmn_UInt16 iLast, unsigned iCount);

    // Read-mostly, apart from the head that all write.
    const std::size_t mStride;
    const std::unique_ptr<TAtomic<Cmn_UInt16>[]> mLinks;
    TAtomic<std::byte*> mBlocks[cMaxBlocks] = {};
    alignas(cPSCacheLineBytes) TAtomic<Cmn_UInt64> mHead{cNone};
};

template <template <class> class TAtomic>
unsigned Sys_BasicCellStack<TAtomic>::Pop(Cmn_UInt16* oCells, unsigned iWanted,
                                          unsigned& oLeft) KORA_NONBLOCKING
{
    Cmn_UInt64 head = mHead.load();
    for (;;) {
        const unsigned free = FreeOf(head);
        const unsigned taken = iWanted < free ? iWanted : free;
        oLeft = free - taken;
        if (taken == 0) return 0;

        Cmn_UInt16 top = TopOf(head);
        unsigned found = 0;
        do {
            oCells[found++] = top;
            // relaxed: published by the head. With an outdated head the walk may lead astray, among links
            // that exist or to cNone; the tag then lets the swap fail.
            top = mLinks[top].load(std::memory_order_relaxed);
        } while (found < taken && top != cNone);
        if (mHead.compare_exchange_weak(head, Successor(head, oLeft, top))) return taken;
    }
}

template <template <class> class TAtomic>
unsigned Sys_BasicCellStack<TAtomic>::Push(const Cmn_UInt16* iCells, unsigned iCount) KORA_NONBLOCKING
{
    for (unsigned i = 0; i + 1 < iCount; ++i)
        mLinks[iCells[i]].store(iCells[i + 1], std::memory_order_relaxed); // published by the head
    return PushLinked(iCells[0], iCells[iCount - 1], iCount);
}

template <template <class> class TAtomic>
void Sys_BasicCellStack<TAtomic>::AddBlock(unsigned iBlock, std::byte* iMemory, unsigned iCount)
{
    const unsigned first = iBlock << cPlaceBits;
    for (unsigned i = first; i + 1 < first + iCount; ++i)
        mLinks[i].store(static_cast<Cmn_UInt16>(i + 1), std::memory_order_relaxed); // published by the head
    mBlocks[iBlock].store(iMemory);
    PushLinked(static_cast<Cmn_UInt16>(first), static_cast<Cmn_UInt16>(first + iCount - 1), iCount);
}

template <template <class> class TAtomic>
unsigned Sys_BasicCellStack<TAtomic>::PushLinked(Cmn_UInt16 iFirst, Cmn_UInt16 iLast, unsigned iCount)
{
    Cmn_UInt64 head = mHead.load();
    do {
        mLinks[iLast].store(TopOf(head), std::memory_order_relaxed); // published by the head
    } while (!mHead.compare_exchange_weak(head, Successor(head, FreeOf(head) + iCount, iFirst)));
    return FreeOf(head) + iCount;
}
