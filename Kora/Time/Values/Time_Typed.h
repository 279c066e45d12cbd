// Time_Typed: a position on the session's time line that carries its unit, and the limits of all three units.
//
// Units:   samples, internal ticks or frames, by GetType.
// Limits:  built once by Init, which Kora_Init::Init calls; read only afterwards. Until then they
//          are 0, and what meets them here or in a conversion asserts "Kora_Init::sInitializedCount
//          > 0" and goes on with that.
//
//            unit      minimum       maximum
//            samples   0             34359738367, or 2147483647 with the start-up option
//                      "Use24HourTimeline" at 0
//            ticks     -(2^59 - 1)   2^59 - 1
//            frames    -(2^59 - 1)   2^59 - 1
//
// Threads: Init and SetMaxSessionSample belong to the host's start-up thread; everything else runs anywhere.
#pragma once

#include "Kora/Time/Values/Time_TypedBase.h"

class [[nodiscard]] Time_Typed : public Time_TypedBase<Time_Typed>
{
public:
    // 0 samples.
    constexpr Time_Typed() = default;
    constexpr Time_Typed(Cmn_Int64 iCount, Time_EType iType)
        : Time_TypedBase(iCount, iType)
    {
    }
    constexpr Time_Typed(Time_Sample iSample)
        : Time_TypedBase(iSample.AsInt64(), Time_eType_Samples)
    {
    }
    constexpr Time_Typed(Time_Tick iTick)
        : Time_TypedBase(iTick.AsInt64(), Time_eType_Ticks)
    {
    }

    // At or above its unit's maximum becomes the maximum, at or below the minimum the minimum. An invalid
    // unit asserts "0" and changes nothing.
    KORA_API void PinToValidRange();

    // Builds limits and unit names the first time, and does nothing later on.
    KORA_API static void Init();

    // The least time of a unit, which must be valid.
    KORA_API static Time_Typed MinTime(Time_EType iType);
    // The greatest time of a unit, which must be valid.
    KORA_API static Time_Typed MaxTime(Time_EType iType);
    // The localised name of a unit, which must be valid.
    KORA_API static const std::string& GetTimeTypedString(Time_EType iType);

    // iSample, or the maximum of samples where that is less.
    KORA_API static Time_Sample AtMostTheMaximum(Time_Sample iSample);

    // The last sample a session may reach. Setting it does nothing with "Use24HourTimeline" at 0.
    // Deliberate: the limit being replaced is the one that is checked. Test: SessionLimitChecksTheOldValue
    KORA_API static Time_Sample GetMaxSessionSample();
    KORA_API static void SetMaxSessionSample(const Time_Sample& iSample);

private:
    static const Time_Typed& Checked(const Time_Typed& iLimit);

    static Time_Typed sMinTimes[3];
    static Time_Typed sMaxTimes[3];
    static Time_Sample sMaxSessionSample;
    static bool sInited;
};

// Times of two units that count the same have the same; they do not compare.
template <>
struct std::hash<Time_Typed>
{
    std::size_t operator()(const Time_Typed& iTime) const noexcept
    {
        return std::hash<Cmn_Int64>()(iTime.AsInt64());
    }
};
