#include "Bastel/Sys/Sys_Crc32C.h"
#include "Kora/SDS/Source/SDS_ConnectionIterator.h"
#include "Kora/SDS/Source/SDS_TokenDispatcher.h"
#include "SDS/NameFixture.h"
#include "Support/AllocationCounter.h"

#include <algorithm>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <unordered_map>
#include <utility>

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

// From the root and from below, up to lengths that are not compared in one go.
TEST_F(NameStore, APathLeadsWhereEachOfItsBytesSays)
{
    const SDS_IName base("memory");
    for (std::size_t length = 1; length <= 140; ++length) {
        for (SDS_Name* const from : {static_cast<SDS_Name*>(nullptr), base.GetID()}) {
            SCOPED_TRACE(length);
            std::string path(length, 'p');
            for (std::size_t i = 9; i + 1 < length; i += length % 2 == 0 ? 10 : 32)
                path[i] = '/';
            SDS_Name* const id = Reserve(from, path);
            ASSERT_EQ(Find(from, path), id);
            EXPECT_EQ(Find(from == nullptr ? base.GetID() : nullptr, path), nullptr);
            for (std::size_t i = 0; i < length; ++i) {
                std::string other = path;
                other[i] = 'q';
                EXPECT_EQ(Find(from, other), nullptr) << other;
            }
            Free(id);
            EXPECT_EQ(Find(from, path), nullptr);
            EXPECT_EQ(Reserve(from, path), id);
            EXPECT_EQ(Find(from, path), id) << "back to life";
            Free(id);
        }
    }
}

TEST_F(NameStore, APathWhoseCellLivesOnUnderAnotherNameLeadsNowhere)
{
    const SDS_IName base("memory");
    SDS_Name* const id = Reserve(base.GetID(), "gone/leaf");
    Free(id);
    Names taken(FreeCells().size());
    for (std::size_t i = 0; i < taken.size(); ++i)
        taken[i] = Reserve(base.GetID(), std::to_string(i));
    EXPECT_EQ(std::count(taken.begin(), taken.end(), id), 1);
    EXPECT_EQ(Find(base.GetID(), "gone/leaf"), nullptr);
    std::for_each(taken.begin(), taken.end(), Free);
}

// The names between the slashes, with single ones between them.
std::string Plain(const std::string& iPath)
{
    std::string plain;
    std::istringstream names(iPath);
    for (std::string name; std::getline(names, name, '/');)
        if (!name.empty()) plain += (plain.empty() ? "" : "/") + name;
    return plain;
}

// All paths of up to six parts, of which half exist, across the length that is looked up at once.
TEST_F(NameStore, HoweverAPathIsWrittenItsNamesDecide)
{
    const SDS_IName base("written");
    std::vector<std::string> paths = {""};
    for (std::size_t i = 0; i < 1 + 4 + 16 + 64 + 256 + 1024; ++i)
        for (const char* const part : {"a", "/", "bcde", "/fghijklmn/"})
            paths.push_back(paths[i] + part);
    std::set<std::string> plainOnes = {""};
    Names reserved;
    for (std::size_t i = 1; i < paths.size(); i += 2) {
        const std::string plain = Plain(paths[i]) + "/";
        reserved.push_back(Reserve(base.GetID(), paths[i]));
        for (std::size_t end = plain.find('/'); end != std::string::npos; end = plain.find('/', end + 1))
            plainOnes.insert(plain.substr(0, end));
    }
    for (const std::string& path : paths) {
        SDS_Name* found = nullptr;
        const ESDSError result = Registry::GetNameId(base.GetID(), path.c_str(), &found);
        const std::string plain = Plain(path);
        ASSERT_EQ(result, plainOnes.count(plain) > 0 ? eSDSErr_None : eSDSErr_NameNotFound) << path;
        if (found == nullptr) continue;
        ASSERT_EQ(PathOf(found), plain.empty() ? "/written" : "/written/" + plain);
    }
    std::for_each(reserved.begin(), reserved.end(), Free);
}

TEST_F(NameStore, ANameThatIsTooLongIsToldWhereverItStands)
{
    const SDS_IName base("long");
    SDS_Name* const id = Reserve(base.GetID(), "a");
    for (const std::string before : {"", "/", "a/", "a//"}) {
        for (const std::string behind : {"", "/", "/a"}) {
            for (const std::size_t bytes : {31, 32, 33}) {
                const std::string path = before + std::string(bytes, 'n') + behind;
                SDS_Name* found = nullptr;
                EXPECT_EQ(Registry::GetNameId(base.GetID(), path.c_str(), &found),
                          bytes > 31 ? eSDSErr_NameTooLong : eSDSErr_NameNotFound)
                    << path;
                EXPECT_EQ(found, nullptr);
            }
        }
    }
    Free(id);
}

std::string Scrambled(unsigned iNumber)
{
    return std::to_string((Cmn_UInt64{iNumber} + 1) * 0x9E3779B97F4A7C15u | Cmn_UInt64{1} << 63);
}

// A text of either family, so that both have one sum: of so many there are some.
std::pair<std::string, std::string> OfOneSum(std::string (*iFirst)(unsigned),
                                             std::string (*iSecond)(unsigned))
{
    constexpr unsigned count = 1u << 18;
    const auto sumOf = [](const std::string& iText) { return Sys_Crc32C(0, iText.data(), iText.size()); };
    std::unordered_map<Cmn_UInt32, unsigned> sums;
    for (unsigned i = 0; i < count; ++i)
        sums.emplace(sumOf(iFirst(i)), i);
    for (unsigned i = 0; i < count; ++i)
        if (const auto found = sums.find(sumOf(iSecond(i))); found != sums.end())
            return {iFirst(found->second), iSecond(i)};
    ADD_FAILURE() << "no two texts of one sum";
    return {};
}

TEST_F(NameStore, NamesOfOneSumAreToldApartAndSoAreThoseBelowThem)
{
    const auto [here, there] = OfOneSum([](unsigned i) { return "x" + Scrambled(i).substr(0, 15); },
                                        [](unsigned i) { return "y" + Scrambled(i).substr(0, 15); });
    for (const std::string rest : {"", "/", "ends", "ends as one/leaf"}) {
        SCOPED_TRACE(here + " and " + there + rest);
        SDS_Name* const id = Reserve(nullptr, here + rest + "/leaf");
        EXPECT_EQ(Find(nullptr, there + rest + "/leaf"), nullptr);
        SDS_Name* const other = Reserve(nullptr, there + rest);
        EXPECT_EQ(Find(other, "leaf"), nullptr);
        EXPECT_EQ(Find(nullptr, there + rest + "/leaf"), nullptr);
        EXPECT_EQ(Find(nullptr, here + rest + "/leaf"), id);
        Free(id);
        Free(other);
    }
}

// Eighteen names, with digits in place of slashes between eight of them.
const std::string cPlainOne = "a/a/a/a/a/a/a/a/a/a/a/a/a/a/a/a/a/a";

std::string Joined(unsigned iHow, std::size_t iFirst)
{
    std::string path = cPlainOne;
    for (std::size_t i = 0; i < 8; ++i)
        path[iFirst + 2 * i] = Scrambled(iHow)[i];
    return path;
}

// What changes the sum in the first half by as much as something else does in the second leaves the whole path's as it is.
TEST_F(NameStore, SlashesAreToldFromBytesOfTheSameSum)
{
    const auto [first, second] =
        OfOneSum([](unsigned i) { return Joined(i, 1); }, [](unsigned i) { return Joined(i, 17); });
    const std::string path = first.substr(0, 17) + second.substr(17);
    ASSERT_EQ(Sys_Crc32C(0, path.data(), path.size()), Sys_Crc32C(0, cPlainOne.data(), cPlainOne.size()));
    SDS_Name* const id = Reserve(nullptr, cPlainOne);
    EXPECT_EQ(Find(nullptr, path), nullptr) << path;
    Free(id);
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

TEST_F(NameStore, ANodeThatNobodyHearsMayWaitForItsRebuildAndGo)
{
    SDS_Name* const id = Reserve(nullptr, "unheard");
    SDS_TokenDispatcher::SetTokensPaused(true);
    EXPECT_EQ(SDS_TokenDispatcher::RebuildActiveListenerList(id, false), eSDSErr_None);
    EXPECT_TRUE(id->IsQueued());
    Free(id);
    EXPECT_FALSE(id->IsQueued());
    SDS_TokenDispatcher::SetTokensPaused(false);
}

// Makes so many siblings that the table's buckets are as full in the end as they are at first, with every
// third call out of memory.
class Siblings : public NameStore
{
protected:
    void Make()
    {
        const std::size_t before = FreeCells().size();
        std::size_t count = 4 * before;
        while (count <= 40000)
            count *= 4;
        mNames.resize(count - 2); // the parent is one more, and the root
        std::size_t bytes = 0;
        for (std::size_t i = 0; i < mNames.size(); ++i) {
            const AllocationCounter allocations;
            MakeOne(i);
            ASSERT_LE(AllocationCounter::Largest(), 0x10000u);
            if (allocations.Count() > 0) bytes += AllocationCounter::Largest();
            mOrder.push_back(i);
        }
        EXPECT_LE(bytes, 128 * (count - before));
        std::shuffle(mOrder.begin(), mOrder.end(), std::mt19937(13));
    }
    void MakeOne(std::size_t iIndex)
    {
        const std::string name = std::to_string(iIndex);
        const bool isRefused = iIndex % 3 == 0;
        ESDSError result = eSDSErr_None;
        {
            const StRefusedAllocation refusal(isRefused ? 1 : 1000);
            result = Registry::ReserveName(mParent, name.c_str(), &mNames[iIndex]);
        }
        if (result == eSDSErr_None) return;
        EXPECT_TRUE(isRefused && result == eSDSErr_OutOfMemory && Find(mParent, name) == nullptr);
        mNames[iIndex] = Reserve(mParent, name);
    }

    const SDS_IName mHolder{"siblings"};
    SDS_Name* const mParent = mHolder.GetID();
    Names mNames;
    std::vector<std::size_t> mOrder;
};

TEST_F(Siblings, WithoutNumberTheyGrowInSmallStepsAndTake128BytesEach)
{
    Make();
    for (const std::size_t i : mOrder)
        ASSERT_EQ(Find(mParent, std::to_string(i)), mNames[i]);
    // The cells are used anew in the order in which they were freed; the younger half
    // comes back to life before.
    for (const std::size_t i : mOrder)
        Free(mNames[i]);
    const std::size_t half = mOrder.size() / 2;
    for (std::size_t i = half; i < mOrder.size(); ++i)
        ASSERT_EQ(Reserve(mParent, std::to_string(mOrder[i])), mNames[mOrder[i]]);
    for (std::size_t i = 0; i < half; ++i)
        ASSERT_EQ(Reserve(mParent, "again " + std::to_string(i)), mNames[mOrder[i]]);
    for (std::size_t i = 0; i < mOrder.size(); ++i) {
        SDS_Name* const id = mNames[mOrder[i]];
        ASSERT_EQ(Find(mParent, std::to_string(mOrder[i])), i < half ? nullptr : id);
        ASSERT_TRUE(i >= half || Find(mParent, "again " + std::to_string(i)) == id) << i;
    }
    std::for_each(mNames.begin(), mNames.end(), Free);
}

} // namespace
