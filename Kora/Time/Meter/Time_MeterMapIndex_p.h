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
    // Takes the changes over; the first iUnchanged of them are as they were at the last call.
    void Update(const Cmn_PolyVector<Time_MeterChange>& iChanges, std::size_t iUnchanged);

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
    struct Stretch
    {
        Cmn_Int64 mTick;
        Cmn_Int64 mBarLength;
        Cmn_Int64 mBeatLength; // bar length div numerator …
        Cmn_Int32 mBeatRest;   // … and mod numerator: 0 in a sound meter
        Cmn_Int32 mNumerator;
        Cmn_Int64 mBar;
    };
    static constexpr Cmn_Int64 cEndless = std::numeric_limits<Cmn_Int32>::max(); // no duration is longer

    void Add(const Time_MeterChange& iChange);

    // Non-negative operands below 2^32, which nearly all are, take the processor's short division.
    static Cmn_Int64 QuickDiv(Cmn_Int64 iA, Cmn_Int64 iB)
    {
        const Cmn_UInt64 a = static_cast<Cmn_UInt64>(iA), b = static_cast<Cmn_UInt64>(iB);
        if (((a | b) >> 32) == 0) [[likely]]
            return static_cast<Cmn_UInt32>(a) / static_cast<Cmn_UInt32>(b);
        return iA / iB;
    }
    static Cmn_Int64 BarsInto(const Stretch& iStretch, Cmn_Int64 iDistance)
    {
        if (iDistance >= 0) [[likely]]
            return QuickDiv(iDistance, iStretch.mBarLength);
        return -((-(iDistance + 1)) / iStretch.mBarLength) - 1;
    }
    static Cmn_Int64 BarOf(const Stretch& iStretch, Cmn_Int64 iTick)
    {
        return Cmn_WrapAdd(iStretch.mBar, BarsInto(iStretch, Cmn_WrapSub(iTick, iStretch.mTick)));
    }
    static Cmn_Int64 BarStart(const Stretch& iStretch, Cmn_Int64 iBar)
    {
        return Cmn_WrapAdd(iStretch.mTick,
                           Cmn_WrapMul(Cmn_WrapSub(iBar, iStretch.mBar), iStretch.mBarLength));
    }
    // (iBeats × bar length) div numerator for fewer beats than the numerator. The product itself could pass
    // 64 bits; taken in whole beat lengths and the rest, it is exact for every meter.
    static Cmn_Int64 BeatStart(const Stretch& iStretch, Cmn_Int64 iBeats)
    {
        const Cmn_Int64 whole = iBeats * iStretch.mBeatLength;
        if (iStretch.mBeatRest == 0) [[likely]]
            return whole;
        return whole + iBeats * iStretch.mBeatRest / iStretch.mNumerator;
    }
    static Cmn_Int64 BeatsInto(const Stretch& iStretch, Cmn_Int64 iTickInBar);
    static Cmn_Int64 UnevenBeatsInto(const Stretch& iStretch, Cmn_Int64 iTickInBar);

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
    return Cmn_WrapAdd(Cmn_WrapAdd(start, BeatStart(stretch, beats)), iPosition.mTick);
}

inline Time_MeterMapIndex::Position Time_MeterMapIndex::ToPosition(Cmn_Int64 iTick) const
{
    const Stretch& stretch = mStretches[FindByTick(iTick)];
    const Cmn_Int64 distance = Cmn_WrapSub(iTick, stretch.mTick);
    const Cmn_Int64 bars = BarsInto(stretch, distance);
    const Cmn_Int64 tickInBar = Cmn_WrapSub(distance, Cmn_WrapMul(bars, stretch.mBarLength));
    const Cmn_Int64 beats = BeatsInto(stretch, tickInBar);
    return {Cmn_WrapAdd(stretch.mBar, bars), beats + 1, tickInBar - BeatStart(stretch, beats)};
}

// ((tick + 1) × numerator - 1) div bar length: the last beat that starts at or before the tick. Where beats
// have one length, this is the tick over it.
inline Cmn_Int64 Time_MeterMapIndex::BeatsInto(const Stretch& iStretch, Cmn_Int64 iTickInBar)
{
    if (iStretch.mBeatRest == 0) [[likely]]
        return QuickDiv(iTickInBar, iStretch.mBeatLength);
    return UnevenBeatsInto(iStretch, iTickInBar);
}
