// Cmn_FloatMath: how doubles become integers here, the same on every platform.
//
// Out-of-range values saturate and NaN is 0. The standard library's round functions are kept out: they differ
// between platforms next to one half.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <limits>

// Truncates toward zero.
[[nodiscard]] constexpr Cmn_Int64 Cmn_Float64ToInt64(double iValue)
{
    constexpr double cTwoTo63 = 9223372036854775808.0;
    if (iValue >= -cTwoTo63 && iValue < cTwoTo63) [[likely]]
        return static_cast<Cmn_Int64>(iValue);
    if (iValue != iValue) return 0;
    return iValue < 0 ? (std::numeric_limits<Cmn_Int64>::min)() : (std::numeric_limits<Cmn_Int64>::max)();
}

// Truncates toward zero.
[[nodiscard]] constexpr Cmn_Int32 Cmn_Float64ToInt32(double iValue)
{
    if (iValue >= -2147483648.0 && iValue < 2147483648.0) [[likely]]
        return static_cast<Cmn_Int32>(iValue);
    if (iValue != iValue) return 0;
    return iValue < 0 ? (std::numeric_limits<Cmn_Int32>::min)() : (std::numeric_limits<Cmn_Int32>::max)();
}

// Rounds toward minus infinity: what Cmn_Float64ToInt64(std::floor(iValue)) gives, without the library call.
[[nodiscard]] constexpr Cmn_Int64 Cmn_FloorToInt64(double iValue)
{
    const Cmn_Int64 truncated = Cmn_Float64ToInt64(iValue);
    // Only values below 2^52 have a fraction, so the step down cannot wrap.
    return static_cast<double>(truncated) > iValue && truncated > (std::numeric_limits<Cmn_Int64>::min)()
               ? truncated - 1
               : truncated;
}

// Rounds to the nearest integer, halves upward: 0.5 is 1, -0.5 is 0.
// It is floor(iValue + 0.5) with the sum as a double, which every platform forms alike. Where that sum has no
// place for the half it is rounded: the double just below one half gives 1, and the odd integers between 2^52
// and 2^53, of either sign, give the next integer up. Vector code does the same.
[[nodiscard]] constexpr Cmn_Int64 Cmn_RoundHalfUp(double iValue) { return Cmn_FloorToInt64(iValue + 0.5); }
