// Time_TempoLimits: the tempos allowed, counted in quarter notes and in the beats of the segment at hand.
//
// Units: quarters or beats per minute; beats in internal ticks, a quarter 960000. Display ticks are reported,
//        and their count taken as it stands; a beat of 0 ticks is reported, and quotients by it are 0.
#pragma once

#include "Kora/Time/Values/Time_TickLength.h"

class Time_TempoLimits
{
public:
    // Quarters a minute, and the segment's beats a minute, each from the least to the greatest.
    constexpr Time_TempoLimits(double iMinQPM, double iMaxQPM, double iMinBPM, double iMaxBPM)
        : mMinQPM(iMinQPM)
        , mMaxQPM(iMaxQPM)
        , mMinBPM(iMinBPM)
        , mMaxBPM(iMaxBPM)
    {
    }

    // --- The range
    // Each is an end of what both limits leave, for a beat of iTicksPerBeat.

    [[nodiscard]] KORA_API double GetMinQPM(const Time_TickLength& iTicksPerBeat) const;
    [[nodiscard]] KORA_API double GetMaxQPM(const Time_TickLength& iTicksPerBeat) const;
    [[nodiscard]] KORA_API double GetMinBPM(const Time_TickLength& iTicksPerBeat) const;
    [[nodiscard]] KORA_API double GetMaxBPM(const Time_TickLength& iTicksPerBeat) const;

    // --- Values

    // Beats per minute clamped by the beat limits, then by the quarter limits. With the standard limits 1000
    // quarters become 500; 1000 eighths 999.
    [[nodiscard]] KORA_API double LimitTempoValue(double iBPM, const Time_TickLength& iTicksPerBeat) const;

private:
    double mMinQPM;
    double mMaxQPM;
    double mMinBPM;
    double mMaxBPM;
};
