// Time_TempoMark: a tempo as a score shows it: beats per minute, and which note value the beat is.
//
//     120          quarter notes
//     1/8.=66.5    dotted eighths
//
// Units:   beats per minute; the beat in internal ticks.
// Text:    a quarter note's beat is not written. The number is the shortest that reads back as the same one.
//          A beat that is no note value is written by its ticks: "500000 ticks=90".
// Entry:   "1/4=120" is 120; blanks may stand around the "=".
// Threads: a plain value.
#pragma once

#include "Kora/Time/Formats/Time_NotationDurationValue.h"
#include "Kora/Time/Values/Time_SongDefaults.h"

#include <string_view>

class [[nodiscard]] Time_TempoMark
{
public:
    // 120 quarter notes.
    constexpr Time_TempoMark() = default;
    constexpr explicit Time_TempoMark(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat =
                                                                  Time_DefaultTempo::cDefaultTicksPerBeat)
        : mBeatsPerMinute(iBeatsPerMinute)
        , mTicksPerBeat(iTicksPerBeat)
    {
    }

    constexpr double GetBeatsPerMinute() const { return mBeatsPerMinute; }
    constexpr const Time_TickLength& GetTicksPerBeat() const { return mTicksPerBeat; }
    // 80 dotted quarters a minute are 120 quarters.
    constexpr double GetQuartersPerMinute() const
    {
        return mBeatsPerMinute * mTicksPerBeat.AsFloat64() / Time_TickLength::cQuarter.AsFloat64();
    }

    // As musicians write it.
    [[nodiscard]] KORA_API std::string ToString() const;
    static constexpr std::size_t cTextBytes = 64; // for ToText, the zero included
    // The same into the caller's cTextBytes, closed by a zero; allocates nothing. Returns the characters
    // before the zero.
    KORA_API std::size_t ToText(char* oText) const;
    // Reads what ToString writes of a tempo above 0 with a beat above 0, and less. Anything else is false and
    // changes nothing; oWhyNot is then a text for users, such as "a tempo is above 0". Allocates nothing.
    [[nodiscard]] KORA_API bool FromText(std::string_view iText, const char** oWhyNot = nullptr);
    // <iName> around "mBeatsPerMinute" and "nTicksPerBeat"
    [[nodiscard]] KORA_API Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // What ToString gives.
    [[nodiscard]] std::string Dump() const { return ToString(); }
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_TempoMark& iMark);

    // Both fields; a tempo of eighths is not one of quarters.
    friend constexpr bool operator==(const Time_TempoMark&, const Time_TempoMark&) = default;

private:
    double mBeatsPerMinute = Time_DefaultTempo::cDefaultBeatsPerMinute;
    Time_TickLength mTicksPerBeat = Time_DefaultTempo::cDefaultTicksPerBeat;
};

template <>
struct std::hash<Time_TempoMark>
{
    std::size_t operator()(const Time_TempoMark& iMark) const noexcept
    {
        return std::hash<double>()(iMark.GetBeatsPerMinute()) ^
               std::hash<Time_TickLength>()(iMark.GetTicksPerBeat());
    }
};
