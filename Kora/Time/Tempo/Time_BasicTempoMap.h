// Time_BasicTempoMap: where ticks and samples meet, as straight lines end to end;
// what every conversion reads.
//
//   sample          ____----
//     |       ___---            three segments: the joints lie at the start ticks
//     |    /
//     |  /
//     +--|-----|-------|------ tick
//
// Units:      ticks, 960000 to a quarter note; samples at GetSampleRate().
// Invariants: (1) start ticks ascend strictly  (2) start samples ascend strictly  (3) each start sample lies
//             where the segment before ends, exactly or rounded to the whole sample. Insertion does not
//             enforce them: Validate tells. Conversions are defined without them too.
// Governing:  a tick, the last segment that starts at or before it; a sample, the last one whose
//             unrounded start is not after it; what lies before the first segment, the first. A map
//             without segments answers 0.
// Threads:    any number of readers, or one writer. Time_TempoMap's read lock arranges that.
// Real time:  conversions allocate nothing, lock nothing and throw nothing.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/Time/Tempo/Time_BasicTempoMapSegment.h"

#include <memory>
#include <vector>

class Time_TempoMapCache;
class Time_TypedVector;

class KORA_API Time_BasicTempoMap
{
public:
    // Samples per second.
    explicit Time_BasicTempoMap(double iSampleRate);
    Time_BasicTempoMap(const Time_BasicTempoMap& iOther);
    Time_BasicTempoMap& operator=(const Time_BasicTempoMap& iOther);
    ~Time_BasicTempoMap();
    // Exchanges everything, the sample rates too.
    void Swap(Time_BasicTempoMap& ioOther);

    double GetSampleRate() const { return mSampleRate; }
    // Leaves the segments as they are.
    void SetSampleRate(double iSampleRate) { mSampleRate = iSampleRate; }

    // No segments; the sample rate stays.
    void Clear();
    // Room for so many segments.
    void Reserve(std::size_t iCount) { mSegments.reserve(iCount); }
    // Behind the last segment when it starts there or later, else before the first one
    // that starts there or later.
    void InsertSegment(const Time_BasicTempoMapSegment& iSegment);
    // iIndex is below GetNumberOfSegments.
    void EraseSegment(std::size_t iIndex);
    // Searches are binary from any insertion until this, and take a few nanoseconds afterwards.
    void BuildIndex();

    std::size_t GetNumberOfSegments() const { return mSegments.size(); }
    // By ascending start; iIndex is below GetNumberOfSegments.
    const Time_BasicTempoMapSegment& GetSegment(std::size_t iIndex) const { return mSegments[iIndex]; }
    // The index of the governing segment; 0 without segments.
    [[nodiscard]] std::size_t FindSegmentAtTick(Time_Tick iTick) const KORA_NONBLOCKING;
    // The index of the governing segment; 0 without segments.
    [[nodiscard]] std::size_t FindSegmentAtSample(Time_Sample iSample) const KORA_NONBLOCKING;

    // The unrounded sample of a tick.
    [[nodiscard]] double FractionalSampleAtTick(Time_Tick iTick) const KORA_NONBLOCKING;

    // --- One time
    // Each is the governing segment's answer; see Time_BasicTempoMapSegment for the rounding.

    Time_Sample TickToSample(Time_Tick iTick, bool iClamp) const KORA_NONBLOCKING;
    Time_Tick SampleToTick(Time_Sample iSample) const KORA_NONBLOCKING;
    Time_Sample TickToFirstSample(Time_Tick iTick) const KORA_NONBLOCKING;
    Time_Tick SampleToFirstTick(Time_Sample iSample) const KORA_NONBLOCKING;

    // --- Times that ascend
    // Each gives the same answer: ioSegment says where the search starts and takes where it ended. Start with
    // 0; a query that goes back is answered too, only slower.

    Time_Sample NextTickToSample(Time_Tick iTick, bool iClamp, std::size_t& ioSegment) const KORA_NONBLOCKING;
    Time_Tick NextSampleToTick(Time_Sample iSample, std::size_t& ioSegment) const KORA_NONBLOCKING;
    Time_Sample NextTickToFirstSample(Time_Tick iTick, std::size_t& ioSegment) const KORA_NONBLOCKING;
    Time_Tick NextSampleToFirstTick(Time_Sample iSample, std::size_t& ioSegment) const KORA_NONBLOCKING;

    // --- By a reference
    // Each answers as if the tempo in force at the reference held for ever, before and after.

    Time_Sample TickToSampleBasedOnReferenceTempoAtTick(Time_Tick iTick, Time_Tick iReference,
                                                        bool iClamp) const KORA_NONBLOCKING;
    Time_Tick SampleToTickBasedOnReferenceTempoAtTick(Time_Sample iSample,
                                                      Time_Tick iReference) const KORA_NONBLOCKING;
    Time_Tick SampleToTickBasedOnReferenceTempoAtSample(Time_Sample iSample,
                                                        Time_Sample iReference) const KORA_NONBLOCKING;

    // --- Many times at once

    // Each of iCount values in place, with the bits of the single conversions. Fastest where neighbours in
    // the array are neighbours in time.
    void TicksToSamples(Cmn_Int64* ioTimes, std::size_t iCount, bool iClamp) const KORA_NONBLOCKING;
    // As TicksToSamples, the other way.
    void SamplesToTicks(Cmn_Int64* ioTimes, std::size_t iCount) const KORA_NONBLOCKING;
    // Converts the times and renames their unit; samples are clamped. Times that are not global positions
    // assert "ioTimes->GetContext() == Time_eContext_GlobalPosition" and are converted; frames, on either
    // side, assert "time_type_mismatch" and nothing changes.
    void TimesToType(Time_TypedVector* ioTimes, Time_EType iType) const KORA_NONBLOCKING;

    double GetMinTicksPerSample() const;
    double GetMaxTicksPerSample() const;

    // Asserts each invariant at the first segment that breaks it; true when all hold.
    bool Validate() const;
    // One line a segment.
    [[nodiscard]] std::string Dump() const;

private:
    friend class Time_TempoMapCache;
    struct Index;
    struct TicksToSamplesDirection;
    struct SamplesToTicksDirection;

    const Time_BasicTempoMapSegment& SegmentAtTick(Time_Tick iTick) const;
    const Time_BasicTempoMapSegment& SegmentAtSample(Time_Sample iSample) const;
    const Time_BasicTempoMapSegment& SearchedAt(std::size_t iIndex) const;
    const Time_BasicTempoMapSegment& NextAtTick(Time_Tick iTick, std::size_t& ioSegment) const;
    const Time_BasicTempoMapSegment& NextAtSample(Time_Sample iSample, std::size_t& ioSegment) const;

    // Puts iBy's segments from its iFrom-th on in the place of [iFirst, iLast), moves those behind up to
    // iChainEnd along so that each starts where the one before it ends, and brings the index up to date.
    // iChainEnd counts before the replacement.
    void Splice(std::size_t iFirst, std::size_t iLast, const Time_BasicTempoMap& iBy, std::size_t iFrom,
                std::size_t iChainEnd);
    // Returns the first segment at or after iFrom that already started there, or iEnd. Clears ioAscend where
    // a start sample, up to the one returned, is below the one before.
    std::size_t ChainStarts(std::size_t iFrom, std::size_t iEnd, bool& ioAscend);

    double mSampleRate;
    std::vector<Time_BasicTempoMapSegment> mSegments;
    std::unique_ptr<Index> mIndex;
    bool mIsIndexed = false; // never without segments
};
