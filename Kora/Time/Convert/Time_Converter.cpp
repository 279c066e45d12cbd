#include "Kora/Time/Convert/Time_Converter.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Kora/Time/Values/Time_TypedVector.h"

#include <algorithm>

namespace {

// The two rates that samples and frames meet by, read once for a run of conversions.
//
// Each formula multiplies first and divides last: a quotient of the rates would be rounded before it is used,
// and a second of frames would no longer be a second of samples.
struct PullRates
{
    double mSampleRate = Time_Globals::GetPullSampleRate();
    double mFrameRate = Time_Globals::GetPullFrameRate();

    Cmn_Int64 FramesToSamples(Cmn_Int64 iFrames) const
    {
        return Cmn_Float64ToInt64(static_cast<double>(iFrames) * mSampleRate / mFrameRate + 0.5);
    }
    Cmn_Int64 SamplesToFrames(Cmn_Int64 iSamples) const
    {
        return Cmn_Float64ToInt64(mFrameRate * static_cast<double>(iSamples) / mSampleRate + 0.5);
    }
    // Deliberate: the half is added to the samples, so that the middle of the sample decides.
    // Test: FramesRoundOrRunOn
    Cmn_Int64 SamplesToRunningFrame(Cmn_Int64 iSamples) const
    {
        return Cmn_Float64ToInt64(mFrameRate * (static_cast<double>(iSamples) + 0.5) / mSampleRate);
    }
};

bool CheckTimes(const Time_TypedVector* ioTimes)
{
    return Cmn_ASSERT_TEXT(ioTimes != nullptr, "ioTimes != 0");
}

// True when the vector can be worked on, whatever was reported about its context.
bool CheckPositions(const Time_TypedVector* ioTimes)
{
    if (!CheckTimes(ioTimes)) return false;
    Cmn_ASSERT(ioTimes->GetContext() == Time_eContext_GlobalPosition);
    return true;
}

bool IsUnit(Time_EType iType)
{
    return iType == Time_eType_Samples || iType == Time_eType_Ticks || iType == Time_eType_Frames;
}

template <class Convert>
void ConvertEach(Cmn_Int64* ioCounts, std::size_t iCount, Convert iConvert)
{
    std::transform(ioCounts, ioCounts + iCount, ioCounts, iConvert);
}

} // namespace

Time_Converter::Time_Converter() = default;
Time_Converter::~Time_Converter() = default;

void Time_Converter::UseDefaultMaps()
{
    if (mOwnedTempoMap == nullptr) {
        mOwnedTempoMap = std::make_unique<Time_TempoMap>();
        mTempoMap = mOwnedTempoMap.get();
    }
    if (mOwnedMeterMap == nullptr) {
        mOwnedMeterMap = std::make_unique<Time_MeterMap>();
        mMeterMap = mOwnedMeterMap.get();
    }
}

bool Time_Converter::CheckTempoMap() const { return Cmn_ASSERT_TEXT(mTempoMap != nullptr, "mTempoMap != 0"); }
bool Time_Converter::CheckMeterMap() const { return Cmn_ASSERT_TEXT(mMeterMap != nullptr, "mMeterMap != 0"); }

double Time_Converter::GetFrameLength() const
{
    return 1 / Time_Globals::GetPullFrameRate() * Time_Globals::GetPullSampleRate();
}

// --- One time

Time_Sample Time_Converter::ToSample(const Time_Typed& iTime) const KORA_NONBLOCKING
{
    switch (iTime.GetType()) {
    case Time_eType_Samples:
        return iTime.AsSample();
    case Time_eType_Ticks:
        return CheckTempoMap() ? mTempoMap->TickToSample(iTime.AsTick(), true) : Time_Sample();
    case Time_eType_Frames:
        return Time_Sample(PullRates().FramesToSamples(iTime.AsInt64()));
    }
    Cmn_ASSERT(false);
    return Time_Sample();
}

Time_Tick Time_Converter::SampleToTick(Time_Sample iSample) const
{
    return CheckTempoMap() ? mTempoMap->SampleToTick(iSample) : Time_Tick();
}

Time_Tick Time_Converter::ToTick(const Time_Typed& iTime) const KORA_NONBLOCKING
{
    switch (iTime.GetType()) {
    case Time_eType_Ticks:
        return iTime.AsTick();
    case Time_eType_Samples:
    case Time_eType_Frames:
        return SampleToTick(ToSample(iTime));
    }
    Cmn_ASSERT(false);
    return Time_Tick();
}

Time_Typed Time_Converter::ToFrames(const Time_Typed& iTime) const KORA_NONBLOCKING
{
    if (iTime.GetType() == Time_eType_Frames) return iTime;
    return Time_Typed(PullRates().SamplesToFrames(ToSample(iTime).AsInt64()), Time_eType_Frames);
}

Time_Typed Time_Converter::ToFramesNotRounded(const Time_Typed& iTime) const KORA_NONBLOCKING
{
    if (iTime.GetType() == Time_eType_Frames) return iTime;
    return Time_Typed(PullRates().SamplesToRunningFrame(ToSample(iTime).AsInt64()), Time_eType_Frames);
}

Time_BarBeatTick Time_Converter::ToBarBeatTick(const Time_Typed& iTime) const
{
    const Time_Tick tick = ToTick(iTime);
    return CheckMeterMap() ? mMeterMap->TickToBarBeat(tick) : Time_BarBeatTick();
}

Time_Typed Time_Converter::ToType(const Time_Typed& iTime, Time_EType iType) const KORA_NONBLOCKING
{
    if (iTime.GetType() == iType) return iTime;
    switch (iType) {
    case Time_eType_Samples:
        return ToSample(iTime);
    case Time_eType_Ticks:
        return ToTick(iTime);
    case Time_eType_Frames:
        return ToFrames(iTime);
    }
    return iTime;
}

Time_Typed Time_Converter::ToType(Time_Sample iSample, Time_EType iType) const KORA_NONBLOCKING
{
    return ToType(Time_Typed(iSample), iType);
}

Time_Typed Time_Converter::ToType(Time_Tick iTick, Time_EType iType) const KORA_NONBLOCKING
{
    return ToType(Time_Typed(iTick), iType);
}

Time_Typed Time_Converter::ToType(const Time_BarBeatTick& iBBT, Time_EType iType) const
{
    if (!CheckMeterMap()) return Time_Typed(0, iType);
    return ToType(mMeterMap->BarBeatToTick(iBBT), iType);
}

Time_Typed Time_Converter::ToTypeNotRounded(Time_Sample iSample, Time_EType iType) const KORA_NONBLOCKING
{
    return iType == Time_eType_Frames ? ToFramesNotRounded(iSample) : ToType(iSample, iType);
}

Time_Typed Time_Converter::ToFirstType(const Time_Typed& iTime, Time_EType iType) const KORA_NONBLOCKING
{
    if (iTime.GetType() == iType) return iTime;
    switch (iType) {
    case Time_eType_Ticks:
        return CheckTempoMap() ? mTempoMap->SampleToFirstTick(iTime.AsSample()) : Time_Tick();
    case Time_eType_Samples:
        return CheckTempoMap() ? mTempoMap->TickToFirstSample(iTime.AsTick()) : Time_Sample();
    case Time_eType_Frames:
        break;
    }
    Cmn_ASSERT_TEXT(false, "0");
    return iTime;
}

Time_Typed Time_Converter::GetSessionStartTime(Time_EType iType) const
{
    return ToType(Time_Sample(0), iType);
}

Time_Typed Time_Converter::GetSessionEndTime(Time_EType iType) const
{
    return ToType(Time_Typed::GetMaxSessionSample(), iType);
}

Time_Typed Time_Converter::GetBarOneTime(Time_EType iType) const
{
    return ToType(Time_BarBeatTick(1, 1, Time_TickLength::cZero), iType);
}

bool Time_Converter::PinToValidSessionRange(Time_Typed& ioTime) const
{
    const Time_Typed start = GetSessionStartTime(ioTime.GetType());
    const Time_Typed end = GetSessionEndTime(ioTime.GetType());
    if (ioTime > end)
        ioTime = end;
    else if (ioTime < start)
        ioTime = start;
    else
        return false;
    return true;
}

Time_Typed Time_Converter::AddLength(const Time_Typed& iTime, const Time_TypedLength& iLength) const
{
    if (iLength.AsInt64() == 0) return iTime;
    return ToType(ToType(iTime, iLength.GetType()) + iLength, iTime.GetType());
}

Time_Typed Time_Converter::SubtractLength(const Time_Typed& iTime, const Time_TypedLength& iLength) const
{
    if (iLength.AsInt64() == 0) return iTime;
    return ToType(ToType(iTime, iLength.GetType()) - iLength, iTime.GetType());
}

Time_Typed Time_Converter::AddLength(const Time_Typed& iTime, const Time_BarBeatTick& iLength) const
{
    const Time_Tick tick = ToTick(iTime);
    return CheckMeterMap() ? ToType(mMeterMap->AddDurationToTick(tick, iLength), iTime.GetType()) : iTime;
}

Time_Typed Time_Converter::SubtractLength(const Time_Typed& iTime, const Time_BarBeatTick& iLength) const
{
    const Time_Tick tick = ToTick(iTime);
    return CheckMeterMap() ? ToType(mMeterMap->SubtractDurationFromTick(tick, iLength), iTime.GetType())
                           : iTime;
}

// --- Many times

void Time_Converter::CountsToSamples(Cmn_Int64* ioCounts, std::size_t iCount, Time_EType iFrom) const
{
    switch (iFrom) {
    case Time_eType_Samples:
        return;
    case Time_eType_Ticks:
        if (!CheckTempoMap()) break;
        return mTempoMap->GetBasicTempoMap().TicksToSamples(ioCounts, iCount, true);
    case Time_eType_Frames: {
        const PullRates rates;
        return ConvertEach(ioCounts, iCount,
                           [rates](Cmn_Int64 iFrames) { return rates.FramesToSamples(iFrames); });
    }
    }
    std::fill_n(ioCounts, iCount, Cmn_Int64{0});
}

void Time_Converter::CountsToTicks(Cmn_Int64* ioCounts, std::size_t iCount, Time_EType iFrom) const
{
    if (iFrom == Time_eType_Ticks) return;
    CountsToSamples(ioCounts, iCount, iFrom);
    if (!CheckTempoMap()) {
        std::fill_n(ioCounts, iCount, Cmn_Int64{0});
        return;
    }
    mTempoMap->GetBasicTempoMap().SamplesToTicks(ioCounts, iCount);
}

void Time_Converter::CountsToFrames(Cmn_Int64* ioCounts, std::size_t iCount, Time_EType iFrom) const
{
    if (iFrom == Time_eType_Frames) return;
    CountsToSamples(ioCounts, iCount, iFrom);
    const PullRates rates;
    ConvertEach(ioCounts, iCount, [rates](Cmn_Int64 iSamples) { return rates.SamplesToFrames(iSamples); });
}

void Time_Converter::ToType(Cmn_Int64* ioCounts, std::size_t iCount, Time_EType iFrom,
                            Time_EType iTo) const KORA_NONBLOCKING
{
    if (!Cmn_ASSERT_TEXT(IsUnit(iFrom) && IsUnit(iTo), "false")) {
        std::fill_n(ioCounts, iCount, Cmn_Int64{0});
        return;
    }
    switch (iTo) {
    case Time_eType_Samples:
        return CountsToSamples(ioCounts, iCount, iFrom);
    case Time_eType_Ticks:
        return CountsToTicks(ioCounts, iCount, iFrom);
    case Time_eType_Frames:
        return CountsToFrames(ioCounts, iCount, iFrom);
    }
}

void Time_Converter::ConvertTimes(Time_TypedVector& ioTimes, Time_EType iType) const
{
    if (!IsUnit(iType)) return; // the vector stays what it is
    ToType(ioTimes.data(), ioTimes.size(), ioTimes.GetType(), iType);
    ioTimes.SetType(iType);
}

void Time_Converter::ToType(Time_TypedVector* ioTimes, Time_EType iType) const KORA_NONBLOCKING
{
    if (CheckPositions(ioTimes)) ConvertTimes(*ioTimes, iType);
}

void Time_Converter::ToSamples(Time_TypedVector* ioTimes) const KORA_NONBLOCKING
{
    ToType(ioTimes, Time_eType_Samples);
}
void Time_Converter::ToTicks(Time_TypedVector* ioTimes) const KORA_NONBLOCKING
{
    ToType(ioTimes, Time_eType_Ticks);
}
void Time_Converter::ToFrames(Time_TypedVector* ioTimes) const KORA_NONBLOCKING
{
    ToType(ioTimes, Time_eType_Frames);
}

void Time_Converter::AddLength(Time_TypedVector* ioTimes, const Time_TypedLength& iLength) const
{
    if (!CheckPositions(ioTimes) || iLength.AsInt64() == 0) return;
    const Time_EType unit = ioTimes->GetType();
    ConvertTimes(*ioTimes, iLength.GetType());
    ioTimes->AddLength(iLength);
    ConvertTimes(*ioTimes, unit);
}

void Time_Converter::SubtractLength(Time_TypedVector* ioTimes, const Time_TypedLength& iLength) const
{
    if (!CheckPositions(ioTimes) || iLength.AsInt64() == 0) return;
    const Time_EType unit = ioTimes->GetType();
    ConvertTimes(*ioTimes, iLength.GetType());
    ioTimes->SubtractLength(iLength);
    ConvertTimes(*ioTimes, unit);
}

void Time_Converter::AddTime(Time_TypedVector* ioTimes, const Time_Typed& iTime) const
{
    if (!CheckTimes(ioTimes)) return;
    Cmn_ASSERT(ioTimes->GetContext() == Time_eContext_RelativeLength);
    ioTimes->SetContext(Time_eContext_RelativeLength); // so that it is reported once
    ioTimes->AddTime(ToType(iTime, ioTimes->GetType()));
}

void Time_Converter::SubtractTime(Time_TypedVector* ioTimes, const Time_Typed& iTime) const
{
    if (!CheckPositions(ioTimes)) return;
    ioTimes->SetContext(Time_eContext_GlobalPosition); // so that it is reported once
    ioTimes->SubtractTime(ToType(iTime, ioTimes->GetType()));
}

std::string Time_Converter::Dump() const
{
    return "main counter type " + std::to_string(mMainCounterType) + "\ntempo map:\n" +
           (mTempoMap != nullptr ? mTempoMap->Dump() : "  none\n") + "meter map:\n" +
           (mMeterMap != nullptr ? mMeterMap->Dump() : "  none\n");
}
