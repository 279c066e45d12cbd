// Time_BasicTempoMap: conversions of single values.
#include "Kora/Time/Tempo/Time_BasicTempoMapIndex_p.h"

namespace {

// What a map without segments answers with: 0 everywhere.
constexpr Time_BasicTempoMapSegment cNone{};

// An ascending query that is further away than this is searched for.
constexpr std::size_t cStepsBeforeSearch = 8;

// The governing segment, looked for from ioSegment on: iStartsAtOrBefore says whether a segment starts at or
// before the value, iSearch finds its segment from anywhere.
template <class StartsAtOrBefore, class Search>
std::size_t Advance(std::size_t iSegment, std::size_t iCount, StartsAtOrBefore iStartsAtOrBefore,
                    Search iSearch)
{
    if (iSegment >= iCount || !iStartsAtOrBefore(iSegment)) return iSearch();
    for (std::size_t step = 0; step < cStepsBeforeSearch; ++step, ++iSegment)
        if (iSegment + 1 == iCount || !iStartsAtOrBefore(iSegment + 1)) return iSegment;
    return iSearch();
}

} // namespace

inline const Time_BasicTempoMapSegment& Time_BasicTempoMap::SegmentAtTick(Time_Tick iTick) const
{
    return mIsIndexed ? mSegments[mIndex->FindTick(mSegments.data(), iTick.AsInt64())]
                      : SearchedAt(FindSegmentAtTick(iTick));
}

inline const Time_BasicTempoMapSegment& Time_BasicTempoMap::SegmentAtSample(Time_Sample iSample) const
{
    return mIsIndexed
               ? mSegments[mIndex->FindSample(mSegments.data(), static_cast<double>(iSample.AsInt64()))]
               : SearchedAt(FindSegmentAtSample(iSample));
}

const Time_BasicTempoMapSegment& Time_BasicTempoMap::SearchedAt(std::size_t iIndex) const
{
    return mSegments.empty() ? cNone : mSegments[iIndex];
}

double Time_BasicTempoMap::FractionalSampleAtTick(Time_Tick iTick) const KORA_NONBLOCKING
{
    return SegmentAtTick(iTick).FractionalSampleAt(iTick);
}

Time_Sample Time_BasicTempoMap::TickToSample(Time_Tick iTick, bool iClamp) const KORA_NONBLOCKING
{
    return SegmentAtTick(iTick).TickToSample(iTick, iClamp);
}

Time_Tick Time_BasicTempoMap::SampleToTick(Time_Sample iSample) const KORA_NONBLOCKING
{
    return SegmentAtSample(iSample).SampleToTick(iSample);
}

Time_Sample Time_BasicTempoMap::TickToFirstSample(Time_Tick iTick) const KORA_NONBLOCKING
{
    return SegmentAtTick(iTick).TickToFirstSample(iTick);
}

Time_Tick Time_BasicTempoMap::SampleToFirstTick(Time_Sample iSample) const KORA_NONBLOCKING
{
    return SegmentAtSample(iSample).SampleToFirstTick(iSample);
}

const Time_BasicTempoMapSegment& Time_BasicTempoMap::NextAtTick(Time_Tick iTick, std::size_t& ioSegment) const
{
    ioSegment = Advance(
        ioSegment, mSegments.size(), [&](std::size_t i) { return mSegments[i].GetStartTick() <= iTick; },
        [&] { return FindSegmentAtTick(iTick); });
    return SearchedAt(ioSegment);
}

const Time_BasicTempoMapSegment& Time_BasicTempoMap::NextAtSample(Time_Sample iSample,
                                                                  std::size_t& ioSegment) const
{
    // Start samples that do not ascend are left to the search.
    const bool canStep = mIsIndexed && mIndex->mSamplesAscend;
    const auto sample = static_cast<double>(iSample.AsInt64());
    ioSegment = Advance(
        ioSegment, canStep ? mSegments.size() : 0,
        [&](std::size_t i) { return mSegments[i].GetFractionalStartSample() <= sample; },
        [&] { return FindSegmentAtSample(iSample); });
    return SearchedAt(ioSegment);
}

Time_Sample Time_BasicTempoMap::NextTickToSample(Time_Tick iTick, bool iClamp,
                                                 std::size_t& ioSegment) const KORA_NONBLOCKING
{
    return NextAtTick(iTick, ioSegment).TickToSample(iTick, iClamp);
}

Time_Tick Time_BasicTempoMap::NextSampleToTick(Time_Sample iSample,
                                               std::size_t& ioSegment) const KORA_NONBLOCKING
{
    return NextAtSample(iSample, ioSegment).SampleToTick(iSample);
}

Time_Sample Time_BasicTempoMap::NextTickToFirstSample(Time_Tick iTick,
                                                      std::size_t& ioSegment) const KORA_NONBLOCKING
{
    return NextAtTick(iTick, ioSegment).TickToFirstSample(iTick);
}

Time_Tick Time_BasicTempoMap::NextSampleToFirstTick(Time_Sample iSample,
                                                    std::size_t& ioSegment) const KORA_NONBLOCKING
{
    return NextAtSample(iSample, ioSegment).SampleToFirstTick(iSample);
}

Time_Sample Time_BasicTempoMap::TickToSampleBasedOnReferenceTempoAtTick(Time_Tick iTick, Time_Tick iReference,
                                                                        bool iClamp) const KORA_NONBLOCKING
{
    return SegmentAtTick(iReference).TickToSample(iTick, iClamp);
}

Time_Tick
Time_BasicTempoMap::SampleToTickBasedOnReferenceTempoAtTick(Time_Sample iSample,
                                                            Time_Tick iReference) const KORA_NONBLOCKING
{
    return SegmentAtTick(iReference).SampleToTick(iSample);
}

Time_Tick
Time_BasicTempoMap::SampleToTickBasedOnReferenceTempoAtSample(Time_Sample iSample,
                                                              Time_Sample iReference) const KORA_NONBLOCKING
{
    return SegmentAtSample(iReference).SampleToTick(iSample);
}
