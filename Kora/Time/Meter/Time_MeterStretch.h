// Time_MeterStretch: a meter change as arithmetic: the bars and beats from it on, as far as it governs.
//
// Units:      internal ticks; bars are 64 bits wide and count on where 32-bit numbers wrap; beats count from 0 here.
// Invariants: bars of at least one tick, at least one beat a bar: what a host forced in counts as 1.
// Threads:    a plain value.
#pragma once

#include "Bastel/Cmn/Cmn_IntMath.h"

#include <limits>

struct Time_MeterStretch
{
    Cmn_Int64 mTick; // where a bar begins, numbered mBar
    Cmn_Int64 mBarLength;
    Cmn_Int64 mBeatLength; // bar length div numerator …
    Cmn_Int32 mBeatRest;   // … and mod numerator: 0 in a sound meter
    Cmn_Int32 mNumerator;
    Cmn_Int64 mBar;

    // (iBeats × bar length) div numerator for fewer beats than the numerator. The product itself could pass
    // 64 bits; taken in whole beat lengths and the rest, it is exact for every meter.
    Cmn_Int64 BeatStart(Cmn_Int64 iBeats) const
    {
        const Cmn_Int64 whole = iBeats * mBeatLength;
        if (mBeatRest == 0) [[likely]]
            return whole;
        return whole + iBeats * mBeatRest / mNumerator;
    }
    // ((tick + 1) × numerator - 1) div bar length: the last beat that starts at or before the tick. Where beats
    // have one length, this is the tick over it.
    Cmn_Int64 BeatsInto(Cmn_Int64 iTickInBar) const
    {
        if (mBeatRest == 0) [[likely]]
            return QuickDiv(iTickInBar, mBeatLength);
        return UnevenBeatsInto(iTickInBar);
    }
    // The bars from the stretch's own first one to the one that holds a tick; below 0 before it.
    Cmn_Int64 BarsInto(Cmn_Int64 iDistance) const
    {
        if (iDistance >= 0) [[likely]]
            return QuickDiv(iDistance, mBarLength);
        return -((-(iDistance + 1)) / mBarLength) - 1;
    }

private:
    // Non-negative operands below 2^32, which nearly all are, take the processor's short division.
    static Cmn_Int64 QuickDiv(Cmn_Int64 iA, Cmn_Int64 iB)
    {
        const Cmn_UInt64 a = static_cast<Cmn_UInt64>(iA), b = static_cast<Cmn_UInt64>(iB);
        if (((a | b) >> 32) == 0) [[likely]]
            return static_cast<Cmn_UInt32>(a) / static_cast<Cmn_UInt32>(b);
        return iA / iB;
    }
    // For meters whose beats are no whole number of ticks. The product fits for all but absurd numerators; for
    // those the beat is searched, with the same result.
    Cmn_Int64 UnevenBeatsInto(Cmn_Int64 iTickInBar) const
    {
        if (iTickInBar < (std::numeric_limits<Cmn_Int64>::max)() / mNumerator)
            return ((iTickInBar + 1) * mNumerator - 1) / mBarLength;
        Cmn_Int64 below = 0, above = mNumerator; // the beat is in [below, above)
        while (above - below > 1) {
            const Cmn_Int64 middle = below + (above - below) / 2;
            (BeatStart(middle) <= iTickInBar ? below : above) = middle;
        }
        return below;
    }
};
