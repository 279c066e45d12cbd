// Time_DefaultMeterMap: the map that answers for every empty one: 4/4 with a quarter-note click, bar
// 1 at tick 1000000000000.
//
// Time_MeterMap::GetDefaultMeterMap has the one that is shared.
#pragma once

#include "Kora/Time/Meter/Time_MeterMap.h"

class KORA_API Time_DefaultMeterMap : public Time_MeterMap
{
public:
    Time_DefaultMeterMap();
    ~Time_DefaultMeterMap() override;
};
