#include "Kora/Time/Formats/Time_SMPTE.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Time/Formats/Time_FormText_p.h"
#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Formats/Time_TimecodeRules_p.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ostream>
#include <tuple>

using namespace Time_TimecodeRules;

namespace {

constexpr Cmn_Int32 cSubframesPerFrame = 100;
constexpr std::size_t cLabelSize = 11;

// Two digits, or three from 100 on; returns where they end.
char* WriteField(char* oText, Cmn_UInt8 iField)
{
    if (iField >= 100) *oText++ = static_cast<char>('0' + iField / 100);
    return Time_WriteTwoDigits(oText, iField < 100 ? iField : iField % 100);
}

// Two decimal digits at iAt, or -1.
Cmn_Int32 TwoDigits(std::string_view iText, std::size_t iAt)
{
    const auto digit = [&](std::size_t iIndex) { return iText[iIndex] - '0'; };
    const bool valid = digit(iAt) >= 0 && digit(iAt) <= 9 && digit(iAt + 1) >= 0 && digit(iAt + 1) <= 9;
    return valid ? 10 * digit(iAt) + digit(iAt + 1) : -1;
}

} // namespace

Time_SMPTE::Time_SMPTE(ETimeCodeFormat iFormat)
    : mFormat(iFormat)
{
}

Time_SMPTE::Time_SMPTE(Cmn_UInt8 iHours, Cmn_UInt8 iMinutes, Cmn_UInt8 iSeconds, Cmn_UInt8 iFrames,
                       ETimeCodeFormat iFormat, double iSubSamples)
    : mHours(iHours)
    , mMinutes(iMinutes)
    , mSeconds(iSeconds)
    , mFrames(iFrames)
    , mSubSamples(iSubSamples)
    , mFormat(iFormat)
{
    if (iSubSamples != 0) CheckSubSamples();
}

Time_SMPTE Time_SMPTE::Of(const Fields& iFields, ETimeCodeFormat iFormat)
{
    return Time_SMPTE(iFields.mHours, iFields.mMinutes, iFields.mSeconds, iFields.mFrames, iFormat,
                      iFields.mSubSamples);
}

Time_SMPTE Time_SMPTE::FromFrames(Cmn_Int32 iFrames, ETimeCodeFormat iFormat)
{
    Time_SMPTE time(iFormat);
    time.SetFromTotalFrames(iFrames);
    return time;
}

Time_SMPTE Time_SMPTE::FromSubframes(Cmn_Int32 iSubframes, ETimeCodeFormat iFormat)
{
    Time_SMPTE time(iFormat);
    time.SetFromTotalSubframes(iSubframes);
    return time;
}

Time_SMPTE Time_SMPTE::FromSample(const Time_Sample& iSample, ETimeCodeFormat iFormat)
{
    Time_SMPTE time(iFormat);
    time.SetFromTotalSamples(iSample);
    return time;
}

void Time_SMPTE::SetSubSamples(double iSubSamples)
{
    mSubSamples = iSubSamples;
    CheckSubSamples();
}

bool Time_SMPTE::SetFrames(Cmn_UInt8 iFrames)
{
    if (CheckedFormatOf(mFormat).mFramesPerSecond <= iFrames) return false;
    mFrames = iFrames;
    return true;
}

bool Time_SMPTE::SetFramesBCD(Cmn_UInt8 iFrames)
{
    return SetFrames(static_cast<Cmn_UInt8>((iFrames >> 4) * 10 + (iFrames & 0xF)));
}

Cmn_Int32 Time_SMPTE::GetTotalFrames() const
{
    const Format& format = CheckedFormatOf(mFormat);
    const Cmn_Int32 labels = ((mHours * 60 + mMinutes) * 60 + mSeconds) * format.mFramesPerSecond + mFrames;
    return format.mDroppedPerMinute != 0 ? DropLabels(labels, format) : labels;
}

void Time_SMPTE::SetFromTotalFrames(Cmn_Int32 iFrames)
{
    const Format& format = CheckedFormatOf(mFormat);
    Cmn_Int32 labels = iFrames < 0 ? Cmn_WrapAdd(iFrames, format.mFramesPerSecond * cSecondsPerDay) : iFrames;
    if (format.mDroppedPerMinute != 0) labels = UndropLabels(labels, format);

    // Constant divisors cost a multiplication each; a division by a variable costs several times that.
    switch (format.mFramesPerSecond) {
    case 24:
        SetFields<24>(labels);
        break;
    case 25:
        SetFields<25>(labels);
        break;
    case 30:
        SetFields<30>(labels);
        break;
    case 50:
        SetFields<50>(labels);
        break;
    case 60:
        SetFields<60>(labels);
        break;
    default:
        SetFields<-1>(labels);
        break;
    }
}

// What is odd about drop formats and days happens in a minute's first or last second; in those
// between, labels just count on.
void Time_SMPTE::StepToNextFrame()
{
    constexpr Cmn_UInt8 last = 57;
    const Cmn_Int32 framesPerSecond = FormatOf(mFormat).mFramesPerSecond;
    const bool isPlain =
        mSeconds >= 1 && mSeconds <= last && mMinutes < 60 && mHours < 24 && mFrames < framesPerSecond;
    if (!isPlain) return SetFromTotalFrames(Cmn_WrapAdd(GetTotalFrames(), 1));
    mSubSamples = 0;
    if (++mFrames < framesPerSecond) return;
    mFrames = 0;
    ++mSeconds;
}

template <Cmn_Int32 cFramesPerSecond>
void Time_SMPTE::SetFields(Cmn_Int32 iLabels)
{
    // Three quotients of the same count, rather than each of the last one's remainder: they do
    // not wait for each other.
    const Cmn_Int32 seconds = Cmn_TruncDiv(iLabels, cFramesPerSecond);
    const Cmn_Int32 minutes = iLabels / (cFramesPerSecond * 60);
    const Cmn_Int32 hours = iLabels / (cFramesPerSecond * 3600);
    mHours = static_cast<Cmn_UInt8>(hours);
    if (mHours > 23) mHours = static_cast<Cmn_UInt8>(mHours - 24);
    mMinutes = static_cast<Cmn_UInt8>(minutes - 60 * hours);
    mSeconds = static_cast<Cmn_UInt8>(seconds - 60 * minutes);
    mFrames = static_cast<Cmn_UInt8>(Cmn_WrapSub(iLabels, Cmn_WrapMul(seconds, cFramesPerSecond)));
    mSubSamples = 0;
}

Cmn_Int32 Time_SMPTE::GetTotalSubframes() const
{
    const double perSample =
        CheckedFormatOf(mFormat).mRealRate * cSubframesPerFrame / Time_Globals::GetPullSampleRate();
    Cmn_Int32 subframes = Cmn_Float64ToInt32(mSubSamples * perSample);
    // The product alone can fall just short of a subframe's own start, whose samples are rounded too.
    if (subframes < cSubframesPerFrame - 1 && SamplesOfSubframes(subframes + 1) <= mSubSamples) ++subframes;
    return Cmn_WrapAdd(Cmn_WrapMul(GetTotalFrames(), cSubframesPerFrame), subframes);
}

void Time_SMPTE::SetFromTotalSubframes(Cmn_Int32 iSubframes)
{
    const Cmn_Int32 subframes = iSubframes < 0 ? 0 : iSubframes;
    SetFromTotalFrames(subframes / cSubframesPerFrame);
    mSubSamples = SamplesOfSubframes(subframes % cSubframesPerFrame);
}

double Time_SMPTE::GetTotalSamplesFloat() const { return SamplesOfFrames(GetTotalFrames()) + mSubSamples; }

Time_Sample Time_SMPTE::GetTotalSamples() const
{
    return Time_Sample(Cmn_Float64ToInt64(GetTotalSamplesFloat() + 0.5));
}

void Time_SMPTE::SetFromTotalSamples(const Time_Sample& iSample)
{
    const double samples = static_cast<double>(iSample.AsInt64());
    const double realRate = CheckedFormatOf(mFormat).mRealRate;
    Cmn_Int64 frames = Cmn_FloorToInt64(samples * realRate / Time_Globals::GetPullSampleRate());
    // A frame starts somewhere between two samples; the one its start rounds to is its first.
    if (Cmn_RoundHalfUp(SamplesOfFrames(Cmn_WrapAdd<Cmn_Int64>(frames, 1))) <= iSample.AsInt64()) ++frames;
    SetFromTotalFrames(static_cast<Cmn_Int32>(frames));
    const double pastStart = samples - SamplesOfFrames(frames);
    mSubSamples = pastStart > 0 ? pastStart : 0;
}

void Time_SMPTE::MakeIntoLegalDropFrameLocation()
{
    // Deliberate: 00:07:00;03 of 60-frame drop moves too, although it is written. Test: EveryLabelOfADay
    const Cmn_Int32 dropped = FormatOf(mFormat).mDroppedPerMinute;
    if (mSeconds == 0 && mMinutes % 10 != 0 && mFrames < dropped) mFrames = static_cast<Cmn_UInt8>(dropped);
}

Cmn_Int32 Time_SMPTE::DropFrames(Cmn_Int32 iLabels) const { return DropLabels(iLabels, FormatOf(mFormat)); }

Cmn_Int32 Time_SMPTE::UndropFrames(Cmn_Int32 iFrames) const
{
    return UndropLabels(iFrames, FormatOf(mFormat));
}

bool Time_SMPTE::IsLabel() const
{
    const Format& format = CheckedFormatOf(mFormat);
    if (mHours > 23 || mMinutes > 59 || mSeconds > 59 || mFrames >= format.mFramesPerSecond) return false;
    const bool leftOut = mSeconds == 0 && mMinutes % 10 != 0 && mFrames < format.mDroppedPerMinute;
    return !leftOut || IsEarlySeventhMinute(format, mMinutes, mFrames);
}

std::string Time_SMPTE::ToString() const
{
    char text[cTextBytes];
    return std::string(text, ToText(text));
}

std::size_t Time_SMPTE::ToText(char* oText) const
{
    char* at = WriteField(oText, mHours);
    *at++ = ':';
    at = WriteField(at, mMinutes);
    *at++ = ':';
    at = WriteField(at, mSeconds);
    *at++ = IsDropFormat(mFormat) ? ';' : ':';
    at = WriteField(at, mFrames);
    *at = '\0';
    return static_cast<std::size_t>(at - oText);
}

std::string Time_SMPTE::ToSubframeString() const
{
    char text[cSubframeTextBytes];
    return std::string(text, ToSubframeText(text));
}

std::size_t Time_SMPTE::ToSubframeText(char* oText) const
{
    char* at = oText + ToText(oText);
    *at++ = '.';
    const Cmn_Int32 subframes =
        Cmn_WrapSub(GetTotalSubframes(), Cmn_WrapMul(GetTotalFrames(), cSubframesPerFrame));
    at = WriteField(at, static_cast<Cmn_UInt8>(subframes));
    *at = '\0';
    return static_cast<std::size_t>(at - oText);
}

// Null when the label was read.
const char* Time_SMPTE::ReadLabel(std::string_view iText)
{
    static constexpr char cForm[] =
        "hours, minutes, seconds and frames of two digits are expected, such as 01:02:03:04";
    constexpr const char* cRanges[] = {"hours run from 0 to 23", "minutes run from 0 to 59",
                                       "seconds run from 0 to 59", "a second has fewer frames"};
    if (iText.size() != cLabelSize || iText[2] != ':' || iText[5] != ':') return cForm;
    if (iText[8] != ':' && iText[8] != ';') return cForm;
    if (iText[8] == ';' && !IsDropFormat(mFormat))
        return "\";\" stands before the frames of drop formats only";
    const Format& format = CheckedFormatOf(mFormat);
    const Cmn_Int32 ends[] = {24, 60, 60, format.mFramesPerSecond};
    std::array<Cmn_UInt8, 4> fields;
    for (std::size_t field = 0; field < fields.size(); ++field) {
        const Cmn_Int32 read = TwoDigits(iText, 3 * field);
        if (read < 0) return cForm;
        if (read >= ends[field]) return cRanges[field];
        fields[field] = static_cast<Cmn_UInt8>(read);
    }
    const Time_SMPTE label(fields[0], fields[1], fields[2], fields[3], mFormat);
    if (!label.IsLabel()) return "drop-frame counting leaves this label out";
    *this = label;
    return nullptr;
}

bool Time_SMPTE::FromText(std::string_view iText, const char** oWhyNot)
{
    const char* const whyNot = ReadLabel(iText);
    if (whyNot != nullptr && oWhyNot != nullptr) *oWhyNot = whyNot;
    return whyNot == nullptr;
}

bool Time_SMPTE::FromSubframeText(std::string_view iText, const char** oWhyNot)
{
    const std::string_view subframes = iText.substr(std::min(iText.size(), cLabelSize));
    const bool isLabelAlone = subframes.empty();
    const bool hasForm = subframes.size() == 3 && subframes[0] == '.' && TwoDigits(subframes, 1) >= 0;
    if (!isLabelAlone && !hasForm) {
        if (oWhyNot != nullptr)
            *oWhyNot = "subframes of two digits are expected behind the frames, such as .05";
        return false;
    }
    if (!FromText(iText.substr(0, cLabelSize), oWhyNot)) return false;
    if (hasForm) mSubSamples = SamplesOfSubframes(TwoDigits(subframes, 1));
    return true;
}

void Time_SMPTE::SetToNearestSubframe(const Time_Sample& iSample)
{
    const Format& format = CheckedFormatOf(mFormat);
    const double perSecond = format.mRealRate * cSubframesPerFrame;
    const auto samples = static_cast<double>(iSample.AsInt64());
    const Cmn_Int64 subframes = Cmn_RoundHalfUp(samples * perSecond / Time_Globals::GetPullSampleRate());
    const Cmn_Int64 day = Cmn_Int64{FramesOfDay(format)} * cSubframesPerFrame;
    SetFromTotalSubframes(static_cast<Cmn_Int32>(subframes - Cmn_FloorDiv(subframes, day) * day));
}

Cmn_XMLNode Time_SMPTE::GetAsXML(const std::string& iName) const
{
    Cmn_XMLNode node(iName);
    node.AddAttribute("format", Time_Globals::GetTimeCodeFormatString(mFormat));
    if (mSubSamples != 0) node.AddAttribute("subSamples", mSubSamples);
    node.SetText(ToString());
    return node;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_SMPTE& iTime)
{
    char text[Time_SMPTE::cTextBytes];
    iTime.ToText(text);
    return ioStream << text;
}

std::string Time_SMPTE::Dump() const
{
    std::array<char, 40> samples = {};
    if (mSubSamples != 0) std::snprintf(samples.data(), samples.size(), " + %.17g samples", mSubSamples);
    return ToString() + samples.data() + " [" + Time_Globals::GetTimeCodeFormatString(Resolved(mFormat)) +
           "]";
}

Cmn_Int32 Time_SMPTE::GetFramesPerSecond(ETimeCodeFormat iFormat)
{
    return FormatOf(iFormat).mFramesPerSecond;
}

double Time_SMPTE::GetRealRate(ETimeCodeFormat iFormat) { return FormatOf(iFormat).mRealRate; }

bool Time_SMPTE::IsDropFormat(ETimeCodeFormat iFormat) { return FormatOf(iFormat).mDroppedPerMinute != 0; }

std::partial_ordering operator<=>(const Time_SMPTE& iA, const Time_SMPTE& iB)
{
    const auto fields = [](const Time_SMPTE& iTime) {
        return std::tie(iTime.mHours, iTime.mMinutes, iTime.mSeconds, iTime.mFrames, iTime.mSubSamples);
    };
    return fields(iA) <=> fields(iB);
}

void Time_SMPTE::CheckSubSamples() const
{
    const double fps = CheckedFormatOf(mFormat).mRealRate;
    Cmn_ASSERT_AS(mSubSamples < (Time_Globals::GetPullSampleRate() / fps),
                  "subSamples < ( Time_Globals::GetPullSampleRate() / fps )", "Time/Time_SMPTE");
}

// The order of the operations is the converter's, so that both give the same bits.
double Time_SMPTE::SamplesOfFrames(Cmn_Int64 iFrames) const
{
    return static_cast<double>(iFrames) * Time_Globals::GetPullSampleRate() / FormatOf(mFormat).mRealRate;
}

double Time_SMPTE::SamplesOfSubframes(Cmn_Int64 iSubframes) const
{
    return static_cast<double>(iSubframes) * Time_Globals::GetPullSampleRate() /
           (FormatOf(mFormat).mRealRate * cSubframesPerFrame);
}
