#include "Kora/Sys/Sys_AtomicInt32.h"
#include "Kora/Sys/Sys_MultiSizeAtomicPool.h"
#include "OstrelPlatformSupport/PSAtomicStructures.h"
#include "Support/AllocationCounter.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <limits>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

struct Cell : PSAtomicQueueLink
{
    std::uint64_t mStamp;
};
using Pool = Sys_MultiSizeAtomicPool<Cell>;
using Size = Sys_AtomicPoolSize;
constexpr Size cSizes[] = {{112, 1000}, {156, 1000}, {438, 1000}, {1128, 200}};

constexpr Size Cells(std::size_t iBytes, unsigned iCount) { return {iBytes, iCount}; }

Pool MakePool() { return Pool({cSizes[0], cSizes[1], cSizes[2], cSizes[3]}); }

std::vector<Cell*> TakeAll(Pool& ioPool, std::size_t iBytes)
{
    std::vector<Cell*> cells;
    while (Cell* const cell = ioPool.Allocate(iBytes))
        cells.push_back(cell);
    return cells;
}

// A memory for one block a class, and then for as many more as a test grants.
int sBlocksGranted = 0;
const Sys_AtomicPoolMemory cScarceMemory = {
    [](std::size_t iBytes) {
        return sBlocksGranted-- > 0 ? ::operator new(iBytes, std::align_val_t(64)) : nullptr;
    },
    [](void* iBlock) { ::operator delete(iBlock, std::align_val_t(64)); },
};

} // namespace

TEST(AtomicPool, EachClassHoldsItsCountOfCellsOfItsSizeAndNothingStandsIn)
{
    Pool pool = MakePool();
    ASSERT_EQ(pool.GetClassCount(), std::size(cSizes));
    EXPECT_TRUE(Pool::IsLockFree());
    std::size_t smaller = 0;
    std::set<Cell*> distinct;
    for (unsigned i = 0; i < std::size(cSizes); smaller = cSizes[i++].mCellBytes) {
        // The first size that the class before does not hold, and the last one that this one does.
        Cell* const first = pool.Allocate(smaller + (i == 0 ? 0 : 1));
        std::vector<Cell*> cells = TakeAll(pool, cSizes[i].mCellBytes);
        cells.push_back(first);
        EXPECT_EQ(cells.size(), cSizes[i].mCellCount);
        for (Cell* const cell : cells) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(cell) % 64, 16u);
            std::memset(static_cast<void*>(cell), static_cast<int>(i + 1), cSizes[i].mCellBytes);
            distinct.insert(cell);
        }
        EXPECT_EQ(pool.GetFreeCount(i), 0u);
        EXPECT_EQ(pool.Allocate(smaller + 1), nullptr);
    }
    EXPECT_EQ(distinct.size(), 3200u);
    EXPECT_EQ(pool.Allocate(1129), nullptr);
    // No cell's last byte was overwritten by its neighbour, and all find home.
    Pool::Batch batch(pool);
    for (Cell* const cell : distinct) {
        const unsigned itsClass = *reinterpret_cast<const unsigned char*>(cell) - 1u;
        ASSERT_LT(itsClass, std::size(cSizes));
        EXPECT_EQ(reinterpret_cast<const char*>(cell)[cSizes[itsClass].mCellBytes - 1],
                  static_cast<char>(itsClass + 1));
        batch.Free(cell);
    }
    batch.Flush();
    for (unsigned i = 0; i <= std::size(cSizes); ++i) {
        EXPECT_EQ(pool.GetFreeCount(i), i < std::size(cSizes) ? cSizes[i].mCellCount : 0);
        EXPECT_EQ(pool.GetCellCount(i), pool.GetFreeCount(i));
    }
}

TEST(AtomicPool, GrowsByABlockWhenFewerThanAnEighthAreFreeUpToSixteen)
{
    Pool pool = MakePool();
    std::vector<Cell*> taken;
    for (unsigned blocks = 1; blocks <= 16; ++blocks) {
        EXPECT_EQ(pool.GetCellCount(3), 200 * blocks);
        while (pool.GetFreeCount(3) > 25)
            taken.push_back(pool.Allocate(1128));
        EXPECT_FALSE(pool.IsRunningLow());
        EXPECT_EQ(pool.GrowIfLow(), 0u);
        taken.push_back(pool.Allocate(1128));
        EXPECT_EQ(pool.IsRunningLow(), blocks < 16);
        EXPECT_EQ(pool.GrowIfLow(), blocks < 16 ? 1u : 0u);
        EXPECT_FALSE(pool.IsRunningLow());
    }
    for (Cell* const cell : TakeAll(pool, 1128))
        taken.push_back(cell);
    EXPECT_EQ(std::set<Cell*>(taken.begin(), taken.end()).size(), 3200u);
    for (Cell* const cell : taken)
        pool.Free(cell);
    EXPECT_EQ(pool.GetFreeCount(3), 3200u);
}

TEST(AtomicPool, LivesWithoutMemoryForABlock)
{
    sBlocksGranted = 1;
    Pool pool({Cells(64, 8), Cells(128, 8)}, cScarceMemory);
    EXPECT_EQ(pool.GetCellCount(0), 8u);
    EXPECT_EQ(pool.GetCellCount(1), 0u);
    EXPECT_EQ(pool.Allocate(128), nullptr);
    EXPECT_EQ(pool.GrowIfLow(), 0u);
    EXPECT_EQ(pool.Allocate(128), nullptr);
    EXPECT_TRUE(pool.IsRunningLow()) << "the next one that finds none asks again";
    sBlocksGranted = 1;
    EXPECT_EQ(pool.GrowIfLow(), 1u);
    EXPECT_EQ(TakeAll(pool, 128).size(), 8u);
}

TEST(AtomicPool, BatchesShareA64thOfAClassAndHoldNothingOfAScarceOne)
{
    Pool pool = MakePool();
    std::vector<Cell*> cells(832);
    EXPECT_EQ(pool.AllocateMany(156, cells.data(), 40), 32u);
    EXPECT_EQ(pool.AllocateMany(156, cells.data(), 0), 0u);
    for (std::size_t got = 32; got < cells.size();)
        got += pool.AllocateMany(156, &cells[got], 32);
    const auto free = [&](Pool::Batch& ioBatch) {
        ioBatch.Free(cells.back());
        cells.pop_back();
        return 1000 - cells.size() - pool.GetFreeCount(1); // what all batches hold
    };
    for (int round = 0; round < 2; ++round) { // the shares of batches that have gone are there again
        std::deque<Pool::Batch> batches;
        std::size_t others = 0;
        for (const unsigned together : {8u, 4u, 2u, 1u, 1u}) {
            Pool::Batch& batch = batches.emplace_back(pool);
            EXPECT_EQ(free(batch), others) << "the first one goes back alone";
            for (unsigned i = 1; i < 2 * together; ++i)
                EXPECT_EQ(free(batch), others + i % together);
            others += together - 1;
        }
    }
    EXPECT_EQ(pool.GetFreeCount(1), 1000 - cells.size());

    Pool::Batch batch(pool);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(free(batch), i);
    while (pool.GetFreeCount(1) > 30)
        cells.push_back(pool.Allocate(156));
    EXPECT_EQ(free(batch), 0u) << "fewer than a 32nd";
    EXPECT_EQ(free(batch), 1u) << "enough again";
    while (pool.GetFreeCount(1) > 29)
        cells.push_back(pool.Allocate(156));
    batch.ReturnScarce();
    EXPECT_EQ(pool.GetFreeCount(1), 1000 - cells.size());
}

TEST(AtomicPool, MagazinesShareA32ndOfAClassAndFetchOneAtATimeOfAScarceOne)
{
    Pool pool = MakePool();
    std::set<Cell*> cells;
    const auto take = [&](Pool::Magazine& ioMagazine) {
        Cell* const cell = ioMagazine.Allocate(156);
        EXPECT_TRUE(cell != nullptr && cells.insert(cell).second);
        return 1000 - cells.size() - pool.GetFreeCount(1); // what all magazines hold
    };
    std::deque<Pool::Magazine> magazines;
    std::size_t others = 0;
    for (const unsigned together : {8u, 8u, 8u, 4u, 2u, 1u, 1u}) {
        Pool::Magazine& magazine = magazines.emplace_back(pool);
        for (unsigned i = 1; i <= 2 * together; ++i)
            EXPECT_EQ(take(magazine), others + (together - i % together) % together);
        EXPECT_EQ(take(magazine), others + together - 1);
        others += together - 1;
    }
    magazines.clear();
    EXPECT_EQ(pool.GetFreeCount(1), 1000 - cells.size());

    Pool::Magazine magazine(pool);
    EXPECT_EQ(magazine.Allocate(1129), nullptr);
    for (std::size_t held = 0; pool.GetFreeCount(1) > 30;)
        EXPECT_EQ(take(magazine), held = (held + 7) % 8);
    magazine.Flush();
    for (std::size_t left = pool.GetFreeCount(1); left > 31; --left)
        cells.insert(pool.Allocate(156));
    cells.insert(pool.Allocate(156));
    while (pool.GetFreeCount(1) > 0)
        EXPECT_EQ(take(magazine), 0u) << "scarce";
    EXPECT_EQ(magazine.Allocate(156), nullptr);
    EXPECT_EQ(cells.size(), 1000u);
}

TEST(AtomicPool, AssertsForWhatIsNoCellOfItsAndForSizesOutOfRange)
{
    const AssertRecorder asserts;
    Pool pool({Cells(64, 1000), Cells(64, 1), Cells(63, 1), Cells(65, 0), Cells(65, 1001), Cells(66, 1)});
    Pool other({Cells(64, 1)});
    EXPECT_EQ(asserts.Take().size(), 4u);
    EXPECT_EQ(pool.GetClassCount(), 2u);
    Pool::Batch batch(pool);
    for (Cell* const wrong : {static_cast<Cell*>(nullptr), other.Allocate(1)}) {
        pool.Free(wrong);
        batch.Free(wrong);
        EXPECT_EQ(asserts.Take().size(), 2u);
    }
    EXPECT_EQ(pool.GetFreeCount(0), 1000u);
    const Pool tooMany({Cells(1, 1), Cells(2, 1), Cells(3, 1), Cells(4, 1), Cells(5, 1), Cells(6, 1),
                        Cells(7, 1), Cells(8, 1), Cells(9, 1)});
    EXPECT_EQ(asserts.Take().size(), 1u);
    EXPECT_EQ(tooMany.GetClassCount(), 8u);
}

// Seven producers send stamped cells to one consumer, which returns them and grows the pool when it runs low.
TEST(AtomicPool, LosesDoublesAndMixesUpNothingUnderLoad)
{
    constexpr unsigned cProducers = 7;
    constexpr unsigned cEach = 20000;
    Pool pool({Cells(112, 100), Cells(438, 100)});
    PSAtomicQueue queue;
    Sys_AtomicInt32 running(cProducers);
    Sys_AtomicInt32 allocations;
    std::vector<std::thread> threads;
    for (unsigned producer = 0; producer < cProducers; ++producer) {
        threads.emplace_back([&, producer] {
            std::mt19937 random(producer);
            const AllocationCounter counter;
            for (std::uint64_t i = 0; i < cEach;) {
                Cell* cells[4];
                const std::size_t count = pool.AllocateMany(
                    random() % 439, cells, std::min<std::uint64_t>(1 + random() % 4, cEach - i));
                if (count == 0) std::this_thread::yield();
                for (std::size_t k = 0; k < count; ++k) {
                    cells[k]->mStamp = static_cast<std::uint64_t>(producer) << 32 | i++;
                    static_cast<void>(queue.Push(*cells[k]));
                }
            }
            allocations.Add(static_cast<Cmn_Int32>(counter.Count()));
            running.Add(-1);
        });
    }
    std::vector<std::uint64_t> expected(cProducers);
    for (bool isLast = false; !isLast;) {
        isLast = running.Get() == 0;
        Pool::Batch batch(pool);
        for (PSAtomicQueueLink* link = queue.Drain(); link != nullptr;) {
            Cell* const cell = static_cast<Cell*>(std::exchange(link, link->mNext));
            EXPECT_EQ(cell->mStamp & 0xFFFFFFFF, expected[cell->mStamp >> 32]++);
            batch.Free(cell);
        }
        if (pool.IsRunningLow()) pool.GrowIfLow();
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(expected, std::vector<std::uint64_t>(cProducers, cEach));
    EXPECT_EQ(allocations.Get(), 0);
    for (unsigned i = 0; i < 2; ++i) {
        EXPECT_EQ(pool.GetFreeCount(i), pool.GetCellCount(i));
        EXPECT_EQ(TakeAll(pool, i == 0 ? 112 : 438).size(), pool.GetCellCount(i));
    }
}

TEST(AtomicInt32, AddsWrappingAndExchanges)
{
    Sys_AtomicInt32 number(std::numeric_limits<Cmn_Int32>::max());
    EXPECT_EQ(number.Add(), std::numeric_limits<Cmn_Int32>::min());
    EXPECT_EQ(number.Get(), std::numeric_limits<Cmn_Int32>::min());
    EXPECT_EQ(number.Exchange(5), std::numeric_limits<Cmn_Int32>::min());
    EXPECT_EQ(number.Add(-7), -2);
    number.Set(9);
    EXPECT_EQ(number.Get(), 9);
}
