// Time_MeterGrid: the lines of an editor's grid over a meter map: bars, beats, note values.
//
//     for (const Time_GridLine line : meters.Grid(range, Time_GridDivision::Beats()))
//         draw(line.mTick, line.mKind);
//
//     meters     | 3/4           | 3/4     |(cut)| 4/4
//     1/8        |  .  |  .  |  .|  .  |  .|  .  |  .  |      "|" bars, tall "|" the meter's own beats, "." the rest
//
// Lines:      divisions begin anew at every barline, in bars that a change cuts short too; one that is longer
//             than its bar gives the barline alone. A line with swing that would lie behind its bar is left out.
// Kinds:      a barline is eBar, any other line on one of the meter's beats eBeat, all others eSub.
// Units:      internal ticks; a range of another unit is reported as "time_type_mismatch". Lines end with
//             Time_MeterMap::cMaxTick on either side.
// Cost:       finding a line is a search of the map, a step along the lines takes constant time; nothing
//             allocates.
// Lifetime:   view, iterators and cursors point to the map and hold until it changes.
// Threads:    as the map's queries.
#pragma once

#include "Kora/Time/Formats/Time_BarBeatTick.h"
#include "Kora/Time/Formats/Time_GridDivision.h"
#include "Kora/Time/Meter/Time_MeterStretch.h"
#include "Kora/Time/Values/Time_Range.h"

class Time_MeterMap;

struct Time_GridLine
{
    // What a line is: a barline, one of the meter's beats, or a place between.
    enum EKind { eBar, eBeat, eSub };

    Time_Tick mTick;
    EKind mKind = eBar;
    Time_BarBeatTick mPosition; // in internal ticks

    friend bool operator==(const Time_GridLine&, const Time_GridLine&) = default;

    // "3|1|0 at tick 1000007680000, barline"; the others are a "beat" or "between beats".
    [[nodiscard]] KORA_API std::string Dump() const;
    // What Dump gives.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_GridLine& iLine);
};

template <>
struct std::hash<Time_GridLine>
{
    std::size_t operator()(const Time_GridLine& iLine) const noexcept
    {
        return (std::hash<Time_Tick>()(iLine.mTick) * 31 + std::hash<Time_BarBeatTick>()(iLine.mPosition)) *
                   31 +
               static_cast<std::size_t>(iLine.mKind);
    }
};

// One line, and the way to those beside it.
class Time_GridCursor
{
public:
    Time_GridCursor() = default;
    // At the first line at or after a tick.
    KORA_API Time_GridCursor(const Time_MeterMap& iMap, const Time_GridDivision& iDivision, Time_Tick iTick);

    // Where it stands.
    const Time_GridLine& Get() const { return mLine; }
    // To the line behind.
    void Next()
    {
        if (mIndex + 1 < mNumLines) [[likely]]
            SetLine(mIndex + 1);
        else
            EnterNextBar();
    }
    // To the line before.
    void Previous()
    {
        if (mIndex > 0) [[likely]]
            SetLine(mIndex - 1);
        else
            EnterPreviousBar();
    }

private:
    KORA_API void EnterNextBar();
    KORA_API void EnterPreviousBar();
    KORA_API void FindBeat(Cmn_Int64 iOffset);
    void EnterBarAt(Cmn_Int64 iTick);
    void SetBar(Cmn_Int64 iStart, Cmn_Int64 iBar);
    Cmn_Int64 FirstLineFrom(Cmn_Int64 iOffset) const;

    // From the barline.
    Cmn_Int64 OffsetOf(Cmn_Int64 iLine) const
    {
        if (mUnit == 0) return mStretch.BeatStart(iLine);
        return iLine * mUnit + ((iLine & 1) != 0 ? mSwing : 0);
    }
    void SetLine(Cmn_Int64 iLine)
    {
        const Cmn_Int64 offset = OffsetOf(iLine);
        mIndex = iLine;
        // The next beat or the same one, which is nearly always so, or a search.
        if (offset >= mBeatEnd || offset < mBeatStart) FindBeat(offset);
        mLine.mTick = Time_Tick(mBarStart + offset);
        mLine.mKind = iLine == 0             ? Time_GridLine::eBar
                      : offset == mBeatStart ? Time_GridLine::eBeat
                                             : Time_GridLine::eSub;
        mLine.mPosition = {static_cast<Cmn_Int32>(mBar), static_cast<Cmn_Int32>(mBeat + 1),
                           Time_TickLength(offset - mBeatStart)};
    }

    const Time_MeterMap* mMap = nullptr;
    Time_MeterStretch mStretch = {0, 1, 1, 0, 1, 0};
    Cmn_Int64 mStretchFrom = 0; // the stretch governs [mStretchFrom, mStretchTo)
    Cmn_Int64 mStretchTo = 0;
    bool mIsByBars = false;
    Cmn_Int64 mDivision = 0; // of note values; 0 for beats
    Cmn_Int64 mUnit = 0;     // the same, but 1 for beats that are shorter than a tick
    Cmn_Int64 mSwing = 0;
    Cmn_Int64 mBar = 0;
    Cmn_Int64 mBarStart = 0;
    Cmn_Int64 mBarEnd = 0;
    Cmn_Int64 mIndex = 0; // of the line in its bar
    Cmn_Int64 mNumLines = 0;
    Cmn_Int64 mBeat = 0; // the beat that holds the line is [mBeatStart, mBeatEnd), from the barline
    Cmn_Int64 mBeatStart = 0;
    Cmn_Int64 mBeatEnd = 0;
    Time_GridLine mLine;
};

// The lines of a range, [start, end): a bidirectional view that allocates nothing.
class Time_MeterGrid
{
public:
    class Iterator
    {
    public:
        using value_type = Time_GridLine;
        using difference_type = std::ptrdiff_t;
        using iterator_concept = std::bidirectional_iterator_tag;
        using iterator_category = std::input_iterator_tag; // references are values

        Iterator() = default;
        // At the cursor's line.
        explicit Iterator(const Time_GridCursor& iCursor)
            : mCursor(iCursor)
        {
        }
        Time_GridLine operator*() const { return mCursor.Get(); }
        const Time_GridLine* operator->() const { return &mCursor.Get(); }
        Iterator& operator++()
        {
            mCursor.Next();
            return *this;
        }
        Iterator& operator--()
        {
            mCursor.Previous();
            return *this;
        }
        Iterator operator++(int)
        {
            const Iterator old = *this;
            mCursor.Next();
            return old;
        }
        Iterator operator--(int)
        {
            const Iterator old = *this;
            mCursor.Previous();
            return old;
        }
        friend bool operator==(const Iterator& iA, const Iterator& iB)
        {
            return iA.mCursor.Get().mTick == iB.mCursor.Get().mTick;
        }

    private:
        Time_GridCursor mCursor;
    };

    // As Time_MeterMap::Grid.
    KORA_API Time_MeterGrid(const Time_MeterMap& iMap, const Time_Range& iRange,
                            const Time_GridDivision& iDivision);

    const Iterator& begin() const { return mBegin; }
    const Iterator& end() const { return mEnd; }
    [[nodiscard]] bool empty() const { return mBegin == mEnd; }

private:
    Iterator mBegin;
    Iterator mEnd; // at the first line behind the range
};

template <>
inline constexpr bool std::ranges::enable_view<Time_MeterGrid> = true;

// Which line of a grid is looked for from a tick.
enum Time_EGridSearch : Cmn_Int32 {
    Time_eGridSearch_Before,     // the last one before it
    Time_eGridSearch_AtOrBefore, // the same, or one at it
    Time_eGridSearch_Nearest,    // halfway between two the later one
    Time_eGridSearch_AtOrAfter,  // the first one behind it, or one at it
    Time_eGridSearch_After,      // the first one behind it
};
