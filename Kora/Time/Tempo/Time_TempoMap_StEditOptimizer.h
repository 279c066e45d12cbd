// Time_TempoMap_StEditOptimizer: makes many changes of a tempo map one edit, with one rebuild and one
// broadcast at the end of the scope.
//
//     const Time_TempoMap_StEditOptimizer edit(map);
//     for (…) map.AddSegment(…);
#pragma once

#include "Kora/Time/Tempo/Time_TempoMap.h"

class [[nodiscard]] Time_TempoMap_StEditOptimizer
{
public:
    explicit Time_TempoMap_StEditOptimizer(Time_TempoMap& ioMap)
        : mMap(ioMap)
    {
        mMap.BeginEdit();
    }
    ~Time_TempoMap_StEditOptimizer() { mMap.EndEdit(); }
    Time_TempoMap_StEditOptimizer(const Time_TempoMap_StEditOptimizer&) = delete;
    Time_TempoMap_StEditOptimizer& operator=(const Time_TempoMap_StEditOptimizer&) = delete;

private:
    Time_TempoMap& mMap;
};
