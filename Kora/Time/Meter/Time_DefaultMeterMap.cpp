#include "Kora/Time/Meter/Time_DefaultMeterMap.h"

Time_DefaultMeterMap::Time_DefaultMeterMap()
    : Time_MeterMap(kNoUndo)
{
    AddInitialMeterChange(cDefaultSongStartTick, Time_Meter(), cDefaultSongStartBar);
}

Time_DefaultMeterMap::~Time_DefaultMeterMap() = default;
