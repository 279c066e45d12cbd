// Time_TypedLocal: a typed position from the start of a container, kept apart from positions on
// the session's time line.
//
// Units: samples, internal ticks or frames, by GetType.
#pragma once

#include "Kora/Time/Values/Time_Typed.h"

class [[nodiscard]] Time_TypedLocal : public Time_TypedBase<Time_TypedLocal>
{
public:
    // 0 samples.
    constexpr Time_TypedLocal() = default;
    // 0 of that unit.
    constexpr explicit Time_TypedLocal(Time_EType iType)
        : Time_TypedBase(0, iType)
    {
    }
    constexpr Time_TypedLocal(Cmn_Int64 iCount, Time_EType iType)
        : Time_TypedBase(iCount, iType)
    {
    }
    constexpr Time_TypedLocal(Time_Sample iSample)
        : Time_TypedBase(iSample.AsInt64(), Time_eType_Samples)
    {
    }
    constexpr Time_TypedLocal(Time_Tick iTick)
        : Time_TypedBase(iTick.AsInt64(), Time_eType_Ticks)
    {
    }

    // Count and unit as they stand, with no container's start taken off or put back.
    constexpr explicit Time_TypedLocal(const Time_Typed& iTime)
        : Time_TypedBase(iTime.AsInt64(), iTime.GetType())
    {
    }
    // The same count as a global position: who knows where the local ones begin adds that.
    constexpr Time_Typed AsTimeTyped() const { return Time_Typed(AsInt64(), GetType()); }
};

// Times of two units that count the same have the same; they do not compare.
template <>
struct std::hash<Time_TypedLocal>
{
    std::size_t operator()(const Time_TypedLocal& iTime) const noexcept
    {
        return std::hash<Cmn_Int64>()(iTime.AsInt64());
    }
};
