// Sys_BlockCache: blocks of a file as they were read, so that what is found again and again
// costs no call to the system.
//
// Bounded: when it is full, the block that came first makes room. A table with one number for each block
// of the file finds a block.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Bastel/Sys/Sys_CellMemory_p.h"

#include <cstddef>
#include <vector>

class Sys_BlockCache
{
public:
    static constexpr std::size_t cBlockSize = 4096;
    static constexpr std::size_t cDefaultMaxBlocks = 8192; // 32 MiB

    explicit Sys_BlockCache(std::size_t iMaxBlocks = cDefaultMaxBlocks)
        : mMaxBlocks(iMaxBlocks)
    {
    }

    // The bytes of a block; null where they are not here.
    const Cmn_UInt8* Find(std::size_t iBlock) const
    {
        const std::size_t slot = iBlock < mSlotOf.size() ? mSlotOf[iBlock] : cNoSlot;
        return slot == cNoSlot ? nullptr : mSlots[slot - 1].mBytes;
    }

    // A place for a block that is not here: the caller fills all that the file has of
    // it before the next call.
    Cmn_UInt8* Add(std::size_t iBlock)
    {
        if (iBlock >= mSlotOf.size()) mSlotOf.resize(iBlock + 1, cNoSlot);
        if (mSlots.size() < mMaxBlocks) mSlots.push_back({iBlock, mMemory.Take()});
        Slot& slot = mSlots[mNextSlot];
        if (mSlotOf[slot.mBlock] == mNextSlot + 1) mSlotOf[slot.mBlock] = cNoSlot;
        slot.mBlock = iBlock;
        mSlotOf[iBlock] = static_cast<Cmn_UInt32>(mNextSlot + 1);
        mNextSlot = (mNextSlot + 1) % mMaxBlocks;
        return slot.mBytes;
    }
    // Takes back what Add gave last, whose bytes could not be had.
    void Forget(std::size_t iBlock) { mSlotOf[iBlock] = cNoSlot; }

private:
    struct Slot
    {
        std::size_t mBlock;
        Cmn_UInt8* mBytes;
    };
    static constexpr Cmn_UInt32 cNoSlot = 0;

    std::size_t mMaxBlocks;
    std::size_t mNextSlot = 0;
    std::vector<Cmn_UInt32> mSlotOf; // of each block of the file: number of its slot from 1 on
    std::vector<Slot> mSlots;
    Sys_CellMemory mMemory{cBlockSize};
};
