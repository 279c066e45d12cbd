#include "Kora/Time/Formats/Time_SMPTE.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Formats/Time_Globals.h"

#include <array>
#include <cstdio>
#include <tuple>

namespace {

constexpr Cmn_Int32 cSubframesPerFrame = 100;
constexpr Cmn_Int32 cSecondsPerDay = 86400;

struct Format
{
    Cmn_Int32 mFramesPerSecond;
    double mRealRate;
    Cmn_Int32 mDroppedPerMinute;
};

constexpr Format cNoFormat = {-1, -1.0, 0};
// Indexed by ETimeCodeFormat.
constexpr std::array<Format, 15> cFormats = {{
    cNoFormat,
    {24, 24.0, 0},
    {25, 25.0, 0},
    {30, 30000.0 / 1001.0, 0},
    cNoFormat,
    {30, 30000.0 / 1001.0, 2},
    cNoFormat,
    {30, 30.0, 0},
    {30, 30.0, 2},
    {24, 24000.0 / 1001.0, 0},
    {50, 50.0, 0},
    {60, 60000.0 / 1001.0, 0},
    {60, 60000.0 / 1001.0, 4},
    {60, 60.0, 0},
    {60, 60.0, 4},
}};

ETimeCodeFormat Resolved(ETimeCodeFormat iFormat)
{
    return iFormat == eTimeCodeFormat_UseGlobal ? Time_Globals::GetGlobalTimeCodeFormat() : iFormat;
}

const Format& FormatOf(ETimeCodeFormat iFormat)
{
    const Cmn_UInt32 index = static_cast<Cmn_UInt32>(Resolved(iFormat));
    return index < cFormats.size() ? cFormats[index] : cNoFormat;
}

// For computations, which report a format that has no rate.
const Format& CheckedFormatOf(ETimeCodeFormat iFormat)
{
    const Format& format = FormatOf(iFormat);
    Cmn_ASSERT_AS(format.mFramesPerSecond != -1, "framesPerSecond != -1", "Time/Time_SMPTE");
    return format;
}

// The skip rule, for one block of ten minutes. Minute 0 keeps all its labels; each later
// one lacks the first few.
struct DropRule
{
    Cmn_Int32 mDroppedPerMinute;
    Cmn_Int32 mLabelsPerMinute;
    Cmn_Int32 mLabelsPerBlock;
    Cmn_Int32 mFramesPerBlock;
    // The frame that opens each minute; the last entry is past every frame.
    std::array<Cmn_Int32, 11> mMinuteStarts;
};

constexpr Cmn_Int32 cPastAll = 0x7FFFFFFF;
constexpr DropRule cDrop30 = {
    2, 1800, 18000, 17982, {0, 1800, 3598, 5396, 7194, 8992, 10790, 12588, 14386, 16184, cPastAll}};
// Deliberate: minute 7 opens a frame early, at 25175 instead of 25176, so that minute 6 is short by
// one frame and minute 7 long. Frame 25175 is labelled 00:07:00;03, and 00:06:59;59 is never
// written. Test: EveryFrameOfADay
constexpr DropRule cDrop60 = {
    4, 3600, 36000, 35964, {0, 3600, 7196, 10792, 14388, 17984, 21580, 25175, 28772, 32368, cPastAll}};

template <const DropRule& cRule>
Cmn_Int32 FramesOfLabels(Cmn_Int32 iLabels)
{
    constexpr Cmn_Int32 cDroppedPerBlock = 9 * cRule.mDroppedPerMinute;
    const Cmn_Int32 block = iLabels / cRule.mLabelsPerBlock;
    const Cmn_Int32 inBlock = iLabels % cRule.mLabelsPerBlock;
    const Cmn_Int32 minute = inBlock < 0 ? 0 : inBlock / cRule.mLabelsPerMinute;
    return Cmn_WrapSub(iLabels, cDroppedPerBlock * block + cRule.mDroppedPerMinute * minute);
}

template <const DropRule& cRule>
Cmn_Int32 LabelsOfFrames(Cmn_Int32 iFrames)
{
    constexpr Cmn_Int32 cDroppedPerBlock = 9 * cRule.mDroppedPerMinute;
    const Cmn_Int32 block = iFrames / cRule.mFramesPerBlock;
    const Cmn_Int32 inBlock = iFrames % cRule.mFramesPerBlock;
    Cmn_UInt32 minute = 0;
    if (inBlock >= 0) {
        // Minutes open somewhat earlier than every mLabelsPerMinute frames, never by a whole minute.
        minute = static_cast<Cmn_UInt32>(inBlock) / static_cast<Cmn_UInt32>(cRule.mLabelsPerMinute);
        minute += inBlock >= cRule.mMinuteStarts[minute + 1] ? 1 : 0;
    }
    return Cmn_WrapAdd(iFrames,
                       cDroppedPerBlock * block + cRule.mDroppedPerMinute * static_cast<Cmn_Int32>(minute));
}

Cmn_Int32 DropLabels(Cmn_Int32 iLabels, const Format& iFormat)
{
    return iFormat.mDroppedPerMinute == cDrop30.mDroppedPerMinute ? FramesOfLabels<cDrop30>(iLabels)
                                                                  : FramesOfLabels<cDrop60>(iLabels);
}

Cmn_Int32 UndropLabels(Cmn_Int32 iFrames, const Format& iFormat)
{
    return iFormat.mDroppedPerMinute == cDrop30.mDroppedPerMinute ? LabelsOfFrames<cDrop30>(iFrames)
                                                                  : LabelsOfFrames<cDrop60>(iFrames);
}

// The frame whose label no skip-rule counter knows, but ours writes: see cDrop60.
constexpr bool IsEarlySeventhMinute(const Format& iFormat, Cmn_Int32 iMinutes, Cmn_Int32 iFrames)
{
    return iFormat.mFramesPerSecond == 60 && iMinutes % 10 == 7 && iFrames == 3;
}

// Two decimal digits of all numbers below 100.
constexpr std::array<std::array<char, 2>, 100> cTwoDigits = [] {
    std::array<std::array<char, 2>, 100> digits = {};
    for (std::size_t i = 0; i < digits.size(); ++i)
        digits[i] = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
    return digits;
}();

// Two digits, or three from 100 on; returns where they end.
char* WriteField(char* oText, Cmn_UInt8 iField)
{
    if (iField >= 100) *oText++ = static_cast<char>('0' + iField / 100);
    const std::array<char, 2> digits = cTwoDigits[iField < 100 ? iField : iField % 100];
    oText[0] = digits[0];
    oText[1] = digits[1];
    return oText + 2;
}

// Two decimal digits at iAt, or -1.
Cmn_Int32 TwoDigits(const std::string& iText, std::size_t iAt)
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

bool Time_SMPTE::FromString(const std::string& iText)
{
    if (iText.size() != 11 || iText[2] != ':' || iText[5] != ':') return false;
    if (iText[8] != ':' && !(iText[8] == ';' && IsDropFormat(mFormat))) return false;
    std::array<Cmn_Int32, 4> fields;
    for (std::size_t field = 0; field < fields.size(); ++field) {
        fields[field] = TwoDigits(iText, 3 * field);
        if (fields[field] < 0) return false;
    }
    const Time_SMPTE read(static_cast<Cmn_UInt8>(fields[0]), static_cast<Cmn_UInt8>(fields[1]),
                          static_cast<Cmn_UInt8>(fields[2]), static_cast<Cmn_UInt8>(fields[3]), mFormat);
    if (!read.IsLabel()) return false;
    *this = read;
    return true;
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
