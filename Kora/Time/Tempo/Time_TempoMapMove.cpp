// Time_TempoMap: the whole map moved, and the limits of what its ranges may last.
#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Tempo/Time_SampleTransform.h"
#include "Kora/Time/Tempo/Time_TempoLimits.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

#include <algorithm>
#include <limits>

namespace {

// Nothing is laid out before the end: within an edit the rate may have changed, and the samples not yet.
void SetMoved(Time_TempoMap& ioMap, const Time_TickLength& iTicks, const Time_SampleTransform& iTransform)
{
    std::vector<std::unique_ptr<Time_TempoMapSegment>> moved;
    moved.reserve(ioMap.GetNumberOfSegments());
    for (auto iter = ioMap.SegmentBegin(); iter != ioMap.SegmentEnd(); ++iter) {
        moved.push_back((*iter)->Clone());
        moved.back()->SetStartTick(moved.back()->GetStartTick() + iTicks);
        moved.back()->TransformSamples(iTransform);
    }
    using Limits = std::numeric_limits<Cmn_Int64>;
    ioMap.ReplaceSegments(Time_Tick(Limits::min()), Time_Tick(Limits::max()), std::move(moved));
}

} // namespace

void Time_TempoMap::TransformSamples(const Time_SampleTransform& iTransform)
{
    bool ascends = iTransform.IsSound(), moves = false;
    const Time_TempoMapSegment* last = nullptr;
    for (SegmentIter iter = SegmentBegin(); iter != SegmentEnd() && ascends; ++iter) {
        if (!(*iter)->IsLockedToSample()) continue;
        const Time_Sample sample = (*iter)->GetStartSample();
        moves |= iTransform.Apply(sample) != sample;
        ascends = last == nullptr || last->GetStartSample() >= sample ||
                  iTransform.Apply(last->GetStartSample()) < iTransform.Apply(sample);
        last = iter->get();
    }
    if (Cmn_ASSERT_TEXT(ascends, "locks ascend") && moves) SetMoved(*this, Time_TickLength(0), iTransform);
}

void Time_TempoMap::Offset(const Time_TickLength& iTicks, Time_SampleLength iSamples)
{
    const bool moves =
        iTicks.AsInt64() != 0 || (iSamples.AsInt64() != 0 && !IsNumberOfLockedSegmentsLessThan(1));
    if (moves) SetMoved(*this, iTicks, {.mScale = 1.0, .mOffset = iSamples});
}

namespace {

// Calls iDo(tempo, beat, ticks) for each tempo in force in the range.
template <class Do>
void ForEachTempo(const Time_TempoMap& iMap, Time_Tick iStart, Time_Tick iEnd, Do iDo)
{
    Time_Tick start = iStart;
    double tempo;
    Time_TickLength beat;
    iMap.GetTempoAtTick(tempo, beat, iStart);
    auto next = iMap.FindControllingSegment(iStart);
    for (; next != iMap.SegmentEnd() && (*next)->GetStartTick() < iEnd; ++next) {
        double itsTempo;
        Time_TickLength itsBeat;
        const bool begins = (*next)->GetStartTick() > iStart && (*next)->GetTempo(itsTempo, itsBeat);
        if (!begins) continue;
        iDo(tempo, beat, ((*next)->GetStartTick() - start).AsFloat64());
        start = (*next)->GetStartTick();
        tempo = itsTempo;
        beat = itsBeat;
    }
    iDo(tempo, beat, (iEnd - start).AsFloat64());
}

} // namespace

void Time_TempoMap::GetMaxMinBPM(double& oMax, double& oMin, const Time_TickLength& iTicksPerBeat,
                                 Time_Tick iStart, Time_Tick iEnd) const
{
    double most = 0, least = std::numeric_limits<double>::max();
    ForEachTempo(
        *this, iStart, std::max(iStart, iEnd), [&](double iTempo, const Time_TickLength& iBeat, double) {
            const bool isAlike = iBeat == iTicksPerBeat; // and spared the rounding
            const double tempo = isAlike ? iTempo : iTempo * iBeat.AsFloat64() / iTicksPerBeat.AsFloat64();
            most = std::max(most, tempo);
            least = std::min(least, tempo);
        });
    oMax = most;
    oMin = least;
}

void Time_TempoMap::GetLengthConstraintsForRange(double& oMin, double& oMax, Time_Tick iStart, Time_Tick iEnd,
                                                 const Time_TempoLimits& iLimits) const
{
    double length = 0, leastFactor = 0, mostFactor = std::numeric_limits<double>::max();
    ForEachTempo(*this, iStart, std::max(iStart, iEnd),
                 [&](double iTempo, const Time_TickLength& iBeat, double iTicks) {
                     length += iTicks * (GetSampleRate() * 60.0 / (iBeat.AsFloat64() * iTempo));
                     leastFactor = std::max(leastFactor, iLimits.GetMinBPM(iBeat) / iTempo);
                     mostFactor = std::min(mostFactor, iLimits.GetMaxBPM(iBeat) / iTempo);
                 });
    oMin = length / mostFactor;
    oMax = length / leastFactor;
}

Time_Sample Time_TempoMap::GetMaxSample() const
{
    Time_Tick last(std::numeric_limits<Cmn_Int64>::max());
    last.PinToValidRange();
    Time_Sample sample = TickToSample(last, false);
    sample.PinToValidRange();
    return sample;
}
