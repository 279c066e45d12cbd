#include "Kora/Time/Formats/Time_MinSec.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Time/Formats/Time_FormText_p.h"
#include "Kora/Time/Formats/Time_Globals.h"

#include <ostream>

namespace {

constexpr Cmn_Int64 cPerSecond = 1000;
constexpr Cmn_Int64 cPerMinute = 60 * cPerSecond;
constexpr Cmn_Int64 cPerHour = 60 * cPerMinute;
constexpr std::size_t cDecimals = 3;

constexpr char cForm[] = "minutes:seconds.milliseconds is expected, such as 3:25.040";

// Up to three numbers between colons; where the text is none, why.
const char* TakeSeconds(Time_FormReader& ioReader, Cmn_Int64& oSeconds)
{
    Cmn_Int64 parts[3];
    std::size_t count = 0;
    do {
        if (count == std::size(parts)) return cForm;
        const std::size_t digits = ioReader.TakeNumber(parts[count]);
        // Before a decimal point alone the seconds may be left out.
        const bool isLeftOut = digits == 0 && count == 0 && ioReader.GetRest().substr(0, 1) == ".";
        if (digits == 0 && !isLeftOut) return cForm;
        ++count;
    } while (ioReader.Take(':'));
    if (count > 1 && parts[count - 1] > 59) return "seconds after minutes run from 0 to 59";
    if (count > 2 && parts[1] > 59) return "minutes after hours run from 0 to 59";
    oSeconds = 0;
    for (std::size_t i = 0; i < count; ++i)
        oSeconds = oSeconds * 60 + parts[i];
    return nullptr;
}

const char* TakeDecimals(Time_FormReader& ioReader, Cmn_Int64& oMilliseconds)
{
    oMilliseconds = 0;
    if (!ioReader.Take('.')) return nullptr;
    std::size_t digits = ioReader.TakeNumber(oMilliseconds);
    if (digits == 0) return cForm;
    if (digits > cDecimals) return "seconds have at most three decimals";
    for (; digits < cDecimals; ++digits)
        oMilliseconds *= 10;
    return nullptr;
}

} // namespace

Time_MinSec Time_MinSec::FromSample(Time_Sample iSample)
{
    return FromSample(iSample, Time_Globals::GetPullSampleRate());
}

Time_MinSec Time_MinSec::FromSample(Time_Sample iSample, double iSampleRate)
{
    const auto samples = static_cast<double>(iSample.AsInt64());
    return Time_MinSec(Cmn_RoundHalfUp(samples * static_cast<double>(cPerSecond) / iSampleRate));
}

Time_Sample Time_MinSec::ToSample() const { return ToSample(Time_Globals::GetPullSampleRate()); }

Time_Sample Time_MinSec::ToSample(double iSampleRate) const
{
    const auto milliseconds = static_cast<double>(mMilliseconds);
    return Time_Sample(Cmn_RoundHalfUp(milliseconds * iSampleRate / static_cast<double>(cPerSecond)));
}

std::string Time_MinSec::ToString() const
{
    char text[cTextBytes];
    return std::string(text, ToText(text));
}

std::size_t Time_MinSec::ToText(char* oText) const
{
    char* at = oText;
    auto left = static_cast<Cmn_UInt64>(mMilliseconds);
    if (mMilliseconds < 0) {
        *at++ = '-';
        left = 0 - left;
    }
    const Cmn_UInt64 hours = left / cPerHour;
    const auto inHour = static_cast<Cmn_UInt32>(left % cPerHour);
    const Cmn_UInt32 minutes = inHour / cPerMinute;
    const Cmn_UInt32 inMinute = inHour % cPerMinute;
    if (hours != 0) {
        at = Time_WriteNumber(at, hours);
        *at++ = ':';
    }
    at = hours != 0 || minutes >= 10 ? Time_WriteTwoDigits(at, minutes) : Time_WriteNumber(at, minutes);
    *at++ = ':';
    at = Time_WriteTwoDigits(at, inMinute / cPerSecond);
    *at++ = '.';
    const Cmn_UInt32 milliseconds = inMinute % cPerSecond;
    *at++ = static_cast<char>('0' + milliseconds / 100);
    at = Time_WriteTwoDigits(at, milliseconds % 100);
    *at = '\0';
    return static_cast<std::size_t>(at - oText);
}

bool Time_MinSec::FromText(std::string_view iText, const char** oWhyNot)
{
    Time_FormReader reader(iText);
    const bool isNegative = reader.Take('-');
    Cmn_Int64 seconds = 0;
    Cmn_Int64 milliseconds = 0;
    const char* whyNot = TakeSeconds(reader, seconds);
    if (whyNot == nullptr) whyNot = TakeDecimals(reader, milliseconds);
    if (whyNot == nullptr && !reader.IsAtEnd()) whyNot = cForm;
    if (whyNot == nullptr && seconds >= Time_FormReader::cTooMuch)
        whyNot = "the time is far past every time line's end";
    if (whyNot != nullptr) {
        if (oWhyNot != nullptr) *oWhyNot = whyNot;
        return false;
    }
    const Cmn_Int64 magnitude = seconds * cPerSecond + milliseconds;
    mMilliseconds = isNegative ? -magnitude : magnitude;
    return true;
}

Cmn_XMLNode Time_MinSec::GetAsXML(const std::string& iName) const
{
    Cmn_XMLNode node(iName);
    node.AddAttribute("form", "minutes:seconds");
    node.SetText(ToString());
    return node;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_MinSec& iTime)
{
    char text[Time_MinSec::cTextBytes];
    iTime.ToText(text);
    return ioStream << text;
}
