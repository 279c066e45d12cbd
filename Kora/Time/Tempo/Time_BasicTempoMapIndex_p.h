// Time_BasicTempoMap::Index: the search grids over a numeric map's segments.
#pragma once

#include "Kora/Time/Numeric/Time_SearchIndex_p.h"
#include "Kora/Time/Tempo/Time_BasicTempoMap.h"

struct Time_BasicTempoMap::Index
{
    using Segment = Time_BasicTempoMapSegment;

    static auto TicksOf(const Segment* iSegments)
    {
        return [iSegments](std::size_t i) { return iSegments[i].GetStartTick().AsInt64(); };
    }
    static auto SamplesOf(const Segment* iSegments)
    {
        return [iSegments](std::size_t i) { return iSegments[i].GetFractionalStartSample(); };
    }
    std::size_t FindTick(const Segment* iSegments, Cmn_Int64 iTick) const
    {
        return mTicks.Find(iTick, TicksOf(iSegments));
    }
    std::size_t FindSample(const Segment* iSegments, double iSample) const
    {
        if (mSamplesAscend) [[likely]]
            return mSamples.Find(iSample, SamplesOf(iSegments));
        return mSamples.Find(iSample, [this](std::size_t i) { return mLowest[i]; });
    }
    double KeySample(const Segment* iSegments, std::size_t iIndex) const
    {
        return mSamplesAscend ? iSegments[iIndex].GetFractionalStartSample() : mLowest[iIndex];
    }

    Time_SearchIndex<Cmn_Int64> mTicks;
    // Start samples, or where they do not ascend, the lowest of the segment and all behind it: the last of
    // those that is not above a sample is the last start sample that is not.
    Time_SearchIndex<double> mSamples;
    bool mSamplesAscend = true;
    std::vector<double> mLowest; // where they do not
};
