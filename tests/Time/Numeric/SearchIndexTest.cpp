#include "Kora/Time/Numeric/Time_SearchIndex_p.h"
#include "Kora/Time/Values/Time_OrderByTick_p.h"
#include "Support/AllocationCounter.h"
#include "Time/TimeFixture.h"

namespace {

template <class Key>
std::size_t PlainFind(const std::vector<Key>& iKeys, Key iProbe)
{
    const auto after = std::upper_bound(iKeys.begin(), iKeys.end(), iProbe);
    return after == iKeys.begin() ? 0 : static_cast<std::size_t>(after - iKeys.begin()) - 1;
}

// Spreads of keys: even, clustered (most in one bucket), growing, clusters in clusters, and powers.
template <class Key>
std::vector<Key> RandomKeys(std::mt19937_64& ioRandom, std::size_t iCount)
{
    const int spread = static_cast<int>(ioRandom() % 5);
    std::vector<Key> keys;
    Key key = static_cast<Key>(ioRandom() % 1000) - 500;
    for (std::size_t i = 0; i < iCount; ++i) {
        keys.push_back(key);
        const auto step = static_cast<Key>(1 + ioRandom() % 1000);
        if (spread == 0)
            key += step;
        else if (spread == 1)
            key += i == iCount / 2 ? step * 1000000 : 1;
        else if (spread == 2)
            key += step * static_cast<Key>(i + 1);
        else if (spread == 3)
            key += i % 7 != 0 ? 1 : i % 49 != 0 ? step * 1000 : step * 1000000000;
        else
            key += 1 + static_cast<Key>(std::ldexp(1.0, static_cast<int>(i % 300) / 6));
    }
    return keys;
}

template <class Key>
void ExpectFindsAsPlain(const Time_SearchIndex<Key>& iIndex, const std::vector<Key>& iKeys,
                        std::mt19937_64& ioRandom)
{
    const auto keyAt = [&](std::size_t i) { return iKeys[i]; };
    std::vector<Key> probes = {std::numeric_limits<Key>::lowest(), std::numeric_limits<Key>::max()};
    for (const Key key : iKeys)
        probes.insert(probes.end(), {key - 1, key, key + 1});
    for (int i = 0; i < 200 && !iKeys.empty(); ++i) {
        const double part = static_cast<double>(ioRandom() % 1001) / 1000.0;
        probes.push_back(iKeys.front() +
                         static_cast<Key>(part * static_cast<double>(iKeys.back() - iKeys.front())));
    }
    for (const Key probe : probes)
        ASSERT_EQ(iIndex.Find(probe, keyAt), PlainFind(iKeys, probe))
            << iKeys.size() << " keys, probe " << probe;
}

template <class Key>
class SearchIndex : public testing::Test
{
};
using Keys = testing::Types<Cmn_Int64, double>;
TYPED_TEST_SUITE(SearchIndex, Keys);

} // namespace

TYPED_TEST(SearchIndex, FindsWhatAPlainSearchFindsAfterBuildsAndUpdates)
{
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        std::vector<TypeParam> keys = RandomKeys<TypeParam>(random, seed < 5 ? seed : random() % 300);
        Time_SearchIndex<TypeParam> index;
        index.Build(keys.size(), [&](std::size_t i) { return keys[i]; });
        ExpectFindsAsPlain(index, keys, random);
        for (int edit = 0; edit < 20 && !keys.empty(); ++edit) {
            // One key more or less, often at the end, and all behind it moved, as a changed tempo moves all
            // samples, or left, as it leaves ticks.
            const std::size_t at = random() % 3 == 0 ? keys.size() - 1 : random() % keys.size();
            const auto move = static_cast<TypeParam>(random() % 5000);
            const bool moves = random() % 2 == 0;
            const auto where = keys.begin() + static_cast<std::ptrdiff_t>(at);
            if (random() % 2 == 0)
                keys.insert(where + 1, keys[at] + (moves ? 1 : 0));
            else if (keys.size() > 1)
                keys.erase(where);
            for (std::size_t i = at + 1; moves && i < keys.size(); ++i)
                keys[i] += move + (i == at + 1 ? 1 : 2); // ascending strictly, the new key too
            const std::size_t back = moves ? 0 : keys.size() - std::min(at + 2, keys.size());
            index.Splice(keys.size(), at, back, [&](std::size_t i) { return keys[i]; });
            ExpectFindsAsPlain(index, keys, random);
        }
    }
}

// A few comparisons where a binary search takes ten and more, in bounded memory, however keys lie; and the
// same answers where there is no memory at all.
TYPED_TEST(SearchIndex, ReadsFewKeysInBoundedMemoryAndServesWithoutIt)
{
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        const std::vector<TypeParam> keys = RandomKeys<TypeParam>(random, 2000);
        std::size_t read = 0;
        const auto keyAt = [&](std::size_t i) { return ++read, keys[i]; };
        Time_SearchIndex<TypeParam> index;
        index.Build(keys.size(), keyAt);
        EXPECT_LE(index.GetByteCount(), keys.size() * index.cMostBytes);
        read = 0;
        for (const TypeParam key : keys)
            ASSERT_EQ(index.Find(key, keyAt), PlainFind(keys, key));
        EXPECT_LT(read, keys.size() * 4);
        for (long long nth = 1; nth < 9; ++nth) {
            const StRefusedAllocation refused(nth);
            index.Splice(keys.size() / 2, nth == 1 ? 0 : 900, 0, keyAt);
            index.Splice(keys.size(), keys.size() / 2, 0, keyAt);
            ASSERT_EQ(index.Find(keys[1234], keyAt), PlainFind(keys, keys[1234]));
        }
    }
}

// However many keys there are already: an append, and a change that leaves the keys behind it, read a few.
TEST(SearchIndexOfIntegers, EditsReadNoMoreKeysAmidMany)
{
    for (const std::size_t count : {std::size_t{1000}, std::size_t{100000}, std::size_t{200000}}) {
        SCOPED_TRACE(count);
        std::mt19937_64 random(count);
        std::vector<Cmn_Int64> keys;
        std::size_t read = 0;
        const auto keyAt = [&](std::size_t i) { return ++read, keys[i]; };
        Time_SearchIndex<Cmn_Int64> index;
        for (Cmn_Int64 key = 0; keys.size() < count; key += 1 + static_cast<Cmn_Int64>(random() % 2000)) {
            keys.push_back(key);
            index.Splice(keys.size(), keys.size() - 1, 0, keyAt);
        }
        EXPECT_LT(read, count * 30) << "appended one by one";
        read = 0;
        for (std::size_t edit = 0; edit < 1000; ++edit) {
            const std::size_t at = 1 + random() % (count - 2);
            keys[at] =
                keys[at - 1] + 1 + static_cast<Cmn_Int64>(random() % 1000) % (keys[at + 1] - keys[at - 1]);
            keys[at] = std::min(keys[at], keys[at + 1]);
            index.Splice(count, at, count - at - 1, keyAt);
        }
        EXPECT_LT(read, std::size_t{1000} * 60) << "changed one by one";
        for (std::size_t i = 0; i < count; i += 37)
            ASSERT_EQ(index.Find(keys[i], keyAt), PlainFind(keys, keys[i]));
    }
}

TEST(SearchIndexOfIntegers, FindsKeysAtTheEndsOfTheRange)
{
    constexpr Cmn_Int64 cMin = std::numeric_limits<Cmn_Int64>::min(),
                        cMax = std::numeric_limits<Cmn_Int64>::max();
    const std::vector<Cmn_Int64> keys = {cMin, -1, 0, cMax};
    Time_SearchIndex<Cmn_Int64> index;
    index.Build(keys.size(), [&](std::size_t i) { return keys[i]; });
    for (const Cmn_Int64 probe : {cMin, cMin + 1, Cmn_Int64{-2}, Cmn_Int64{-1}, Cmn_Int64{0}, cMax - 1, cMax})
        EXPECT_EQ(index.Find(probe, [&](std::size_t i) { return keys[i]; }), PlainFind(keys, probe)) << probe;
}

TEST(OrderByTick, IsThatOfAStableSort)
{
    std::mt19937_64 random(5);
    for (const int unusedBits : {0, 1, 20, 42, 53, 60, 63}) {
        std::vector<Time_Ordered> entries;
        for (std::size_t i = 0; i < 3000; ++i)
            entries.push_back({Time_Tick(static_cast<Cmn_Int64>(random()) >> unusedBits), i});
        Time_OrderByTick(entries);
        for (std::size_t i = 1; i < entries.size(); ++i) {
            const Time_Ordered& before = entries[i - 1];
            ASSERT_TRUE(before.mTick < entries[i].mTick ||
                        (before.mTick == entries[i].mTick && before.mIndex < entries[i].mIndex))
                << unusedBits << " unused bits, place " << i;
        }
    }
}
