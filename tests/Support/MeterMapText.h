// MeterMapText: meter maps as text, so that tables read like music.
//
//     "1| 4/4   5| 6/8   9| 3/4"     each change with the number of its bar; the first lies
//               at the default song start
//     "1| 4/4   2| 3/4 @1"           at a place of its own: one quarter after the default song start
//     "1| 4/4   2| 3/4 @1+1"         and one tick
//
// ToText gives the place of every change, so that a table shows where edits put it.
#pragma once

#include "Kora/Time/Meter/Time_MeterMap.h"

#include <sstream>
#include <stdexcept>
#include <string>

constexpr Cmn_Int64 cQuarter = Time_TickLength::cInternalPerQuarter;

// A place in quarters, and ticks, after the default song start.
inline Time_Tick At(double iQuarters, Cmn_Int64 iTicks = 0)
{
    return Time_MeterMap::cDefaultSongStartTick +
           Time_TickLength(static_cast<Cmn_Int64>(iQuarters * cQuarter) + iTicks);
}

inline Time_MeterMap MakeMeterMap(const std::string& iText)
{
    Time_MeterMap map;
    std::istringstream text(iText);
    char bar = 0;
    char slash = 0;
    char at = 0;
    for (Cmn_Int32 number, numerator, denominator;
         text >> number >> bar >> numerator >> slash >> denominator;) {
        Time_Tick tick = map.IsDefault() ? At(0) : map.BarBeatToTick({number, 1, Time_TickLength(0)});
        if (text >> std::ws; text.peek() == '@') {
            Cmn_Int64 quarters = 0;
            Cmn_Int64 ticks = 0;
            text >> at >> quarters;
            if (text.peek() == '+') text >> ticks;
            tick = At(static_cast<double>(quarters), ticks);
        }
        map.AddMeterChange(tick, Time_Meter(numerator, denominator), number);
        const Time_MeterChange& change = *map.IterFindFirstGE(tick);
        if (bar != '|' || slash != '/' || change.GetBarNumber() != number)
            throw std::invalid_argument("no such meter map: " + iText + "\n" + map.Dump());
    }
    if (!text.eof()) throw std::invalid_argument("no meter map: " + iText);
    return map;
}

inline std::string ToText(const Time_MeterMap& iMap)
{
    std::string text;
    if (iMap.IsDefault()) return text;
    for (auto change = iMap.IterBegin(); change != iMap.IterEnd(); ++change) {
        const Cmn_Int64 distance = (change->GetTick() - At(0)).AsInt64();
        const Cmn_Int64 quarters = Cmn_FloorDiv(distance, cQuarter);
        const Cmn_Int64 ticks = distance - quarters * cQuarter;
        text += (text.empty() ? "" : "   ") + std::to_string(change->GetBarNumber()) + "| " +
                change->GetMeter().Dump() + " @" + std::to_string(quarters);
        if (ticks != 0) text += "+" + std::to_string(ticks);
    }
    return text;
}
