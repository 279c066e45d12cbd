#include "Kora/Time/Convert/Time_Convert.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Kora/Time/Values/Time_TypedVector.h"

namespace {

Time_Tick NearestDisplayTick(Time_Tick iTick)
{
    return Time_cZeroTick + (iTick - Time_cZeroTick).ToDisplayTicks().ToInternalTicks();
}

// True for a vector that a conversion to the unit would leave as it is.
bool IsInType(const Time_TypedVector* ioTimes, Time_EType iType)
{
    return ioTimes != nullptr && ioTimes->GetType() == iType;
}

} // namespace

constinit Time_Converter* Time_Convert::sTimeConverter = nullptr;
constinit Time_Converter* Time_Convert::sDefaultTimeConverter = nullptr;

bool Time_Convert::CheckConverter()
{
    return Cmn_ASSERT_TEXT(sTimeConverter != nullptr, "sTimeConverter != 0");
}

void Time_Convert::SetTimeConverter(Time_Converter* iConverter)
{
    sTimeConverter = iConverter;
    if (iConverter != nullptr) return;
    if (sDefaultTimeConverter == nullptr) {
        sDefaultTimeConverter = new Time_Converter;
        sDefaultTimeConverter->SetTempoMap(Time_TempoMap::GetDefaultTempoMap());
        sDefaultTimeConverter->SetMeterMap(Time_MeterMap::GetDefaultMeterMap());
    }
    sTimeConverter = sDefaultTimeConverter;
}

Time_TempoMap* Time_Convert::GetTempoMap()
{
    return CheckConverter() ? sTimeConverter->GetTempoMap() : nullptr;
}

Time_MeterMap* Time_Convert::GetMeterMap()
{
    return CheckConverter() ? sTimeConverter->GetMeterMap() : nullptr;
}

Time_EType Time_Convert::GetMainCounterType()
{
    return CheckConverter() ? sTimeConverter->GetMainCounterType() : Time_eType_Samples;
}

// --- One time

Time_Sample Time_Convert::ToSample(const Time_Typed& iTime)
{
    return CheckConverter() ? sTimeConverter->ToSample(iTime) : Time_Sample();
}

Time_Tick Time_Convert::ToTick(const Time_Typed& iTime)
{
    return CheckConverter() ? sTimeConverter->ToTick(iTime) : Time_Tick();
}

Time_Typed Time_Convert::ToFrames(const Time_Typed& iTime)
{
    return CheckConverter() ? sTimeConverter->ToFrames(iTime) : iTime;
}

Time_BarBeatTick Time_Convert::ToBarBeatTick(const Time_Typed& iTime)
{
    return CheckConverter() ? sTimeConverter->ToBarBeatTick(iTime) : Time_BarBeatTick();
}

Time_Typed Time_Convert::ToType(const Time_Typed& iTime, Time_EType iType)
{
    if (iTime.GetType() == iType) return iTime;
    return CheckConverter() ? sTimeConverter->ToType(iTime, iType) : iTime;
}

Time_Typed Time_Convert::ToType(Time_Sample iSample, Time_EType iType)
{
    return ToType(Time_Typed(iSample), iType);
}

Time_Typed Time_Convert::ToType(Time_Tick iTick, Time_EType iType)
{
    return ToType(Time_Typed(iTick), iType);
}

Time_Typed Time_Convert::ToType(const Time_BarBeatTick& iBBT, Time_EType iType)
{
    return CheckConverter() ? sTimeConverter->ToType(iBBT, iType) : Time_Typed(0, iType);
}

Time_Typed Time_Convert::ToTypeNotRounded(Time_Sample iSample, Time_EType iType)
{
    return CheckConverter() ? sTimeConverter->ToTypeNotRounded(iSample, iType) : iSample;
}

Time_Typed Time_Convert::ToFirstType(const Time_Typed& iTime, Time_EType iType)
{
    return CheckConverter() ? sTimeConverter->ToFirstType(iTime, iType) : iTime;
}

Time_Typed Time_Convert::ToMainCounterType(const Time_Typed& iTime)
{
    return CheckConverter() ? ToType(iTime, sTimeConverter->GetMainCounterType()) : iTime;
}

Time_Typed Time_Convert::ToMainCounterType(Time_Sample iSample)
{
    return ToMainCounterType(Time_Typed(iSample));
}

Time_Typed Time_Convert::ToMainCounterType(Time_Tick iTick) { return ToMainCounterType(Time_Typed(iTick)); }

Time_Typed Time_Convert::GetSessionStartTime(Time_EType iType)
{
    return CheckConverter() ? sTimeConverter->GetSessionStartTime(iType) : Time_Typed(0, iType);
}

Time_Typed Time_Convert::GetSessionEndTime(Time_EType iType)
{
    return CheckConverter() ? sTimeConverter->GetSessionEndTime(iType) : Time_Typed(0, iType);
}

Time_Typed Time_Convert::GetBarOneTime(Time_EType iType)
{
    return CheckConverter() ? sTimeConverter->GetBarOneTime(iType) : Time_Typed(0, iType);
}

bool Time_Convert::PinToValidSessionRange(Time_Typed& ioTime)
{
    return CheckConverter() && sTimeConverter->PinToValidSessionRange(ioTime);
}

Time_Typed Time_Convert::AddLength(const Time_Typed& iTime, const Time_TypedLength& iLength)
{
    return CheckConverter() ? sTimeConverter->AddLength(iTime, iLength) : iTime;
}

Time_Typed Time_Convert::SubtractLength(const Time_Typed& iTime, const Time_TypedLength& iLength)
{
    return CheckConverter() ? sTimeConverter->SubtractLength(iTime, iLength) : iTime;
}

Time_Typed Time_Convert::AddLength(const Time_Typed& iTime, const Time_BarBeatTick& iLength)
{
    return CheckConverter() ? sTimeConverter->AddLength(iTime, iLength) : iTime;
}

Time_Typed Time_Convert::SubtractLength(const Time_Typed& iTime, const Time_BarBeatTick& iLength)
{
    return CheckConverter() ? sTimeConverter->SubtractLength(iTime, iLength) : iTime;
}

// --- Many times

void Time_Convert::ToType(Time_TypedVector* ioTimes, Time_EType iType)
{
    if (!IsInType(ioTimes, iType) && CheckConverter()) sTimeConverter->ToType(ioTimes, iType);
}

void Time_Convert::ToSamples(Time_TypedVector* ioTimes) { ToType(ioTimes, Time_eType_Samples); }
void Time_Convert::ToTicks(Time_TypedVector* ioTimes) { ToType(ioTimes, Time_eType_Ticks); }
void Time_Convert::ToFrames(Time_TypedVector* ioTimes) { ToType(ioTimes, Time_eType_Frames); }

void Time_Convert::AddLength(Time_TypedVector* ioTimes, const Time_TypedLength& iLength)
{
    if (CheckConverter()) sTimeConverter->AddLength(ioTimes, iLength);
}

void Time_Convert::SubtractLength(Time_TypedVector* ioTimes, const Time_TypedLength& iLength)
{
    if (CheckConverter()) sTimeConverter->SubtractLength(ioTimes, iLength);
}

void Time_Convert::AddTime(Time_TypedVector* ioTimes, const Time_Typed& iTime)
{
    if (CheckConverter()) sTimeConverter->AddTime(ioTimes, iTime);
}

void Time_Convert::SubtractTime(Time_TypedVector* ioTimes, const Time_Typed& iTime)
{
    if (CheckConverter()) sTimeConverter->SubtractTime(ioTimes, iTime);
}

// --- Snaps

Time_Typed Time_Convert::QuantizeToSample(const Time_Typed& iTime)
{
    if (!CheckConverter() || iTime.GetType() == Time_eType_Samples) return iTime;
    return ToType(sTimeConverter->ToSample(iTime), iTime.GetType());
}

Time_Typed Time_Convert::QuantizeToFrame(const Time_Typed& iTime)
{
    if (!CheckConverter() || iTime.GetType() == Time_eType_Frames) return iTime;
    return ToType(sTimeConverter->ToFrames(iTime), iTime.GetType());
}

Time_Typed Time_Convert::AdjustToTickBoundary(const Time_Typed& iTime)
{
    if (!CheckConverter() || iTime.GetType() == Time_eType_Ticks) return iTime;
    return ToType(sTimeConverter->ToTick(iTime), iTime.GetType());
}

Time_Typed Time_Convert::SnapToDisplayTick(const Time_Typed& iTime)
{
    if (!CheckConverter() || iTime.GetType() != Time_eType_Ticks) return iTime;
    const Time_Tick displayTick = NearestDisplayTick(iTime.AsTick());
    return ToSample(displayTick) == ToSample(iTime) ? displayTick : iTime;
}

Time_Typed Time_Convert::ToTickTimeWithDisplaySnap(const Time_Typed& iTime)
{
    if (!CheckConverter() || iTime.GetType() == Time_eType_Ticks) return iTime;
    const Time_Sample sample = ToSample(iTime);
    const Time_Tick exactTick = ToTick(sample);
    if (Time_Typed(sample) == GetSessionStartTime(Time_eType_Samples)) return exactTick;
    const Time_Tick displayTick = NearestDisplayTick(exactTick);
    return ToSample(displayTick) == sample ? displayTick : exactTick;
}

// --- Scopes

Time_Convert::StTempoMap::StTempoMap(Time_TempoMap* iMap)
    : mMap(iMap)
{
    if (sTimeConverter == nullptr) {
        mOwnedConverter = std::make_unique<Time_Converter>();
        if (mMap != nullptr)
            mOwnedConverter->SetTempoMap(mMap);
        else
            mOwnedConverter->UseDefaultMaps();
        sTimeConverter = mOwnedConverter.get();
    } else if (mMap != nullptr) {
        mDisplacedMap = sTimeConverter->GetTempoMap();
        sTimeConverter->SetTempoMap(mMap);
    }
}

Time_Convert::StTempoMap::~StTempoMap()
{
    if (mOwnedConverter != nullptr)
        sTimeConverter = nullptr;
    else if (mDisplacedMap != nullptr && sTimeConverter != nullptr)
        sTimeConverter->SetTempoMap(mDisplacedMap);
}
