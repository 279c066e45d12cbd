// Time_MeterMap_StEditOptimizer: Time_StEditOptimizer for a meter map.
#pragma once

#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Values/Time_StEditOptimizer.h"

// Many changes of a meter map as one edit.
using Time_MeterMap_StEditOptimizer = Time_StEditOptimizer<Time_MeterMap>;
