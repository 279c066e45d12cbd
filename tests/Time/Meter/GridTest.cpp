#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Formats/Time_SMPTE.h"
#include "Kora/Time/Formats/Time_SMPTEUtils.h"
#include "Kora/Time/Formats/Time_SampleGrid.h"
#include "Support/AllocationCounter.h"
#include "Support/MeterMapText.h"
#include "Support/StTimeGlobals.h"
#include "Time/TimeFixture.h"

#include <unordered_map>
#include <unordered_set>

namespace {

using Lines = std::vector<Time_GridLine>;

Time_Range Ticks(Cmn_Int64 iFrom, Cmn_Int64 iTo) { return Time_Range(Time_Tick(iFrom), Time_Tick(iTo)); }

Lines LinesOf(const Time_MeterMap& iMap, const Time_Range& iRange, const Time_GridDivision& iDivision)
{
    Lines lines;
    for (const Time_GridLine line : iMap.Grid(iRange, iDivision))
        lines.push_back(line);
    return lines;
}

// Whether a tick is a line, from its position alone.
bool IsLine(const Time_MeterMap& iMap, Cmn_Int64 iTick, const Time_GridDivision& iDivision)
{
    const Time_BarBeatTick at = iMap.TickToBarBeat(Time_Tick(iTick));
    const bool isBar = iMap.TickToBarBeat(Time_Tick(iTick - 1)).mBar != at.mBar;
    if (iDivision.GetBy() == Time_GridDivision::eBars) return isBar;
    if (iDivision.GetBy() == Time_GridDivision::eBeats) return at.mTick == Time_TickLength::cZero;
    const Cmn_Int64 inBar = iTick - iMap.BarBeatToTick({at.mBar, 1, Time_TickLength::cZero}).AsInt64();
    const Cmn_Int64 division = iDivision.GetTicks().AsInt64();
    const Cmn_Int64 swing = iDivision.GetSwingTicks().AsInt64();
    return inBar % (2 * division) == 0 || inBar % (2 * division) == division + swing;
}

// Meters of few ticks a bar, some of whose beats are no whole ticks, and changes that cut bars short.
Time_MeterMap TinyMap(std::mt19937& ioRandom)
{
    Time_MeterMap map;
    Cmn_Int64 tick = 1000;
    for (int i = 0; i < 6; ++i) {
        map.AddMeterChange(Time_Tick(tick), Time_Meter(static_cast<int>(1 + ioRandom() % 7),
                                                       384000 + static_cast<int>(ioRandom() % 7) * 64000));
        tick += 1 + static_cast<Cmn_Int64>(ioRandom() % 90);
    }
    return map;
}

} // namespace

static_assert(std::ranges::bidirectional_range<Time_MeterGrid> && std::ranges::view<Time_MeterGrid>);

TEST(MeterGrid, LinesOfRandomMapsAreThoseThatPositionsTell)
{
    std::mt19937 random(153);
    const Time_NotationDurationValue shortest(Time_eNoteDuration_SixtyFourth, false, true, 1,
                                              6000); // 10 ticks
    const Time_NotationDurationValue shorter(Time_eNoteDuration_SixtyFourth, false, true, 1,
                                             20000); // 3 ticks
    for (int round = 0; round < 200; ++round) {
        const Time_MeterMap map = TinyMap(random);
        const Time_GridDivision divisions[] = {
            Time_GridDivision::Bars(), Time_GridDivision::Beats(), Time_GridDivision(shortest),
            Time_GridDivision(shorter).WithSwing(Time_GridDivision::cTripletSwing)};
        const Cmn_Int64 from = 950 + static_cast<Cmn_Int64>(random() % 300);
        const Cmn_Int64 to = from + static_cast<Cmn_Int64>(random() % 400);
        for (const Time_GridDivision& division : divisions) {
            SCOPED_TRACE(division.Dump() + " of\n" + map.Dump());
            Lines expected;
            for (Cmn_Int64 tick = from; tick < to; ++tick) {
                if (!IsLine(map, tick, division)) continue;
                const Time_BarBeatTick at = map.TickToBarBeat(Time_Tick(tick));
                const bool isBar = map.TickToBarBeat(Time_Tick(tick - 1)).mBar != at.mBar;
                const bool isBeat = at.mTick == Time_TickLength::cZero;
                expected.push_back({Time_Tick(tick),
                                    isBar    ? Time_GridLine::eBar
                                    : isBeat ? Time_GridLine::eBeat
                                             : Time_GridLine::eSub,
                                    at});
            }
            ASSERT_EQ(LinesOf(map, Ticks(from, to), division), expected);
            const Time_MeterGrid grid = map.Grid(Ticks(from, to), division);
            Lines backwards;
            for (auto line = grid.end(); line != grid.begin();)
                backwards.push_back(*--line);
            std::reverse(backwards.begin(), backwards.end());
            ASSERT_EQ(backwards, expected);
            const Time_MeterGrid bars = map.Bars(Ticks(from, to)), beats = map.Beats(Ticks(from, to));
            ASSERT_TRUE(&division != &divisions[0] || std::ranges::equal(bars, expected));
            ASSERT_TRUE(&division != &divisions[1] || std::ranges::equal(beats, expected));
        }
    }
}

TEST(MeterGrid, APositionSnapsToTheLinesAroundIt)
{
    std::mt19937 random(154);
    const Time_NotationDurationValue value(Time_eNoteDuration_SixtyFourth, false, true, 1, 8571); // 7 ticks
    for (int round = 0; round < 100; ++round) {
        const Time_MeterMap map = TinyMap(random);
        const auto division = Time_GridDivision(value).WithSwing(static_cast<int>(random() % 960));
        const Lines lines = LinesOf(map, Ticks(900, 1700), division);
        for (Cmn_Int64 tick = 1000; tick < 1500; tick += 1 + static_cast<Cmn_Int64>(random() % 3)) {
            const auto behind =
                std::lower_bound(lines.begin(), lines.end(), Time_Tick(tick),
                                 [](const Time_GridLine& l, Time_Tick t) { return l.mTick < t; });
            const bool isAt = behind->mTick == Time_Tick(tick);
            const Time_GridLine before = *(behind - 1);
            const bool isNearer = behind->mTick.AsInt64() - tick <= tick - before.mTick.AsInt64();
            const std::pair<Time_EGridSearch, Time_GridLine> rows[] = {
                {Time_eGridSearch_Before, before},
                {Time_eGridSearch_AtOrBefore, isAt ? *behind : before},
                {Time_eGridSearch_Nearest, isAt || isNearer ? *behind : before},
                {Time_eGridSearch_AtOrAfter, *behind},
                {Time_eGridSearch_After, isAt ? *(behind + 1) : *behind}};
            for (const auto& [search, line] : rows)
                ASSERT_EQ(map.FindGridLine(Time_Tick(tick), division, search), line)
                    << tick << ", " << search;
        }
    }
}

TEST(MeterGrid, NoteValuesBeginAnewAtEveryBarAndNothingIsAllocated)
{
    const Time_MeterMap map = MakeMeterMap("1| 6/8   3| 5/8");
    Time_GridDivision division;
    ASSERT_TRUE(division.FromText("1/4"));
    const AllocationCounter allocations;
    const Time_MeterGrid grid =
        map.Grid(Time_Range(At(0), At(0) + Time_TickLength(2 * 2880000 + 2400000)), division);
    Lines::size_type count = 0;
    for (auto line = grid.begin(); line != grid.end(); ++line)
        ++count;
    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(count, 9u);
    std::ostringstream shown;
    for (const Time_GridLine line : grid)
        shown << line << "\n";
    EXPECT_EQ(shown.str(), "1|1|0 at tick 1000000000000, barline\n1|3|0 at tick 1000000960000, beat\n"
                           "1|5|0 at tick 1000001920000, beat\n2|1|0 at tick 1000002880000, barline\n"
                           "2|3|0 at tick 1000003840000, beat\n2|5|0 at tick 1000004800000, beat\n"
                           "3|1|0 at tick 1000005760000, barline\n3|3|0 at tick 1000006720000, beat\n"
                           "3|5|0 at tick 1000007680000, beat\n");
    // Far out, before all changes and in absurd meters too, lines are found and ascend.
    Time_MeterMap absurd = map;
    absurd.AddMeterChange(Time_Tick(0), Time_Meter(0x7FFFFFFF, 1));
    absurd.AddMeterChange(Time_Tick(9000000000000000), Time_Meter(4, 0x7FFFFFFF));
    for (const Cmn_Int64 tick : {cLeast, Cmn_Int64{-5}, Cmn_Int64{0}, Cmn_Int64{9000000000000001}, cMost})
        for (const auto& by : {Time_GridDivision::Bars(), Time_GridDivision::Beats(), division}) {
            Time_GridCursor cursor(absurd, by, Time_Tick(tick));
            for (int i = 0; i < 5; ++i) {
                const Time_GridLine line = cursor.Get();
                cursor.Next();
                ASSERT_LT(line.mTick, cursor.Get().mTick);
                cursor.Previous();
                ASSERT_EQ(cursor.Get(), line);
                cursor.Next();
            }
        }
}

TEST(MeterGrid, LinesAndChangesAreKeysOfHashTables)
{
    const Time_MeterMap map = MakeMeterMap("1| 6/8   3| 5/8   4| 6/8   5| 6/8");
    std::unordered_map<Time_GridLine, Time_Tick> lines;
    std::set<std::size_t> hashes;
    const Time_GridDivision division(Time_NotationDurationValue(Time_eNoteDuration_SixtyFourth, false));
    for (const Time_GridLine line : map.Grid(Time_Range(At(0), At(20)), division)) {
        lines[line] = line.mTick;
        hashes.insert(std::hash<Time_GridLine>()(line));
    }
    EXPECT_EQ(lines.size(), 20u * 16);
    EXPECT_EQ(hashes.size(), lines.size());
    const Time_GridLine between = {At(0, 60000), Time_GridLine::eSub, {1, 1, Time_TickLength(60000)}};
    EXPECT_EQ(lines[between], between.mTick) << "the one that was there";
    EXPECT_EQ(between.Dump(), "1|1|60000 at tick 1000000060000, between beats");

    std::unordered_set<Time_MeterChange> changes(map.IterBegin(), map.IterEnd());
    EXPECT_EQ(changes.size(), 4u);
    EXPECT_TRUE(changes.contains(Time_MeterChange(At(0), Time_Meter(6, 8), 1)));
    std::ostringstream shown;
    shown << *map.IterBegin();
    EXPECT_EQ(shown.str(), "1| 6/8 at tick 1000000000000");
}

TEST(GridDivisionText, IsReadAsItIsWritten)
{
    for (const std::string text : {"bars", "beats", "1/1", "1/8t", "1/8.", "1/16(4:5)"}) {
        Time_GridDivision division;
        EXPECT_TRUE(division.FromText(text));
        EXPECT_EQ(division.ToString(), text);
    }
    for (const char* const text : {"", "bar", "1/3", "quarter", "1/8t.", "1/64(1:2147483647)"}) {
        Time_GridDivision division = Time_GridDivision::Bars();
        const char* whyNot = nullptr;
        EXPECT_FALSE(division.FromText(text, &whyNot)) << text;
        EXPECT_TRUE(whyNot != nullptr && division == Time_GridDivision::Bars()) << text;
    }
    AssertRecorder asserts;
    const Time_NotationDurationValue none(Time_eNoteDuration_SixtyFourth, false, true, 1, 0x7FFFFFFF);
    EXPECT_EQ(Time_GridDivision(none), Time_GridDivision());
    EXPECT_EQ(Time_GridDivision().WithSwing(960), Time_GridDivision());
    EXPECT_EQ(asserts.Take().size(), 2u);
}

TEST(SampleGrid, LinesOfTimecodeAreTheLabelsThatTheStepDivides)
{
    const StTimeGlobals globals;
    Time_Globals::SetSampleRate(48000);
    for (const ETimeCodeFormat format :
         {eTimeCodeFormat_24, eTimeCodeFormat_2997Drop, eTimeCodeFormat_60Drop})
        for (const long offset : {0L, 107892L, -7L})
            for (const Cmn_Int64 step : {1, Time_SMPTE::GetFramesPerSecond(format) % 5 == 0 ? 5 : 6,
                                         Time_SMPTE::GetFramesPerSecond(format)})
            {
                SCOPED_TRACE(std::string(Time_Globals::GetTimeCodeFormatString(format)) + " by " +
                             std::to_string(step));
                Time_Globals::SetFrameOffset(offset);
                const auto grid = Time_SampleGrid::Timecode(step, format);
                const Cmn_Int64 perSecond = Time_SMPTE::GetFramesPerSecond(format);
                auto line = grid.AtOrAfter(Time_Sample(0));
                Time_SMPTE label = Time_SMPTEUtils::SampleToLabel(Time_Sample(0), format);
                for (int frame = 0; frame < 130 * perSecond; ++frame, label.StepToNextFrame()) {
                    const Time_Sample sample = Time_SMPTEUtils::LabelToSample(label);
                    const bool isMinute =
                        label.GetSeconds() == 0 &&
                        label.GetFrames() <= (label.GetMinutes() % 10 != 0 && Time_SMPTE::IsDropFormat(format)
                                                  ? perSecond / 15
                                                  : 0);
                    const bool isLine = isMinute || label.GetFrames() % step == 0;
                    if (!isLine) continue;
                    ASSERT_EQ(line.mSample, sample) << label.ToString();
                    const auto kind = isMinute && label.GetMinutes() == 0 ? Time_SampleGrid::eHour
                                      : isMinute                          ? Time_SampleGrid::eMinute
                                      : label.GetFrames() == 0            ? Time_SampleGrid::eSecond
                                                                          : Time_SampleGrid::eFine;
                    ASSERT_EQ(line.mKind, kind) << label.ToString();
                    Time_SampleGrid::Line before;
                    ASSERT_EQ(grid.AtOrAfter(Time_Sample(sample.AsInt64() - 1)), line);
                    ASSERT_TRUE(grid.AtOrBefore(sample, before) && before == line);
                    if (sample > Time_Sample(0) && grid.Previous(line, before)) {
                        ASSERT_EQ(grid.Next(before), line);
                        const Time_Sample middle(sample.AsInt64() - (sample - before.mSample).AsInt64() / 2);
                        ASSERT_EQ(grid.Nearest(middle), line);
                        ASSERT_EQ(grid.Nearest(middle - Time_SampleLength(1)), before);
                    }
                    line = grid.Next(line);
                }
            }
}

TEST(SampleGrid, LinesOfTheOtherUnitsLieWhereTheirClassesPutThem)
{
    const StTimeGlobals globals;
    Time_Globals::SetSampleRate(44100);
    const auto all = [](const Time_SampleGrid& iGrid, Cmn_Int64 iFrom, Cmn_Int64 iTo) {
        std::string text;
        iGrid.ForEach(
            Time_Range(Time_Sample(iFrom), Time_Sample(iTo)), [&](const Time_SampleGrid::Line& iLine) {
                text += std::to_string(iLine.mSample.AsInt64()) + "=" + std::to_string(iLine.mCount) +
                        (iLine.mKind == Time_SampleGrid::eFine   ? " "
                         : iLine.mKind == Time_SampleGrid::eFoot ? "f "
                                                                 : "s ");
            });
        return text;
    };
    EXPECT_EQ(all(Time_SampleGrid::Samples(100), -150, 101), "-100=-100 0=0 100=100 ");
    EXPECT_EQ(all(Time_SampleGrid::MinSec(5), -221, 442), "-220=-5 0=0s 221=5 441=10 ");
    EXPECT_EQ(all(Time_SampleGrid::MinSec(1000), 44100, 44101), "44100=1000s ");
    EXPECT_EQ(all(Time_SampleGrid::Feet(8), -100, 44101), "0=0f 14700=8 29400=16f 44100=24 ");
    Time_SampleGrid::Line line;
    EXPECT_FALSE(Time_SampleGrid::Feet(8).AtOrBefore(Time_Sample(-1), line));
    AssertRecorder asserts;
    EXPECT_EQ(Time_SampleGrid::Samples(0).GetStep(), 1);
    EXPECT_EQ(asserts.Take().size(), 1u);
}
