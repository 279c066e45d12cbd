#include "Kora/Time/Tempo/Time_NewTempoEvents.h"
#include "Kora/Time/Tempo/Time_TempoEdit.h"
#include "Time/TimeFixture.h"

namespace {

constexpr Time_TickLength cQuarter = Time_TickLength::cQuarter, cEighth(480000);

Time_NewTempoEvent Event(Cmn_Int64 iTick, float iTempo, const Time_TickLength& iBeat = cQuarter)
{
    return {Time_Tick(iTick), iTempo, iBeat};
}

} // namespace

TEST(TempoLimits, TempoIsHeldInBothCounts)
{
    const Time_TempoLimits& limits = Time_TempoEdit::GetTempoLimits();
    const auto limited = [&](double iBeats, Cmn_Int64 iBeat) {
        return limits.LimitTempoValue(iBeats, Time_TickLength(iBeat));
    };
    EXPECT_EQ(limited(118.23729952887406, 960000), 118.23729952887406); // a round trip would end in 8
    EXPECT_EQ(limited(77, 7), 960000.0 * 5 / 7);
    // Of the two limits the narrower counts.
    constexpr double cCases[][5] = {
        {480000, 5, 499.5, 10, 999},
        {960000, 5, 500, 5, 500},
        {1920000, 10, 500, 5, 250},
    };
    for (const auto& [ticks, minQPM, maxQPM, minBPM, maxBPM] : cCases) {
        const Time_TickLength beat(static_cast<Cmn_Int64>(ticks));
        EXPECT_EQ(std::pair(limits.GetMinQPM(beat), limits.GetMaxQPM(beat)), std::pair(minQPM, maxQPM));
        EXPECT_EQ(std::pair(limits.GetMinBPM(beat), limits.GetMaxBPM(beat)), std::pair(minBPM, maxBPM));
        EXPECT_EQ(std::pair(limited(1, beat.AsInt64()), limited(1000, beat.AsInt64())),
                  std::pair(minBPM, maxBPM));
    }
    const AssertRecorder recorder;
    EXPECT_EQ(limits.LimitTempoValue(1000, Time_TickLength(960000, Time_eTickType_Display)), 500);
    EXPECT_EQ(limits.GetMaxBPM(Time_TickLength(0)), 0);
    EXPECT_EQ(recorder.Take().size(), 2u);
}

TEST(NewTempoEvents, StaySortedAndWithoutRepeats)
{
    Time_NewTempoEvents events(48000);
    for (const auto& event :
         {Event(100, 120), Event(50, 90), Event(200, 120), Event(200, 120, cEighth), Event(150, 120, cEighth),
          Event(50, 60), Event(40, 60), Event(100, 121), Event(160, 120.00001f, cEighth)})
        events.AddTempoEvent(event);
    // 200 repeats 100, then comes with another beat; 50 is overwritten; 40 precedes its repetition.
    EXPECT_EQ(events.Dump(), "tick 40: 60 beats of 960000 ticks\n"
                             "tick 50: 60 beats of 960000 ticks\n"
                             "tick 100: 121 beats of 960000 ticks\n"
                             "tick 150: 120 beats of 480000 ticks\n"
                             "tick 160: 120.000008 beats of 480000 ticks\n"
                             "tick 200: 120 beats of 480000 ticks\n");
    EXPECT_EQ(events.GetTempoEventAtTick(Time_Tick(100))->GetTempo(), 121.0f);
    EXPECT_EQ(events.GetTempoEventAtTick(Time_Tick(99)), nullptr);
    for (const auto& [clear, last] : {std::pair(150, 150), std::pair(149, 100)}) {
        Time_NewTempoEvents rest = events;
        rest.ClearAfterTime(Time_Tick(clear));
        EXPECT_EQ(rest.back().GetStartTick(), Time_Tick(last));
    }
    events.ClearOutsideOfRange(Time_Tick(50), Time_Tick(160));
    EXPECT_EQ(events.front().GetStartTick(), Time_Tick(50));
    EXPECT_EQ(events.back().GetStartTick(), Time_Tick(150));
    events.ClearOutsideOfRange(Time_Tick(150), Time_Tick(60));
    EXPECT_TRUE(events.empty());
}

TEST(NewTempoEvents, QuantizedTicksFollowTheLastTempo)
{
    // At 48000 samples and 120 quarters a sample is 40 ticks.
    const std::tuple<const char*, Time_TypedLength, Time_TypedLength, Cmn_Int64, Cmn_Int64> cases[] = {
        {"samples from a tick", {10, cSamples}, {1000, cTicks}, 1420, 1420},
        {"samples from the last event", {0, cSamples}, {0, cTicks}, 960020, 960020},
        {"negative samples truncate", {-1, cSamples}, {1000, cTicks}, 980, 980},
        {"ticks: added, or the grid", {400, cTicks}, {1000000000100, cTicks}, 1000000000400, 1000000000500},
        {"on a line: the next one", {400, cTicks}, {1000000000400, cTicks}, 1000000000800, 1000000000800},
        {"before the grid's origin", {300, cTicks}, {999999999999, cTicks}, 1000000000000, 1000000000299},
        {"a negative quantum", {-300, cTicks}, {999999999699, cTicks}, 999999999700, 999999999399},
        {"no quantum", {0, cTicks}, {77, cTicks}, 77, 77},
        {"a start of 0: the last event", {7, cTicks}, {0, cSamples}, 960002, 960007},
    };
    Time_NewTempoEvents one(48000);
    Time_NewTempoEvents two(48000);
    two.AddTempoEvent(Event(5, 33, cEighth));
    for (Time_NewTempoEvents* const events : {&one, &two})
        events->AddTempoEvent(Event(960000, 120));
    for (const auto& [name, quantum, start, ofOne, ofTwo] : cases) {
        EXPECT_EQ(one.NextQuantizedTick(quantum, start), Time_Tick(ofOne)) << name;
        EXPECT_EQ(two.NextQuantizedTick(quantum, start), Time_Tick(ofTwo)) << name;
    }
    const AssertRecorder recorder;
    EXPECT_EQ(two.NextQuantizedTick({5, cFrames}, {9, cTicks}), Time_Tick(9));
    EXPECT_EQ(recorder.Take().size(), 1u);
    EXPECT_EQ(Time_NewTempoEvents().NextQuantizedTick({5, cTicks}, {9, cTicks}), Time_Tick(9));
    EXPECT_EQ(recorder.Take(), Reports{"size() > 0@$^$@Time/Time_NewTempoEvents"});
}
