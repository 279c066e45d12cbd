#include "Kora/Time/Tempo/Time_TempoLimits.h"

#include <algorithm>

namespace {

constexpr double cTicksPerQuarter = Time_TickLength::cInternalPerQuarter;

double InternalTicks(const Time_TickLength& iTicks)
{
    Cmn_ASSERT_AS(iTicks.GetTickType() == Time_eTickType_Internal,
                  "leftHandValue.mTickType == rightHandValue.mTickType", "time/Time_TickLength");
    return iTicks.AsFloat64();
}

double BeatsToQuarters(double iBeats, double iTicksPerBeat)
{
    return iTicksPerBeat * iBeats / cTicksPerQuarter;
}

double QuartersToBeats(double iQuarters, double iTicksPerBeat)
{
    if (!Cmn_ASSERT_TEXT(iTicksPerBeat != 0, "divisor != 0")) return 0;
    return cTicksPerQuarter * iQuarters / iTicksPerBeat;
}

} // namespace

double Time_TempoLimits::GetMinQPM(const Time_TickLength& iTicksPerBeat) const
{
    return std::max(mMinQPM, BeatsToQuarters(mMinBPM, InternalTicks(iTicksPerBeat)));
}

double Time_TempoLimits::GetMaxQPM(const Time_TickLength& iTicksPerBeat) const
{
    return std::min(mMaxQPM, BeatsToQuarters(mMaxBPM, InternalTicks(iTicksPerBeat)));
}

double Time_TempoLimits::GetMinBPM(const Time_TickLength& iTicksPerBeat) const
{
    return std::max(mMinBPM, QuartersToBeats(mMinQPM, InternalTicks(iTicksPerBeat)));
}

double Time_TempoLimits::GetMaxBPM(const Time_TickLength& iTicksPerBeat) const
{
    return std::min(mMaxBPM, QuartersToBeats(mMaxQPM, InternalTicks(iTicksPerBeat)));
}

double Time_TempoLimits::LimitTempoValue(double iBPM, const Time_TickLength& iTicksPerBeat) const
{
    // The upper bound first: with crossed bounds the lower one wins.
    const auto clamp = [](double iValue, double iMin, double iMax) {
        return std::max(std::min(iValue, iMax), iMin);
    };
    const double ticksPerBeat = InternalTicks(iTicksPerBeat);
    const double beats = clamp(iBPM, mMinBPM, mMaxBPM);
    // Tempos in quarter notes are spared the round trip, which may change their last bit.
    if (ticksPerBeat == cTicksPerQuarter) return clamp(beats, mMinQPM, mMaxQPM);
    return QuartersToBeats(clamp(BeatsToQuarters(beats, ticksPerBeat), mMinQPM, mMaxQPM), ticksPerBeat);
}
