// Time_BasicTempoMap::Index: the search grids over a numeric map's segments.
#pragma once

#include "Kora/Time/Numeric/Time_SearchIndex_p.h"
#include "Kora/Time/Tempo/Time_BasicTempoMap.h"

struct Time_BasicTempoMap::Index
{
    Time_SearchIndex<Cmn_Int64> mTicks;
    // Start samples, or where they do not ascend, the lowest of the segment and all behind it: the last of
    // those that is not above a sample is the last start sample that is not.
    Time_SearchIndex<double> mSamples;
    bool mSamplesAscend = true;
};
