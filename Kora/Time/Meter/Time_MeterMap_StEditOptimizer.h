// Time_MeterMap_StEditOptimizer: makes many changes of a meter map one edit, in any order, with one broadcast
// at the end of the scope.
//
//     const Time_MeterMap_StEditOptimizer edit(map);
//     for (…) map.AddMeterChange(…);
#pragma once

#include "Kora/Time/Meter/Time_MeterMap.h"

class Time_MeterMap_StEditOptimizer
{
public:
    explicit Time_MeterMap_StEditOptimizer(Time_MeterMap& ioMap)
        : mMap(ioMap)
    {
        mMap.BeginEdit();
    }
    ~Time_MeterMap_StEditOptimizer() { mMap.EndEdit(); }
    Time_MeterMap_StEditOptimizer(const Time_MeterMap_StEditOptimizer&) = delete;
    Time_MeterMap_StEditOptimizer& operator=(const Time_MeterMap_StEditOptimizer&) = delete;

private:
    Time_MeterMap& mMap;
};
