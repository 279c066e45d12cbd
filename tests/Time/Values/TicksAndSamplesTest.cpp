#include "Time/TimeFixture.h"

namespace {

constexpr Time_TickLength Display(Cmn_Int64 iTicks)
{
    return Time_TickLength(iTicks, Time_eTickType_Display);
}

// All of this costs nothing at run time.
static_assert(Time_cZeroTick + Time_TickLength::cQuarter == Time_Tick(960000));
static_assert(Time_TickLength::cQuarter.ToDisplayTicks() == Time_TickLength::cDisplayQuarter);
static_assert(Time_Sample(7) - Time_Sample(10) == Time_SampleLength(-3));
static_assert(sizeof(Time_Sample) == 8 && sizeof(Time_Tick) == 8 && sizeof(Time_TickLength) == 16);

} // namespace

TEST(TickLength, DisplayTicksRoundAsRulersShow)
{
    constexpr std::tuple<const char*, Cmn_Int64, Cmn_Int64> cCases[] = {
        {"below a half", 499, 0},
        {"a half rounds up", 500, 1},
        {"below one and a half", 1499, 1},
        {"negative: toward zero", -1400, 0},
        {"negative: a half rounds up too", -1500, -1},
        {"negative: past the half", -1600, -1},
        {"the sum wraps at the largest", cMost, (cLeast + 499) / 1000},
        {"the smallest has room for 500", cLeast, (cLeast + 500) / 1000},
    };
    for (const auto& [name, internal, display] : cCases) {
        EXPECT_EQ(Time_TickLength(internal).ToDisplayTicks(), Display(display)) << name;
        EXPECT_EQ(Display(internal).ToDisplayTicks(), Display(display)) << name;
    }
    EXPECT_EQ(Display(1).ToInternalTicks().ToInternalTicks(), Time_TickLength(1000000));
}

TEST(TickLength, MixedTypesAreReportedAndCountedRaw)
{
    const AssertRecorder recorder;
    const Time_TickLength internal(5);
    Time_TickLength sum = internal;
    sum += Display(1);
    sum -= Display(3);
    EXPECT_EQ(recorder.Take(), Reports(2, "mTickType == rightHandValue.mTickType@$^$@time/Time_TickLength"));
    EXPECT_EQ(sum, Time_TickLength(3));
    EXPECT_EQ(internal + Display(1), Time_TickLength(6));
    EXPECT_EQ(Display(1) - internal, Display(-4));
    EXPECT_TRUE(Display(1) < internal && Display(1) != internal);
    EXPECT_EQ(recorder.Take(), Reports(4, cMixedTicks));

    EXPECT_EQ(Display(1).AsInt32X(), 1);
    EXPECT_EQ(Time_TickLength((Cmn_Int64{1} << 32) + 7).AsInt32X(), 7);
    EXPECT_EQ(recorder.Take(), Reports{"mTickType == Time_eTickType_Display@$^$@time/Time_TickLength"});
}

TEST(TickLength, StepsAndScalesInItsOwnTypeAndWraps)
{
    Time_TickLength length = Display(1);
    EXPECT_EQ(length++, Display(1));
    EXPECT_EQ(++length, Display(3));
    EXPECT_EQ(length--, Display(3));
    EXPECT_EQ((--length * -7).AbsoluteValue(), Display(7));
    (length = length * -7) /= 2;
    EXPECT_EQ(length, Display(-3));

    const AssertRecorder recorder;
    EXPECT_EQ(length /= 0, Display(0));
    EXPECT_EQ(recorder.Take().size(), 1u);
    EXPECT_EQ((Display(cLeast) /= -1).AbsoluteValue(), Display(cLeast));
    EXPECT_EQ(Display(cLeast).GetAsXML("nTick").ToString(),
              "<nTick tickType=\"Display\">-9223372036854775808</nTick>\n");
    Time_Tick tick(cMost);
    EXPECT_EQ(tick++, Time_Tick(cMost));
    EXPECT_EQ(tick--, Time_Tick(cLeast));
    EXPECT_EQ(--tick - Time_Tick(cMost), Time_TickLength(-1));
    EXPECT_EQ(Time_cZeroTick + Display(1) - Time_TickLength(3), Time_Tick(-2)); // the count as it stands
}

TEST(Limits, PositionsPinIntoTheirRange)
{
    constexpr Cmn_Int64 cMaxSample = 34359738367;
    constexpr Cmn_Int64 cMaxTick = 576460752303423487;
    for (const Cmn_Int64 around : {Cmn_Int64{0}, cMaxSample, cMaxTick, -cMaxTick, cLeast + 1, cMost - 1})
        for (const Cmn_Int64 count : {around - 1, around, around + 1}) {
            Time_Sample sample(count);
            sample.PinToValidRange();
            EXPECT_EQ(sample, Time_Sample(std::clamp<Cmn_Int64>(count, 0, cMaxSample))) << count;
            Time_Tick tick(count);
            tick.PinToValidRange();
            EXPECT_EQ(tick, Time_Tick(std::clamp(count, -cMaxTick, cMaxTick))) << count;
        }
}

TEST(Text, LengthsReadOnly32BitsFromText)
{
    constexpr Cmn_Int64 cKept = 17;
    constexpr std::tuple<const char*, Cmn_Int64, Cmn_Int64> cCases[] = {
        {"2147483648", 2147483648, cKept},
        {"-2147483649", -2147483649, cKept},
        {"-9223372036854775808", cLeast, cKept},
        {"", 0, cKept},
        {" +5 ", 5, 5},
    };
    for (const auto& [text, position, distance] : cCases) {
        Time_Sample sample(cKept);
        sample.FromString(text);
        EXPECT_EQ(sample, Time_Sample(position)) << text;
        Time_SampleLength length(cKept);
        length.FromString(text);
        EXPECT_EQ(length, Time_SampleLength(distance)) << text;
    }
    EXPECT_EQ(Time_Sample(cLeast).ToString(), "-9223372036854775808");
    EXPECT_EQ(Time_SampleLength(1234567).ToString(), "1234567");
}
