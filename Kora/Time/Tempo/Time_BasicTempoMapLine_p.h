// Time_BasicTempoMapLine: a numeric map's segment as the line that vector kernels convert by,
// without end in both directions.
#pragma once

#include "Kora/Time/Numeric/Time_VectorKernels_p.h"
#include "Kora/Time/Tempo/Time_BasicTempoMapSegment.h"

#include <cstddef>

// A map's segments, as vector kernels read them.
struct Time_BasicTempoMapLayout
{
    static const Time_VectorSegment* Of(const Time_BasicTempoMapSegment* iSegments)
    {
        using Segment = Time_BasicTempoMapSegment;
        static_assert(
            sizeof(Segment) == sizeof(Time_VectorSegment) && sizeof(Time_Tick) == sizeof(Cmn_Int64) &&
            offsetof(Segment, mFractionalStartSample) == offsetof(Time_VectorSegment, mStartSample) &&
            offsetof(Segment, mStartTick) == offsetof(Time_VectorSegment, mStartTick) &&
            offsetof(Segment, mSamplesPerTick) == offsetof(Time_VectorSegment, mSamplesPerTick) &&
            offsetof(Segment, mTicksPerSample) == offsetof(Time_VectorSegment, mTicksPerSample));
        return reinterpret_cast<const Time_VectorSegment*>(iSegments);
    }
};

namespace Time_BasicTempoMapLine {

// Results are at most iLimit.
inline Time_VectorLine TicksToSamples(const Time_BasicTempoMapSegment& iSegment, double iLimit)
{
    return {.mOrigin = iSegment.GetStartTick().AsInt64(),
            .mBegin = -Time_VectorLine::cExact,
            .mEnd = Time_VectorLine::cExact,
            .mOffset = 0.0,
            .mSlope = iSegment.GetSamplesPerTick(),
            .mShift = iSegment.GetFractionalStartSample(),
            .mLimit = iLimit,
            .mResultOrigin = 0};
}

inline Time_VectorLine SamplesToTicks(const Time_BasicTempoMapSegment& iSegment)
{
    return {.mOrigin = 0,
            .mBegin = -Time_VectorLine::cExact,
            .mEnd = Time_VectorLine::cExact,
            .mOffset = iSegment.GetFractionalStartSample(),
            .mSlope = iSegment.GetTicksPerSample(),
            .mShift = 0.0,
            .mLimit = Time_VectorLine::cNoLimit,
            .mResultOrigin = iSegment.GetStartTick().AsInt64()};
}

} // namespace Time_BasicTempoMapLine
