// Time_MeterChangeValue: what undo keeps of a meter change, as plain bits: all that its stream form has but
// the bar, which follows from the changes before.
#pragma once

#include "Kora/Time/Meter/Time_MeterChange.h"

struct Time_MeterChangeValue
{
    static Time_MeterChangeValue Of(const Time_MeterChange& iChange)
    {
        const Time_Meter& meter = iChange.GetMeter();
        return {.mTick = iChange.GetTick(),
                .mTickOfBBT = iChange.GetBBT().mTick.AsInt64(),
                .mClick = meter.GetClickInterval(),
                .mNumerator = meter.GetNumerator(),
                .mDenominator = meter.GetDenominator(),
                .mBeatOfBBT = iChange.GetBBT().mBeat};
    }
    bool operator==(const Time_MeterChangeValue&) const = default;

    Time_Tick mTick;
    Cmn_Int64 mTickOfBBT;
    Time_NotationDurationValue mClick;
    Cmn_Int32 mNumerator, mDenominator, mBeatOfBBT;
};
