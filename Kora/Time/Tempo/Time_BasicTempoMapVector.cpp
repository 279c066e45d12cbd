// Time_BasicTempoMap: conversions of many values.
//
// Event times come mostly in order, so that neighbours lie on one line: such a run goes to a vector
// kernel, and several short ones of neighbouring lines to another. Where runs are shorter still, the segments of a block of values are looked up side by side, so that the
// reads from memory overlap.
#include "Kora/Time/Tempo/Time_BasicTempoMapIndex_p.h"
#include "Kora/Time/Tempo/Time_BasicTempoMapLine_p.h"
#include "Kora/Time/Values/Time_TypedVector.h"

#include <algorithm>

namespace {

constexpr std::size_t cShortRun = 4;
// From here on a kernel call for each run costs nothing that matters.
constexpr std::size_t cLongRun = 32;
constexpr std::size_t cLookUpsAtOnce = 64;

// Direction offers, for one direction of conversion:
//   Find(value)           index of the governing segment
//   Starts(index, value)  whether the segment starts at or before the value
//   Line(index)           the segment's line, for the values that it governs
//   Convert(index, value) the single conversion
//   Amid(index, times, count)  converts by the index's segment and those behind it, as many as are close together
template <class Direction>
void ConvertAll(const Direction& iDirection, std::size_t iSegments, Cmn_Int64* ioTimes, std::size_t iCount)
{
    const Time_VectorKernels& kernels = Time_BestVectorKernels();
    std::size_t segment = 0;
    for (Cmn_Int64* const end = ioTimes + iCount; ioTimes != end;) {
        // The segment behind the last one, when the values ascend.
        const bool isNext = segment + 1 < iSegments && iDirection.Starts(segment + 1, *ioTimes) &&
                            (segment + 2 == iSegments || !iDirection.Starts(segment + 2, *ioTimes));
        segment = isNext ? segment + 1 : iDirection.Find(*ioTimes);
        const std::size_t done =
            kernels.mRun(iDirection.Line(segment), ioTimes, static_cast<std::size_t>(end - ioTimes));
        ioTimes += done;
        if (done >= cLongRun) continue;
        if (done >= cShortRun) {
            ioTimes += iDirection.Amid(kernels, segment, ioTimes, static_cast<std::size_t>(end - ioTimes));
            continue;
        }
        // No run, or times so large that only the single conversion has their bits.
        const std::size_t block = std::min(cLookUpsAtOnce, static_cast<std::size_t>(end - ioTimes));
        std::size_t found[cLookUpsAtOnce];
        for (std::size_t i = 0; i < block; ++i)
            found[i] = iDirection.Find(ioTimes[i]);
        for (std::size_t i = 0; i < block; ++i)
            ioTimes[i] = iDirection.Convert(found[i], ioTimes[i]);
        ioTimes += block;
    }
}

} // namespace

struct Time_BasicTempoMap::TicksToSamplesDirection
{
    const Time_BasicTempoMap& mMap;
    const double mLimit;
    const Cmn_Int64 mMaximum;

    std::size_t Find(Cmn_Int64 iTick) const { return mMap.mIndex->FindTick(mMap.mSegments.data(), iTick); }
    bool Starts(std::size_t iIndex, Cmn_Int64 iTick) const
    {
        return mMap.mSegments[iIndex].GetStartTick().AsInt64() <= iTick;
    }
    Time_VectorLine Line(std::size_t iIndex) const
    {
        Time_VectorLine line = Time_BasicTempoMapLine::TicksToSamples(mMap.mSegments[iIndex], mLimit);
        if (iIndex != 0) line.mBegin = 0;
        if (iIndex + 1 < mMap.mSegments.size()) {
            const Time_Tick next = mMap.mSegments[iIndex + 1].GetStartTick();
            line.mEnd = std::min(line.mEnd, (next - mMap.mSegments[iIndex].GetStartTick()).AsFloat64());
        }
        return line;
    }
    std::size_t Amid(const Time_VectorKernels& iKernels, std::size_t& ioIndex, Cmn_Int64* ioTimes,
                     std::size_t iCount) const
    {
        return iKernels.mToSamples != nullptr
                   ? iKernels.mToSamples(Time_BasicTempoMapLayout::Of(mMap.mSegments.data()),
                                         mMap.mSegments.size(), ioIndex, ioTimes, iCount, mLimit)
                   : 0;
    }
    Cmn_Int64 Convert(std::size_t iIndex, Cmn_Int64 iTick) const
    {
        return std::min(mMap.mSegments[iIndex].TickToSample(Time_Tick(iTick), false).AsInt64(), mMaximum);
    }
};

struct Time_BasicTempoMap::SamplesToTicksDirection
{
    const Time_BasicTempoMap& mMap;

    double Start(std::size_t iIndex) const { return mMap.mIndex->KeySample(mMap.mSegments.data(), iIndex); }
    std::size_t Find(Cmn_Int64 iSample) const
    {
        return mMap.mIndex->FindSample(mMap.mSegments.data(), static_cast<double>(iSample));
    }
    bool Starts(std::size_t iIndex, Cmn_Int64 iSample) const
    {
        return Start(iIndex) <= static_cast<double>(iSample);
    }
    Time_VectorLine Line(std::size_t iIndex) const
    {
        Time_VectorLine line = Time_BasicTempoMapLine::SamplesToTicks(mMap.mSegments[iIndex]);
        if (iIndex != 0) line.mBegin = std::max(line.mBegin, Start(iIndex));
        if (iIndex + 1 < mMap.mSegments.size()) line.mEnd = std::min(line.mEnd, Start(iIndex + 1));
        return line;
    }
    std::size_t Amid(const Time_VectorKernels& iKernels, std::size_t& ioIndex, Cmn_Int64* ioTimes,
                     std::size_t iCount) const
    {
        return iKernels.mToTicks != nullptr && mMap.mIndex->mSamplesAscend
                   ? iKernels.mToTicks(Time_BasicTempoMapLayout::Of(mMap.mSegments.data()),
                                       mMap.mSegments.size(), ioIndex, ioTimes, iCount,
                                       Time_VectorLine::cNoLimit)
                   : 0;
    }
    Cmn_Int64 Convert(std::size_t iIndex, Cmn_Int64 iSample) const
    {
        return mMap.mSegments[iIndex].SampleToTick(Time_Sample(iSample)).AsInt64();
    }
};

void Time_BasicTempoMap::TicksToSamples(Cmn_Int64* ioTimes, std::size_t iCount,
                                        bool iClamp) const KORA_NONBLOCKING
{
    if (!mIsIndexed) {
        for (std::size_t i = 0; i < iCount; ++i)
            ioTimes[i] = TickToSample(Time_Tick(ioTimes[i]), iClamp).AsInt64();
        return;
    }
    const Cmn_Int64 maximum =
        iClamp ? Time_Typed::MaxTime(Time_eType_Samples).AsInt64() : std::numeric_limits<Cmn_Int64>::max();
    const double limit = iClamp ? static_cast<double>(maximum) : Time_VectorLine::cNoLimit;
    ConvertAll(TicksToSamplesDirection{*this, limit, maximum}, mSegments.size(), ioTimes, iCount);
}

void Time_BasicTempoMap::SamplesToTicks(Cmn_Int64* ioTimes, std::size_t iCount) const KORA_NONBLOCKING
{
    if (!mIsIndexed) {
        for (std::size_t i = 0; i < iCount; ++i)
            ioTimes[i] = SampleToTick(Time_Sample(ioTimes[i])).AsInt64();
        return;
    }
    ConvertAll(SamplesToTicksDirection{*this}, mSegments.size(), ioTimes, iCount);
}

void Time_BasicTempoMap::TimesToType(Time_TypedVector* ioTimes, Time_EType iType) const KORA_NONBLOCKING
{
    if (!Cmn_ASSERT_AS(ioTimes != nullptr, "ioTimes != 0", "Time/Time_BasicTempoMap")) return;
    Cmn_ASSERT_IN("Time/Time_BasicTempoMap", ioTimes->GetContext() == Time_eContext_GlobalPosition);
    const bool canConvert = ioTimes->GetType() < Time_eType_Frames && iType < Time_eType_Frames;
    if (!Cmn_ASSERT_AS(canConvert, "time_type_mismatch", "Time/Time_BasicTempoMap")) return;
    if (ioTimes->GetType() == iType) return;
    if (iType == Time_eType_Samples)
        TicksToSamples(ioTimes->data(), ioTimes->size(), true);
    else
        SamplesToTicks(ioTimes->data(), ioTimes->size());
    ioTimes->SetType(iType);
}
