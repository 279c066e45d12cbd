// Time_BasicTempoMapSegment: a straight line between ticks and samples, from its start tick on.
//
//   sample
//     |            /        slope: samples per tick
//     |          /
//   S0|- - - - +            S0: the unrounded sample of the start tick T0
//     +--------|------ tick
//              T0
//
// Units:      ticks, 960000 to a quarter note; samples, with fractions inside: only a
//             result is rounded, once.
// Rounding:   halves go up: a tick half-way between two samples belongs to the later one. Results
//             beyond 64 bits saturate.
// Invariants: (1) ticks per sample is 1 / samples per tick, kept to spare a division for each conversion.
// Threads:    plain value; queries only read.
#pragma once

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <limits>

class KORA_API Time_BasicTempoMapSegment
{
public:
    // Whether it is a tempo: beats per minute above 0 and not infinite, of a beat above 0 ticks.
    [[nodiscard]] static constexpr bool IsTempo(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat)
    {
        return iBeatsPerMinute > 0 && iBeatsPerMinute <= (std::numeric_limits<double>::max)() &&
               iTicksPerBeat.AsInt64() > 0;
    }

    // From a start on at a tempo. 120 bpm of quarter notes at 48000 Hz: 0.025 samples per tick. Here and
    // below, what is not a tempo asserts "iBeatsPerMinute > 0" and leaves the slope as it was.
    void SetTempo(Time_Tick iStartTick, double iFractionalStartSample, double iSampleRate,
                  double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat);
    // Backwards from a known end at a tempo. A sample rate of 0 asserts "iSampleRate != 0" and is used.
    void SetBackTempo(Time_Tick iStartTick, Time_Tick iEndTick, double iFractionalEndSample,
                      double iSampleRate, double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat);
    // Through two points. An end that is not after the start asserts, and is used.
    void SetEndSample(Time_Tick iStartTick, Time_Tick iEndTick, double iFractionalStartSample,
                      double iFractionalEndSample);

    // The tempo that the slope amounts to.
    [[nodiscard]] double GetBeatsPerMinute(double iSampleRate, const Time_TickLength& iTicksPerBeat) const;

    Time_Tick GetStartTick() const { return mStartTick; }
    double GetFractionalStartSample() const { return mFractionalStartSample; }
    double GetSamplesPerTick() const { return mSamplesPerTick; }
    double GetTicksPerSample() const { return mTicksPerSample; }
    // Moves the line along the sample axis.
    void SetFractionalStartSample(double iSample) { mFractionalStartSample = iSample; }

    // The line's value at a tick, before the start too.
    double FractionalSampleAt(Time_Tick iTick) const { return SampleAtOffset(TicksAfterStart(iTick)); }

    // The sample that the tick falls on; with iClamp at most the last sample of the
    // Samples limit (Time_Typed).
    Time_Sample TickToSample(Time_Tick iTick, bool iClamp) const;
    // The tick nearest to the sample.
    Time_Tick SampleToTick(Time_Sample iSample) const;
    // The first sample whose tick is iTick or later, within the Samples limit.
    Time_Sample TickToFirstSample(Time_Tick iTick) const;
    // The first tick that falls on iSample or later.
    Time_Tick SampleToFirstTick(Time_Sample iSample) const;

    // The same as TickToSample (unclamped) and SampleToTick for each of iCount values, in place.
    void TicksToSamples(Cmn_Int64* ioTimes, std::size_t iCount) const;
    // As TicksToSamples, the other way.
    void SamplesToTicks(Cmn_Int64* ioTimes, std::size_t iCount) const;

    // "from tick 960000 at sample 24000: 0.025 samples per tick"
    [[nodiscard]] std::string Dump() const;

private:
    friend struct Time_BasicTempoMapLayout; // which sees that vector kernels find these where they look

    double TicksAfterStart(Time_Tick iTick) const
    {
        return static_cast<double>(Cmn_WrapSub(iTick.AsInt64(), mStartTick.AsInt64()));
    }
    double SampleAtOffset(double iTicks) const { return iTicks * mSamplesPerTick + mFractionalStartSample; }
    inline Time_Tick TickAtOffset(double iSamples) const;
    void SetSlope(double iSampleRate, double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat);

    double mFractionalStartSample = 0;
    Time_Tick mStartTick;
    double mSamplesPerTick = 0;
    double mTicksPerSample = 0;
};

// What the bodies below call stands before them: a class of a DLL asks for that.
inline Time_Tick Time_BasicTempoMapSegment::TickAtOffset(double iSamples) const
{
    return Time_Tick(Cmn_WrapAdd(Cmn_RoundHalfUp(iSamples * mTicksPerSample), mStartTick.AsInt64()));
}

inline Time_Sample Time_BasicTempoMapSegment::TickToSample(Time_Tick iTick, bool iClamp) const
{
    const Time_Sample sample(Cmn_RoundHalfUp(FractionalSampleAt(iTick)));
    return iClamp ? Time_Typed::AtMostTheMaximum(sample) : sample;
}

inline Time_Tick Time_BasicTempoMapSegment::SampleToTick(Time_Sample iSample) const
{
    return TickAtOffset(static_cast<double>(iSample.AsInt64()) - mFractionalStartSample);
}
