#include "Tool/Tool_PositionText.h"

#include "Kora/Time/Formats/Time_MinSec.h"
#include "Kora/Time/Formats/Time_SMPTE.h"
#include "Kora/Time/Formats/Time_Timecode.h"
#include "Tool/Tool_Text.h"

#include <algorithm>

Tool_PositionText::Tool_PositionText(const Tool_Song& iSong, Time_EFilmGauge iGauge)
    : mMeterMap(iSong.GetMeterMap())
    , mTimeCodeFormat(iSong.GetSettings().mTimeCodeFormat)
    , mFrameSeparator(Time_SMPTE::IsDropFormat(mTimeCodeFormat) ? ';' : ':')
    , mFramesOfOneDay(Time_Timecode::GetFramesOfDay(mTimeCodeFormat))
    , mSeconds(Time_Globals::GetPullSampleRate())
    , mGauge(iGauge)
{
}

bool Tool_PositionText::Parse(Tool_EUnit iUnit, std::string_view iText, Cmn_Int64& oCount,
                              const char** oWhyNot) const
{
    const char* whyNot = nullptr;
    switch (iUnit) {
    case Tool_eUnit_Ticks:
    case Tool_eUnit_Samples:
    case Tool_eUnit_Frames:
        return Tool_ParseInteger(iText, oCount);
    case Tool_eUnit_Seconds:
        return mSeconds.Parse(iText, oCount);
    case Tool_eUnit_Bars:
        whyNot = ReadBars(iText, oCount);
        break;
    case Tool_eUnit_Timecode:
    case Tool_eUnit_Subframes:
    case Tool_eUnit_MinSec:
    case Tool_eUnit_Feet:
        whyNot = ReadForm(iUnit, iText, oCount);
        break;
    }
    if (whyNot == nullptr) return true;
    // What the form is, the caller tells.
    const bool isForm = std::string_view(whyNot).find("expected") != std::string_view::npos;
    if (!isForm && oWhyNot != nullptr) *oWhyNot = whyNot;
    return false;
}

std::string Tool_PositionText::Form(Tool_EUnit iUnit) const
{
    const std::string label = std::string("hh:mm:ss") + mFrameSeparator + "ff";
    const std::string format = std::string(" of ") + Time_Globals::GetTimeCodeFormatString(mTimeCodeFormat);
    switch (iUnit) {
    case Tool_eUnit_Bars:
        return "bar|beat|tick, such as 12|3|480000";
    case Tool_eUnit_Timecode:
        return "a label " + label + format;
    case Tool_eUnit_Subframes:
        return "a label " + label + ".ss" + format;
    case Tool_eUnit_Seconds:
        return "decimal seconds, such as 12.5";
    case Tool_eUnit_MinSec:
        return "minutes:seconds, such as 3:25.040";
    case Tool_eUnit_Feet:
        return "feet+frames, such as 90+12";
    case Tool_eUnit_Ticks:
    case Tool_eUnit_Samples:
    case Tool_eUnit_Frames:
        break;
    }
    return "a whole number";
}

// Null where the position was read, otherwise why not.
const char* Tool_PositionText::ReadBars(std::string_view iText, Cmn_Int64& oTick) const
{
    Time_BarBeatTick position;
    const char* whyNot = nullptr;
    if (!position.FromInternalText(iText, &whyNot)) return whyNot;
    whyNot = mMeterMap.WhyNoPosition(position);
    if (whyNot == nullptr) oTick = mMeterMap.BarBeatToTick(position).AsInt64();
    return whyNot;
}

const char* Tool_PositionText::ReadForm(Tool_EUnit iUnit, std::string_view iText, Cmn_Int64& oCount) const
{
    const char* whyNot = nullptr;
    Time_SMPTE label(mTimeCodeFormat);
    Time_MinSec time;
    Time_FeetFrame feet(0, mGauge);
    if (iUnit == Tool_eUnit_Timecode && label.FromText(iText, &whyNot))
        oCount = label.GetTotalFrames();
    else if (iUnit == Tool_eUnit_Subframes && label.FromSubframeText(iText, &whyNot))
        oCount = label.GetTotalSamples().AsInt64();
    else if (iUnit == Tool_eUnit_MinSec && time.FromText(iText, &whyNot))
        oCount = time.ToSample().AsInt64();
    else if (iUnit == Tool_eUnit_Feet && feet.FromText(iText, &whyNot))
        oCount = feet.ToSample().AsInt64();
    return whyNot;
}

bool Tool_PositionText::Append(Tool_EUnit iUnit, Cmn_Int64 iCount, std::string& ioText) const
{
    switch (iUnit) {
    case Tool_eUnit_Bars:
        return AppendBars(Time_Tick(iCount), ioText);
    case Tool_eUnit_Timecode:
        AppendTimecode(iCount, ioText);
        return true;
    case Tool_eUnit_Seconds:
        mSeconds.Append(iCount, ioText);
        return true;
    case Tool_eUnit_Subframes:
    case Tool_eUnit_MinSec:
    case Tool_eUnit_Feet:
        AppendForm(iUnit, Time_Sample(iCount), ioText);
        return true;
    case Tool_eUnit_Ticks:
    case Tool_eUnit_Samples:
    case Tool_eUnit_Frames:
        break;
    }
    Tool_AppendInteger(iCount, ioText);
    return true;
}

bool Tool_PositionText::AppendBars(Time_Tick iTick, std::string& ioText) const
{
    const Time_BarBeatTick position = mMeterMap.TickToBarBeat(iTick);
    if (mMeterMap.BarBeatToTick(position) != iTick) return false; // the bar number was cut to 32 bits
    char text[Time_BarBeatTick::cTextBytes];
    ioText.append(text, position.ToInternalText(text));
    return true;
}

std::string Tool_PositionText::Timecode(Cmn_Int64 iFrame) const
{
    std::string text;
    AppendTimecode(iFrame, text);
    return text;
}

// Without a string of its own for each of a million lines.
void Tool_PositionText::AppendTimecode(Cmn_Int64 iFrame, std::string& ioText) const
{
    Time_SMPTE label(mTimeCodeFormat);
    label.SetFromTotalFrames(static_cast<Cmn_Int32>(iFrame % mFramesOfOneDay));
    char text[Time_SMPTE::cTextBytes];
    ioText.append(text, label.ToText(text));
}

void Tool_PositionText::AppendForm(Tool_EUnit iUnit, Time_Sample iSample, std::string& ioText) const
{
    char text[64];
    std::size_t size = 0;
    if (iUnit == Tool_eUnit_MinSec) size = Time_MinSec::FromSample(iSample).ToText(text);
    if (iUnit == Tool_eUnit_Feet) size = Time_FeetFrame::FromSample(iSample, mGauge).ToText(text);
    if (iUnit == Tool_eUnit_Subframes) {
        Time_SMPTE label(mTimeCodeFormat);
        label.SetToNearestSubframe(iSample);
        size = label.ToSubframeText(text);
    }
    ioText.append(text, size);
}
