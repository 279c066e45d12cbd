// Sys_SlabHeap: memory for objects of one size of which there may be a million: no more than their own bytes each, where
// the system's heap takes up to 16 more.
//
//   slab   | header | cell | cell | … |     the slabs stand in a list by address, those with room in a second one
//
// A slab goes back to the system's heap with the last of its cells, unless it is the only one with room.
//
// Invariants: (1) the first list has all slabs, by ascending address  (2) the second one has those of them that have a
//             cell to give  (3) at most one slab is empty.
// Threads:    any.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <iterator>
#include <mutex>
#include <new>
#include <thread>
#include <utility>
#include <vector>

class Sys_SlabHeap
{
public:
    // Cells of so many bytes, a multiple of 8 up to 1024, which lie at multiples of 8.
    explicit Sys_SlabHeap(std::size_t iCellBytes)
        : mCellBytes(iCellBytes)
        , mCellsInSlab(static_cast<Cmn_UInt32>((cSlabBytes - sizeof(Slab)) / iCellBytes))
    {
    }
    // Nobody uses its cells any more.
    ~Sys_SlabHeap()
    {
        for (Slab* const slab : mSlabs)
            ::operator delete(slab);
    }
    Sys_SlabHeap(const Sys_SlabHeap&) = delete;
    Sys_SlabHeap& operator=(const Sys_SlabHeap&) = delete;

    // Throws std::bad_alloc.
    void* Take()
    {
        const std::lock_guard lock(mLock);
        if (mOpen == nullptr) AddSlab();
        Slab& slab = *mOpen;
        if (++slab.mTaken == mCellsInSlab) Close(slab);
        if (slab.mFree == nullptr) return reinterpret_cast<char*>(&slab + 1) + slab.mTouched++ * mCellBytes;
        return std::exchange(slab.mFree, slab.mFree->mNext);
    }

    // Of one that Take gave.
    void Give(void* iCell) noexcept
    {
        const std::lock_guard lock(mLock);
        Slab& slab = SlabOf(iCell);
        if (slab.mTaken == mCellsInSlab) Open(slab);
        if (--slab.mTaken == 0 && (slab.mNext != nullptr || slab.mBefore != nullptr)) return Remove(slab);
        slab.mFree = new (iCell) FreeCell{slab.mFree};
    }

    std::size_t GetSlabCount() const { return mSlabs.size(); }

private:
    // With what malloc has for itself, a few pages.
    static constexpr std::size_t cSlabBytes = 32768 - 32;

    // Held for a few instructions, seldom for a call of the system's heap: a mutex would cost as much again as all else.
    // Who waits for long sleeps, so that a thread of lower priority that holds it goes on.
    class Lock
    {
    public:
        void lock()
        {
            for (int tries = 0; mIsHeld.test_and_set(std::memory_order_acquire); ++tries)
                if (tries < cTriesBeforeSleep)
                    std::this_thread::yield();
                else
                    std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        void unlock() { mIsHeld.clear(std::memory_order_release); }

    private:
        static constexpr int cTriesBeforeSleep = 100;

        std::atomic_flag mIsHeld;
    };
    struct FreeCell
    {
        FreeCell* mNext;
    };
    // The cells follow.
    struct Slab
    {
        Slab* mNext = nullptr; // among those with room
        Slab* mBefore = nullptr;
        FreeCell* mFree = nullptr; // given back
        Cmn_UInt32 mTaken = 0;
        Cmn_UInt32 mTouched = 0; // the first ones, which were taken at some time
    };

    // Where a slab stands in the list, or would.
    auto PlaceOf(const void* iAddress)
    {
        return std::upper_bound(mSlabs.begin(), mSlabs.end(), iAddress, std::less<const void*>());
    }
    Slab& SlabOf(const void* iCell)
    {
        // Objects go mostly in the order in which they came.
        const std::less<const void*> before;
        if (mLast == nullptr || before(iCell, mLast) ||
            !before(iCell, reinterpret_cast<const char*>(mLast) + cSlabBytes))
            mLast = *std::prev(PlaceOf(iCell));
        return *mLast;
    }
    void AddSlab()
    {
        if (mSlabs.size() == mSlabs.capacity()) mSlabs.reserve(2 * mSlabs.size() + 1);
        Slab* const slab = new (::operator new(cSlabBytes)) Slab;
        mSlabs.insert(PlaceOf(slab), slab);
        Open(*slab);
    }
    void Open(Slab& ioSlab)
    {
        ioSlab.mBefore = nullptr;
        ioSlab.mNext = mOpen;
        if (mOpen != nullptr) mOpen->mBefore = &ioSlab;
        mOpen = &ioSlab;
    }
    void Close(Slab& ioSlab)
    {
        (ioSlab.mBefore != nullptr ? ioSlab.mBefore->mNext : mOpen) = ioSlab.mNext;
        if (ioSlab.mNext != nullptr) ioSlab.mNext->mBefore = ioSlab.mBefore;
    }
    void Remove(Slab& ioSlab)
    {
        Close(ioSlab);
        mSlabs.erase(std::prev(PlaceOf(&ioSlab)));
        mLast = nullptr;
        ::operator delete(&ioSlab);
    }

    const std::size_t mCellBytes;
    const Cmn_UInt32 mCellsInSlab;
    Lock mLock;
    std::vector<Slab*> mSlabs;
    Slab* mOpen = nullptr;
    Slab* mLast = nullptr; // that a cell was given back to
};
