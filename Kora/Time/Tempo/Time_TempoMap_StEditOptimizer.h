// Time_TempoMap_StEditOptimizer: Time_StEditOptimizer for a tempo map.
#pragma once

#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Kora/Time/Values/Time_StEditOptimizer.h"

// Many changes of a tempo map as one edit.
using Time_TempoMap_StEditOptimizer = Time_StEditOptimizer<Time_TempoMap>;
