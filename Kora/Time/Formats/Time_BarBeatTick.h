// Time_BarBeatTick: a position, or a duration, as musicians read it: bar, beat and ticks after the beat.
//
// Units:   bars and beats count from 1 in positions; ticks are internal ticks. A duration counts from 0.
// Meaning: only a meter or the meter map gives a bar its length; the value alone compares and steps bars.
#pragma once

#include "Kora/Time/Values/Time_TickLength.h"

class Time_Meter;

class [[nodiscard]] Time_BarBeatTick
{
public:
    // 1|1|0
    constexpr Time_BarBeatTick() = default;
    constexpr Time_BarBeatTick(Cmn_Int32 iBar, Cmn_Int32 iBeat, const Time_TickLength& iTick)
        : mBar(iBar)
        , mBeat(iBeat)
        , mTick(iTick)
    {
    }

    // Whether the beat is 1 with no ticks after it. Display ticks are reported, as in every comparison.
    constexpr bool IsOnBar() const { return mBeat == 1 && mTick == Time_TickLength::cZero; }
    [[nodiscard]] constexpr bool IsOnBarline() const { return IsOnBar(); }

    // The start of the next bar.
    constexpr void AdvanceToNextBarline() { *this = {Cmn_WrapAdd(mBar, 1), 1, Time_TickLength::cZero}; }
    // The start of this bar; from a barline, one bar down. 5|2|0 → 5|1|0 → 4|1|0.
    constexpr void BackupToPreviousBarline()
    {
        if (IsOnBarline())
            mBar = Cmn_WrapSub(mBar, 1);
        else
            *this = {mBar, 1, Time_TickLength::cZero};
    }

    // This position moved by iOffset, as if the meter held throughout: 3|4|0 in 4/4 by 960000 ticks is 4|1|0.
    // Deliberate: a beat lasts denominator × 240000 ticks here, 3840000 / denominator in Diff; only
    // denominators of 4 agree. Test: OffsetAndDiffDisagreeOnTheBeat
    KORA_API void Offset(const Time_TickLength& iOffset, const Time_Meter& iMeter,
                         Time_BarBeatTick& oResult) const;
    // The internal ticks from iOther to this position in the meter: from 1|1|0 to 2|1|0 in 6/8 they are
    // 2880000.
    KORA_API Time_TickLength Diff(const Time_BarBeatTick& iOther, const Time_Meter& iMeter) const;

    // By bar, then beat, then tick.
    friend constexpr bool operator==(const Time_BarBeatTick&, const Time_BarBeatTick&) = default;
    friend constexpr auto operator<=>(const Time_BarBeatTick&, const Time_BarBeatTick&) = default;

    static constexpr Time_TickLength InternalTicksToDisplayTicks(const Time_TickLength& iTicks)
    {
        return iTicks.ToDisplayTicks();
    }
    static constexpr Time_TickLength DisplayTicksToInternalTicks(const Time_TickLength& iTicks)
    {
        return iTicks.ToInternalTicks();
    }

    // What rulers and counters show: "3|4| 480", "3|4" without ticks, "    3| 4| 480" padded so that
    // columns align.
    //
    //   bar    at least -9999; five places when padded
    //   beat   plain decimal; two places when padded
    //   ticks  display ticks, -999 to 9999: the thousands digit (a blank for 0, "-"
    //          below 0), then three digits
    [[nodiscard]] KORA_API std::string ToString(bool iShowTick, bool iPad) const;
    // Reads both forms, with or without blanks around the numbers; a missing tick part is 0. Anything else is
    // false and changes nothing.
    [[nodiscard]] KORA_API bool FromString(const std::string& iText);
    // All fields as they stand: "3|4|480000"
    [[nodiscard]] KORA_API std::string Dump() const;

    Cmn_Int32 mBar = 1;
    Cmn_Int32 mBeat = 1;
    Time_TickLength mTick;
};
