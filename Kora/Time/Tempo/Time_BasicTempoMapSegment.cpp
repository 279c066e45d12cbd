#include "Kora/Time/Tempo/Time_BasicTempoMapSegment.h"

#include "Kora/Time/Tempo/Time_BasicTempoMapLine_p.h"

#include <sstream>

// Two of them fit a cache line.
static_assert(sizeof(Time_BasicTempoMapSegment) == 32);

void Time_BasicTempoMapSegment::SetTempo(Time_Tick iStartTick, double iFractionalStartSample,
                                         double iSampleRate, double iBeatsPerMinute,
                                         const Time_TickLength& iTicksPerBeat)
{
    mFractionalStartSample = iFractionalStartSample;
    mStartTick = iStartTick;
    SetSlope(iSampleRate, iBeatsPerMinute, iTicksPerBeat);
}

void Time_BasicTempoMapSegment::SetBackTempo(Time_Tick iStartTick, Time_Tick iEndTick,
                                             double iFractionalEndSample, double iSampleRate,
                                             double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat)
{
    Cmn_ASSERT_IN("Time/Time_BasicTempoMap", iSampleRate != 0);
    SetSlope(iSampleRate, iBeatsPerMinute, iTicksPerBeat);
    mStartTick = iStartTick;
    mFractionalStartSample = iFractionalEndSample - TicksAfterStart(iEndTick) * mSamplesPerTick;
}

void Time_BasicTempoMapSegment::SetEndSample(Time_Tick iStartTick, Time_Tick iEndTick,
                                             double iFractionalStartSample, double iFractionalEndSample)
{
    Cmn_ASSERT_IN("Time/Time_BasicTempoMap", iEndTick > iStartTick);
    Cmn_ASSERT_IN("Time/Time_BasicTempoMap", iFractionalEndSample > iFractionalStartSample);
    mFractionalStartSample = iFractionalStartSample;
    mStartTick = iStartTick;
    const double ticks = TicksAfterStart(iEndTick), samples = iFractionalEndSample - iFractionalStartSample;
    mSamplesPerTick = samples / ticks;
    // Deliberate: not 1 / slope, which would round a second time.
    // Test: TempoMapModel.EditsGiveTheBitsOfAFullRebuildAndUndoBringsBackEveryByteAndBit
    mTicksPerSample = ticks / samples;
}

void Time_BasicTempoMapSegment::SetSlope(double iSampleRate, double iBeatsPerMinute,
                                         const Time_TickLength& iTicksPerBeat)
{
    if (!Cmn_ASSERT_AS(IsTempo(iBeatsPerMinute, iTicksPerBeat), "iBeatsPerMinute > 0",
                       "Time/Time_BasicTempoMap"))
        return;
    mSamplesPerTick = iSampleRate * 60.0 / (iTicksPerBeat.AsFloat64() * iBeatsPerMinute);
    mTicksPerSample = 1.0 / mSamplesPerTick;
}

double Time_BasicTempoMapSegment::GetBeatsPerMinute(double iSampleRate,
                                                    const Time_TickLength& iTicksPerBeat) const
{
    return iSampleRate * 60.0 / (iTicksPerBeat.AsFloat64() * mSamplesPerTick);
}

Time_Sample Time_BasicTempoMapSegment::TickToFirstSample(Time_Tick iTick) const
{
    const Cmn_Int64 sample = Cmn_RoundHalfUp(SampleAtOffset(TicksAfterStart(iTick) - 0.5));
    const bool isBefore = SampleToTick(Time_Sample(sample)) < iTick;
    return Time_Typed::AtMostTheMaximum(Time_Sample(isBefore ? Cmn_WrapAdd<Cmn_Int64>(sample, 1) : sample));
}

Time_Tick Time_BasicTempoMapSegment::SampleToFirstTick(Time_Sample iSample) const
{
    Time_Tick tick = TickAtOffset(static_cast<double>(iSample.AsInt64()) - mFractionalStartSample - 0.5);
    return TickToSample(tick, true) >= iSample ? tick : ++tick;
}

void Time_BasicTempoMapSegment::TicksToSamples(Cmn_Int64* ioTimes, std::size_t iCount) const
{
    const Time_VectorLine line = Time_BasicTempoMapLine::TicksToSamples(*this, Time_VectorLine::cNoLimit);
    Time_VectorConvert(line, ioTimes, iCount,
                       [this](Cmn_Int64 iTick) { return TickToSample(Time_Tick(iTick), false).AsInt64(); });
}

void Time_BasicTempoMapSegment::SamplesToTicks(Cmn_Int64* ioTimes, std::size_t iCount) const
{
    const Time_VectorLine line = Time_BasicTempoMapLine::SamplesToTicks(*this);
    Time_VectorConvert(line, ioTimes, iCount,
                       [this](Cmn_Int64 iSample) { return SampleToTick(Time_Sample(iSample)).AsInt64(); });
}

std::string Time_BasicTempoMapSegment::Dump() const
{
    std::ostringstream text;
    text.precision(17);
    text << "from tick " << mStartTick.AsInt64() << " at sample " << mFractionalStartSample << ": "
         << mSamplesPerTick << " samples per tick";
    return text.str();
}
