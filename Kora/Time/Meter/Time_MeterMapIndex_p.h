// Time_MeterMapIndex: the arithmetic of bars and beats over a row of meter changes, laid out for searching.
//
// Each change opens a stretch in which all bars have one length; the first one also reaches backwards without
// end. Bars here are 64 bits wide and count on where the changes' 32-bit numbers wrap, so that they always
// ascend; a result is cut to the 32 bits of a Time_BarBeatTick at the end.
//
//   changes   | 4/4       | 3/4   | 6/8 …
//   bars   …  |   1   2   3   4   5   6   7 …
//
// Units:      internal ticks; bars as the map numbers them; beats count from 1.
// Invariants: (1) mStretches mirrors the changes, one for one; without changes, it has the default
//             meter's stretch (2) no stretch has bars below one tick or beats below one a bar: what a
//             host forced in counts as 1.
// Real time:  queries allocate nothing; each takes one search and, in a sound meter, at most two divisions.
#pragma once

#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Bastel/Cmn/Cmn_PolyVector.h"
#include "Kora/Time/Meter/Time_MeterChange.h"
#include "Kora/Time/Meter/Time_MeterStretch.h"
#include "Kora/Time/Numeric/Time_SearchIndex_p.h"

#include <limits>

class Time_MeterMapIndex
{
public:
    // A position as bar, beat and the ticks after the beat.
    struct Position
    {
        Cmn_Int64 mBar;
        Cmn_Int64 mBeat;
        Cmn_Int64 mTick;

        bool IsOnBarline() const { return mBeat == 1 && mTick == 0; }
        Position NextBarline() const { return {Cmn_WrapAdd<Cmn_Int64>(mBar, 1), 1, 0}; }
        Time_BarBeatTick AsBBT() const
        {
            return {static_cast<Cmn_Int32>(mBar), static_cast<Cmn_Int32>(mBeat), Time_TickLength(mTick)};
        }
    };

    Time_MeterMapIndex();

    // Makes room for an update with so many changes, which then throws nothing.
    void Reserve(std::size_t iCount);
    std::size_t GetRoom() const { return mStretches.capacity(); }
    // Takes the changes over; the first iUnchanged of them are as they were at the last call.
    void Update(const Cmn_PolyVector<Time_MeterChange>& iChanges, std::size_t iUnchanged);

    // What a change governs from its tick on; the first one also before it.
    const Time_MeterStretch& GetStretch(std::size_t iChange) const { return mStretches[iChange]; }
    std::size_t GetNumStretches() const { return mStretches.size(); }

    // The change that governs a tick, or a bar: the last one not after it, or the first.
    std::size_t FindByTick(Cmn_Int64 iTick) const
    {
        return mByTick.Find(iTick, [this](std::size_t i) { return mStretches[i].mTick; });
    }
    std::size_t FindByBar(Cmn_Int64 iBar) const
    {
        return mByBar.Find(iBar, [this](std::size_t i) { return mStretches[i].mBar; });
    }

    Cmn_Int64 ToTick(const Position& iPosition) const;
    Position ToPosition(Cmn_Int64 iTick) const;

    Cmn_Int64 BarStart(Cmn_Int64 iBar) const { return BarStart(mStretches[FindByBar(iBar)], iBar); }
    Cmn_Int64 BarOf(Cmn_Int64 iTick) const { return BarOf(mStretches[FindByTick(iTick)], iTick); }
    Position BarlineAtOrAfter(Cmn_Int64 iTick) const;
    // The last beat that begins in the bar: fewer than the numerator where the next
    // change cuts the bar short.
    Cmn_Int64 LastBeatOf(Cmn_Int64 iBar) const
    {
        return ToPosition(Cmn_WrapSub<Cmn_Int64>(BarStart(Cmn_WrapAdd<Cmn_Int64>(iBar, 1)), 1)).mBeat;
    }

    // How many bars from iBar on, or just before iBar, are known to be whole bars of the meter
    // that governs iBar, or iBar - 1. They have one length and the numerator's beats, so that a
    // walk may take them at one step.
    Cmn_Int64 WholeBarsFrom(Cmn_Int64 iBar) const;
    Cmn_Int64 WholeBarsBefore(Cmn_Int64 iBar) const;

    Cmn_Int64 NumeratorAtBar(Cmn_Int64 iBar) const { return mStretches[FindByBar(iBar)].mNumerator; }
    Cmn_Int64 TicksPerBeatAt(Cmn_Int64 iTick) const { return mStretches[FindByTick(iTick)].mBeatLength; }

    // The number of a tick's bar where the change's meter governs it.
    static Cmn_Int32 BarUnder(const Time_MeterChange& iChange, Cmn_Int64 iTick)
    {
        const Stretch stretch{.mTick = iChange.GetTick().AsInt64(),
                              .mBarLength = BarLength(iChange.GetMeter()),
                              .mBeatLength = 1,
                              .mBeatRest = 0,
                              .mNumerator = 1,
                              .mBar = iChange.GetBarNumber()};
        return static_cast<Cmn_Int32>(BarOf(stretch, iTick));
    }
    // The length of a meter's bars as the map counts them.
    static Cmn_Int64 BarLength(const Time_Meter& iMeter)
    {
        return std::max<Cmn_Int64>(iMeter.GetBarLength().AsInt64(), 1);
    }

private:
    using Stretch = Time_MeterStretch;
    static constexpr Cmn_Int64 cEndless = std::numeric_limits<Cmn_Int32>::max(); // no duration is longer

    void Add(const Time_MeterChange& iChange);

    static Cmn_Int64 BarOf(const Stretch& iStretch, Cmn_Int64 iTick)
    {
        return Cmn_WrapAdd(iStretch.mBar, iStretch.BarsInto(Cmn_WrapSub(iTick, iStretch.mTick)));
    }
    static Cmn_Int64 BarStart(const Stretch& iStretch, Cmn_Int64 iBar)
    {
        return Cmn_WrapAdd(iStretch.mTick,
                           Cmn_WrapMul(Cmn_WrapSub(iBar, iStretch.mBar), iStretch.mBarLength));
    }
    std::vector<Stretch> mStretches;
    Time_SearchIndex<Cmn_Int64> mByTick;
    Time_SearchIndex<Cmn_Int64> mByBar;
};

inline Cmn_Int64 Time_MeterMapIndex::ToTick(const Position& iPosition) const
{
    const Stretch& stretch = mStretches[FindByBar(iPosition.mBar)];
    Cmn_Int64 start = BarStart(stretch, iPosition.mBar);
    Cmn_Int64 beats = iPosition.mBeat - 1;
    // A beat that its bar does not have is counted on through the bars behind it; beats below 1 truncate.
    if (beats < 0 || beats >= stretch.mNumerator) [[unlikely]] {
        start = Cmn_WrapAdd(start, Cmn_WrapMul(beats / stretch.mNumerator, stretch.mBarLength));
        beats %= stretch.mNumerator;
    }
    return Cmn_WrapAdd(Cmn_WrapAdd(start, stretch.BeatStart(beats)), iPosition.mTick);
}

inline Time_MeterMapIndex::Position Time_MeterMapIndex::ToPosition(Cmn_Int64 iTick) const
{
    const Stretch& stretch = mStretches[FindByTick(iTick)];
    const Cmn_Int64 distance = Cmn_WrapSub(iTick, stretch.mTick);
    const Cmn_Int64 bars = stretch.BarsInto(distance);
    const Cmn_Int64 tickInBar = Cmn_WrapSub(distance, Cmn_WrapMul(bars, stretch.mBarLength));
    const Cmn_Int64 beats = stretch.BeatsInto(tickInBar);
    return {Cmn_WrapAdd(stretch.mBar, bars), beats + 1, tickInBar - stretch.BeatStart(beats)};
}
