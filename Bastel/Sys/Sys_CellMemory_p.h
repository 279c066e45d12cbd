// Sys_CellMemory: memory for cells of one size, taken one by one and kept to the end: caches of a file's parts.
//
// The first ones come from the heap, one by one, so that few take little. The others lie side by side in blocks that the
// system may keep in large pages: who comes back to one of thousands does not wait for the processor to find its page.
//
// Threads: one at a time.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Bastel/Sys/Sys_LargeBlock_p.h"

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

class Sys_CellMemory
{
public:
    // A multiple of 16 of bytes, far below a block's.
    explicit Sys_CellMemory(std::size_t iCellBytes)
        : mCellBytes(iCellBytes)
    {
    }
    ~Sys_CellMemory()
    {
        for (void* const block : mBlocks)
            Sys_LargeBlock::Free(block, cBlockBytes);
    }
    Sys_CellMemory(const Sys_CellMemory&) = delete;
    Sys_CellMemory& operator=(const Sys_CellMemory&) = delete;

    std::size_t GetCellBytes() const { return mCellBytes; }

    // A cell, at a multiple of 16. Throws std::bad_alloc, and nothing changes.
    Cmn_UInt8* Take()
    {
        if (mFirst.size() < cFromHeap)
            return mFirst.emplace_back(std::make_unique_for_overwrite<Cmn_UInt8[]>(mCellBytes)).get();
        if (mCellsLeft == 0) AddBlock();
        --mCellsLeft;
        return std::exchange(mNext, mNext + mCellBytes);
    }

private:
    static constexpr std::size_t cFromHeap = 64;
    // Wherever it begins, most of it is whole units. What is not touched takes no memory.
    static constexpr std::size_t cBlockBytes = 4 * Sys_LargeBlock::cUnit;

    void AddBlock()
    {
        mBlocks.reserve(mBlocks.size() + 1);
        void* const block = Sys_LargeBlock::Grow(nullptr, 0, cBlockBytes);
        if (block == nullptr) throw std::bad_alloc();
        mBlocks.push_back(block);
        mCellsLeft = cBlockBytes / mCellBytes;
        mNext = static_cast<Cmn_UInt8*>(block);
    }

    const std::size_t mCellBytes;
    std::vector<std::unique_ptr<Cmn_UInt8[]>> mFirst;
    std::vector<void*> mBlocks;
    std::size_t mCellsLeft = 0; // in the last block, from mNext on
    Cmn_UInt8* mNext = nullptr;
};
