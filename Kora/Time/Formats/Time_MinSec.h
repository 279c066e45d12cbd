// Time_MinSec: a time from sample 0 in minutes and seconds, to the millisecond.
//
//     3:25.040      minutes:seconds.milliseconds
//     1:03:25.040   with hours, from one hour on
//     -0:00.500     before sample 0
//
// Units:    whole milliseconds; texts of 10^15 seconds and more are not read.
// Rounding: sample s is ⌊s · 1000 / rate + ½⌋ milliseconds, and milliseconds are sample ⌊ms · rate / 1000 +
//           ½⌋, at the rate given, by default Time_Globals::GetPullSampleRate. From 1000 Hz on a
//           millisecond's sample is that millisecond again.
// Entry:    what is missing on the left is 0, and a number alone is seconds: "75.5" is 1:15.500, "1:2" is
//           1:02.000, ".5" is 0:00.500. Up to three decimals.
// Threads:  a plain value.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/Time/Values/Time_Sample.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

class KORA_API_NODISCARD Time_MinSec
{
public:
    // 0:00.000
    constexpr Time_MinSec() = default;
    constexpr explicit Time_MinSec(Cmn_Int64 iMilliseconds)
        : mMilliseconds(iMilliseconds)
    {
    }

    // Negative before sample 0.
    constexpr Cmn_Int64 AsMilliseconds() const { return mMilliseconds; }

    // The nearest millisecond, at Time_Globals::GetPullSampleRate or a rate of the caller's.
    static Time_MinSec FromSample(Time_Sample iSample);
    static Time_MinSec FromSample(Time_Sample iSample, double iSampleRate);
    // The nearest sample, at the same rates.
    Time_Sample ToSample() const;
    Time_Sample ToSample(double iSampleRate) const;

    // "1:02.500"; hours stand before the minutes from one hour on.
    [[nodiscard]] std::string ToString() const;
    static constexpr std::size_t cTextBytes = 32; // for ToText, the zero included
    // The same into the caller's cTextBytes, closed by a zero; allocates nothing. Returns the
    // characters before the zero.
    std::size_t ToText(char* oText) const;
    // Reads what ToString writes, and less. Anything else is false and changes nothing; oWhyNot is then a
    // text for users, such as "seconds after minutes run from 0 to 59". Allocates nothing.
    [[nodiscard]] bool FromText(std::string_view iText, const char** oWhyNot = nullptr);
    // <iName form="minutes:seconds">3:25.040</iName>
    [[nodiscard]] Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // "3:25.040"
    [[nodiscard]] std::string Dump() const { return ToString(); }
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_MinSec& iTime);

    friend constexpr auto operator<=>(const Time_MinSec&, const Time_MinSec&) = default;

private:
    Cmn_Int64 mMilliseconds = 0;
};

template <>
struct std::hash<Time_MinSec>
{
    std::size_t operator()(const Time_MinSec& iTime) const noexcept
    {
        return std::hash<Cmn_Int64>()(iTime.AsMilliseconds());
    }
};
