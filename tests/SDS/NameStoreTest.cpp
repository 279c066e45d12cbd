#include "Kora/SDS/Source/SDS_ConnectionIterator.h"
#include "SDS/NameFixture.h"
#include "Support/AllocationCounter.h"

#include <algorithm>
#include <random>

namespace {

using Registry = SDS_NameRegistry;

class NameStore : public NameTest
{
protected:
    static SDS_Name* Reserve(SDS_Name* iBase, const std::string& iPath)
    {
        SDS_Name* name = nullptr;
        EXPECT_EQ(Registry::ReserveName(iBase, iPath.c_str(), &name), eSDSErr_None);
        return name;
    }
    static void Free(SDS_Name* iName) { EXPECT_EQ(Registry::FreeName(iName, nullptr), eSDSErr_None); }
    // The cells that are free, the newest first.
    static Names FreeCells()
    {
        Names free;
        SDS_Name* const newest = Reserve(nullptr, "newest");
        Free(newest);
        for (SDS_Name* name = newest; name != nullptr; name = name->Links().mPrevious)
            free.push_back(name);
        return free;
    }
};

// Looked up so often that any way of remembering paths has taken it in.
TEST_F(NameStore, APathThatIsLookedUpAgainLeadsWhereItLeadsNow)
{
    const SDS_IName base("memory");
    for (std::size_t length = 1; length <= 44; ++length) {
        SCOPED_TRACE(length);
        std::string path(length, 'p');
        for (std::size_t i = 9; i + 1 < length; i += 10)
            path[i] = '/';
        SDS_Name* const id = Reserve(base.GetID(), path);
        for (int i = 0; i < 8; ++i)
            ASSERT_EQ(Find(base.GetID(), path), id);
        EXPECT_EQ(Find(nullptr, path), nullptr) << "the same path from another base";
        for (std::size_t i = 0; i < length; ++i) {
            std::string other = path;
            other[i] = 'q';
            EXPECT_EQ(Find(base.GetID(), other), nullptr) << other;
        }
        Free(id);
        EXPECT_EQ(Find(base.GetID(), path), nullptr);
        EXPECT_EQ(Reserve(base.GetID(), path), id);
        EXPECT_EQ(Find(base.GetID(), path), id) << "back to life";
        Free(id);
    }
    SDS_Name* const id = Reserve(base.GetID(), "gone/leaf");
    for (int i = 0; i < 8; ++i)
        ASSERT_EQ(Find(base.GetID(), "gone/leaf"), id);
    Free(id);
    Names taken(FreeCells().size());
    for (std::size_t i = 0; i < taken.size(); ++i)
        taken[i] = Reserve(base.GetID(), std::to_string(i));
    EXPECT_EQ(std::count(taken.begin(), taken.end(), id), 1);
    EXPECT_EQ(Find(base.GetID(), "gone/leaf"), nullptr) << "its cell lives on under another name";
    std::for_each(taken.begin(), taken.end(), Free);
}

TEST_F(NameStore, AConnectionWithoutMemoryIsNoneAndCanBeMadeLater)
{
    Names names(300);
    for (std::size_t i = 0; i < names.size(); ++i)
        names[i] = Reserve(nullptr, "connected/" + std::to_string(i));
    for (std::size_t i = 0; i + 1 < names.size(); i += 2) {
        for (long long refused = 1;; ++refused) {
            const StRefusedAllocation refusal(refused);
            if (Registry::ConnectNames(names[i], nullptr, names[i + 1], nullptr) == eSDSErr_None) break;
            ASSERT_LT(refused, 10);
            ASSERT_EQ(names[i]->Connections(), nullptr);
        }
        ASSERT_EQ(Walked<SDS_ConnectionIterator>(names[i]), Names{names[i + 1]});
        ASSERT_EQ(Registry::DisconnectNames(names[i], nullptr, names[i + 1], nullptr), eSDSErr_None);
    }
    std::for_each(names.begin(), names.end(), Free);
}

// So many more that the table's buckets are as full in the end as they are at first, and with every
// third call out of memory.
TEST_F(NameStore, SiblingsWithoutNumberGrowInSmallStepsAndTake128BytesEach)
{
    const std::size_t before = FreeCells().size();
    std::size_t count = before;
    while (count <= 40000)
        count *= 4;
    count = count == before ? 4 * count : count;
    SDS_Name* const parent = Reserve(nullptr, "siblings");
    Names names(count - 2); // the parent is one more, and the root
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string name = std::to_string(i);
        const AllocationCounter allocations;
        const auto result = [&] {
            const StRefusedAllocation refusal(i % 3 == 0 ? 1 : 1000);
            return Registry::ReserveName(parent, name.c_str(), &names[i]);
        }();
        if (result != eSDSErr_None) {
            ASSERT_TRUE(result == eSDSErr_OutOfMemory && i % 3 == 0 && Find(parent, name) == nullptr);
            names[i] = Reserve(parent, name);
        }
        ASSERT_LE(AllocationCounter::Largest(), 0x10000u);
        if (allocations.Count() > 0) bytes += AllocationCounter::Largest();
    }
    EXPECT_LE(bytes, 128 * (count - before));
    std::vector<std::size_t> order(names.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(13));
    for (const std::size_t i : order)
        ASSERT_EQ(Find(parent, std::to_string(i)), names[i]);

    // The cells are used anew in the order in which they were freed; the younger half
    // comes back to life before.
    const SDS_IName holder("siblings");
    for (const std::size_t i : order)
        Free(names[i]);
    const std::size_t half = order.size() / 2;
    for (std::size_t i = half; i < order.size(); ++i)
        ASSERT_EQ(Reserve(parent, std::to_string(order[i])), names[order[i]]);
    for (std::size_t i = 0; i < half; ++i)
        ASSERT_EQ(Reserve(parent, "again " + std::to_string(i)), names[order[i]]);
    for (std::size_t i = 0; i < order.size(); ++i) {
        SDS_Name* const id = names[order[i]];
        ASSERT_EQ(Find(parent, std::to_string(order[i])), i < half ? nullptr : id);
        ASSERT_TRUE(i >= half || Find(parent, "again " + std::to_string(i)) == id) << i;
    }
    std::for_each(names.begin(), names.end(), Free);
    Free(parent);
}

} // namespace
