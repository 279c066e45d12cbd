// Sys_AtomicPoolCore: what Sys_MultiSizeAtomicPool does without knowing the type of its cells.
//
//   block  │ prefix 16 │ cell … │ fill │ prefix 16 │ cell … │ fill │ …      stride: a multiple of 64 bytes
//
// Invariants: (1) a cell is on its class's free stack, in one batch or magazine, or with one owner  (2) a cell
//             never moves, and its memory lives as long as the pool  (3) a class has at most 16 blocks, all of
//             as many cells as the first. (4) all batches together hold fewer than a 64th of a class's cells, all
//             magazines fewer than a 32nd, and each what its share allows.
// Words:      each class's stack has its head on a line of its own (Sys_BasicCellStack), and so has the
//             numbers of cells that batches and magazines may still hold. mRunningLow and mScarceClasses are hints that are
//             written only when a class comes to have few cells left or has enough again; one that comes late
//             costs time, never a cell. mGrowing is held by the one thread that adds blocks.
// Threads:    any, but for construction and destruction. A batch or a magazine belongs to one thread.
// Real time:  only GrowIfLow allocates, and nothing locks, waits or throws after construction.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Export/Kora_API.h"
#include "Kora/Sys/Sys_BasicCellStack.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <span>

// The stack of free cells over the standard's atomics, which the library uses.
using Sys_CellStack = Sys_BasicCellStack<PSStdAtomic>;

struct Sys_AtomicPoolSize
{
    std::size_t mCellBytes; // what a cell holds, 1 or more
    unsigned mCellCount;    // of a block, 1 to 1000
};

// Where a pool's blocks come from. mTake may return null, and what it returns lies at a multiple of 64.
struct Sys_AtomicPoolMemory
{
    void* (*mTake)(std::size_t iBytes);
    void (*mGive)(void* iBlock);
};

// Exports its functions one by one, so that those that are hot stay inline everywhere.
class Sys_AtomicPoolCore
{
public:
    class Batch;
    class Magazine;

    // Sizes ascend, and there are 1 to 8 of them; a size that breaks this, or a range above, asserts and is
    // left out. Each class gets its first block at once; without memory for it the class starts with no cell.
    KORA_API explicit Sys_AtomicPoolCore(std::span<const Sys_AtomicPoolSize> iSizes);
    KORA_API Sys_AtomicPoolCore(std::span<const Sys_AtomicPoolSize> iSizes,
                                const Sys_AtomicPoolMemory& iMemory);
    KORA_API ~Sys_AtomicPoolCore();
    Sys_AtomicPoolCore(const Sys_AtomicPoolCore&) = delete;
    Sys_AtomicPoolCore& operator=(const Sys_AtomicPoolCore&) = delete;

    // As in Sys_MultiSizeAtomicPool.
    void* Allocate(std::size_t iBytes) KORA_NONBLOCKING
    {
        void* cell = nullptr;
        return AllocateMany(iBytes, &cell, 1) == 1 ? cell : nullptr;
    }
    // As in Sys_MultiSizeAtomicPool.
    template <class T>
    std::size_t AllocateMany(std::size_t iBytes, T** oCells, std::size_t iWanted) KORA_NONBLOCKING;
    // As in Sys_MultiSizeAtomicPool.
    void Free(void* iCell) KORA_NONBLOCKING;

    bool IsRunningLow() const KORA_NONBLOCKING
    {
        return mRunningLow.load(std::memory_order_relaxed); // relaxed: a hint
    }
    // As in Sys_MultiSizeAtomicPool.
    KORA_API Cmn_UInt32 GrowIfLow();

    unsigned GetClassCount() const { return mClassCount; }
    // As in Sys_MultiSizeAtomicPool.
    [[nodiscard]] KORA_API unsigned GetFreeCount(unsigned iClass) const;
    // As in Sys_MultiSizeAtomicPool.
    [[nodiscard]] KORA_API unsigned GetCellCount(unsigned iClass) const;
    [[nodiscard]] static constexpr bool IsLockFree()
    {
        return std::atomic<Cmn_UInt64>::is_always_lock_free && std::atomic<Cmn_UInt16>::is_always_lock_free &&
               std::atomic<std::byte*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free;
    }

private:
    static constexpr unsigned cMaxClasses = 8;
    static constexpr unsigned cShareOfBatches = 64;   // the part of a class's cells that all batches may hold
    static constexpr unsigned cShareOfMagazines = 32; // and all magazines
    static constexpr unsigned cMaxMagazine = 8;       // cells of a class that one magazine holds

    // Stands before each cell; written before the cell is published, and never again.
    struct alignas(16) Prefix
    {
        const Sys_AtomicPoolCore* mPool;
        Cmn_UInt16 mClass;
        Cmn_UInt16 mIndex;
    };
    static_assert(sizeof(Prefix) == 16);

    struct Class
    {
        Class(std::size_t iStride, unsigned iBlockCells)
            : mBlockCells(iBlockCells)
            , mFewCells((std::max)(iBlockCells / 8, 1u))
            , mScarceCells((std::max)(iBlockCells / 32, 1u))
            , mFree(iStride)
        {
        }
        static Cmn_UInt32 TakeShare(std::atomic<Cmn_UInt32>& ioLeft, Cmn_UInt32 iMost);
        const unsigned mBlockCells;
        const unsigned mFewCells;    // the class runs low with fewer free ones
        const unsigned mScarceCells; // batches hold nothing with fewer free ones
        std::atomic<unsigned> mBlockCount{0};
        Sys_CellStack mFree; // ends with the line that all write
        // What is left to batches, and to magazines. Written by consumers about twice for each batch, by producers
        // about twice in a thread's life.
        alignas(cPSCacheLineBytes) std::atomic<Cmn_UInt32> mShareLeft{0};
        std::atomic<Cmn_UInt32> mMagazinesLeft{0};
    };

    // The smallest class whose cells hold so much; mClassCount when none does.
    unsigned FitOf(std::size_t iBytes) const
    {
        unsigned fit = 0;
        while (fit < mClassCount && mCellBytes[fit] < iBytes)
            ++fit;
        return fit;
    }
    template <class T>
    std::size_t Take(unsigned iClass, T** oCells, std::size_t iWanted) KORA_NONBLOCKING;
    unsigned TakeIndices(unsigned iClass, Cmn_UInt16* oCells, unsigned iWanted) KORA_NONBLOCKING;
    // Null, after an assertion, for what is no cell of this pool.
    const Prefix* OwnPrefix(const void* iCell) const
    {
        if (!Cmn_ASSERT(iCell != nullptr)) return nullptr;
        const Prefix* const prefix = static_cast<const Prefix*>(iCell) - 1;
        return Cmn_ASSERT(prefix->mPool == this) ? prefix : nullptr;
    }
    bool IsScarce(unsigned iClass) const
    {
        return (mScarceClasses.load(std::memory_order_relaxed) >> iClass & 1) != 0; // relaxed: a hint
    }
    void Return(unsigned iClass, const Cmn_UInt16* iCells, unsigned iCount);
    KORA_API void NoteFewCells(unsigned iClass, unsigned iLeft);
    KORA_API void NoteEnoughCells(unsigned iClass);
    bool AddBlock(unsigned iClass);

    // Read-mostly: nothing here is written while there are cells enough.
    const Sys_AtomicPoolMemory mMemory;
    unsigned mClassCount = 0;
    std::size_t mCellBytes[cMaxClasses] = {};
    std::unique_ptr<Class> mClasses[cMaxClasses];
    std::atomic<bool> mRunningLow{false};
    std::atomic<Cmn_UInt32> mScarceClasses{0}; // a bit each
    std::atomic<bool> mGrowing{false};
};

// Cells on their way back from one consumer.
class Sys_AtomicPoolCore::Batch
{
public:
    // Holds nothing yet, and no share of a class.
    explicit Batch(Sys_AtomicPoolCore& ioPool)
        : mPool(ioPool)
    {
    }
    ~Batch() { Flush(); }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    // Returns the cell now or with others.
    void Free(void* iCell) KORA_NONBLOCKING;
    // Returns what it holds of scarce classes.
    void ReturnScarce()
    {
        // relaxed: a hint.
        if (mPool.mScarceClasses.load(std::memory_order_relaxed) != 0) [[unlikely]]
            ReturnAllScarce();
    }
    // Returns what it holds, and its share.
    void Flush()
    {
        for (unsigned i = 0; i < mPool.mClassCount; ++i) {
            if (mHeld[i].mHasReturned || mHeld[i].mCount > 0) FlushClass(i);
        }
    }

private:
    struct alignas(8) Held
    {
        Cmn_UInt16 mCount = 0;
        Cmn_UInt16 mShare = 0; // taken from the class's
        bool mHasReturned = false;
    };
    KORA_API void ReturnAllScarce();
    KORA_API void FlushClass(unsigned iClass);
    // After a cell that it does not hold for more to come: its share is full, or there is none.
    KORA_API void ReturnFull(unsigned iClass);
    void Return(unsigned iClass);

    Sys_AtomicPoolCore& mPool;
    Held mHeld[cMaxClasses];
    Cmn_UInt16 mCells[cMaxClasses][Sys_CellStack::cMaxBatch];
};

// Cells on their way to one producer.
class Sys_AtomicPoolCore::Magazine
{
public:
    // Of a pool that outlives it.
    explicit Magazine(Sys_AtomicPoolCore& ioPool)
        : mPool(ioPool)
    {
    }
    ~Magazine() { Flush(); }
    Magazine(const Magazine&) = delete;
    Magazine& operator=(const Magazine&) = delete;

    // As the pool's.
    void* Allocate(std::size_t iBytes) KORA_NONBLOCKING
    {
        return HasFor(iBytes) || Fetch(iBytes) ? Take() : nullptr;
    }
    // Whether the next cell for so many bytes is here already, of the class that was asked for last.
    bool HasFor(std::size_t iBytes) const { return iBytes - mLeastBytes < mSizes && mTop != mBottom; }
    // That cell.
    void* Take() { return *--mTop; }
    // Has it brought here; false when no class fits, or the one that does has no cell.
    KORA_API bool Fetch(std::size_t iBytes) KORA_NONBLOCKING;
    // Gives back all that it holds, and its shares.
    KORA_API void Flush();

private:
    struct Held
    {
        void** mTop = mCells; // behind the last one
        unsigned mShare = 0;  // taken from the class's
        void* mCells[cMaxMagazine];
    };
    bool Choose(std::size_t iBytes);
    void Fill();

    Sys_AtomicPoolCore& mPool;
    // The class that was asked for last, which is mostly asked for again: so many sizes from the least one on are its.
    std::size_t mLeastBytes = 0;
    std::size_t mSizes = 0;
    void** mTop = nullptr; // its own, whose Held's is outdated meanwhile
    void** mBottom = nullptr;
    unsigned mClass = 0;
    Held mHeld[cMaxClasses];
};

template <class T>
std::size_t Sys_AtomicPoolCore::AllocateMany(std::size_t iBytes, T** oCells,
                                             std::size_t iWanted) KORA_NONBLOCKING
{
    const unsigned fit = FitOf(iBytes);
    return fit == mClassCount || iWanted == 0 ? 0 : Take(fit, oCells, iWanted);
}

template <class T>
std::size_t Sys_AtomicPoolCore::Take(unsigned iClass, T** oCells, std::size_t iWanted) KORA_NONBLOCKING
{
    Cmn_UInt16 indices[Sys_CellStack::cMaxBatch];
    const unsigned wanted = static_cast<unsigned>(std::min<std::size_t>(iWanted, Sys_CellStack::cMaxBatch));
    const unsigned taken = TakeIndices(iClass, indices, wanted);
    const Sys_CellStack& stack = mClasses[iClass]->mFree;
    for (unsigned i = 0; i < taken; ++i)
        oCells[i] = static_cast<T*>(static_cast<void*>(stack.Locate(indices[i]) + sizeof(Prefix)));
    return taken;
}

inline unsigned Sys_AtomicPoolCore::TakeIndices(unsigned iClass, Cmn_UInt16* oCells,
                                                unsigned iWanted) KORA_NONBLOCKING
{
    Class& fitting = *mClasses[iClass];
    unsigned left = 0;
    const unsigned taken = fitting.mFree.Pop(oCells, iWanted, left);
    if (left < fitting.mFewCells) [[unlikely]]
        NoteFewCells(iClass, left);
    return taken;
}

inline void Sys_AtomicPoolCore::Return(unsigned iClass, const Cmn_UInt16* iCells, unsigned iCount)
{
    Class& itsClass = *mClasses[iClass];
    const unsigned free = itsClass.mFree.Push(iCells, iCount);
    if (IsScarce(iClass) && free >= itsClass.mScarceCells) [[unlikely]]
        NoteEnoughCells(iClass);
}

// Half of what is left, so that the batches of several tasks, and the magazines of several producers, each have some.
// 0: none is left.
inline Cmn_UInt32 Sys_AtomicPoolCore::Class::TakeShare(std::atomic<Cmn_UInt32>& ioLeft, Cmn_UInt32 iMost)
{
    // relaxed: a number, which publishes nothing.
    Cmn_UInt32 left = ioLeft.load(std::memory_order_relaxed);
    Cmn_UInt32 share = 0;
    do {
        share = (std::min)((left + 1) / 2, iMost);
    } while (share > 0 && !ioLeft.compare_exchange_weak(left, left - share));
    return share;
}

inline void Sys_AtomicPoolCore::Free(void* iCell) KORA_NONBLOCKING
{
    const Prefix* const prefix = OwnPrefix(iCell);
    if (prefix != nullptr) Return(prefix->mClass, &prefix->mIndex, 1);
}

inline void Sys_AtomicPoolCore::Batch::Free(void* iCell) KORA_NONBLOCKING
{
    const Prefix* const prefix = mPool.OwnPrefix(iCell);
    if (prefix == nullptr) return;

    const unsigned itsClass = prefix->mClass;
    Held& held = mHeld[itsClass];
    mCells[itsClass][held.mCount++] = prefix->mIndex;
    if (held.mCount >= held.mShare || mPool.IsScarce(itsClass)) [[unlikely]]
        ReturnFull(itsClass);
}
