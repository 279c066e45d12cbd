// Tool_EditText: positions, lengths and times of "kora edit", told apart by their shape or their unit.
//
//     5|1|0   5|3          bar|beat|tick, bar|beat           960000ticks   a position, or a length
//     1:02.500  1:00:02    minutes:seconds, with hours       96000samples  12frames  62.5seconds
//     00:01:02:15          timecode                          4bars         a length only
//     62.5                 seconds; a whole number alone is seconds only where nothing but a time can stand
//
// Positions are read through the song's maps as they are at the moment.
// Throws: Tool_UsageError for what has none of the shapes, Tool_EditRefusal for what has no place in a song.
#pragma once

#include "Tool/Tool_PositionText.h"

#include <optional>
#include <stdexcept>

// An operation that the song rules out. what() is why, and what was expected.
struct Tool_EditRefusal : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// A whole text as a finite number; false, with the out untouched, for anything else.
bool Tool_ParseNumber(std::string_view iText, double& oValue);
// At most four decimals, and no needless ones: "83.3333", "90".
std::string Tool_Decimals(double iValue);
// "1 step", "2 steps"
std::string Tool_CountText(Cmn_Int64 iCount, const char* iOne, const char* iMany);

class Tool_EditText
{
public:
    // The song must outlive this.
    explicit Tool_EditText(const Tool_Song& iSong);

    // At the song's start or later, within the time limits.
    Time_Tick Position(std::string_view iText) const;
    void CheckPlace(Time_Tick iTick) const;
    // In ticks or, where it is a time, in samples. Bars are of the meter in force at iAt.
    struct Length
    {
        bool mIsTicks;
        Cmn_Int64 mCount;
    };
    Length LengthAt(std::string_view iText, Time_Tick iAt) const;
    // Samples, of a time from sample 0 or of a length.
    Cmn_Int64 Time(std::string_view iText) const;

    // "5|1|0"
    std::string BarText(Time_Tick iTick) const;
    // "0:11.429"
    std::string TimeText(Cmn_Int64 iSample) const { return mSeconds.MinutesAndSeconds(iSample); }

private:
    struct Value
    {
        Tool_EUnit mUnit;
        Cmn_Int64 mCount;
        bool mIsBarCount = false;
    };

    std::optional<Value> Parse(std::string_view iText) const;
    bool ParseBars(std::string_view iText, Cmn_Int64& oTick) const;
    std::optional<Value> ParseWithUnit(std::string_view iNumber, std::string_view iUnit) const;
    std::optional<Value> ParseClock(std::string_view iText) const;
    Value ParseOrRefuse(std::string_view iText, const char* iExpected) const;
    Cmn_Int64 SamplesOf(const Value& iValue, std::string_view iText) const;

    const Tool_Song& mSong;
    Tool_PositionText mText;
    Tool_Seconds mSeconds;
};
