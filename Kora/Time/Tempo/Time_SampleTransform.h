// Time_SampleTransform: where samples go when a session's origin moves, or its rate changes: times a
// scale, then plus an offset.
//
//     {.mOffset = Time_SampleLength(48000)}       a second later at 48 kHz
//     {.mScale = 48000.0 / 44100}                 the same instant, counted at 48 kHz
#pragma once

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Values/Time_Sample.h"

struct Time_SampleTransform
{
    // Rounds halves up; with a scale of 1 nothing is rounded.
    [[nodiscard]] Time_Sample Apply(Time_Sample iSample) const
    {
        const bool isScaled = mScale != 1.0;
        const Cmn_Int64 scaled =
            isScaled ? Cmn_RoundHalfUp(static_cast<double>(iSample.AsInt64()) * mScale) : iSample.AsInt64();
        return Time_Sample(scaled) + mOffset;
    }
    // Above 0 and finite: the order of samples stays, but for those that are rounded to the same one.
    [[nodiscard]] bool IsSound() const { return mScale > 0 && mScale <= 1e300; }

    double mScale = 1.0;
    Time_SampleLength mOffset{0};
};
