#include "Kora/Time/Meter/Time_DefaultMeterMap.h"
#include "Support/AllocationCounter.h"
#include "Support/MeterMapText.h"
#include "Time/TimeFixture.h"

#include <thread>
#include <vector>

namespace {

Time_TickLength Ticks(Cmn_Int64 iTicks) { return Time_TickLength(iTicks); }

// The plain picture of a map: bars laid one after another from the first change on, each
// cut where a change comes.
class BarWalk
{
public:
    explicit BarWalk(const Time_MeterMap& iMap)
        : mChange(iMap.IterBegin())
        , mEnd(iMap.IterEnd())
        , mBar(mChange->GetBarNumber())
        , mStart(mChange->GetTick().AsInt64())
    {
    }

    // For ascending ticks; those before the first change walk its bars backwards.
    Time_BarBeatTick At(Cmn_Int64 iTick)
    {
        const Cmn_Int64 length = mChange->GetMeter().GetBarLength().AsInt64();
        for (; iTick < mStart; --mBar)
            mStart -= length;
        while (iTick >= NextStart()) {
            mStart = NextStart();
            ++mBar;
            if (mChange + 1 != mEnd && (mChange + 1)->GetTick().AsInt64() == mStart) ++mChange;
        }
        const Cmn_Int64 barLength = mChange->GetMeter().GetBarLength().AsInt64();
        const Cmn_Int64 numerator = mChange->GetMeter().GetNumerator();
        Cmn_Int64 beats = 0;
        while (beats + 1 < numerator && (beats + 1) * barLength / numerator <= iTick - mStart)
            ++beats;
        const Cmn_Int64 tickPart = iTick - mStart - beats * barLength / numerator;
        return {mBar, static_cast<Cmn_Int32>(beats) + 1, Ticks(tickPart)};
    }

private:
    Cmn_Int64 NextStart() const
    {
        const Cmn_Int64 whole = mStart + mChange->GetMeter().GetBarLength().AsInt64();
        return mChange + 1 == mEnd ? whole : std::min(whole, (mChange + 1)->GetTick().AsInt64());
    }

    Time_MeterMap::ConstIter mChange;
    Time_MeterMap::ConstIter mEnd;
    Cmn_Int32 mBar;
    Cmn_Int64 mStart;
};

// Meters whose bars last a few ticks, even and uneven, so that every tick of a map can be tried.
Time_MeterMap MakeTinyMap(std::mt19937& ioRandom, int iChanges)
{
    // clang-format off
    const Time_Meter cMeters[] = {{1, 3840000}, {7, 3840000}, {4, 1280000}, {3, 1000000}, {5, 2560000},
                                  {9, 3840000}, {2, 500000}, {5, 9600000}, {12, 3000000}};
    // clang-format on
    Time_MeterMap map;
    Cmn_Int64 tick = 1000;
    for (int i = 0; i < iChanges; ++i) {
        map.AddMeterChange(Time_Tick(tick), cMeters[ioRandom() % std::size(cMeters)],
                           static_cast<Cmn_Int32>(ioRandom() % 100) - 50);
        tick += 1 + ioRandom() % (ioRandom() % 4 == 0 ? 60 : 12);
    }
    return map;
}

// Durations by their definition, a bar and a beat at a time, on top of the two conversions.
struct PlainDurations
{
    const Time_MeterMap& mMap;

    Time_BarBeatTick At(Cmn_Int64 iTick) const { return mMap.TickToBarBeat(Time_Tick(iTick)); }
    Cmn_Int64 Tick(const Time_BarBeatTick& iAt) const { return mMap.BarBeatToTick(iAt).AsInt64(); }
    Cmn_Int64 Start(Cmn_Int32 iBar) const { return Tick({iBar, 1, Ticks(0)}); }
    Cmn_Int64 Gap(Cmn_Int64 iTick) const
    {
        const Cmn_Int64 gap = Start(At(iTick).mBar + 1) - iTick;
        return gap < mMap.GetMeterAtTick(Time_Tick(iTick)).GetTicksPerBeat().AsInt64() / 10 ? gap : 0;
    }
    Time_BarBeatTick NextBeat(const Time_BarBeatTick& iAt, int iBy) const
    {
        const auto last = [&](Cmn_Int32 iBar) { return At(Start(iBar + 1) - 1).mBeat; };
        if (iBy < 0 && iAt.mBeat <= 1) return {iAt.mBar - 1, last(iAt.mBar - 1), iAt.mTick};
        if (iBy > 0 && iAt.mBeat >= last(iAt.mBar)) return {iAt.mBar + 1, 1, iAt.mTick};
        return {iAt.mBar, iAt.mBeat + iBy, iAt.mTick};
    }
    // iSign is 1 to add, -1 to subtract.
    Cmn_Int64 Move(Cmn_Int64 iTick, const Time_BarBeatTick& iDuration, int iSign) const
    {
        const Cmn_Int64 gap = Gap(iTick);
        const Cmn_Int64 start = iTick + gap;
        const Cmn_Int32 bar = At(start).mBar;
        Time_BarBeatTick at = At(Start(bar + iSign * iDuration.mBar) + start - Start(bar));
        for (int i = 0; i < iDuration.mBeat; ++i)
            at = NextBeat(at, iSign);
        return Tick(at) + iSign * iDuration.mTick.AsInt64() - gap;
    }
    Time_BarBeatTick Between(Cmn_Int64 iStart, Cmn_Int64 iEnd) const
    {
        if (const Cmn_Int64 gap = Gap(iStart)) return Between(iStart + gap, iEnd + gap);
        const Cmn_Int32 bar = At(iStart).mBar;
        const Cmn_Int64 offset = iStart - Start(bar);
        Cmn_Int32 bars = At(iEnd).mBar - bar;
        Cmn_Int32 beats = 0;
        while (Start(bar + bars) + offset > iEnd)
            --bars;
        Time_BarBeatTick at = At(Start(bar + bars) + offset);
        for (; Tick(NextBeat(at, 1)) <= iEnd; ++beats)
            at = NextBeat(at, 1);
        return {bars, beats, Ticks(iEnd - Tick(at))};
    }
};

} // namespace

TEST(MeterMapQuery, EveryTickOfTinyMapsLiesWhereTheWalkFindsItAndConvertsBack)
{
    std::mt19937 random(41);
    for (int round = 0; round < 400; ++round) {
        const Time_MeterMap map = MakeTinyMap(random, 1 + round % 20);
        ASSERT_EQ(map.FindBrokenInvariant(), "");
        BarWalk walk(map);
        const Cmn_Int64 last = map.GetTickOfLastChange().AsInt64();
        for (Cmn_Int64 tick = 900; tick < last + 100; ++tick) {
            const Time_BarBeatTick bbt = map.TickToBarBeat(Time_Tick(tick));
            ASSERT_EQ(bbt, walk.At(tick)) << "tick " << tick << " of\n" << map.Dump();
            ASSERT_EQ(map.BarBeatToTick(bbt), Time_Tick(tick)) << map.Dump();
            ASSERT_EQ(map.WhyNoPosition(bbt), nullptr) << bbt;
            Time_BarBeatTick near = bbt;
            (random() % 2 == 0 ? near.mBeat : near.mBar) += static_cast<int>(random() % 5) - 2;
            near.mTick += Time_TickLength(static_cast<Cmn_Int64>(random() % 9) - 4);
            const bool isPosition = map.TickToBarBeat(map.BarBeatToTick(near)) == near;
            ASSERT_EQ(map.WhyNoPosition(near) == nullptr, isPosition) << near << " of\n" << map.Dump();
        }
    }
}

// Numerators go up to the 32-bit limit: the products of the plain formulas would pass 64 bits.
TEST(MeterMapQuery, FarTicksConvertBackUnderManyMetersAndUnderAbsurdOnes)
{
    std::mt19937_64 random(43);
    std::vector<Time_MeterMap> maps(1);
    for (int i = 0; i < 1000; ++i)
        maps[0].AddMeterChange(At(0, static_cast<Cmn_Int64>(random() % 20000000000)),
                               Time_Meter(1 + random() % 13, 1 + random() % 70), 1);
    constexpr int cMost = 2147483647;
    for (const auto& [numerator, denominator] :
         {std::pair(cMost, 1), {cMost, 7}, {2000003, 3}, {7, 3}, {cMost, 3840000}})
        maps.emplace_back().AddMeterChange(At(0), Time_Meter(numerator, denominator), 1);
    for (const Time_MeterMap& map : maps) {
        // Up to 2^30 bars away, within the valid ticks.
        const Cmn_Int64 barLength = map.IterBegin()->GetMeter().GetBarLength().AsInt64();
        const Cmn_Int64 farthest = std::min(barLength, Cmn_Int64{1} << 28) << 30;
        for (int i = 0; i < 20000; ++i) {
            const Cmn_Int64 distance = static_cast<Cmn_Int64>(random() >> random() % 30) % farthest;
            const Time_Tick tick = At(0, i % 2 ? distance : distance % 21000000000);
            const Time_BarBeatTick bbt = map.TickToBarBeat(tick);
            ASSERT_EQ(map.BarBeatToTick(bbt), tick) << bbt.Dump() << " in\n" << map.Dump();
            ASSERT_GE(bbt.mBeat, 1);
            ASSERT_LE(bbt.mBeat, map.GetMeterAtTick(tick).GetNumerator());
            ASSERT_GE(bbt.mTick, Ticks(0));
        }
    }
}

TEST(MeterMapQuery, AnEmptyMapAnswersAsTheDefaultMap)
{
    Time_MeterMap map;
    map.SetSongStartTick(At(-400));
    const Time_MeterMap& defaultMap = *Time_MeterMap::GetDefaultMeterMap();
    EXPECT_EQ(map.TickToBarBeat(At(0, -1)), Time_BarBeatTick(0, 4, Ticks(959999)));
    EXPECT_EQ(map.IterBegin(), defaultMap.IterBegin());
    EXPECT_EQ(map.IterFindFirstGE(At(0, 1)), map.IterEnd());
    EXPECT_EQ(map.GetSongStartBar(), 1);
    EXPECT_EQ(map.GetClicksAtTick(At(7)), Ticks(cQuarter));
    EXPECT_EQ(ToText(defaultMap), "1| 4/4 @0");
}

TEST(MeterMapQuery, MeterAndClickInForceKnowWhereTheyChange)
{
    const Time_NotationDurationValue eighth(Time_eNoteDuration_Eighth, false);
    const Time_NotationDurationValue eighthAsTuplet(Time_eNoteDuration_Quarter, false, true, 1, 2);
    Time_MeterMap map;
    map.AddMeterChange(At(0), Time_Meter(4, 4), 1);
    map.AddMeterChange(At(4), Time_Meter(6, 8, eighth), 1);
    map.AddMeterChange(At(7), Time_Meter(3, 4, eighthAsTuplet), 1); // another value, the same length
    map.AddMeterChange(At(10), Time_Meter(4, 4), 1);
    Time_Tick changeTick;
    Time_Tick until;
    EXPECT_EQ(map.GetMeterAtTick(At(6), &changeTick), Time_Meter(6, 8, eighth));
    EXPECT_EQ(changeTick, At(4));
    EXPECT_EQ(map.GetMeterAtTick(At(-100), &changeTick), Time_Meter());
    EXPECT_EQ(changeTick, At(0));
    EXPECT_EQ(map.GetClicksAtTick(At(4), &until), Ticks(480000));
    EXPECT_EQ(until, At(10));
    EXPECT_EQ(map.GetClicksAtTick(At(10), &until), Ticks(cQuarter));
    // By value: a Windows host cannot refer to a constant inside an imported class.
    EXPECT_EQ(until, Time_Tick(Time_MeterMap::cMaxTick));
}

TEST(MeterMapQuery, DurationsAreWhatAWalkBarByBarAndBeatByBeatGives)
{
    std::mt19937 random(44);
    const char* const cMaps[] = {"1| 4/4", "1| 4/4   3| 3/4   5| 6/8   6| 7/16   20| 4/4",
                                 "1| 4/4   2| 3/4 @1   3| 3/4 @1+50000   4| 5/8 @3+17   8| 4/4 @12",
                                 "-3| 1/64   93| 2/4 @6   94| 9/8 @7   95| 4/4 @7+90000"};
    for (const char* text : cMaps) {
        const Time_MeterMap map = MakeMeterMap(text);
        const PlainDurations plain{map};
        for (int i = 0; i < 4000; ++i) {
            // Near a barline as often as anywhere, on both sides of the snap.
            const Cmn_Int32 bar = static_cast<Cmn_Int32>(random() % 120) - 8;
            const Cmn_Int64 base = plain.Start(bar) - (i % 2 == 0 ? random() % 100000 : random() % 4000000);
            const Cmn_Int64 start = i % 5 == 0 ? plain.Start(bar) - 96000 + i % 3 - 1 : base;
            const Time_BarBeatTick duration(random() % 9, random() % 300, Ticks(random() % 1000000));
            const Cmn_Int64 end = start + random() % (i % 3 == 0 ? 1000000 : 100000000);
            SCOPED_TRACE("from " + std::to_string(start) + " by " + duration.Dump() + "\n" + text);
            const Time_Tick from(start);
            ASSERT_EQ(map.AddDurationToTick(from, duration).AsInt64(), plain.Move(start, duration, 1));
            ASSERT_EQ(map.SubtractDurationFromTick(from, duration).AsInt64(),
                      plain.Move(start, duration, -1));
            ASSERT_EQ(map.ComputeDurationBetween(from, Time_Tick(end)), plain.Between(start, end));
        }
    }
}

// A duration of billions of beats is no longer than a short one to compute, and far times do not wrap.
TEST(MeterMapQuery, LongDurationsAndFarTimesAreExact)
{
    const Time_MeterMap map = MakeMeterMap("1| 4/4   3| 3/4   5| 6/8");
    const AllocationCounter allocations;
    const Time_BarBeatTick billions(0, 2000000000, Ticks(0));
    const Time_Tick far = map.AddDurationToTick(At(0), billions);
    EXPECT_EQ(far, At(14) + Ticks(480000) * (2000000000 - 14));
    EXPECT_EQ(map.SubtractDurationFromTick(far, billions), At(0));
    EXPECT_EQ(map.AddDurationToTick(Time_Tick(Cmn_Int64{1} << 58), {1, 0, Ticks(0)}),
              Time_Tick((Cmn_Int64{1} << 58) + 2880000));
    EXPECT_EQ(map.ComputeDurationBetween(At(0), far), Time_BarBeatTick(333333335, 0, Ticks(0)));
    EXPECT_EQ(map.ComputeDurationBetween(far, At(0)), Time_BarBeatTick(0, 0, Ticks(0))) << "backwards";
    EXPECT_EQ(allocations.Count(), 0);
}

TEST(MeterMapQuery, DisplayTicksAreReportedAndCountAsTheyStand)
{
    const Time_MeterMap map;
    const AssertRecorder recorder;
    const Time_TickLength display(7, Time_eTickType_Display);
    EXPECT_EQ(map.BarBeatToTick({1, 1, display}), At(0, 7));
    EXPECT_EQ(map.AddDurationToTick(At(0), {0, 0, display}), At(0, 7));
    EXPECT_EQ(map.SubtractDurationFromTick(At(0), {0, 0, display}), At(0, -7));
    EXPECT_EQ(recorder.Take(), Reports(3, cMixedTicks));
}

// As an audio thread does with the copies that it is handed; the thread sanitizer looks for what they share.
TEST(MeterMapQuery, ACopyIsAskedByAnotherThreadWhileItsOriginalIsEdited)
{
    constexpr Cmn_Int64 cTicks = 400;
    Time_MeterMap map;
    const auto edit = [&](Cmn_Int64 iAt) {
        map.AddMeterChange(Time_Tick(iAt * 960000), Time_Meter(1 + static_cast<Cmn_Int32>(iAt % 7), 4));
    };
    for (Cmn_Int64 at = 0; at < cTicks; at += 9)
        edit(at);
    const auto answers = [](const Time_MeterMap& iMap) {
        std::vector<Time_BarBeatTick> places;
        for (Cmn_Int64 at = 0; at < cTicks; ++at)
            places.push_back(iMap.TickToBarBeat(Time_Tick(at * 960000 + 1)));
        return places;
    };
    const std::vector<Time_BarBeatTick> expected = answers(map);
    const Time_MeterMap copy(map);
    std::vector<Time_BarBeatTick> read;
    std::thread reader([&] { read = answers(copy); });
    for (Cmn_Int64 at = 1; at < cTicks; at += 5)
        edit(at);
    reader.join();
    EXPECT_EQ(read, expected);
    EXPECT_NE(answers(map), expected);
}

// A host may force in what the meter has reported: the map counts bars of one tick and goes on.
TEST(MeterMapQuery, MetersWithoutALengthNeitherTrapNorHang)
{
    const AssertRecorder recorder;
    Time_MeterMap map;
    map.AddMeterChange(Time_Tick(0), Time_Meter(0, 0), 1);
    map.AddMeterChange(Time_Tick(40), Time_Meter(-3, 4), 1);
    EXPECT_EQ(map.TickToBarBeat(Time_Tick(41)), Time_BarBeatTick(42, 1, Ticks(0)));
    EXPECT_EQ(map.AddDurationToTick(Time_Tick(0), {1, 50, Ticks(0)}), Time_Tick(51));
    map.DeleteTime(Time_Tick(3), Time_Tick(8));
    map.InsertTime(Time_Tick(3), Ticks(5));
    EXPECT_EQ(map.FindBrokenInvariant(), "");
    EXPECT_FALSE(recorder.Take().empty());
}
