// Cmn_IntMath: the integer arithmetic of times, defined for every operand.
//
// Sums and products of times wrap in two's complement; the plain operators would be undefined there. Division
// by zero is reported and gives 0; the smallest integer divided by -1 wraps to itself.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Types.h"

#include <concepts>
#include <type_traits>

// The sum, in two's complement.
template <std::signed_integral T>
[[nodiscard]] constexpr T Cmn_WrapAdd(T iA, T iB)
{
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(static_cast<U>(iA) + static_cast<U>(iB)));
}

// The difference, in two's complement.
template <std::signed_integral T>
[[nodiscard]] constexpr T Cmn_WrapSub(T iA, T iB)
{
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(static_cast<U>(iA) - static_cast<U>(iB)));
}

// The product, in two's complement.
template <std::signed_integral T>
[[nodiscard]] constexpr T Cmn_WrapMul(T iA, T iB)
{
    // At least unsigned int: narrower operands would be promoted to int, whose product can overflow.
    using U = std::common_type_t<std::make_unsigned_t<T>, unsigned>;
    return static_cast<T>(static_cast<U>(iA) * static_cast<U>(iB));
}

// The negative; the smallest integer is its own.
template <std::signed_integral T>
[[nodiscard]] constexpr T Cmn_WrapNeg(T iA)
{
    return Cmn_WrapSub(T{0}, iA);
}

// Quotient truncated toward zero.
template <std::signed_integral T>
[[nodiscard]] constexpr T Cmn_TruncDiv(T iA, T iB)
{
    if (!Cmn_ASSERT_TEXT(iB != 0, "divisor != 0")) return 0;
    return iB == -1 ? Cmn_WrapNeg(iA) : static_cast<T>(iA / iB);
}

// Remainder with the sign of the dividend.
template <std::signed_integral T>
[[nodiscard]] constexpr T Cmn_TruncMod(T iA, T iB)
{
    if (!Cmn_ASSERT_TEXT(iB != 0, "divisor != 0")) return 0;
    return iB == -1 ? T{0} : static_cast<T>(iA % iB);
}

// Quotient rounded toward minus infinity.
template <std::signed_integral T>
[[nodiscard]] constexpr T Cmn_FloorDiv(T iA, T iB)
{
    const T quotient = Cmn_TruncDiv(iA, iB);
    // What is left over after truncation has the dividend's sign; no quotient by 0 or -1 leaves any.
    const bool isExact = iB == 0 || iB == -1 || iA % iB == 0;
    return isExact || (iA < 0) == (iB < 0) ? quotient : static_cast<T>(quotient - 1);
}
