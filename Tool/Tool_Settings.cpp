#include "Tool/Tool_Settings.h"

#include "Kora/Time/Formats/Time_SMPTE.h"
#include "Tool/Tool_Seconds.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

constexpr std::array cFormats = {
    eTimeCodeFormat_24,   eTimeCodeFormat_25,       eTimeCodeFormat_2997,  eTimeCodeFormat_2997Drop,
    eTimeCodeFormat_30,   eTimeCodeFormat_30Drop,   eTimeCodeFormat_23976, eTimeCodeFormat_50,
    eTimeCodeFormat_5994, eTimeCodeFormat_5994Drop, eTimeCodeFormat_60,    eTimeCodeFormat_60Drop,
};

// "29.97 fps drop" → "29.97drop"
std::string ShortName(std::string_view iName)
{
    std::string name;
    for (const char c : iName)
        if (c != ' ') name += c;
    if (const std::size_t fps = name.find("fps"); fps != std::string::npos) name.erase(fps, 3);
    return name;
}

} // namespace

void Tool_Settings::Apply() const
{
    Time_Globals::SetSampleRate(mSampleRate);
    Time_Globals::SetGlobalTimeCodeFormat(mTimeCodeFormat);
    Time_Globals::SetFrameRate(Time_SMPTE::GetRealRate(mTimeCodeFormat));
}

// Written so that "nan" is refused too.
bool Tool_IsRate(double iRate) { return iRate >= Tool_Seconds::cMinRate && iRate <= Tool_Seconds::cMaxRate; }

bool Tool_IsTimeCodeFormat(ETimeCodeFormat iFormat)
{
    return std::find(cFormats.begin(), cFormats.end(), iFormat) != cFormats.end();
}

bool Tool_ParseRate(std::string_view iText, double& oRate)
{
    double rate = 0;
    const char* const end = iText.data() + iText.size();
    const auto [stop, error] = std::from_chars(iText.data(), end, rate);
    if (error != std::errc() || stop != end || !Tool_IsRate(rate)) return false;
    oRate = rate;
    return true;
}

bool Tool_ParseTimeCodeFormat(std::string_view iName, ETimeCodeFormat& oFormat)
{
    for (const ETimeCodeFormat format : cFormats)
        if (ShortName(Time_Globals::GetTimeCodeFormatString(format)) == ShortName(iName)) {
            oFormat = format;
            return true;
        }
    return false;
}

std::string Tool_TimeCodeFormatNames()
{
    std::string names;
    for (const ETimeCodeFormat format : cFormats)
        names += (names.empty() ? "" : ", ") + ShortName(Time_Globals::GetTimeCodeFormatString(format));
    return names;
}
