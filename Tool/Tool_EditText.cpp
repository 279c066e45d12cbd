#include "Tool/Tool_EditText.h"

#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Subcommand.h"
#include "Tool/Tool_Text.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr char cPositions[] =
    "expected a position: bar|beat|tick, minutes:seconds, timecode, decimal seconds, or a "
    "number with ticks, samples, frames or seconds";
constexpr char cLengths[] =
    "expected a length: minutes:seconds, timecode, decimal seconds, or a number with bars, "
    "ticks, samples, frames or seconds";
constexpr char cTimes[] =
    "expected a time: minutes:seconds, timecode, seconds, or a number with samples, frames or seconds";

bool IsDigit(char iCharacter) { return iCharacter >= '0' && iCharacter <= '9'; }

// A sign is no part of any shape: nothing of a song is negative.
bool StartsAsNumber(std::string_view iText)
{
    return !iText.empty() && (IsDigit(iText.front()) || iText.front() == '.');
}

} // namespace

bool Tool_ParseNumber(std::string_view iText, double& oValue)
{
    double value = 0;
    const auto [stop, error] = std::from_chars(iText.data(), iText.data() + iText.size(), value);
    if (error != std::errc() || stop != iText.data() + iText.size() || !(value - value == 0)) return false;
    oValue = value;
    return true;
}

std::string Tool_Decimals(double iValue)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.4f", iValue);
    std::string shown = text;
    shown.erase(shown.find_last_not_of('0') + 1);
    if (shown.back() == '.') shown.pop_back();
    return shown;
}

std::string Tool_CountText(Cmn_Int64 iCount, const char* iOne, const char* iMany)
{
    return std::to_string(iCount) + ' ' + (iCount == 1 ? iOne : iMany);
}

Tool_EditText::Tool_EditText(const Tool_Song& iSong)
    : mSong(iSong)
    , mText(iSong)
    , mSeconds(Time_Globals::GetPullSampleRate())
{
}

// --- Shapes

std::optional<Tool_EditText::Value> Tool_EditText::Parse(std::string_view iText) const
{
    if (!StartsAsNumber(iText)) return std::nullopt;
    Value value{Tool_eUnit_Bars, 0};
    if (iText.find('|') != std::string_view::npos)
        return ParseBars(iText, value.mCount) ? std::optional(value) : std::nullopt;
    if (iText.find_first_of(":;") != std::string_view::npos) return ParseClock(iText);
    const std::size_t end = iText.find_last_of("0123456789.") + 1;
    if (end < iText.size()) return ParseWithUnit(iText.substr(0, end), iText.substr(end));
    if (iText.find('.') == std::string_view::npos) return std::nullopt; // a number alone
    return ParseWithUnit(iText, Tool_UnitName(Tool_eUnit_Seconds));
}

// A beat that its bar does not have runs on into the next: an operation before may have shortened the bar.
bool Tool_EditText::ParseBars(std::string_view iText, Cmn_Int64& oTick) const
{
    Time_BarBeatTick position;
    if (!position.FromInternalText(iText) || position.mBeat < 1) return false;
    const Cmn_Int64 ticks = position.mTick.AsInt64();
    // 2^31 bars, 2^31 beats and this many ticks stay far from the ends of 64 bits together.
    if (ticks < 0 || ticks > Time_MeterMap::cMaxTick.AsInt64()) return false;
    oTick = mSong.GetMeterMap().BarBeatToTick(position).AsInt64();
    return true;
}

std::optional<Tool_EditText::Value> Tool_EditText::ParseWithUnit(std::string_view iNumber,
                                                                 std::string_view iUnit) const
{
    // One of them is named without its s.
    const std::string unit = std::string(iUnit) + (iUnit.back() == 's' ? "" : "s");
    Value value{Tool_eUnit_Bars, 0, true};
    if (unit == Tool_UnitName(Tool_eUnit_Bars))
        return Tool_ParseInteger(iNumber, value.mCount) ? std::optional(value) : std::nullopt;
    value.mIsBarCount = false;
    if (!Tool_ParseUnit(unit, value.mUnit) || !mText.Parse(value.mUnit, iNumber, value.mCount))
        return std::nullopt;
    return value;
}

// Timecode has four numbers, a time of minutes and seconds two or three.
std::optional<Tool_EditText::Value> Tool_EditText::ParseClock(std::string_view iText) const
{
    Value value{Tool_eUnit_Timecode, 0};
    const auto isMark = [](char c) { return c == ':' || c == ';'; };
    if (std::count_if(iText.begin(), iText.end(), isMark) == 3)
        return mText.Parse(Tool_eUnit_Timecode, iText, value.mCount) ? std::optional(value) : std::nullopt;
    value.mUnit = Tool_eUnit_Seconds;
    Cmn_Int64 minutes = 0;
    std::string_view rest = iText;
    for (int parts = 0; rest.find(':') != std::string_view::npos; ++parts) {
        const std::size_t colon = rest.find(':');
        Cmn_Int64 part = 0;
        if (parts == 2 || !IsDigit(rest.front()) || !Tool_ParseInteger(rest.substr(0, colon), part))
            return std::nullopt;
        if (part > Tool_Seconds::cMaxSeconds || (parts == 1 && part > 59)) return std::nullopt;
        minutes = 60 * minutes + part;
        rest.remove_prefix(colon + 1);
    }
    // Two digits of seconds, below 60, and a fraction.
    const std::size_t point = std::min(rest.find('.'), rest.size());
    if (point < 1 || point > 2 || !IsDigit(rest.front()) || (point == 2 && rest.front() > '5'))
        return std::nullopt;
    Cmn_Int64 below = 0, whole = 0;
    if (!mSeconds.Parse(rest, below) || minutes > Tool_Seconds::cMaxSeconds / 60) return std::nullopt;
    if (!Tool_ParseInteger(rest.substr(0, point), whole)) return std::nullopt;
    const std::string seconds = std::to_string(60 * minutes + whole) + std::string(rest.substr(point));
    return mSeconds.Parse(seconds, value.mCount) ? std::optional(value) : std::nullopt;
}

Tool_EditText::Value Tool_EditText::ParseOrRefuse(std::string_view iText, const char* iExpected) const
{
    const std::optional<Value> value = Parse(iText);
    if (!value) throw Tool_UsageError(Tool_Quoted(iText) + ", " + iExpected);
    return *value;
}

// --- In the song

// Of what is counted in frames or samples.
Cmn_Int64 Tool_EditText::SamplesOf(const Value& iValue, std::string_view iText) const
{
    const Time_EType type = Tool_CountedIn(iValue.mUnit);
    const Cmn_Int64 maxSample = Time_Typed::MaxTime(Time_eType_Samples).AsInt64();
    const Cmn_Int64 sample = iValue.mCount > maxSample
                                 ? iValue.mCount
                                 : mSong.GetConverter().ToSample(Time_Typed(iValue.mCount, type)).AsInt64();
    if (sample < 0 || sample > maxSample)
        throw Tool_EditRefusal(Tool_Quoted(iText) + " lies past the time line's end, expected sample 0 to " +
                               std::to_string(maxSample));
    return sample;
}

Time_Tick Tool_EditText::Position(std::string_view iText) const
{
    const Value value = ParseOrRefuse(iText, cPositions);
    if (value.mIsBarCount) throw Tool_UsageError(Tool_Quoted(iText) + " is a length, " + cPositions);
    const bool isTick = Tool_CountedIn(value.mUnit) == Time_eType_Ticks;
    const Time_Tick tick = isTick ? Time_Tick(value.mCount)
                                  : mSong.GetTempoMap().SampleToTick(Time_Sample(SamplesOf(value, iText)));
    try {
        CheckPlace(tick);
    } catch (const Tool_EditRefusal& refusal) {
        throw Tool_EditRefusal(Tool_Quoted(iText) + " " + refusal.what());
    }
    return tick;
}

void Tool_EditText::CheckPlace(Time_Tick iTick) const
{
    const Cmn_Int64 start = mSong.GetStartTick().AsInt64(), tick = iTick.AsInt64();
    const Cmn_Int64 maxTick = Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    if (tick < start)
        throw Tool_EditRefusal("lies before the song's start, expected tick " + std::to_string(start) +
                               " or later");
    const Cmn_Int64 maxSample = Time_Typed::MaxTime(Time_eType_Samples).AsInt64();
    if (tick > maxTick || mSong.GetTempoMap().TickToSample(iTick, false).AsInt64() > maxSample)
        throw Tool_EditRefusal("lies past the time line's end, expected none past tick " +
                               std::to_string(maxTick) + " and sample " + std::to_string(maxSample));
}

Tool_EditText::Length Tool_EditText::LengthAt(std::string_view iText, Time_Tick iAt) const
{
    const Value value = ParseOrRefuse(iText, cLengths);
    if (value.mUnit == Tool_eUnit_Bars && !value.mIsBarCount)
        throw Tool_UsageError(Tool_Quoted(iText) + " is a position, " + cLengths);
    if (Tool_CountedIn(value.mUnit) != Time_eType_Ticks) return {false, SamplesOf(value, iText)};
    const Cmn_Int64 each =
        value.mIsBarCount ? mSong.GetMeterMap().GetMeterAtTick(iAt).GetBarLength().AsInt64() : 1;
    const Cmn_Int64 maxTick = Time_Typed::MaxTime(Time_eType_Ticks).AsInt64();
    if (value.mCount > maxTick / std::max<Cmn_Int64>(each, 1))
        throw Tool_EditRefusal(Tool_Quoted(iText) + " lies past the time line's end, expected at most " +
                               std::to_string(maxTick) + " ticks");
    return {true, value.mCount * each};
}

Cmn_Int64 Tool_EditText::Time(std::string_view iText) const
{
    const bool isNumber = !iText.empty() && std::all_of(iText.begin(), iText.end(), IsDigit);
    const std::string text = std::string(iText) + (isNumber ? "." : "");
    const std::optional<Value> value = Parse(text);
    if (!value || Tool_CountedIn(value->mUnit) == Time_eType_Ticks)
        throw Tool_UsageError(Tool_Quoted(iText) + ", " + cTimes);
    return SamplesOf(*value, iText);
}

std::string Tool_EditText::BarText(Time_Tick iTick) const
{
    std::string text;
    if (!mText.Append(Tool_eUnit_Bars, iTick.AsInt64(), text))
        text = std::to_string(iTick.AsInt64()) + "ticks";
    return text;
}
