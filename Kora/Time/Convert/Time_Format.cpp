#include "Kora/Time/Convert/Time_Format.h"

#include "Kora/Time/Formats/Time_FormText_p.h"
#include "Kora/Time/Formats/Time_MinSec.h"
#include "Kora/Time/Formats/Time_SMPTEUtils.h"
#include "Kora/Time/Meter/Time_MeterMap.h"

#include <algorithm>
#include <array>

namespace {

// Indexed by Time_EForm.
constexpr std::array<std::string_view, 9> cNames = {
    "samples", "ticks", "frames", "bars", "bars-exact", "timecode", "subframes", "minsec", "feet",
};
constexpr std::array<Time_EForm, cNames.size()> cForms = {
    Time_eForm_Samples,  Time_eForm_Ticks,     Time_eForm_Frames, Time_eForm_Bars, Time_eForm_BarsExact,
    Time_eForm_Timecode, Time_eForm_Subframes, Time_eForm_MinSec, Time_eForm_Feet,
};

// Far past every session's end; up to here products with a thousand are exact in doubles.
constexpr Time_Sample cFarthestLabel(Cmn_Int64{1} << 42);

std::size_t Closed(char* oText, char* iEnd)
{
    *iEnd = '\0';
    return static_cast<std::size_t>(iEnd - oText);
}

} // namespace

std::span<const Time_EForm> Time_Format::GetForms() { return cForms; }

std::string_view Time_Format::GetFormName(Time_EForm iForm)
{
    const auto index = static_cast<std::size_t>(iForm);
    return Cmn_ASSERT_TEXT(index < cNames.size(), "iForm is a form") ? cNames[index] : std::string_view();
}

bool Time_Format::FindForm(std::string_view iName, Time_EForm& oForm)
{
    const auto name = std::find(cNames.begin(), cNames.end(), iName);
    if (name == cNames.end()) return false;
    oForm = cForms[static_cast<std::size_t>(name - cNames.begin())];
    return true;
}

std::string Time_Format::ToString(Time_EForm iForm, const Time_Typed& iTime) const
{
    char text[cTextBytes];
    return std::string(text, ToText(iForm, iTime, text));
}

std::size_t Time_Format::ToText(Time_EForm iForm, const Time_Typed& iTime, char* oText) const
{
    switch (iForm) {
    case Time_eForm_Samples:
        return Closed(oText, Time_WriteInteger(oText, mConverter->ToSample(iTime).AsInt64()));
    case Time_eForm_Ticks:
        return Closed(oText, Time_WriteInteger(oText, mConverter->ToTick(iTime).AsInt64()));
    case Time_eForm_Frames:
        return Closed(oText, Time_WriteInteger(oText, mConverter->ToFrames(iTime).AsInt64()));
    case Time_eForm_Bars:
        return ToBars(iForm, iTime).ToText(oText);
    case Time_eForm_BarsExact:
        return ToBars(iForm, iTime).ToInternalText(oText);
    case Time_eForm_Timecode:
    case Time_eForm_Subframes:
    case Time_eForm_MinSec:
    case Time_eForm_Feet:
        return LabelToText(iForm, mConverter->ToSample(iTime), oText);
    }
    Cmn_ASSERT_TEXT(false, "iForm is a form");
    return Closed(oText, oText);
}

std::size_t Time_Format::LabelToText(Time_EForm iForm, Time_Sample iSample, char* oText) const
{
    if (iForm == Time_eForm_MinSec) return Time_MinSec::FromSample(iSample).ToText(oText);
    if (iSample < Time_Sample(0)) return Closed(oText, oText);
    if (iForm == Time_eForm_Feet) return Time_FeetFrame::FromSample(iSample, mGauge).ToText(oText);
    if (iForm == Time_eForm_Timecode) return Time_SMPTEUtils::SampleToLabel(iSample).ToText(oText);
    return Time_SMPTEUtils::SampleToSubframe(iSample).ToSubframeText(oText);
}

Time_BarBeatTick Time_Format::ToBars(Time_EForm iForm, const Time_Typed& iTime) const
{
    Time_BarBeatTick position = mConverter->ToBarBeatTick(iTime);
    const Time_MeterMap* const meters = mConverter->GetMeterMap();
    if (iForm == Time_eForm_BarsExact || meters == nullptr) return position;
    position.mTick = position.mTick.ToDisplayTicks().ToInternalTicks();
    if (meters->WhyNoPosition(position) == nullptr) return position;
    // Rounded past its beat: it is the next one's, which may lie a part of a display tick before.
    position = meters->TickToBarBeat(meters->BarBeatToTick(position));
    position.mTick = Time_TickLength::cZero;
    return position;
}

bool Time_Format::FromText(Time_EForm iForm, std::string_view iText, Time_Typed& oTime,
                           const char** oWhyNot) const
{
    const char* whyNot = "the form is unknown";
    switch (iForm) {
    case Time_eForm_Samples:
        whyNot = ReadCount(Time_eType_Samples, iText, oTime);
        break;
    case Time_eForm_Ticks:
        whyNot = ReadCount(Time_eType_Ticks, iText, oTime);
        break;
    case Time_eForm_Frames:
        whyNot = ReadCount(Time_eType_Frames, iText, oTime);
        break;
    case Time_eForm_Bars:
    case Time_eForm_BarsExact:
        whyNot = ReadBars(iForm, iText, oTime);
        break;
    case Time_eForm_Timecode:
    case Time_eForm_Subframes:
    case Time_eForm_MinSec:
    case Time_eForm_Feet:
        whyNot = ReadLabel(iForm, iText, oTime);
        break;
    default:
        Cmn_ASSERT_TEXT(false, "iForm is a form");
    }
    if (whyNot != nullptr && oWhyNot != nullptr) *oWhyNot = whyNot;
    return whyNot == nullptr;
}

const char* Time_Format::ReadCount(Time_EType iType, std::string_view iText, Time_Typed& oTime) const
{
    Time_FormReader reader(iText);
    Cmn_Int64 count = 0;
    const auto taken = reader.TakeInteger(count);
    if (taken == Time_FormReader::eInteger_TooLarge) return "the number is past 64 bits";
    if (taken == Time_FormReader::eInteger_None || !reader.IsAtEnd()) return "a whole number is expected";
    oTime = Time_Typed(count, iType);
    return nullptr;
}

const char* Time_Format::ReadBars(Time_EForm iForm, std::string_view iText, Time_Typed& oTime) const
{
    Time_BarBeatTick position;
    const char* whyNot = nullptr;
    if (!(iForm == Time_eForm_Bars ? position.FromText(iText, &whyNot)
                                   : position.FromInternalText(iText, &whyNot)))
        return whyNot;
    const Time_MeterMap* const meters = mConverter->GetMeterMap();
    if (meters != nullptr) whyNot = meters->WhyNoPosition(position);
    if (whyNot == nullptr) oTime = mConverter->ToType(position, Time_eType_Ticks);
    return whyNot;
}

const char* Time_Format::ReadLabel(Time_EForm iForm, std::string_view iText, Time_Typed& oTime) const
{
    const char* whyNot = nullptr;
    Time_Sample sample;
    if (iForm == Time_eForm_MinSec) {
        Time_MinSec time;
        if (time.FromText(iText, &whyNot)) sample = time.ToSample();
    } else if (iForm == Time_eForm_Feet) {
        Time_FeetFrame feet(0, mGauge);
        if (feet.FromText(iText, &whyNot)) sample = feet.ToSample();
    } else {
        Time_SMPTE label;
        if (iForm == Time_eForm_Timecode ? label.FromText(iText, &whyNot)
                                         : label.FromSubframeText(iText, &whyNot))
            sample = Time_SMPTEUtils::LabelToSample(label);
    }
    if (whyNot != nullptr) return whyNot;
    if (sample > cFarthestLabel || sample < Time_Sample(-cFarthestLabel.AsInt64()))
        return "the time lies past the time line's ends";
    oTime = sample;
    return nullptr;
}
