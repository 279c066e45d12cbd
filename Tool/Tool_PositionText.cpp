#include "Tool/Tool_PositionText.h"

#include "Kora/Time/Formats/Time_SMPTE.h"
#include "Kora/Time/Formats/Time_Timecode.h"
#include "Tool/Tool_Text.h"

#include <algorithm>

Tool_PositionText::Tool_PositionText(const Tool_Song& iSong)
    : mMeterMap(iSong.GetMeterMap())
    , mTimeCodeFormat(iSong.GetSettings().mTimeCodeFormat)
    , mFrameSeparator(Time_SMPTE::IsDropFormat(mTimeCodeFormat) ? ';' : ':')
    , mFramesOfOneDay(Time_Timecode::GetFramesOfDay(mTimeCodeFormat))
    , mSeconds(Time_Globals::GetPullSampleRate())
{
}

bool Tool_PositionText::Parse(Tool_EUnit iUnit, std::string_view iText, Cmn_Int64& oCount) const
{
    switch (iUnit) {
    case Tool_eUnit_Ticks:
    case Tool_eUnit_Samples:
    case Tool_eUnit_Frames:
        return Tool_ParseInteger(iText, oCount);
    case Tool_eUnit_Bars:
        return ParseBars(iText, oCount);
    case Tool_eUnit_Timecode:
        return ParseTimecode(iText, oCount);
    case Tool_eUnit_Seconds:
        return mSeconds.Parse(iText, oCount);
    }
    return false;
}

std::string Tool_PositionText::Form(Tool_EUnit iUnit) const
{
    switch (iUnit) {
    case Tool_eUnit_Bars:
        return "bar|beat|tick, such as 12|3|480000";
    case Tool_eUnit_Timecode:
        return std::string("a label hh:mm:ss") + mFrameSeparator + "ff of " +
               Time_Globals::GetTimeCodeFormatString(mTimeCodeFormat);
    case Tool_eUnit_Seconds:
        return "decimal seconds, such as 12.5";
    case Tool_eUnit_Ticks:
    case Tool_eUnit_Samples:
    case Tool_eUnit_Frames:
        break;
    }
    return "a whole number";
}

bool Tool_PositionText::ParseBars(std::string_view iText, Cmn_Int64& oTick) const
{
    const std::size_t first = iText.find('|');
    if (first == std::string_view::npos) return false;
    const std::size_t second = iText.find('|', first + 1);
    if (second == std::string_view::npos) return false;
    Cmn_Int32 bar = 0;
    Cmn_Int32 beat = 0;
    Cmn_Int64 tick = 0;
    if (!Tool_ParseInteger(iText.substr(0, first), bar)) return false;
    if (!Tool_ParseInteger(iText.substr(first + 1, second - first - 1), beat) || beat < 1) return false;
    if (!Tool_ParseInteger(iText.substr(second + 1), tick) || tick < 0) return false;
    // 2^31 bars, 2^31 beats and this many ticks stay far from the ends of 64 bits together.
    if (tick > Time_MeterMap::cMaxTick.AsInt64()) return false;
    oTick = mMeterMap.BarBeatToTick(Time_BarBeatTick(bar, beat, Time_TickLength(tick))).AsInt64();
    return true;
}

bool Tool_PositionText::ParseTimecode(std::string_view iText, Cmn_Int64& oFrame) const
{
    Time_SMPTE label(mTimeCodeFormat);
    if (!label.FromString(std::string(iText))) return false;
    oFrame = label.GetTotalFrames();
    return true;
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
    Tool_AppendInteger(position.mBar, ioText);
    ioText += '|';
    Tool_AppendInteger(position.mBeat, ioText);
    ioText += '|';
    Tool_AppendInteger(position.mTick.AsInt64(), ioText);
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
