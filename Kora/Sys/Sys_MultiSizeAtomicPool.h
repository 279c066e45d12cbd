// Sys_MultiSizeAtomicPool: memory for short-lived objects of a few sizes, taken on any thread
// and returned on any other.
//
//   Sys_MultiSizeAtomicPool<Element> pool({{112, 1000}, {156, 1000}, {438, 1000}, {1128, 200}});
//   Element* cell = pool.Allocate(150);     // of the 156-byte class; null when that class has no free cell
//   pool.Free(cell);
//
//   Sys_MultiSizeAtomicPool<Element>::Batch done(pool);    // a consumer that returns many
//   done.Free(cell);                                       // goes back with others,
//   or at the end of the batch
//
//   Sys_MultiSizeAtomicPool<Element>::Magazine own(pool);  // a thread that takes many, one by one
//   cell = own.Allocate(150);                              // eight are fetched at once
//
// Units:      bytes of an object; classes count from 0, the smallest.
// Invariants: a cell lies at a multiple of 16 and belongs to its taker until it is
//             returned, once, by hand or batch.
// Threads:    any; the destructor when no other thread uses the pool. A batch, or a magazine, is used by one thread.
// Ownership:  cells are raw memory: the pool neither constructs nor destroys objects. It keeps its memory
//             until its destructor, which does not look at cells that are still out.
// Real time:  only the constructor, the destructor and GrowIfLow call the allocator.
//             Nothing locks, waits or throws.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/Sys/Sys_AtomicPoolCore.h"

#include <initializer_list>

template <class T>
class Sys_MultiSizeAtomicPool : private Sys_AtomicPoolCore
{
public:
    class Batch;
    class Magazine;
    // A class: bytes of an object, and cells in a block.
    using Size = Sys_AtomicPoolSize;

    // Sizes ascend, 1 to 8 of them, each with 1 to 1000 cells a block; one that breaks this
    // asserts and is left out.
    explicit Sys_MultiSizeAtomicPool(std::initializer_list<Size> iSizes)
        : Sys_AtomicPoolCore({iSizes.begin(), iSizes.size()})
    {
    }
    // With blocks from a memory of the host's, which may run out.
    Sys_MultiSizeAtomicPool(std::initializer_list<Size> iSizes, const Sys_AtomicPoolMemory& iMemory)
        : Sys_AtomicPoolCore({iSizes.begin(), iSizes.size()}, iMemory)
    {
    }

    // A cell of the smallest class that holds iBytes. Null when none does, or when that class has no free
    // cell: a larger one does not stand in.
    T* Allocate(std::size_t iBytes) KORA_NONBLOCKING
    {
        return static_cast<T*>(Sys_AtomicPoolCore::Allocate(iBytes));
    }

    // Up to iWanted cells at once, at the price of one, and how many there are: at most 32, fewer when the
    // class has no more, 0 as above.
    std::size_t AllocateMany(std::size_t iBytes, T** oCells, std::size_t iWanted) KORA_NONBLOCKING
    {
        return Sys_AtomicPoolCore::AllocateMany(iBytes, oCells, iWanted);
    }

    // Asserts, and does nothing, for null and for another pool's cell.
    void Free(T* iCell) KORA_NONBLOCKING { Sys_AtomicPoolCore::Free(iCell); }

    // True once a class that may still grow runs low, with fewer than an eighth of a block free,
    // until somebody grows it.
    using Sys_AtomicPoolCore::IsRunningLow;
    // Adds a block to each class that is low, up to 16 blocks a class, and returns how many it added: 0 when
    // none is low, another thread is at it, or there is no memory. For consumers that may allocate.
    using Sys_AtomicPoolCore::GrowIfLow;

    // What was true at one moment; 0 for a class that is not there. Cells in a batch or a magazine count as taken.
    using Sys_AtomicPoolCore::GetCellCount;
    using Sys_AtomicPoolCore::GetClassCount;
    using Sys_AtomicPoolCore::GetFreeCount;
    using Sys_AtomicPoolCore::IsLockFree;
};

// Collects cells that one consumer returns, so that several of a class go back together: the cell freed last
// has its lines in another core's cache. All batches of the pool hold less than a 64th of a class's cells
// between them. A batch takes half of what is left of that, and 32 at most, when it returns its second cell,
// and gives it up with Flush: of a class of 1000 cells the first batch returns 8 together, the next 4, 2 and
// 1. While a class is scarce, with fewer than a 32nd of a block free, each cell goes back at once. The last
// ones go back with Flush, or with the batch's end.
template <class T>
class Sys_MultiSizeAtomicPool<T>::Batch : private Sys_AtomicPoolCore::Batch
{
public:
    // Of that pool, which outlives it.
    explicit Batch(Sys_MultiSizeAtomicPool& ioPool)
        : Sys_AtomicPoolCore::Batch(ioPool)
    {
    }
    // Returns the cell now or with others. Null and another pool's cell assert.
    void Free(T* iCell) KORA_NONBLOCKING { Sys_AtomicPoolCore::Batch::Free(iCell); }
    using Sys_AtomicPoolCore::Batch::Flush;
    // Returns what it holds of scarce classes: for a consumer that is about to be busy with something else.
    using Sys_AtomicPoolCore::Batch::ReturnScarce;
};

// Cells that one producer has fetched ahead, so that most of its calls touch nothing that is shared. All magazines of
// the pool hold less than a 32nd of a class's cells between them: one takes half of what is left of that, and 8 at most,
// when it first needs a cell of the class, and gives it up with Flush. While a class is scarce, one cell is fetched at a
// time. Cells that wait here are for their thread alone; Flush, or the magazine's end, gives them back.
template <class T>
class Sys_MultiSizeAtomicPool<T>::Magazine : private Sys_AtomicPoolCore::Magazine
{
public:
    // Of a pool that outlives it.
    explicit Magazine(Sys_MultiSizeAtomicPool& ioPool)
        : Sys_AtomicPoolCore::Magazine(ioPool)
    {
    }
    // As the pool's, of what was fetched ahead.
    T* Allocate(std::size_t iBytes) KORA_NONBLOCKING
    {
        return static_cast<T*>(Sys_AtomicPoolCore::Magazine::Allocate(iBytes));
    }
    // The same in two steps, for a caller whose common way calls nothing: where HasFor is true, Take returns a cell for
    // so many bytes. Fetch makes it true, unless there is none.
    T* Take() KORA_NONBLOCKING { return static_cast<T*>(Sys_AtomicPoolCore::Magazine::Take()); }
    using Sys_AtomicPoolCore::Magazine::Fetch;
    using Sys_AtomicPoolCore::Magazine::Flush;
    using Sys_AtomicPoolCore::Magazine::HasFor;
};
