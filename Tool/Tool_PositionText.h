// Tool_PositionText: positions read and written in the units of Tool_EUnit.
//
// A position is a count in the library's unit that Tool_CountedIn names: "10|1|0" is a count of ticks,
// "00:00:01:00" one of frames, "1.5" (seconds) one of samples.
#pragma once

#include "Kora/Time/Formats/Time_FeetFrame.h"
#include "Tool/Tool_Seconds.h"
#include "Tool/Tool_Song.h"
#include "Tool/Tool_Unit.h"

class Tool_PositionText
{
public:
    // Bars are the song's; it must outlive this.
    explicit Tool_PositionText(const Tool_Song& iSong, Time_EFilmGauge iGauge = Time_eFilmGauge_35mm);

    // False when the text is no position of the unit; the count is then untouched, and oWhyNot, where it is
    // asked for, a label that does not exist: "the bar has fewer beats". It is left alone where the text has
    // another form.
    bool Parse(Tool_EUnit iUnit, std::string_view iText, Cmn_Int64& oCount,
               const char** oWhyNot = nullptr) const;
    // How a position of the unit is written, for messages: "bar|beat|tick, such as 12|3|480000".
    std::string Form(Tool_EUnit iUnit) const;

    // Writes a count within the time limits; frames as timecode from 0 up. False when the count has no text:
    // a bar number past 32 bits.
    bool Append(Tool_EUnit iUnit, Cmn_Int64 iCount, std::string& ioText) const;

    // The label of a frame from 0 up; it starts again with every 24 hours of labels.
    std::string Timecode(Cmn_Int64 iFrame) const;

private:
    const char* ReadBars(std::string_view iText, Cmn_Int64& oTick) const;
    const char* ReadForm(Tool_EUnit iUnit, std::string_view iText, Cmn_Int64& oCount) const;
    bool AppendBars(Time_Tick iTick, std::string& ioText) const;
    void AppendTimecode(Cmn_Int64 iFrame, std::string& ioText) const;
    void AppendForm(Tool_EUnit iUnit, Time_Sample iSample, std::string& ioText) const;

    const Time_MeterMap& mMeterMap;
    ETimeCodeFormat mTimeCodeFormat;
    char mFrameSeparator;      // ";" in drop formats
    Cmn_Int64 mFramesOfOneDay; // frames that have a label
    Tool_Seconds mSeconds;
    Time_EFilmGauge mGauge;
};
