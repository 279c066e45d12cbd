#include "C/CFixture.h"
#include "Kora/Kora_Song.h"
#include "Kora/Time/Convert/Time_Ruler.h"
#include "Kora/Time/Formats/Time_SampleGrid.h"

#include <cstring>
#include <random>
#include <tuple>
#include <vector>

// Where containers look for it.
static bool operator==(const kora_grid_line& iA, const kora_grid_line& iB)
{
    return std::memcmp(&iA, &iB, sizeof iA) == 0;
}

namespace {

constexpr std::int64_t cEighth = cQuarter / 2;

kora_time Ticks(std::int64_t iTick) { return {iTick, KORA_TICKS, 0}; }
kora_time Samples(std::int64_t iSample) { return {iSample, KORA_SAMPLES, 0}; }

// A song of random meters and tempi through the C interface, and the same by the classes.
class CGrid : public CFixture
{
protected:
    CGrid()
    {
        CSongParts parts(Made<kora_song>(kora_song_new));
        mSong = std::move(parts.mSong);
        for (int i = 0; i < 12; ++i) {
            const auto quarter = static_cast<std::int64_t>(mRandom() % 100);
            const auto beats = static_cast<std::int32_t>(1 + mRandom() % 9);
            EXPECT_EQ(kora_meter_map_set(parts.mMeters.get(), cStart + quarter * cQuarter + cEighth, beats,
                                         4 << mRandom() % 2),
                      KORA_OK);
            EXPECT_EQ(parts.SetTempo(quarter, 40.0 + static_cast<double>(mRandom() % 200)), KORA_OK);
        }
        std::size_t size = 0;
        EXPECT_EQ(kora_song_write_midi(mSong.get(), nullptr, 0, &size), KORA_OK);
        std::string bytes(size, '\0');
        EXPECT_EQ(kora_song_write_midi(mSong.get(), bytes.data(), size, &size), KORA_OK);
        mSong = Made<kora_song>(kora_song_read_bytes, bytes.data(), size);
        mClasses.Read(SMF_File::Read(std::move(bytes)));
    }
    const Time_Converter& Converter() const { return mClasses.GetConverter(); }
    kora_grid_line LineAt(const Time_GridLine& iLine) const
    {
        return {iLine.mTick.AsInt64(),
                Converter().ToSample(iLine.mTick).AsInt64(),
                0,
                {iLine.mPosition.mBar, iLine.mPosition.mBeat, iLine.mPosition.mTick.AsInt64()},
                iLine.mKind,
                0};
    }

    std::mt19937_64 mRandom{815};
    Handle<kora_song> mSong;
    Kora_Song mClasses;
};

// All lines, so many a call.
std::vector<kora_grid_line> Lines(kora_grid* iGrid, kora_time iFrom, kora_time iTo, std::size_t iAtOnce)
{
    std::vector<kora_grid_line> all, some(iAtOnce);
    for (kora_status status = KORA_TOO_SMALL; status == KORA_TOO_SMALL;) {
        std::size_t count = 0;
        status = kora_grid_lines(iGrid, iFrom, iTo, some.data(), some.size(), &count);
        EXPECT_TRUE(status == KORA_OK || (status == KORA_TOO_SMALL && count == iAtOnce));
        all.insert(all.end(), some.begin(), some.begin() + static_cast<std::ptrdiff_t>(count));
        if (count > 0) iFrom.count = (iFrom.unit == KORA_TICKS ? all.back().tick : all.back().sample) + 1;
    }
    return all;
}

// Every search, from beside each line and on it.
void ExpectSearches(kora_grid* iGrid, const std::vector<kora_grid_line>& iLines, std::uint32_t iUnit)
{
    constexpr struct
    {
        std::int64_t mOffset;
        std::ptrdiff_t mFound[KORA_SEARCH_AFTER + 1]; // counted from the line
    } cRows[] = {{-1, {-1, -1, 0, 0, 0}}, {0, {-1, 0, 0, 0, 1}}, {1, {0, 0, 0, 1, 1}}};
    for (std::size_t i = 1; i + 1 < iLines.size(); ++i)
        for (const auto& row : cRows)
            for (std::int32_t search = KORA_SEARCH_BEFORE; search <= KORA_SEARCH_AFTER; ++search) {
                const std::int64_t place = iUnit == KORA_TICKS ? iLines[i].tick : iLines[i].sample;
                kora_grid_line line{};
                ASSERT_EQ(kora_grid_find(iGrid, {place + row.mOffset, iUnit, 0}, search, &line), KORA_OK);
                ASSERT_TRUE(line == *(&iLines[i] + row.mFound[search])) << place << ' ' << search;
            }
}

} // namespace

TEST_F(CGrid, LinesAndSearchesAreThoseOfTheMeterMap)
{
    const std::tuple<const char*, std::int32_t> cDivisions[] = {{"bars", 0},  {"beats", 0}, {"1/8", 0},
                                                                {"1/8", 320}, {"1/16t", 0}, {"1/4.", 7}};
    const std::int64_t from = cStart - 3 * cQuarter, to = cStart + 120 * cQuarter;
    for (const auto& [text, swing] : cDivisions) {
        SCOPED_TRACE(text);
        const auto grid = Made<kora_grid>(kora_grid_new, mSong.get(), text, swing);
        Time_GridDivision division;
        ASSERT_TRUE(division.FromText(text));
        std::vector<kora_grid_line> expected;
        for (const Time_GridLine line : mClasses.GetMeterMap().Grid(
                 Time_Range(Time_Tick(from), Time_Tick(to)), division.WithSwing(swing)))
            expected.push_back(LineAt(line));
        ASSERT_GT(expected.size(), 10u);
        for (const std::size_t atOnce :
             {std::size_t{1}, std::size_t{7}, expected.size(), expected.size() + 1})
            ASSERT_TRUE(Lines(grid.get(), Ticks(from), Ticks(to), atOnce) == expected) << atOnce;
        ASSERT_NO_FATAL_FAILURE(ExpectSearches(grid.get(), expected, KORA_TICKS));
    }
}

TEST_F(CGrid, LinesByTheClockAreThoseOfTheSampleGrid)
{
    const std::tuple<std::int32_t, std::int64_t, Time_SampleGrid> cClocks[] = {
        {KORA_CLOCK_SAMPLES, 4410, Time_SampleGrid::Samples(4410)},
        {KORA_CLOCK_MILLISECONDS, 250, Time_SampleGrid::MinSec(250)},
        {KORA_CLOCK_TIMECODE, 15, Time_SampleGrid::Timecode(15)},
        {KORA_CLOCK_FILM, 4, Time_SampleGrid::Feet(4, Time_eFilmGauge_16mm)}};
    for (const auto& [unit, step, clock] : cClocks) {
        SCOPED_TRACE(unit);
        const auto grid =
            Made<kora_grid>(kora_grid_new_by_clock, mSong.get(), unit, step, std::int32_t{KORA_FILM_16MM});
        const std::int64_t from = 1000, to = 44100 * 70;
        std::vector<kora_grid_line> expected;
        clock.ForEach(Time_Range(Time_Sample(from), Time_Sample(to)),
                      [&](const Time_SampleGrid::Line& iLine) {
                          expected.push_back({Converter().ToTick(iLine.mSample).AsInt64(),
                                              iLine.mSample.AsInt64(),
                                              iLine.mCount,
                                              {},
                                              KORA_LINE_FINE + static_cast<std::int32_t>(iLine.mKind),
                                              0});
                      });
        ASSERT_GT(expected.size(), 100u);
        ASSERT_TRUE(Lines(grid.get(), Samples(from), Samples(to), 13) == expected);
        ASSERT_NO_FATAL_FAILURE(ExpectSearches(grid.get(), expected, KORA_SAMPLES));
    }
    const auto timecode =
        Made<kora_grid>(kora_grid_new_by_clock, mSong.get(), std::int32_t{KORA_CLOCK_TIMECODE},
                        std::int64_t{1}, std::int32_t{KORA_FILM_35MM});
    kora_grid_line line{};
    EXPECT_EQ(kora_grid_find(timecode.get(), Samples(0), KORA_SEARCH_BEFORE, &line), KORA_NOT_FOUND);
}

TEST_F(CGrid, RulersDrawWhatTheClassDrawsAtAnyZoomAndPlace)
{
    const auto measure = [](void*, const char*, std::size_t iSize) {
        return 6.5 * static_cast<double>(iSize);
    };
    const kora_time last = Ticks(cStart + 200 * cQuarter);
    for (const std::int32_t form :
         {KORA_FORM_BARS, KORA_FORM_TIMECODE, KORA_FORM_MINSEC, KORA_FORM_SAMPLES, KORA_FORM_FEET})
        for (const std::int32_t axis : {KORA_AXIS_TIME, KORA_AXIS_BARS}) {
            kora_ruler_options options{};
            options.size = sizeof options;
            options.form = form;
            options.film = KORA_FILM_35MM;
            options.axis = axis;
            options.lines = axis == KORA_AXIS_TIME ? 0 : 9;
            const auto ruler =
                Made<kora_ruler>(kora_ruler_new, mSong.get(), &options, last, +measure, nullptr);
            Time_PixelMapper mapper(Converter(), static_cast<Time_PixelMapper::EAxis>(axis));
            Time_RulerDistances distances;
            if (options.lines > 0) distances.mLines = options.lines;
            const Time_Ruler expected(
                Converter(), static_cast<Time_EForm>(form), Time_Tick(last.count),
                [&](std::string_view iText) { return measure(nullptr, "", iText.size()); }, distances);
            ASSERT_EQ(kora_ruler_show(ruler.get(), Ticks(cStart), last, 1200), KORA_OK);
            const auto at = [&](std::int64_t iTick) {
                return Time_Typed(mapper.ToAxis(Time_Tick(iTick)), mapper.GetAxisType());
            };
            mapper.Show(Time_Range(at(cStart), at(last.count)), 1200);
            std::size_t lines = 0;
            for (int step = 0; step < 12; ++step) {
                const double pixel = static_cast<double>(mRandom() % 1200),
                             factor = 0.5 + static_cast<double>(mRandom() % 100) / 100;
                const auto pixels = static_cast<std::int64_t>(mRandom() % 600) - 300;
                ASSERT_EQ(kora_ruler_zoom(ruler.get(), pixel, factor), KORA_OK);
                ASSERT_EQ(kora_ruler_scroll_by(ruler.get(), pixels), KORA_OK);
                mapper.ZoomAbout(pixel, factor);
                mapper.ScrollBy(pixels);
                using Drawn =
                    std::vector<std::tuple<std::int64_t, std::int64_t, std::uint32_t, std::string, bool>>;
                Drawn drawn, wanted;
                const auto take = [](void* ioDrawn, const kora_ruler_line* iLine) {
                    EXPECT_EQ(std::strlen(iLine->label), iLine->label_size);
                    static_cast<Drawn*>(ioDrawn)->emplace_back(iLine->pixel, iLine->time.count,
                                                               iLine->time.unit, iLine->label,
                                                               iLine->is_major != 0);
                };
                ASSERT_EQ(kora_ruler_draw(ruler.get(), 1200, take, &drawn), KORA_OK);
                expected.Draw(mapper, 1200, [&](const Time_RulerLine& iLine) {
                    wanted.emplace_back(iLine.mPixel, iLine.mTime.AsInt64(), iLine.mTime.GetType(),
                                        iLine.mLabel, iLine.mIsMajor);
                });
                ASSERT_EQ(drawn, wanted);
                lines += drawn.size();
                double place = 0;
                kora_time time{};
                ASSERT_EQ(kora_ruler_to_pixel(ruler.get(), Ticks(cStart + cQuarter), &place), KORA_OK);
                ASSERT_EQ(place, mapper.ToPixel(Time_Tick(cStart + cQuarter)));
                ASSERT_EQ(kora_ruler_to_time(ruler.get(), pixel, KORA_SAMPLES, &time), KORA_OK);
                ASSERT_EQ(time.count, mapper.ToTime(pixel, Time_eType_Samples).AsInt64());
            }
            EXPECT_GT(lines, 100u);
        }
}

TEST_F(CGrid, WhatIsWrongIsRefusedAndHandsOutNothing)
{
    kora_grid* grid = nullptr;
    kora_ruler* ruler = nullptr;
    EXPECT_EQ(kora_grid_new(mSong.get(), "1/0", 0, &grid), KORA_REFUSED);
    const char* reason = "";
    EXPECT_FALSE(Time_GridDivision().FromText("1/0", &reason));
    EXPECT_STREQ(kora_last_error_text(), reason);
    EXPECT_EQ(kora_grid_new(mSong.get(), "1/8", 960, &grid), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_grid_new(mSong.get(), nullptr, 0, &grid), KORA_NULL_ARGUMENT);
    EXPECT_EQ(kora_grid_new_by_clock(mSong.get(), 4, 1, KORA_FILM_35MM, &grid), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_grid_new_by_clock(mSong.get(), KORA_CLOCK_FILM, 0, KORA_FILM_35MM, &grid),
              KORA_BAD_ARGUMENT);
    const auto measure = [](void*, const char*, std::size_t) { return -1.0; };
    kora_ruler_options options{};
    options.size = sizeof options;
    options.film = KORA_FILM_35MM;
    options.form = KORA_FORM_TICKS;
    EXPECT_EQ(kora_ruler_new(mSong.get(), &options, Ticks(cStart), +measure, nullptr, &ruler),
              KORA_BAD_ARGUMENT);
    options.form = KORA_FORM_BARS;
    EXPECT_EQ(kora_ruler_new(mSong.get(), &options, Ticks(cStart), +measure, nullptr, &ruler),
              KORA_BAD_ARGUMENT);
    EXPECT_EQ(grid, nullptr);
    EXPECT_EQ(ruler, nullptr);
}

TEST_F(CGrid, AGridFollowsTheSongsEditsAndKeepsItAlive)
{
    const auto grid = Made<kora_grid>(kora_grid_new, mSong.get(), "bars", 0);
    const auto meters = Made<kora_meter_map>(kora_song_get_meter_map, mSong.get());
    ASSERT_EQ(kora_meter_map_clear(meters.get(), cStart + 1, cStart + 1000 * cQuarter), KORA_OK);
    ASSERT_EQ(kora_meter_map_set(meters.get(), cStart, 5, 4), KORA_OK);
    mSong.reset();
    kora_grid_line line{};
    ASSERT_EQ(kora_grid_find(grid.get(), Ticks(cStart + 1), KORA_SEARCH_AFTER, &line), KORA_OK);
    EXPECT_EQ(line.tick, cStart + 5 * cQuarter);
}
