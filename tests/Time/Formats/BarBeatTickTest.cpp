#include "Kora/Time/Meter/Time_Meter.h"
#include "Time/TimeFixture.h"

namespace {

using NoteValue = Time_NotationDurationValue;

Time_BarBeatTick At(Cmn_Int32 iBar, Cmn_Int32 iBeat, Cmn_Int64 iTick)
{
    return {iBar, iBeat, Time_TickLength(iTick)};
}

} // namespace

TEST(BarBeatTick, BarlinesAreBeatOneTickZeroAndOrderIsByBarThenBeatThenTick)
{
    const Time_BarBeatTick ascending[] = {At(-1, 9, 9), At(1, 1, 0), At(1, 1, 5), At(1, 2, -3), At(1, 2, 0)};
    for (const auto& a : ascending) {
        for (const auto& b : ascending)
            EXPECT_EQ(a <=> b, &a <=> &b) << a.Dump() << " and " << b.Dump();
        Time_BarBeatTick next = a;
        Time_BarBeatTick previous = a;
        next.AdvanceToNextBarline();
        EXPECT_EQ(next, At(a.mBar + 1, 1, 0));
        previous.BackupToPreviousBarline();
        const bool isBarline = a == Time_BarBeatTick();
        EXPECT_EQ(previous, At(isBarline ? a.mBar - 1 : a.mBar, 1, 0));
        EXPECT_EQ(a.IsOnBarline(), isBarline);
    }
}

TEST(BarBeatTick, PartsAndNoteValuesGoByTheirNames)
{
    using Position = Time_BarBeatTick;
    static_assert(Position::AtBar(1) == Position() && Position::Bars(2) != Position::Beats(2));
    const NoteValue dotted(Time_eNoteDuration_Quarter, true);
    const std::pair<std::string, const char*> rows[] = {
        {Position::AtBar(3).Dump(), "3|1|0"},
        {Position::AtBar(-3).WithTick(Time_TickLength(7)).Dump(), "-3|1|7"},
        {Position::AtBar(3).WithBeat(4).WithTick(Time_TickLength(5)).Dump(), "3|4|5"},
        {Position::AtBar(3).WithTick(Time_TickLength(5)).WithBeat(4).Dump(), "3|4|5"},
        {Position::Bars(2).Dump(), "2|0|0"},
        {Position::Beats(2).Dump(), "0|2|0"},
        {Position::Bars(2).WithBeat(1).Dump(), "2|1|0"},
        {Time_Meter::Halves(2).ToString(), "2/2"},
        {Time_Meter::Quarters(5).ToString(), "5/4"},
        {Time_Meter::Eighths(12).ToString(), "12/8"},
        {Time_Meter::Sixteenths(7).ToString(), "7/16"},
        {Time_Meter::Eighths(6).WithClick(dotted).ToString(), "6/8 click 1/4."},
    };
    for (const auto& [shown, text] : rows)
        EXPECT_EQ(shown, text);
    const AssertRecorder recorder;
    EXPECT_EQ(Time_Meter::Eighths(0).ToString(), "0/8");
    EXPECT_EQ(recorder.Take(), Reports{"iNumerator >= 1@$^$@Time/Time_MeterMap"});
}

TEST(BarBeatTick, OffsetAndDiffDisagreeOnTheBeat)
{
    using Row = std::tuple<const char*, Time_BarBeatTick, Cmn_Int64, Time_Meter, Time_BarBeatTick, Cmn_Int64>;
    const Row cases[] = {
        {"across a barline of 4/4", At(3, 4, 0), 960000, {4, 4}, At(4, 1, 0), 960000},
        {"a beat of 6/8 is 1920000", At(1, 1, 0), 1920000, {6, 8}, At(1, 2, 0), 480000},
        {"6/8 carries six beats", At(1, 6, 500), 1920000, {6, 8}, At(2, 1, 500), 480000},
        {"back within the bar", At(2, 3, 100), -960000, {4, 4}, At(2, 3, -959900), -960000},
        {"back past beat 1: truncation", At(2, 1, 0), -960000, {4, 4}, At(2, 0, 0), -960000},
        {"half notes last half a beat", At(1, 1, 0), 480000, {2, 2}, At(1, 2, 0), 1920000},
    };
    for (const auto& [name, from, offset, meter, expected, diff] : cases) {
        Time_BarBeatTick to;
        from.Offset(Time_TickLength(offset), meter, to);
        EXPECT_EQ(to, expected) << name;
        EXPECT_EQ(to.Diff(from, meter), Time_TickLength(diff)) << name;
    }
}

TEST(BarBeatTick, MixedTicksAndZeroMetersAreReported)
{
    const AssertRecorder recorder;
    const Time_TickLength display(7, Time_eTickType_Display);
    Time_BarBeatTick to;
    EXPECT_TRUE(Time_BarBeatTick(1, 1, Time_TickLength::cDisplayZero).IsOnBar());
    At(1, 1, 5).Offset(display, Time_Meter(), to);
    EXPECT_EQ(to, At(1, 1, 12));
    EXPECT_EQ(Time_BarBeatTick(1, 1, display).Diff(At(1, 1, 5), Time_Meter()), Time_TickLength(2));
    EXPECT_EQ(recorder.Take(), Reports(4, cMixedTicks));

    const Time_Meter broken(0, 0);
    EXPECT_EQ(recorder.Take(), Reports({"iNumerator >= 1@$^$@Time/Time_MeterMap",
                                        "iDenominator >= 1@$^$@Time/Time_MeterMap"}));
    At(3, 2, 5).Offset(Time_TickLength(1), broken, to);
    EXPECT_EQ(to, At(3, 1, 0));
    EXPECT_EQ(At(3, 2, 5).Diff(At(1, 1, 0), broken) + broken.GetTicksPerBeat(), Time_TickLength(5));
    EXPECT_GE(recorder.Take().size(), 6u);
}

TEST(BarBeatTick, TextRoundTrips)
{
    constexpr std::tuple<Cmn_Int32, Cmn_Int32, Cmn_Int64, const char*, const char*, Cmn_Int64> cCases[] = {
        {3, 4, 480000, "3|4| 480", "    3| 4| 480", 480000},
        {1, 12, 499, "1|12| 000", "    1|12| 000", 0},
        {1, 1, 500, "1|1| 001", "    1| 1| 001", 1000},
        {-20000, -1, 1234567, "-9999|-1|1235", "-9999|-1|1235", 1235000},
        {123456, 1, 99999999, "123456|1|9999", "123456| 1|9999", 9999000},
        {2, 1, -5600, "2|1|-005", "    2| 1|-005", -5000},
        {2, 1, -99999999, "2|1|-999", "    2| 1|-999", -999000},
    };
    for (const auto& [bar, beat, tick, plain, padded, readTick] : cCases) {
        const Time_BarBeatTick at = At(bar, beat, tick);
        EXPECT_EQ(at.ToString(true, false), plain);
        EXPECT_EQ(at.ToString(true, true), padded);
        for (const std::string text : {plain, padded}) {
            Time_BarBeatTick read(0, 0, Time_TickLength(99));
            EXPECT_TRUE(read.FromString(text)) << text;
            EXPECT_EQ(read, At(std::max(bar, -9999), beat, readTick)) << text;
            EXPECT_TRUE(read.FromString(text.substr(0, text.rfind('|')))) << text;
            EXPECT_EQ(read.mTick, Time_TickLength::cZero) << text;
        }
    }
    EXPECT_EQ(Time_BarBeatTick(7, 2, Time_TickLength(42, Time_eTickType_Display)).ToString(true, false),
              "7|2| 042");
    Time_BarBeatTick at = At(8, 8, 8);
    for (const char* const text : {"", "3|", "|4", "3|4|", "3|4|x", "3|4|1|2", "3;4", "99999999999|1"})
        EXPECT_TRUE(!at.FromString(text) && at == At(8, 8, 8)) << text;
}

TEST(NotationDuration, TicksOfNoteValues)
{
    constexpr Time_ENoteDuration cEighth = Time_eNoteDuration_Eighth;
    const std::pair<NoteValue, Cmn_Int64> cases[] = {
        {{}, 960000},
        {{Time_eNoteDuration_Whole, true}, 5760000},
        {{Time_eNoteDuration_SixtyFourth, false}, 60000},
        {{cEighth, true, true, 4, 7}, 411428},
        {{cEighth, false, true, 2, 0}, 480000},
        {{cEighth, false, false, 2, 5}, 480000},
        {{Time_eNoteDuration_Whole, true, true, -2147483647 - 1, -1}, 12369505812480000}};
    for (const auto& [value, ticks] : cases)
        EXPECT_EQ(value.GetTicks(), Time_TickLength(ticks)) << value.Dump();

    const AssertRecorder recorder;
    for (const int code : {-1, 0, 8, 77})
        EXPECT_EQ(NoteValue(static_cast<Time_ENoteDuration>(code), true).GetTicks().AsInt64(), 1440000);
    EXPECT_EQ(recorder.Take().size(), 4u);
}

TEST(NotationDuration, TheLongestNoteValueThatFitsAndOrderByTicksThenFields)
{
    const auto made = [](const Time_TickLength& iLength) {
        NoteValue value(Time_eNoteDuration_Whole, true, true, 9, 9);
        NoteValue::MakeDurationValue(iLength, value);
        return value;
    };
    // Around every plain and dotted value: the first in descending order that is not
    // longer, else the shortest.
    std::vector<NoteValue> descending;
    for (int code = 1; code <= 7; ++code)
        for (const bool dotted : {true, false})
            descending.emplace_back(static_cast<Time_ENoteDuration>(code), dotted);
    for (const auto& around : descending)
        for (const Cmn_Int64 offset : {-1, 0, 1}) {
            const Time_TickLength length = around.GetTicks() + Time_TickLength(offset);
            const auto fits = [&](const auto& iValue) { return iValue.GetTicks() <= length; };
            const auto expected = std::find_if(descending.begin(), descending.end() - 1, fits);
            EXPECT_EQ(made(length), *expected) << length.Dump();
        }
    EXPECT_EQ(made(Time_TickLength(-5)), descending.back());
    EXPECT_TRUE(std::is_sorted(descending.rbegin(), descending.rend()));
    EXPECT_LT(NoteValue(Time_eNoteDuration_Half, false, true, 1, 2), NoteValue()); // code 2 before code 3
    const AssertRecorder recorder;
    EXPECT_EQ(made(Time_TickLength(960000, Time_eTickType_Display)), NoteValue());
    EXPECT_EQ(recorder.Take(), Reports{cMixedTicks});
}

TEST(Meter, StreamsThroughItsBytesAndRefusesBrokenOnes)
{
    const Time_Meter meter(7, 8, {Time_eNoteDuration_Eighth, true, true, 4, -5});
    const Bytes good = Streamed(meter);
    EXPECT_EQ(good,
              Bytes({7, 0, 0, 0, 8, 0, 0, 0, 1, 0, 4, 0, 0, 0, 1, 1, 4, 0, 0, 0, 0xFB, 0xFF, 0xFF, 0xFF}));
    Time_Meter read;
    ReadBack(read, good);
    EXPECT_EQ(read, meter);
    EXPECT_NE(read, Time_Meter(7, 8));
    // Numerators, denominators, versions, note values and bools that no writer writes.
    constexpr int cFlaws[] = {0x0000, 0x0380, 0x0400, 0x063B, 0x0800, 0x0802, 0x0A00, 0x0A08, 0x0E02};
    for (const int flaw : cFlaws) { // byte, value
        Bytes bad = good;
        bad[static_cast<std::size_t>(flaw >> 8)] = static_cast<Cmn_UInt8>(flaw);
        EXPECT_THROW(ReadBack(read, bad), Cmn_Exception) << std::hex << flaw;
    }
}

TEST(Meter, OffsetIntoTheBarRunsOnPastTheNumerator)
{
    const Time_Meter meter(7, 9); // 7 × 3840000 / 9 is 2986666.67
    EXPECT_EQ(meter.GetBarLength(), Time_TickLength(2986666));
    EXPECT_EQ(meter.GetTicksPerBeat(), Time_TickLength(426666));
    EXPECT_EQ(meter.ComputeOffsetIntoBar(At(99, 4, 5)), Time_TickLength(3 * 2986666 / 7 + 5));
    EXPECT_EQ(meter.ComputeOffsetIntoBar(At(99, 15, 0)), Time_TickLength(2 * 2986666));
    EXPECT_EQ(meter.ComputeOffsetIntoBar(At(99, 0, 0)), Time_TickLength(-(2986666 / 7)));
    EXPECT_EQ(
        Time_Meter(6, 8).GetAsXML().ToString(),
        "<Meter>\n  <mNumerator>6</mNumerator>\n  <mDenominator>8</mDenominator>\n"
        "  <NotationDuration>\n    <mDuration>QuarterNoteDur</mDuration>\n    <mDotted>false</mDotted>\n"
        "    <mTuplet>false</mTuplet>\n    <mTupletCount>2</mTupletCount>\n    <mTupletTime>3</mTupletTime>\n"
        "  </NotationDuration>\n</Meter>\n");
}
