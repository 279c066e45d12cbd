// Time_VectorKernels: converts runs of times that lie on one straight line, several at once.
//
// Every kernel gives the bits of the plain conversion
//
//   result = min(floor((value − origin − offset) × slope + shift + 0.5), limit) + result origin
//
// with each operation in double, but for the two integer ones at the ends. The vector kernels turn
// integers into doubles and back by adding 1.5 × 2^52, where doubles have a spacing of 1 and so carry the
// integer in their low bits. That holds below 2^51; a kernel stops at the first value beyond, which its
// caller converts plainly.
//
// Threads:   pure functions.
// Real time: nothing is allocated, nothing waits.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <cstddef>

// A line and the stretch of values for which it holds.
struct Time_VectorLine
{
    static constexpr double cExact = 2251799813685248.0; // 2^51
    static constexpr double cNoLimit = 2 * cExact;

    Cmn_Int64 mOrigin;
    double mBegin; // the line holds for begin ≤ value − origin < end, both within ±2^51
    double mEnd;
    double mOffset;
    double mSlope;
    double mShift;
    double mLimit;
    Cmn_Int64 mResultOrigin;
};

// Converts values from the first on while the line holds for them, and returns how many there were.
using Time_VectorKernel = std::size_t (*)(const Time_VectorLine& iLine, Cmn_Int64* ioTimes,
                                          std::size_t iCount);

std::size_t Time_VectorRunPlain(const Time_VectorLine& iLine, Cmn_Int64* ioTimes, std::size_t iCount);
std::size_t Time_VectorRunSse2(const Time_VectorLine& iLine, Cmn_Int64* ioTimes, std::size_t iCount);
// Only where Time_ProcessorHasAvx2.
std::size_t Time_VectorRunAvx2(const Time_VectorLine& iLine, Cmn_Int64* ioTimes, std::size_t iCount);
bool Time_ProcessorHasAvx2();

// A segment as it lies in memory, in an array that ascends by its starts: from each on, to the next one's, times
// are on its line.
struct Time_VectorSegment
{
    double mStartSample;
    Cmn_Int64 mStartTick;
    double mSamplesPerTick;
    double mTicksPerSample;
};

// Converts values from the first on, eight at a time, while all eight are on some of four segments, ioSegment and
// those behind it, and until so many are on one that Time_VectorKernel is faster. Returns how many there were;
// ioSegment: the segment of the last of them.
using Time_VectorSegmentsKernel = std::size_t (*)(const Time_VectorSegment* iSegments,
                                                  std::size_t iSegmentCount, std::size_t& ioSegment,
                                                  Cmn_Int64* ioTimes, std::size_t iCount, double iLimit);

// Only where Time_ProcessorHasAvx2, as the next one.
std::size_t Time_VectorSegmentsToSamplesAvx2(const Time_VectorSegment* iSegments, std::size_t iSegmentCount,
                                             std::size_t& ioSegment, Cmn_Int64* ioTimes, std::size_t iCount,
                                             double iLimit);
// Start samples have to ascend too; there is no limit.
std::size_t Time_VectorSegmentsToTicksAvx2(const Time_VectorSegment* iSegments, std::size_t iSegmentCount,
                                           std::size_t& ioSegment, Cmn_Int64* ioTimes, std::size_t iCount,
                                           double iLimit);

struct Time_VectorKernels
{
    Time_VectorKernel mRun;
    Time_VectorSegmentsKernel mToSamples; // null where there is none
    Time_VectorSegmentsKernel mToTicks;
};

// The fastest ones here; asked for once by each conversion of many times.
const Time_VectorKernels& Time_BestVectorKernels();

// Converts all values by a line without end; iPlain takes those that the kernel leaves.
template <class Plain>
void Time_VectorConvert(const Time_VectorLine& iLine, Cmn_Int64* ioTimes, std::size_t iCount, Plain iPlain)
{
    const Time_VectorKernel run = Time_BestVectorKernels().mRun;
    for (std::size_t done = 0; done < iCount; ++done) {
        done += run(iLine, ioTimes + done, iCount - done);
        if (done < iCount) ioTimes[done] = iPlain(ioTimes[done]);
    }
}
