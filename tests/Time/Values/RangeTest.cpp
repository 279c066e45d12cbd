#include "Kora/Time/Values/Time_RangeSet.h"
#include "Time/TimeFixture.h"

#include <bitset>
#include <unordered_map>

namespace {

Time_Range Of(Cmn_Int64 iFrom, Cmn_Int64 iTo, Time_EType iType = cTicks)
{
    return Time_Range(Time_Typed(iFrom, iType), Time_Typed(iTo, iType));
}

constexpr int cSize = 24;
using Bits = std::bitset<cSize>;

Bits BitsOf(const Time_Range& iRange)
{
    Bits bits;
    for (int i = 0; i < cSize; ++i)
        bits[static_cast<std::size_t>(i)] = iRange.Contains(Time_Typed(i, iRange.GetType()));
    return bits;
}

// Checks that the set is normal on the way.
Bits BitsOf(const Time_RangeSet& iSet)
{
    Bits bits;
    for (std::size_t i = 0; i < iSet.GetNumRanges(); ++i) {
        EXPECT_FALSE(iSet.GetRange(i).IsEmpty());
        if (i > 0) {
            EXPECT_LT(iSet.GetRange(i - 1).GetEnd(), iSet.GetRange(i).GetStart());
        }
        bits |= BitsOf(iSet.GetRange(i));
    }
    for (int i = 0; i < cSize; ++i)
        EXPECT_EQ(iSet.Contains(Time_Typed(i, cTicks)), bits[static_cast<std::size_t>(i)]) << iSet.Dump();
    EXPECT_EQ(iSet.GetLength().AsInt64(), static_cast<Cmn_Int64>(bits.count()));
    return bits;
}

} // namespace

static_assert(std::ranges::random_access_range<Time_StepView> && std::ranges::view<Time_StepView>);

TEST(RangeTest, EveryPairOfSmallRangesIsWhatItsTimesAre)
{
    for (int a = 0; a <= 6; ++a)
        for (int b = a; b <= 6; ++b)
            for (int c = 0; c <= 6; ++c)
                for (int d = c; d <= 6; ++d) {
                    const Time_Range x = Of(a, b);
                    const Time_Range y = Of(c, d);
                    SCOPED_TRACE(x.Dump() + " and " + y.Dump());
                    const Bits inX = BitsOf(x);
                    const Bits inY = BitsOf(y);
                    EXPECT_EQ(BitsOf(x.Intersection(y)), inX & inY);
                    EXPECT_EQ(x.Intersects(y), (inX & inY).any());
                    EXPECT_EQ(x.Contains(y), (inY & ~inX).none());
                    const auto [before, behind] = x.Difference(y);
                    EXPECT_EQ(BitsOf(before) | BitsOf(behind), inX & ~inY);
                    EXPECT_TRUE((BitsOf(before) & BitsOf(behind)).none());
                    const Time_Range hull = x.Hull(y);
                    EXPECT_TRUE(hull.Contains(x) && hull.Contains(y));
                    const bool isSum = (inX | inY).none() || inX.none() || inY.none();
                    EXPECT_EQ(hull.GetLength().AsInt64(),
                              isSum ? (b - a) + (d - c) : std::max(b, d) - std::min(a, c));
                    const Time_Typed clipped = x.Clip(Time_Typed(c, cTicks));
                    EXPECT_EQ(clipped.AsInt64(), a == b ? a : std::clamp(c, a, b - 1));
                }
}

TEST(RangeTest, StepsGoFromTheStartToTheLastBeforeTheEnd)
{
    const std::tuple<Cmn_Int64, Cmn_Int64, Cmn_Int64, std::size_t> rows[] = {
        {0, 10, 3, 4},           {0, 9, 3, 3}, {5, 5, 1, 0}, {-7, 0, 7, 1}, {cLeast, cMost, cMost, 3},
        {cMost - 1, cMost, 5, 1}};
    for (const auto& [from, to, step, count] : rows) {
        const auto steps = Of(from, to).Steps(Time_TypedLength(step, cTicks));
        ASSERT_EQ(steps.size(), count);
        Cmn_Int64 at = from;
        for (const Time_Typed time : steps) {
            EXPECT_EQ(time, Time_Typed(at, cTicks));
            at = Cmn_WrapAdd(at, step);
        }
        EXPECT_EQ(std::ranges::distance(steps), static_cast<std::ptrdiff_t>(count));
    }
    EXPECT_EQ(Of(cLeast, cMost).Steps(Time_TypedLength(1, cTicks)).size(), static_cast<std::size_t>(cMost));
}

TEST(RangeTest, OtherUnitsWrongEndsAndStepsAreReported)
{
    AssertRecorder asserts;
    const std::string mixed = "time_type_mismatch@$^$@time/Time_TypedBase";
    Time_RangeSet set(cSamples);
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[] { EXPECT_EQ(Time_Range(Time_Typed(3, cTicks), Time_Typed(5, cSamples)), Of(3, 5)); }, mixed},
        {[] { EXPECT_EQ(Of(0, 8).Intersection(Of(5, 12, cSamples)), Of(5, 8)); }, mixed},
        {[] { EXPECT_TRUE(Of(0, 8).Contains(Time_Typed(5, cFrames))); }, mixed},
        {[] { EXPECT_EQ(Of(5, 3), Of(5, 5)); }, "iStart <= iEnd@$^$@Time/Time_Range"},
        {[] { EXPECT_TRUE(Of(0, 9).Steps(Time_TypedLength(0, cTicks)).empty()); },
         "iStep > 0@$^$@Time/Time_Range"},
        {[&] { set.Add(Of(1, 2)); }, mixed},
        {[&] { set |= Time_RangeSet(Of(2, 3)); }, mixed},
    };
    for (const auto& [call, report] : rows) {
        call();
        EXPECT_EQ(asserts.Take(), Reports{report});
    }
    std::ostringstream shown;
    shown << set << ", " << Time_RangeSet(cFrames) << ", " << Of(-4, 2);
    EXPECT_EQ(shown.str(), "[1, 3) Samples, Frames, [-4, 2) Ticks");
    EXPECT_EQ(Of(cMost - 5, cMost).Moved(Time_TypedLength(3, cTicks)), Of(cMost - 2, cMost));
}

TEST(RangeSetTest, RandomEditsAreThoseOfABitForEachTime)
{
    std::mt19937 random(152);
    std::unordered_map<Bits, std::size_t> hashes;
    const auto any = [&] {
        const int from = static_cast<int>(random() % cSize);
        return Of(from, from + static_cast<int>(random() % static_cast<unsigned>(cSize - from + 1)));
    };
    for (int round = 0; round < 300; ++round) {
        Time_RangeSet set(cTicks);
        Bits model;
        for (int i = 0; i < 40; ++i) {
            const Time_Range range = any();
            Time_RangeSet other(any());
            other.Add(any());
            const Bits inRange = BitsOf(range);
            const Bits inOther = BitsOf(other);
            const unsigned kind = random() % 5;
            if (kind == 0) set.Add(range), model |= inRange;
            if (kind == 1) set.Remove(range), model &= ~inRange;
            if (kind == 2) set |= other, model |= inOther;
            if (kind == 3) set -= other, model &= ~inOther;
            if (kind == 4) set &= other, model &= inOther;
            ASSERT_EQ(BitsOf(set), model) << set.Dump();
            ASSERT_EQ(set.Intersects(range), (model & inRange).any());
            ASSERT_EQ(set.Contains(range), (inRange & ~model).none());
            const std::size_t hash = std::hash<Time_RangeSet>()(set);
            ASSERT_EQ(hashes.emplace(model, hash).first->second, hash) << set << " has one hash";
        }
    }
    std::set<std::size_t> different;
    for (const auto& [bits, hash] : hashes)
        different.insert(hash);
    EXPECT_EQ(different.size(), hashes.size());
}
