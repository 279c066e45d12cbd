#include "Kora/Time/Formats/Time_BarBeatTick.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_StringToInt.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr Cmn_Int64 cLowestBarShown = -9999;
constexpr Cmn_Int64 cLowestTickShown = -999;
constexpr Cmn_Int64 cHighestTickShown = 9999;

std::string Padded(std::string iText, std::size_t iWidth, char iFill)
{
    if (iText.size() < iWidth) iText.insert(0, iWidth - iText.size(), iFill);
    return iText;
}

std::string DisplayTickText(const Time_TickLength& iTick)
{
    const Time_TickLength display =
        iTick.GetTickType() == Time_eTickType_Display ? iTick : iTick.ToDisplayTicks();
    const Cmn_Int64 ticks = std::clamp(display.AsInt64(), cLowestTickShown, cHighestTickShown);
    const Cmn_Int64 magnitude = ticks < 0 ? -ticks : ticks;
    const std::string thousands = magnitude >= 1000 ? std::to_string(magnitude / 1000)
                                  : ticks < 0       ? "-"
                                                    : " ";
    return thousands + Padded(std::to_string(magnitude % 1000), 3, '0');
}

} // namespace

std::string Time_BarBeatTick::ToString(bool iShowTick, bool iPad) const
{
    const std::string bar = std::to_string(std::max<Cmn_Int64>(mBar, cLowestBarShown));
    const std::string beat = std::to_string(mBeat);
    std::string text = Padded(bar, iPad ? 5 : 0, ' ') + "|" + Padded(beat, iPad ? 2 : 0, ' ');
    if (iShowTick) text += "|" + DisplayTickText(mTick);
    return text;
}

bool Time_BarBeatTick::FromString(const std::string& iText)
{
    const std::string_view text = iText;
    const std::size_t beatAt = text.find('|');
    if (beatAt == text.npos) return false;
    const std::size_t tickAt = text.find('|', beatAt + 1);
    try {
        const Cmn_Int32 bar = Cmn_StringToInt32(text.substr(0, beatAt));
        const Cmn_Int32 beat = Cmn_StringToInt32(text.substr(beatAt + 1, tickAt - beatAt - 1));
        const Cmn_Int32 tick = tickAt == text.npos ? 0 : Cmn_StringToInt32(text.substr(tickAt + 1));
        *this = {bar, beat, Time_TickLength(tick, Time_eTickType_Display).ToInternalTicks()};
        return true;
    } catch (const Cmn_Exception&) {
        return false;
    }
}

std::string Time_BarBeatTick::Dump() const
{
    return std::to_string(mBar) + "|" + std::to_string(mBeat) + "|" + std::to_string(mTick.AsInt64()) +
           (mTick.GetTickType() == Time_eTickType_Display ? " display" : "");
}
