// ExactRatio: products and quotients of 128 bits, so that conversions can be judged without a rounding of their own.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

// Unsigned, high and low half.
struct Wide
{
    Cmn_UInt64 high = 0, low = 0;

    static Wide Product(Cmn_UInt64 iA, Cmn_UInt64 iB)
    {
        const Cmn_UInt64 a0 = iA & 0xFFFFFFFF, a1 = iA >> 32, b0 = iB & 0xFFFFFFFF, b1 = iB >> 32;
        const Cmn_UInt64 middle = a1 * b0 + (a0 * b0 >> 32), other = a0 * b1 + (middle & 0xFFFFFFFF);
        return {a1 * b1 + (middle >> 32) + (other >> 32), (other << 32) | (a0 * b0 & 0xFFFFFFFF)};
    }
    Wide Plus(Cmn_UInt64 iB) const { return {high + (low + iB < low), low + iB}; }
};

struct Ratio
{
    Cmn_UInt64 whole, rest; // rest of the divisor
};

// Long division, bit by bit. The quotient fits 64 bits and the divisor 63.
inline Ratio Divide(const Wide& iA, Cmn_UInt64 iDivisor)
{
    Ratio result{0, 0};
    for (int bit = 127; bit >= 0; --bit) {
        const Cmn_UInt64 next = (bit >= 64 ? iA.high >> (bit - 64) : iA.low >> bit) & 1;
        result.rest = result.rest * 2 + next;
        result.whole = result.whole * 2 + (result.rest >= iDivisor);
        if (result.rest >= iDivisor) result.rest -= iDivisor;
    }
    return result;
}
