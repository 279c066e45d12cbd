// Cmn_IntMath: the integer arithmetic of times, defined for every operand.
//
// Sums and products of times wrap in two's complement; the plain operators would be undefined there. Division by
// zero is reported and gives 0; the smallest integer divided by -1 wraps to itself.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Types.h"

#include <concepts>
#include <type_traits>

template <std::signed_integral T>
constexpr T Cmn_WrapAdd(T iA, T iB)
{
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(static_cast<U>(iA) + static_cast<U>(iB)));
}

template <std::signed_integral T>
constexpr T Cmn_WrapSub(T iA, T iB)
{
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(static_cast<U>(iA) - static_cast<U>(iB)));
}

template <std::signed_integral T>
constexpr T Cmn_WrapMul(T iA, T iB)
{
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(static_cast<U>(iA) * static_cast<U>(iB)));
}

template <std::signed_integral T>
constexpr T Cmn_WrapNeg(T iA)
{
    return Cmn_WrapSub(T{0}, iA);
}

// Quotient truncated toward zero.
template <std::signed_integral T>
constexpr T Cmn_TruncDiv(T iA, T iB)
{
    if (!Cmn_ASSERT_TEXT(iB != 0, "divisor != 0")) return 0;
    return iB == -1 ? Cmn_WrapNeg(iA) : static_cast<T>(iA / iB);
}

// Remainder with the sign of the dividend.
template <std::signed_integral T>
constexpr T Cmn_TruncMod(T iA, T iB)
{
    if (!Cmn_ASSERT_TEXT(iB != 0, "divisor != 0")) return 0;
    return iB == -1 ? T{0} : static_cast<T>(iA % iB);
}

// Quotient rounded toward minus infinity.
template <std::signed_integral T>
constexpr T Cmn_FloorDiv(T iA, T iB)
{
    const T quotient = Cmn_TruncDiv(iA, iB);
    return Cmn_TruncMod(iA, iB) != 0 && (iA < 0) != (iB < 0) ? static_cast<T>(quotient - 1) : quotient;
}
