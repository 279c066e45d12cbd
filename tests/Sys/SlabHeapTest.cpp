#include "Kora/Sys/Sys_SlabHeap_p.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t cCell = 48;

// What a thread takes and gives at random. Each cell bears its number, which nobody else writes over.
class Script
{
public:
    Script(Sys_SlabHeap& ioHeap, unsigned iSeed)
        : mHeap(ioHeap)
        , mRandom(iSeed)
    {
    }
    // Goes up to the most cells and down again, many times.
    void Run(std::size_t iSteps, std::size_t iMost)
    {
        for (std::size_t step = 0; step < iSteps; ++step) {
            const bool grows = step / iMost % 2 == 0;
            if (mCells.empty() || mRandom() % 8 < (grows ? 6 : 2))
                Take();
            else
                Give(mRandom() % mCells.size());
        }
    }
    void GiveAll()
    {
        while (!mCells.empty())
            Give(mRandom() % mCells.size());
    }
    std::size_t GetMost() const { return mMost; }
    bool AreTheirs() const { return mAreTheirs; }

private:
    void Take()
    {
        const unsigned char mark = static_cast<unsigned char>(mRandom());
        mCells.push_back({static_cast<unsigned char*>(mHeap.Take()), mark});
        std::memset(mCells.back().first, mark, cCell);
        mMost = std::max(mMost, mCells.size());
    }
    void Give(std::size_t iIndex)
    {
        const auto [cell, mark] = mCells[iIndex];
        mAreTheirs = mAreTheirs && std::count(cell, cell + cCell, mark) == std::ptrdiff_t{cCell};
        mHeap.Give(cell);
        mCells[iIndex] = mCells.back();
        mCells.pop_back();
    }

    Sys_SlabHeap& mHeap;
    std::mt19937 mRandom;
    std::vector<std::pair<unsigned char*, unsigned char>> mCells;
    std::size_t mMost = 0;
    bool mAreTheirs = true;
};

} // namespace

TEST(SlabHeap, CellsAreTheirsAloneAndSlabsGoWithTheLastOnes)
{
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        Sys_SlabHeap heap(cCell);
        Script script(heap, seed);
        script.Run(20000, 4000);
        constexpr std::size_t cCellsInSlab = 600; // and some more
        EXPECT_LE(heap.GetSlabCount(), script.GetMost() / cCellsInSlab + 1);
        script.GiveAll();
        EXPECT_TRUE(script.AreTheirs());
        EXPECT_EQ(heap.GetSlabCount(), 1U);
    }
}

TEST(SlabHeap, ThreadsTakeAndGiveAtOnce)
{
    Sys_SlabHeap heap(cCell);
    Script scripts[] = {{heap, 1}, {heap, 2}, {heap, 3}};
    std::vector<std::thread> threads;
    for (Script& script : scripts)
        threads.emplace_back([&script] {
            script.Run(200000, 2000);
            script.GiveAll();
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const Script& script : scripts)
        EXPECT_TRUE(script.AreTheirs());
    EXPECT_EQ(heap.GetSlabCount(), 1U);
}
