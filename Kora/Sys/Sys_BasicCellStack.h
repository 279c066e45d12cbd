// Sys_BasicCellStack: which cells of one size are free, and where they lie.
// Sys_MultiSizeAtomicPool has one a size.
//
//   head  ┌─ tag 32 ─┬─ free 16: 3 ─┬─ top 16: 0 ─┐     links  0: 2 1 none   1: none   2: 1 none
//                                                       the stack is  0, 2, 1
//
// A cell's link names the four cells below it, as long as they are known: who takes eight reads two links and not eight,
// each of which another core may have written last.
//
// Units:      a cell's index is its block * 1024 + its place in the block, or cNone.
// Invariants: (1) the links from the top lead over exactly `free` cells, all different; nothing below a cell changes
//             while it is on the stack, so neither does its link  (2) every change of
//             the head raises the tag  (3) the block of a cell that is or was on the stack is published.
// Words:      the head is changed by whoever takes or returns cells, with one compare-and-swap. The tag tells
//             a head that went away and came back from one that stood still; only a taker that slept through
//             exactly 2^32 changes would be misled. Links stand beside the cells, not inside: a taker with an
//             outdated head reads an outdated link, and never what a new owner writes into the cell. A
//             block's address is stored before its cells come onto the stack, and never changes.
// Threads:    any; AddLinks and AddBlock: one at a time.
// Ownership:  owns its links; the blocks' memory is the caller's.
// Real time:  only AddLinks allocates, nobody waits: a call tries again only when another one has succeeded.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "OstrelPlatformSupport/PSStdAtomic.h"

#include <cstddef>
#include <memory>
#include <new>

// Not in the template, and not in an exported class, so that every module has them as constants.
struct Sys_CellStackLimits
{
    static constexpr unsigned cPlaceBits = 10; // of an index: the cell in its block; those above: the block
    static constexpr unsigned cMaxCellsInBlock = 1000; // fits the bits of a place
    static constexpr unsigned cMaxBlocks = 16;         // of one stack
    static constexpr unsigned cMaxBatch = 32;          // cells that one call takes or returns
    static constexpr unsigned cAhead = 4;              // cells that a link names
    static constexpr Cmn_UInt16 cNone = 0xFFFF;        // no cell
};
static_assert(Sys_CellStackLimits::cMaxBlocks << Sys_CellStackLimits::cPlaceBits <
              Sys_CellStackLimits::cNone);
static_assert(Sys_CellStackLimits::cMaxBatch % Sys_CellStackLimits::cAhead == 0);

template <template <class> class TAtomic>
class Sys_BasicCellStack : public Sys_CellStackLimits
{
public:
    // Without cells. iStride: bytes from a cell to the next.
    explicit Sys_BasicCellStack(std::size_t iStride)
        : mStride(iStride)
    {
    }

    // Takes up to iWanted cells (1 to cMaxBatch), beginning with the top one, and returns how many: 0 when
    // none is free. oCells: room for cMaxBatch, whatever is wanted. oLeft: free cells that it left.
    unsigned Pop(Cmn_UInt16* oCells, unsigned iWanted, unsigned& oLeft) KORA_NONBLOCKING;

    // Returns iCount cells (1 or more), the first one becomes the top; how many are free then.
    unsigned Push(const Cmn_UInt16* iCells, unsigned iCount) KORA_NONBLOCKING;

    // Makes the links of block iBlock; false when there is no memory for them.
    [[nodiscard]] bool AddLinks(unsigned iBlock, unsigned iCount)
    {
        mLinks[iBlock].reset(new (std::nothrow) TAtomic<Cmn_UInt64>[iCount]);
        return mLinks[iBlock] != nullptr;
    }
    // Then publishes its iCount cells (1 to cMaxCellsInBlock) at iMemory and pushes them: the first one becomes the top.
    void AddBlock(unsigned iBlock, std::byte* iMemory, unsigned iCount);

    // Where a cell lies that was taken from the stack.
    std::byte* Locate(Cmn_UInt16 iCell) const KORA_NONBLOCKING
    {
        // relaxed: the head that named the cell was read after the address was stored.
        return mBlocks[BlockOf(iCell)].load(std::memory_order_relaxed) + PlaceOf(iCell) * mStride;
    }

    // What was true at one moment.
    unsigned GetFreeCount() const KORA_NONBLOCKING { return FreeOf(mHead.load()); }
    std::size_t GetStride() const { return mStride; }

private:
    static constexpr Cmn_UInt64 cAllNone = ~Cmn_UInt64{0};
    static_assert(cAhead * sizeof(Cmn_UInt16) == sizeof(Cmn_UInt64));

    // acquire and release, of links: who reads an outdated one comes to cells whose block is published for it too.
    TAtomic<Cmn_UInt64>& LinkOf(Cmn_UInt16 iCell) const { return mLinks[BlockOf(iCell)][PlaceOf(iCell)]; }
    static constexpr unsigned BlockOf(Cmn_UInt16 iCell) { return static_cast<unsigned>(iCell) >> cPlaceBits; }
    static constexpr unsigned PlaceOf(Cmn_UInt16 iCell) { return iCell & ((1u << cPlaceBits) - 1); }
    static constexpr Cmn_UInt16 TopOf(Cmn_UInt64 iHead) { return static_cast<Cmn_UInt16>(iHead); }
    static constexpr unsigned FreeOf(Cmn_UInt64 iHead) { return static_cast<Cmn_UInt16>(iHead >> 16); }
    // The head that follows iBefore, with the next tag.
    static constexpr Cmn_UInt64 Successor(Cmn_UInt64 iBefore, unsigned iFree, Cmn_UInt16 iTop)
    {
        return (((iBefore >> 32) + 1) << 32) | static_cast<Cmn_UInt64>(iFree) << 16 | iTop;
    }

    // Read-mostly, apart from the head that all write.
    const std::size_t mStride;
    std::unique_ptr<TAtomic<Cmn_UInt64>[]> mLinks[cMaxBlocks];
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

        // A cell and three that its link names, at each step. With an outdated head the walk may lead astray, among links
        // that exist or to cNone; the tag then lets the swap fail.
        Cmn_UInt16 top = TopOf(head);
        Cmn_UInt64 below = cAllNone;
        unsigned block = cMaxBlocks;
        TAtomic<Cmn_UInt64>* links = nullptr;
        for (unsigned found = 0; found < taken && top != cNone; found += cAhead) {
            // Mostly the block of the one before: whose links need not wait for this one's index then.
            if (const unsigned its = BlockOf(top); its != block) links = mLinks[block = its].get();
            below = links[PlaceOf(top)].load(std::memory_order_acquire);
            const Cmn_UInt64 four = below << 16 | top;
            oCells[found] = static_cast<Cmn_UInt16>(four);
            oCells[found + 1] = static_cast<Cmn_UInt16>(four >> 16);
            oCells[found + 2] = static_cast<Cmn_UInt16>(four >> 32);
            oCells[found + 3] = static_cast<Cmn_UInt16>(four >> 48);
            top = static_cast<Cmn_UInt16>(below >> 48);
        }
        top = static_cast<Cmn_UInt16>(below >> 16 * ((taken - 1) % cAhead));
        if (mHead.compare_exchange_weak(head, Successor(head, oLeft, top))) return taken;
    }
}

// A cell names those behind it in the same call, and then what it finds on the stack.
template <template <class> class TAtomic>
unsigned Sys_BasicCellStack<TAtomic>::Push(const Cmn_UInt16* iCells, unsigned iCount) KORA_NONBLOCKING
{
    Cmn_UInt64 head = mHead.load();
    do {
        const Cmn_UInt16 top = TopOf(head);
        // What lies below each cell, the last one's first.
        Cmn_UInt64 below = cAllNone;
        if (top != cNone) below = LinkOf(top).load(std::memory_order_acquire) << 16 | top;
        for (unsigned i = iCount; i-- > 0;) {
            const Cmn_UInt16 cell = iCells[i];
            LinkOf(cell).store(below, std::memory_order_release);
            below = below << 16 | cell;
        }
    } while (!mHead.compare_exchange_weak(head, Successor(head, FreeOf(head) + iCount, iCells[0])));
    return FreeOf(head) + iCount;
}

template <template <class> class TAtomic>
void Sys_BasicCellStack<TAtomic>::AddBlock(unsigned iBlock, std::byte* iMemory, unsigned iCount)
{
    mBlocks[iBlock].store(iMemory);
    Cmn_UInt16 cells[cMaxBatch];
    for (unsigned end = iCount; end > 0;) {
        const unsigned first = end > cMaxBatch ? end - cMaxBatch : 0;
        for (unsigned i = first; i < end; ++i)
            cells[i - first] = static_cast<Cmn_UInt16>(iBlock << cPlaceBits | i);
        Push(cells, end - first);
        end = first;
    }
}
