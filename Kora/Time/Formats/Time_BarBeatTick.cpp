#include "Kora/Time/Formats/Time_BarBeatTick.h"

#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Time/Formats/Time_FormText_p.h"

#include <algorithm>
#include <limits>
#include <ostream>

namespace {

constexpr Cmn_Int32 cLowestBarShown = -9999;
constexpr Cmn_Int64 cLowestTickShown = -999;
constexpr Cmn_Int64 cHighestTickShown = 9999;
constexpr std::ptrdiff_t cBarPlaces = 5;
constexpr std::ptrdiff_t cBeatPlaces = 2;

constexpr char cDisplayForm[] = "bar|beat|tick is expected, such as 3|4|480";
constexpr char cInternalForm[] = "bar|beat|tick is expected, such as 3|4|480000";
constexpr char cTooLarge[] = "the number is larger than any bar's, beat's or tick's";

using Limits = std::numeric_limits<Cmn_Int32>;

char* WritePadded(char* oText, Cmn_Int32 iNumber, std::ptrdiff_t iPlaces)
{
    char digits[16];
    const std::ptrdiff_t size = Time_WriteInteger(digits, iNumber) - digits;
    for (std::ptrdiff_t i = size; i < iPlaces; ++i)
        *oText++ = ' ';
    return std::copy(digits, digits + size, oText);
}

char* WriteDisplayTicks(char* oText, const Time_TickLength& iTick)
{
    const Time_TickLength display =
        iTick.GetTickType() == Time_eTickType_Display ? iTick : iTick.ToDisplayTicks();
    const Cmn_Int64 ticks = std::clamp(display.AsInt64(), cLowestTickShown, cHighestTickShown);
    const auto magnitude = static_cast<Cmn_UInt32>(ticks < 0 ? -ticks : ticks);
    const Cmn_UInt32 thousands = magnitude / 1000;
    *oText++ = thousands != 0 ? static_cast<char>('0' + thousands) : ticks < 0 ? '-' : ' ';
    *oText++ = static_cast<char>('0' + magnitude / 100 % 10);
    return Time_WriteTwoDigits(oText, magnitude % 100);
}

// Up to three whole numbers between bars; where the text is none, why.
const char* ReadParts(std::string_view iText, const char* iForm, Cmn_Int64 (&ioParts)[3])
{
    Time_FormReader reader(iText);
    std::size_t count = 0;
    do {
        if (count == std::size(ioParts)) return iForm;
        const auto taken = reader.TakeInteger(ioParts[count]);
        if (taken == Time_FormReader::eInteger_None) return iForm;
        const bool isOutOf32Bits =
            count < 2 && (ioParts[count] < (Limits::min)() || ioParts[count] > (Limits::max)());
        if (taken == Time_FormReader::eInteger_TooLarge || isOutOf32Bits) return cTooLarge;
        ++count;
    } while (reader.Take('|'));
    return reader.IsAtEnd() ? nullptr : iForm;
}

bool Read(std::string_view iText, const char* iForm, Cmn_Int64 iInternalPerTick, Time_BarBeatTick& oPosition,
          const char** oWhyNot)
{
    Cmn_Int64 parts[3] = {1, 1, 0};
    const char* whyNot = ReadParts(iText, iForm, parts);
    constexpr Cmn_Int64 most = (std::numeric_limits<Cmn_Int64>::max)();
    constexpr Cmn_Int64 least = (std::numeric_limits<Cmn_Int64>::min)();
    if (whyNot == nullptr && (parts[2] > most / iInternalPerTick || parts[2] < least / iInternalPerTick))
        whyNot = cTooLarge;
    if (whyNot != nullptr) {
        if (oWhyNot != nullptr) *oWhyNot = whyNot;
        return false;
    }
    oPosition = {static_cast<Cmn_Int32>(parts[0]), static_cast<Cmn_Int32>(parts[1]),
                 Time_TickLength(parts[2] * iInternalPerTick)};
    return true;
}

} // namespace

std::string Time_BarBeatTick::ToString(bool iShowTick, bool iPad) const
{
    char text[cTextBytes];
    return std::string(text, ToText(text, iShowTick, iPad));
}

std::size_t Time_BarBeatTick::ToText(char* oText, bool iShowTick, bool iPad) const
{
    char* at = WritePadded(oText, std::max(mBar, cLowestBarShown), iPad ? cBarPlaces : 0);
    *at++ = '|';
    at = WritePadded(at, mBeat, iPad ? cBeatPlaces : 0);
    if (iShowTick) {
        *at++ = '|';
        at = WriteDisplayTicks(at, mTick);
    }
    *at = '\0';
    return static_cast<std::size_t>(at - oText);
}

bool Time_BarBeatTick::FromText(std::string_view iText, const char** oWhyNot)
{
    return Read(iText, cDisplayForm, Time_TickLength::cInternalPerDisplay, *this, oWhyNot);
}

std::string Time_BarBeatTick::ToInternalString() const
{
    char text[cTextBytes];
    return std::string(text, ToInternalText(text));
}

std::size_t Time_BarBeatTick::ToInternalText(char* oText) const
{
    const Time_TickLength tick =
        mTick.GetTickType() == Time_eTickType_Display ? mTick.ToInternalTicks() : mTick;
    char* at = Time_WriteInteger(oText, mBar);
    *at++ = '|';
    at = Time_WriteInteger(at, mBeat);
    *at++ = '|';
    at = Time_WriteInteger(at, tick.AsInt64());
    *at = '\0';
    return static_cast<std::size_t>(at - oText);
}

bool Time_BarBeatTick::FromInternalText(std::string_view iText, const char** oWhyNot)
{
    return Read(iText, cInternalForm, 1, *this, oWhyNot);
}

Cmn_XMLNode Time_BarBeatTick::GetAsXML(const std::string& iName) const
{
    Cmn_XMLNode node(iName);
    node.AddValue("nBar", mBar);
    node.AddValue("nBeat", mBeat);
    node.AddValue("nTick", mTick.AsInt64());
    return node;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_BarBeatTick& iPosition)
{
    char text[Time_BarBeatTick::cTextBytes];
    iPosition.ToInternalText(text);
    return ioStream << text;
}

std::string Time_BarBeatTick::Dump() const
{
    return std::to_string(mBar) + "|" + std::to_string(mBeat) + "|" + std::to_string(mTick.AsInt64()) +
           (mTick.GetTickType() == Time_eTickType_Display ? " display" : "");
}
