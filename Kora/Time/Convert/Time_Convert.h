// Time_Convert: the document's converter from anywhere, so that maps need not be carried around.
//
// Every operation goes to the one converter in use. Without one it asserts "sTimeConverter != 0" and returns
// its argument, or 0 where it returns no typed time of its argument. A time already in the unit asked for
// comes back from ToType, ToMainCounterType and the vector forms without the converter being asked.
//
// Units:      as in Time_Converter.
// Threads:    the thread that owns the document's maps.
// Ownership:  borrows the converter in use; the default converter lives until the process ends.
#pragma once

#include "Kora/Time/Convert/Time_Converter.h"

class KORA_API Time_Convert
{
public:
    class StTempoMap;

    Time_Convert() = delete;

    // Null brings in the default converter, which uses the library's default tempo and
    // meter map and is made then.
    static void SetTimeConverter(Time_Converter* iConverter);
    // The converter in use; null before the first SetTimeConverter, outside of all StTempoMap scopes.
    static Time_Converter* GetTimeConverter() { return sTimeConverter; }
    static Time_TempoMap* GetTempoMap();
    static Time_MeterMap* GetMeterMap();
    static Time_EType GetMainCounterType();

    // --- What Time_Converter does
    // Each is the function of that name of the converter in use.

    static Time_Sample ToSample(const Time_Typed& iTime);
    static Time_Tick ToTick(const Time_Typed& iTime);
    static Time_Typed ToFrames(const Time_Typed& iTime);
    static Time_BarBeatTick ToBarBeatTick(const Time_Typed& iTime);
    static Time_Typed ToType(const Time_Typed& iTime, Time_EType iType);
    static Time_Typed ToType(Time_Sample iSample, Time_EType iType);
    static Time_Typed ToType(Time_Tick iTick, Time_EType iType);
    static Time_Typed ToType(const Time_BarBeatTick& iBBT, Time_EType iType);
    static Time_Typed ToTypeNotRounded(Time_Sample iSample, Time_EType iType);
    static Time_Typed ToFirstType(const Time_Typed& iTime, Time_EType iType);
    static Time_Typed ToMainCounterType(const Time_Typed& iTime);
    static Time_Typed ToMainCounterType(Time_Sample iSample);
    static Time_Typed ToMainCounterType(Time_Tick iTick);

    static Time_Typed GetSessionStartTime(Time_EType iType);
    static Time_Typed GetSessionEndTime(Time_EType iType);
    static Time_Typed GetBarOneTime(Time_EType iType);
    static bool PinToValidSessionRange(Time_Typed& ioTime);

    static Time_Typed AddLength(const Time_Typed& iTime, const Time_TypedLength& iLength);
    static Time_Typed SubtractLength(const Time_Typed& iTime, const Time_TypedLength& iLength);
    static Time_Typed AddLength(const Time_Typed& iTime, const Time_BarBeatTick& iLength);
    static Time_Typed SubtractLength(const Time_Typed& iTime, const Time_BarBeatTick& iLength);

    static void ToType(Time_TypedVector* ioTimes, Time_EType iType);
    static void ToSamples(Time_TypedVector* ioTimes);
    static void ToTicks(Time_TypedVector* ioTimes);
    static void ToFrames(Time_TypedVector* ioTimes);
    static void AddLength(Time_TypedVector* ioTimes, const Time_TypedLength& iLength);
    static void SubtractLength(Time_TypedVector* ioTimes, const Time_TypedLength& iLength);
    static void AddTime(Time_TypedVector* ioTimes, const Time_Typed& iTime);
    static void SubtractTime(Time_TypedVector* ioTimes, const Time_Typed& iTime);

    // --- Snaps, in the time's own unit
    // They are idempotent as long as the other unit is the coarser one.

    // To the samples that audio is cut at: there and back. A time in samples stays.
    static Time_Typed QuantizeToSample(const Time_Typed& iTime);
    static Time_Typed QuantizeToFrame(const Time_Typed& iTime);      // the same by frames
    static Time_Typed AdjustToTickBoundary(const Time_Typed& iTime); // the same by internal ticks

    // Ticks to the nearest display tick (1000 ticks), if that moves no audio: both must be at the same
    // sample. Other units stay.
    static Time_Typed SnapToDisplayTick(const Time_Typed& iTime);
    // The ticks of a time: the nearest display tick where it is at the time's very sample, else the exact
    // tick, which the session start (sample 0) always gives. Ticks stay.
    static Time_Typed ToTickTimeWithDisplaySnap(const Time_Typed& iTime);

private:
    static bool CheckConverter();

    static Time_Converter* sTimeConverter;
    static Time_Converter* sDefaultTimeConverter;
};

// Conversions of a scope go through another tempo map:
//
//     {
//         Time_Convert::StTempoMap scope(&oldMap);
//         … Time_Convert::ToSample(tick) …            // by oldMap
//     }                                               // by the map of before
//
// Without a converter in use the scope brings one of its own (with the map alone, or with empty maps of its
// own when iMap is null) and leaves none in use behind. With one in use, null changes nothing. Scopes nest.
class KORA_API_NODISCARD Time_Convert::StTempoMap
{
public:
    // Until the scope ends. The map outlives it.
    explicit StTempoMap(Time_TempoMap* iMap);
    ~StTempoMap();
    StTempoMap(const StTempoMap&) = delete;
    StTempoMap& operator=(const StTempoMap&) = delete;

private:
    Time_TempoMap* mDisplacedMap = nullptr;
    Time_TempoMap* mMap;
    std::unique_ptr<Time_Converter> mOwnedConverter;
};
