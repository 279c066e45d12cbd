// Time_TempoMap: what it answers.
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMapCache_p.h"

#include <algorithm>

Time_TempoMap::SegmentIter Time_TempoMap::FindSegment(Time_Tick iTick) const
{
    Settled();
    const SegmentIter found = IterAt(mCache->LowerBound(iTick));
    return found != mSegments.end() && (*found)->GetStartTick() == iTick ? found : mSegments.end();
}

Time_TempoMap::SegmentIter Time_TempoMap::FindControllingSegment(Time_Tick iTick) const
{
    Settled();
    const std::size_t after = mCache->UpperBound(iTick);
    return IterAt(after == 0 ? 0 : after - 1);
}

Time_TempoMap::SegmentIter Time_TempoMap::FindSegmentBySample(Time_Sample iSample) const
{
    const Time_BasicTempoMap& basicMap = GetBasicTempoMap();
    const auto startSample = [&](const std::unique_ptr<const Time_TempoMapSegment>& iSegment) {
        return iSegment->IsLockedToSample() ? iSegment->GetStartSample()
                                            : basicMap.TickToSample(iSegment->GetStartTick(), false);
    };
    const auto found = std::lower_bound(mSegments.begin(), mSegments.end(), iSample,
                                        [&](const std::unique_ptr<const Time_TempoMapSegment>& iSegment,
                                            Time_Sample iAt) { return startSample(iSegment) < iAt; });
    return found != mSegments.end() && startSample(*found) == iSample ? found : mSegments.end();
}

Time_TempoMap::SegmentIter Time_TempoMap::FindSongStart() const
{
    Settled();
    return IterAt(mCache->FindSongStart());
}

bool Time_TempoMap::IsNumberOfLockedSegmentsLessThan(std::size_t iCount) const
{
    Settled();
    return mCache->GetLockedCount() < iCount;
}

Time_Tick Time_TempoMap::GetSongStartTick() const { return Clean().GetSongStartTick(); }

Time_Sample Time_TempoMap::GetSongStartSample() const { return Clean().GetSongStartSample(); }

Time_Tick Time_TempoMap::GetSessionStartTick() const { return Clean().GetSessionStartTick(); }

bool Time_TempoMap::IsAllIDB() const { return Clean().AllAreLocked(); }

bool Time_TempoMap::IsAllChanges() const { return Clean().FewerThanTwoAreLocked(); }

void Time_TempoMap::GetTempoAtTick(double& oBeatsPerMinute, Time_TickLength& oTicksPerBeat,
                                   Time_Tick iTick) const
{
    UpdateBasicMapIfNeeded(); // derives the tempi of computed segments
    oBeatsPerMinute = cFallbackBeatsPerMinute;
    oTicksPerBeat = cFallbackTicksPerBeat;
    const SegmentIter controlling = FindControllingSegment(iTick);
    if (controlling != mSegments.end())
        mCache->EffectiveTempo(IndexOf(controlling), oBeatsPerMinute, oTicksPerBeat);
}

const Time_BasicTempoMap& Time_TempoMap::GetBasicTempoMap() const { return Clean().GetBasicMap(); }

double Time_TempoMap::GetSampleRate() const { return mCache->GetBasicMap().GetSampleRate(); }

double Time_TempoMap::GetMinTicksPerSample() const { return Clean().GetBasicMap().GetMinTicksPerSample(); }

double Time_TempoMap::GetMaxTicksPerSample() const { return Clean().GetBasicMap().GetMaxTicksPerSample(); }

Time_Sample Time_TempoMap::TickToSample(Time_Tick iTick, bool iClamp) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().TickToSample(iTick, iClamp);
}

Time_Tick Time_TempoMap::SampleToTick(Time_Sample iSample) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().SampleToTick(iSample);
}

Time_Sample Time_TempoMap::TickToFirstSample(Time_Tick iTick) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().TickToFirstSample(iTick);
}

Time_Tick Time_TempoMap::SampleToFirstTick(Time_Sample iSample) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().SampleToFirstTick(iSample);
}

Time_Sample Time_TempoMap::NextTickToSample(Time_Tick iTick, bool iClamp,
                                            std::size_t& ioSegment) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().NextTickToSample(iTick, iClamp, ioSegment);
}

Time_Tick Time_TempoMap::NextSampleToTick(Time_Sample iSample, std::size_t& ioSegment) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().NextSampleToTick(iSample, ioSegment);
}

Time_Sample Time_TempoMap::NextTickToFirstSample(Time_Tick iTick,
                                                 std::size_t& ioSegment) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().NextTickToFirstSample(iTick, ioSegment);
}

Time_Tick Time_TempoMap::NextSampleToFirstTick(Time_Sample iSample,
                                               std::size_t& ioSegment) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().NextSampleToFirstTick(iSample, ioSegment);
}

Time_Sample Time_TempoMap::TickToSampleBasedOnReferenceTempoAtTick(Time_Tick iTick, Time_Tick iReference,
                                                                   bool iClamp) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().TickToSampleBasedOnReferenceTempoAtTick(iTick, iReference, iClamp);
}

Time_Tick Time_TempoMap::SampleToTickBasedOnReferenceTempoAtTick(Time_Sample iSample,
                                                                 Time_Tick iReference) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().SampleToTickBasedOnReferenceTempoAtTick(iSample, iReference);
}

Time_Tick
Time_TempoMap::SampleToTickBasedOnReferenceTempoAtSample(Time_Sample iSample,
                                                         Time_Sample iReference) const KORA_NONBLOCKING
{
    return Clean().GetBasicMap().SampleToTickBasedOnReferenceTempoAtSample(iSample, iReference);
}

namespace {

bool CheckConvertible(Time_EType iFrom, Time_EType iTo)
{
    return Cmn_ASSERT_AS(iFrom < Time_eType_Frames && iTo < Time_eType_Frames, "time_type_mismatch",
                         "Time/Time_TempoMap");
}

} // namespace

Time_Sample Time_TempoMap::TimeTypedToSample(const Time_Typed& iTime) const KORA_NONBLOCKING
{
    if (!CheckConvertible(iTime.GetType(), Time_eType_Samples)) return Time_Sample();
    return iTime.GetType() == Time_eType_Samples ? iTime.AsSample() : TickToSample(iTime.AsTick(), true);
}

Time_Tick Time_TempoMap::TimeTypedToTick(const Time_Typed& iTime) const KORA_NONBLOCKING
{
    if (!CheckConvertible(iTime.GetType(), Time_eType_Ticks)) return Time_Tick();
    return iTime.GetType() == Time_eType_Ticks ? iTime.AsTick() : SampleToTick(iTime.AsSample());
}

Time_Typed Time_TempoMap::TimeTypedToSpecifiedType(const Time_Typed& iTime,
                                                   Time_EType iType) const KORA_NONBLOCKING
{
    if (!CheckConvertible(iTime.GetType(), iType) || iTime.GetType() == iType) return iTime;
    return iType == Time_eType_Samples ? Time_Typed(TickToSample(iTime.AsTick(), true))
                                       : Time_Typed(SampleToTick(iTime.AsSample()));
}

Time_Typed Time_TempoMap::SampleToSpecifiedType(Time_Sample iSample, Time_EType iType) const KORA_NONBLOCKING
{
    return TimeTypedToSpecifiedType(iSample, iType);
}

Time_Typed Time_TempoMap::TickToSpecifiedType(Time_Tick iTick, Time_EType iType) const KORA_NONBLOCKING
{
    return TimeTypedToSpecifiedType(iTick, iType);
}

void Time_TempoMap::TimesToType(Time_TypedVector* ioTimes, Time_EType iType) const KORA_NONBLOCKING
{
    Clean().GetBasicMap().TimesToType(ioTimes, iType);
}
