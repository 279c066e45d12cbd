#include "Kora/Sys/Sys_BasicCellStack.h"
#include "Support/Interleaving.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using Stack = Sys_BasicCellStack<ModelAtomic>;

// What each thread does, a letter a step: 'a' to 'd' take 1 to 4 cells, '<' returns the one taken first, '*'
// all of them together, 'g' adds a block of two cells.
struct Case
{
    const char* mName;
    unsigned mCells; // at the start
    std::vector<const char*> mScripts;
    std::size_t mLeastTaken; // by all threads together, in each schedule
    std::size_t mMostTaken;
};
const Case cCases[] = {
    {"a taker stalls; two go, one of them comes back", 3, {"a", "aa<"}, 3, 3},
    {"a taker stalls; the top comes back on another", 4, {"a", "aaa<<"}, 4, 4},
    {"who wants two is led astray when one is left", 2, {"b", "b<"}, 2, 3},
    {"two take while a third returns", 4, {"b", "a", "a<"}, 4, 4},
    {"two return at once", 4, {"b*", "a<a"}, 4, 4},
    {"the last cell goes to one of three", 1, {"a", "a", "a"}, 1, 1},
    {"more is wanted than there is", 3, {"b", "d"}, 3, 3},
    {"a block comes while cells are taken and returned", 1, {"g", "a<", "b"}, 1, 3},
    {"a block comes to an empty stack", 0, {"g", "a", "b<"}, 0, 3},
};

struct Scene
{
    static constexpr std::size_t cStride = 64;

    explicit Scene(const Case& iCase)
        : mCase(iCase)
    {
        if (iCase.mCells != 0) AddBlock(0, iCase.mCells);
    }
    void AddBlock(unsigned iBlock, unsigned iCells)
    {
        mIsWhole = mStack.AddLinks(iBlock, iCells) && mIsWhole;
        mStack.AddBlock(iBlock, mBlocks[iBlock], iCells);
    }
    void Run(int iThread)
    {
        std::vector<Cmn_UInt16>& held = mHeld[iThread];
        for (const char* step = mCase.mScripts[static_cast<std::size_t>(iThread)]; *step != 0; ++step) {
            if (*step == 'g') {
                AddBlock(1, 2);
            } else if (*step == '<' || *step == '*') {
                const std::size_t count = *step == '*' ? held.size() : std::min<std::size_t>(held.size(), 1);
                if (count != 0) mStack.Push(held.data(), static_cast<unsigned>(count));
                held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(count));
            } else {
                Take(held, static_cast<unsigned>(*step - 'a' + 1));
            }
        }
    }
    void Take(std::vector<Cmn_UInt16>& ioHeld, unsigned iWanted)
    {
        Cmn_UInt16 cells[Stack::cMaxBatch];
        unsigned left = 0;
        const unsigned count = mStack.Pop(cells, iWanted, left);
        if (count < iWanted && left != 0) mIsWhole = false;
        mTaken += count;
        for (unsigned i = 0; i < count; ++i) {
            const std::size_t place = cells[i] & ((1u << Stack::cPlaceBits) - 1);
            std::byte* const block = mBlocks[cells[i] >> Stack::cPlaceBits];
            if (mStack.Locate(cells[i]) != block + place * cStride) mIsWhole = false;
            ioHeld.push_back(cells[i]);
        }
    }
    // Each cell is with one owner, or on the stack, once; and the stack counts right.
    bool IsWhole()
    {
        const std::size_t taken = mTaken;
        std::vector<Cmn_UInt16> all;
        std::vector<Cmn_UInt16> expected;
        unsigned counted = mStack.GetFreeCount();
        for (std::size_t before = counted + 1; all.size() != before;) {
            before = all.size();
            Take(all, 1);
        }
        if (all.size() != counted) mIsWhole = false;
        for (const std::vector<Cmn_UInt16>& held : mHeld)
            all.insert(all.end(), held.begin(), held.end());
        std::sort(all.begin(), all.end());
        for (unsigned i = 0; i < mCase.mCells; ++i)
            expected.push_back(static_cast<Cmn_UInt16>(i));
        if (*mCase.mScripts[0] == 'g') expected.insert(expected.end(), {1024, 1025});
        return mIsWhole && all == expected && taken >= mCase.mLeastTaken && taken <= mCase.mMostTaken;
    }

    const Case& mCase;
    std::byte mBlocks[2][8 * cStride];
    Stack mStack{cStride};
    std::vector<Cmn_UInt16> mHeld[3];
    std::size_t mTaken = 0;
    bool mIsWhole = true;
};

} // namespace

TEST(CellStack, LosesAndDoublesNoCellInAnySchedule)
{
    long schedules = 0;
    for (const Case& row : cCases) {
        SCOPED_TRACE(row.mName);
        std::unique_ptr<Scene> scene;
        schedules += Interleaving::ExploreAll(
            static_cast<int>(row.mScripts.size()), [&] { scene = std::make_unique<Scene>(row); },
            [&](int i) { scene->Run(i); }, [&] { EXPECT_TRUE(scene->IsWhole()); });
    }
    EXPECT_GT(schedules, 1000);
}
