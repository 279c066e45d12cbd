// Time_Tick: a musical position in internal ticks from the session's origin.
//
// Units:      internal ticks, 960000 to a quarter note; valid positions run from -(2^59 - 1) to 2^59 - 1.
// Arithmetic: wraps in 64 bits and checks nothing; only PinToValidRange enforces the limits. A length added
//             or subtracted counts as it stands, whatever its tick type.
#pragma once

#include "Kora/Time/Values/Time_TickLength.h"

class [[nodiscard]] Time_Tick
{
public:
    constexpr Time_Tick() = default;
    // That internal tick.
    constexpr explicit Time_Tick(Cmn_Int64 iTicks)
        : mTicks(iTicks)
    {
    }

    constexpr Cmn_Int64 AsInt64() const { return mTicks; }

    // One internal tick.
    constexpr Time_Tick& operator++() { return *this = Time_Tick(Cmn_WrapAdd<Cmn_Int64>(mTicks, 1)); }
    constexpr Time_Tick& operator--() { return *this = Time_Tick(Cmn_WrapSub<Cmn_Int64>(mTicks, 1)); }
    constexpr Time_Tick operator++(int)
    {
        const Time_Tick old = *this;
        ++*this;
        return old;
    }
    constexpr Time_Tick operator--(int)
    {
        const Time_Tick old = *this;
        --*this;
        return old;
    }

    constexpr Time_Tick& operator+=(const Time_TickLength& iLength) { return *this = *this + iLength; }
    constexpr Time_Tick& operator-=(const Time_TickLength& iLength) { return *this = *this - iLength; }
    friend constexpr Time_Tick operator+(Time_Tick iAt, const Time_TickLength& iLength)
    {
        return Time_Tick(Cmn_WrapAdd(iAt.mTicks, iLength.AsInt64()));
    }
    friend constexpr Time_Tick operator-(Time_Tick iAt, const Time_TickLength& iLength)
    {
        return Time_Tick(Cmn_WrapSub(iAt.mTicks, iLength.AsInt64()));
    }
    // Internal ticks.
    friend constexpr Time_TickLength operator-(Time_Tick iA, Time_Tick iB)
    {
        return Time_TickLength(Cmn_WrapSub(iA.mTicks, iB.mTicks));
    }
    friend constexpr auto operator<=>(Time_Tick, Time_Tick) = default;

    // At or above the maximum becomes the maximum, at or below the minimum the minimum.
    KORA_API void PinToValidRange();

    // "tick 960000"
    [[nodiscard]] KORA_API std::string Dump() const;

    // <iName unit="Ticks">960000</iName>
    [[nodiscard]] KORA_API Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // The count alone, plain decimal.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, Time_Tick iTime);

private:
    Cmn_Int64 mTicks = 0;
};

inline constexpr Time_Tick Time_cZeroTick{};

template <>
struct std::hash<Time_Tick>
{
    std::size_t operator()(Time_Tick iTime) const noexcept { return std::hash<Cmn_Int64>()(iTime.AsInt64()); }
};
