// Grids by bars and by the clock.
#include "Kora/C/C_Song_p.h"
#include "Kora/C/C_Time_p.h"
#include "Kora/C/Kora_CGrid.h"
#include "Kora/Time/Formats/Time_SampleGrid.h"

#include <algorithm>
#include <optional>

static_assert(KORA_LINE_SUB == static_cast<int>(Time_GridLine::eSub));
static_assert(KORA_LINE_HOUR - KORA_LINE_FINE == static_cast<int>(Time_SampleGrid::eHour));
static_assert(KORA_CLOCK_FILM == static_cast<int>(Time_SampleGrid::eFilmFrames));
static_assert(KORA_SEARCH_AFTER == static_cast<int>(Time_eGridSearch_After));

namespace {

using Line = kora_grid_line;

Line LineOf(const Time_Converter& iConverter, const Time_GridLine& iLine)
{
    return {iLine.mTick.AsInt64(),
            iConverter.ToSample(iLine.mTick).AsInt64(),
            0,
            {iLine.mPosition.mBar, iLine.mPosition.mBeat, iLine.mPosition.mTick.AsInt64()},
            iLine.mKind,
            0};
}

Line LineOf(const Time_Converter& iConverter, const Time_SampleGrid::Line& iLine)
{
    return {iConverter.ToTick(iLine.mSample).AsInt64(),
            iLine.mSample.AsInt64(),
            iLine.mCount,
            {},
            static_cast<int32_t>(KORA_LINE_FINE) + static_cast<int32_t>(iLine.mKind),
            0};
}

} // namespace

struct kora_grid : C_Handle
{
    static constexpr EKind cKind = eKind_Grid;

    kora_grid(kora_song& ioSong, const Time_GridDivision& iDivision)
        : C_Handle(cKind, &C_Delete<kora_grid>)
        , mSong(ioSong)
        , mDivision(iDivision)
    {
    }
    kora_grid(kora_song& ioSong, const Time_SampleGrid& iClock)
        : C_Handle(cKind, &C_Delete<kora_grid>)
        , mSong(ioSong)
        , mClock(iClock)
    {
    }
    const Kora_Song& Song() const { return mSong->Get(); }
    const Time_Converter& Converter() const { return Song().GetConverter(); }

    Line Find(const Time_Typed& iAt, Time_EGridSearch iSearch) const
    {
        if (mClock) return FindByClock(Converter().ToSample(iAt), iSearch);
        return LineOf(Converter(),
                      Song().GetMeterMap().FindGridLine(Converter().ToTick(iAt), mDivision, iSearch));
    }
    // iTake(line) until it is false.
    template <class Take>
    void ForEach(const Time_Typed& iFrom, const Time_Typed& iTo, const Take& iTake) const
    {
        if (mClock) {
            const Time_Sample to = Converter().ToSample(iTo);
            for (Time_SampleGrid::Line line = mClock->AtOrAfter(Converter().ToSample(iFrom));
                 line.mSample < to; line = mClock->Next(line))
                if (!iTake(LineOf(Converter(), line))) return;
            return;
        }
        const Time_Tick from = Converter().ToTick(iFrom), to = Converter().ToTick(iTo);
        if (from >= to) return;
        for (const Time_GridLine line : Song().GetMeterMap().Grid(Time_Range(from, to), mDivision))
            if (!iTake(LineOf(Converter(), line))) return;
    }

private:
    Line FindByClock(Time_Sample iAt, Time_EGridSearch iSearch) const
    {
        Time_SampleGrid::Line line;
        bool isThere = true;
        switch (iSearch) {
        case Time_eGridSearch_Before:
            isThere = mClock->AtOrBefore(iAt, line) && (line.mSample < iAt || mClock->Previous(line, line));
            break;
        case Time_eGridSearch_AtOrBefore:
            isThere = mClock->AtOrBefore(iAt, line);
            break;
        case Time_eGridSearch_Nearest:
            line = mClock->Nearest(iAt);
            break;
        case Time_eGridSearch_AtOrAfter:
            line = mClock->AtOrAfter(iAt);
            break;
        case Time_eGridSearch_After:
            line = mClock->AtOrAfter(iAt);
            if (line.mSample == iAt) line = mClock->Next(line);
            break;
        }
        C_Require(isThere, "no line is there", KORA_NOT_FOUND);
        return LineOf(Converter(), line);
    }

    C_Ref<kora_song> mSong;
    Time_GridDivision mDivision;
    std::optional<Time_SampleGrid> mClock; // in place of the division
};

namespace {

Time_SampleGrid ClockOf(int32_t iUnit, int64_t iStep, Time_EFilmGauge iGauge)
{
    switch (iUnit) {
    case KORA_CLOCK_SAMPLES:
        return Time_SampleGrid::Samples(iStep);
    case KORA_CLOCK_MILLISECONDS:
        return Time_SampleGrid::MinSec(iStep);
    case KORA_CLOCK_TIMECODE:
        return Time_SampleGrid::Timecode(iStep);
    default:
        return Time_SampleGrid::Feet(iStep, iGauge);
    }
}

} // namespace

kora_status kora_grid_new(kora_song* song, const char* division, int32_t swing, kora_grid** out)
{
    return C_Guard([&] {
        kora_song& of = C_Get(song, "song");
        C_Out(division, "division");
        kora_grid*& grid = C_Out(out, "out");
        C_Require(swing >= 0 && swing < Time_GridDivision::cWholeSwing, "swing is not between 0 and 959");
        Time_GridDivision by;
        const char* whyNot = "no division";
        const bool isDivision = by.FromText(division, &whyNot); // first: it says why not
        C_Require(isDivision, whyNot, KORA_REFUSED);
        grid = new kora_grid(of, by.WithSwing(swing));
    });
}

kora_status kora_grid_new_by_clock(kora_song* song, int32_t unit, int64_t step, int32_t film, kora_grid** out)
{
    return C_Guard([&] {
        kora_song& of = C_Get(song, "song");
        kora_grid*& grid = C_Out(out, "out");
        C_Require(unit >= KORA_CLOCK_SAMPLES && unit <= KORA_CLOCK_FILM, "no such unit");
        // So that a step on stays a number of 64 bits.
        C_Require(step >= 1 && step <= Time_Typed::MaxTime(Time_eType_Samples).AsInt64(),
                  "step is not above 0, or too long");
        grid = new kora_grid(of, ClockOf(unit, step, C_Gauge(film)));
    });
}

kora_status kora_grid_find(kora_grid* grid, kora_time at, int32_t search, kora_grid_line* out)
{
    return C_Guard([&] {
        const kora_grid& of = C_Get(grid, "grid");
        kora_grid_line& line = C_Out(out, "out");
        C_Require(search >= KORA_SEARCH_BEFORE && search <= KORA_SEARCH_AFTER, "no such search");
        line = of.Find(C_TimeOf(at), static_cast<Time_EGridSearch>(search));
    });
}

kora_status kora_grid_lines(kora_grid* grid, kora_time from, kora_time to, kora_grid_line* lines,
                            size_t capacity, size_t* count)
{
    return C_Guard([&] {
        const kora_grid& of = C_Get(grid, "grid");
        size_t& done = C_Out(count, "count");
        C_Require(lines != nullptr || capacity == 0, "lines is null", KORA_NULL_ARGUMENT);
        const Time_Typed first = C_TimeOf(from), end = C_TimeOf(to);
        done = 0;
        bool hasMore = false;
        of.ForEach(first, end, [&](const Line& iLine) {
            hasMore = done == capacity;
            if (!hasMore) lines[done++] = iLine;
            return !hasMore;
        });
        C_Require(!hasMore, "there are more lines", KORA_TOO_SMALL);
    });
}
