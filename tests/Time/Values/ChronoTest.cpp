#include "Kora/Time/Values/Time_Chrono.h"
#include "Time/TimeFixture.h"

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

static_assert(Time_SamplesOf(20ms, 48000) == Time_SampleLength(960), "no run-time is needed");
static_assert(Time_DurationOf<std::chrono::microseconds>(Time_Sample(441), 44100) == 10000us);

TEST(Chrono, HalvesRoundUpwardOnBothSidesOfZero)
{
    using Halves = std::chrono::duration<Cmn_Int64, std::ratio<1, 2>>;
    using FloatHalves = std::chrono::duration<double, std::ratio<1, 2>>;
    for (int halves = -9; halves <= 9; ++halves) {
        const Cmn_Int64 nearest = Cmn_FloorDiv(halves + 1, 2);
        EXPECT_EQ(Time_SamplesOf(Halves(halves), 1).AsInt64(), nearest) << halves;
        EXPECT_EQ(Time_SamplesOf(FloatHalves(halves), 1).AsInt64(), nearest) << halves;
        EXPECT_EQ(Time_DurationOf<std::chrono::seconds>(Time_SampleLength(halves), 2).count(), nearest)
            << halves;
    }
}

TEST(Chrono, SamplesComeBackFromNanosecondsAtEveryRate)
{
    std::mt19937_64 random(4711);
    for (const int rate : {8000, 44100, 48000, 88200, 192000, 384000})
        for (int i = 0; i < 1000; ++i) {
            // A day of samples either way, and more.
            const Time_SampleLength length(static_cast<Cmn_Int64>(random() % (Cmn_Int64{1} << 36)) -
                                           (Cmn_Int64{1} << 35));
            const auto duration = Time_DurationOf<std::chrono::nanoseconds>(length, rate);
            ASSERT_EQ(Time_SamplesOf(duration, rate), length) << rate;
        }
}

TEST(Chrono, WhatDoublesCannotHoldIsExactInIntegers)
{
    const Cmn_Int64 odd = (Cmn_Int64{1} << 53) + 1;
    EXPECT_EQ(Time_SamplesOf(std::chrono::seconds(odd), 1).AsInt64(), odd);
    EXPECT_EQ(Time_SamplesOf(std::chrono::milliseconds(odd), 1000).AsInt64(), odd);
    EXPECT_EQ(Time_DurationOf<std::chrono::milliseconds>(Time_SampleLength(odd), 1000).count(), odd);
}

TEST(Chrono, RangesSaturateAndBadRatesAreReported)
{
    const AssertRecorder recorder;
    EXPECT_EQ(Time_SamplesOf(std::chrono::hours(cMost / 3600), 48000).AsInt64(), cMost);
    EXPECT_EQ(Time_SamplesOf(std::chrono::hours(cLeast / 3600), 48000).AsInt64(), cLeast);
    EXPECT_EQ(Time_SamplesOf(Seconds(1e300), 48000).AsInt64(), cMost);
    EXPECT_EQ(Time_SamplesOf(Seconds(std::numeric_limits<double>::quiet_NaN()), 48000).AsInt64(), 0);
    EXPECT_EQ(Time_DurationOf<std::chrono::nanoseconds>(Time_Sample(cMost), 1).count(), cMost);
    EXPECT_EQ(recorder.Take(), Reports{});
    EXPECT_EQ(Time_SamplesOf(1s, 0), Time_SampleLength());
    EXPECT_EQ(Time_DurationOf<Seconds>(Time_Sample(5), -1), Seconds(0));
    EXPECT_EQ(recorder.Take(), Reports(2, "iSampleRate > 0@$^$@Time/Time_Chrono"));
    EXPECT_EQ(Time_DurationOf<Seconds>(Time_TypedLength(5, cTicks), 5), 1s);
    EXPECT_EQ(recorder.Take(), Reports{"mType == Time_eType_Samples@$^$@time/Time_TypedLength"});
}
