// Time_BarBeatTick: a position, or a duration, as musicians read it: bar, beat and ticks after the beat.
//
// Units:   bars and beats count from 1 in positions; ticks are internal ticks. A duration counts from 0.
// Meaning: only a meter or the meter map gives a bar its length; the value alone compares and steps bars.
//          Time_MeterMap::WhyNoPosition tells whether a position is one.
// Entry:   what is missing on the right has its first value: "5" is 5|1|0, "5|3" is 5|3|0.
#pragma once

#include "Kora/Time/Values/Time_TickLength.h"

#include <string_view>

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

    // The start of a bar, as a position: AtBar(3) is 3|1|0.
    static constexpr Time_BarBeatTick AtBar(Cmn_Int32 iBar) { return {iBar, 1, Time_TickLength::cZero}; }
    // So many bars, as a duration: Bars(2) is 2|0|0.
    static constexpr Time_BarBeatTick Bars(Cmn_Int32 iCount) { return {iCount, 0, Time_TickLength::cZero}; }
    // So many beats, as a duration: Beats(3) is 0|3|0.
    static constexpr Time_BarBeatTick Beats(Cmn_Int32 iCount) { return {0, iCount, Time_TickLength::cZero}; }
    // The same with another beat: AtBar(3).WithBeat(4) is 3|4|0, Bars(2).WithBeat(1) lasts two bars and a beat.
    [[nodiscard]] constexpr Time_BarBeatTick WithBeat(Cmn_Int32 iBeat) const { return {mBar, iBeat, mTick}; }
    // The same with other ticks: AtBar(3).WithTick(Time_TickLength(480000)) is 3|1|480000.
    [[nodiscard]] constexpr Time_BarBeatTick WithTick(const Time_TickLength& iTick) const
    {
        return {mBar, mBeat, iTick};
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

    // Time_TickLength::ToDisplayTicks.
    static constexpr Time_TickLength InternalTicksToDisplayTicks(const Time_TickLength& iTicks)
    {
        return iTicks.ToDisplayTicks();
    }
    // The other way: times 1000.
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
    static constexpr std::size_t cTextBytes = 48; // for ToText, the zero included
    // The same into the caller's cTextBytes, closed by a zero; allocates nothing. Returns the characters before
    // the zero.
    KORA_API std::size_t ToText(char* oText, bool iShowTick = true, bool iPad = false) const;
    // Reads both forms, and less, with or without blanks around the numbers and signs before them. Anything
    // else is false and changes nothing; oWhyNot is then a text for users, such as "bar|beat|tick is expected,
    // such as 3|4|480". FromText allocates nothing.
    [[nodiscard]] bool FromString(const std::string& iText) { return FromText(iText); }
    // As FromString, with the reason.
    [[nodiscard]] KORA_API bool FromText(std::string_view iText, const char** oWhyNot = nullptr);

    // The exact position, with all internal ticks: "3|4|480000". Written to the same buffer, read by the same
    // rules; what is written is read as the same value, display ticks as internal ones.
    [[nodiscard]] KORA_API std::string ToInternalString() const;
    // As ToText.
    KORA_API std::size_t ToInternalText(char* oText) const;
    // As FromText.
    [[nodiscard]] KORA_API bool FromInternalText(std::string_view iText, const char** oWhyNot = nullptr);

    // <iName> around "nBar", "nBeat" and "nTick"
    [[nodiscard]] KORA_API Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // "3|4|480000"
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_BarBeatTick& iPosition);
    // All fields as they stand: "3|4|480000"
    [[nodiscard]] KORA_API std::string Dump() const;

    Cmn_Int32 mBar = 1;
    Cmn_Int32 mBeat = 1;
    Time_TickLength mTick;
};

template <>
struct std::hash<Time_BarBeatTick>
{
    std::size_t operator()(const Time_BarBeatTick& iPosition) const noexcept
    {
        // An odd multiplier spreads bars and beats over the bits that ticks leave alone.
        constexpr Cmn_UInt64 cSpread = 0x9E3779B97F4A7C15;
        const Cmn_UInt64 bars = static_cast<Cmn_UInt32>(iPosition.mBar);
        const Cmn_UInt64 beats = static_cast<Cmn_UInt32>(iPosition.mBeat);
        return std::hash<Time_TickLength>()(iPosition.mTick) ^
               static_cast<std::size_t>((bars << 32 | beats) * cSpread);
    }
};
