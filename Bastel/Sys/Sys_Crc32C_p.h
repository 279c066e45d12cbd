// Sys_Crc32CKernel: the ways to compute CRC-32C, for the choice between them and for the
// tests that compare them.
//
// Kernels work on the raw remainder, without the complements at start and end. A remainder is a polynomial
// over GF(2) of degree 31 at most, bit 31 being the coefficient of 1 and bit 0 that of x^31.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <atomic>
#include <cstddef>

using Sys_Crc32CKernel = Cmn_UInt32 (*)(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount);

// Any processor: tables for 16 bytes at a time.
Cmn_UInt32 Sys_Crc32CPlain(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount);
// The crc32 instruction on three stretches at a time. Only where Sys_ProcessorHasCrc32C.
Cmn_UInt32 Sys_Crc32CSse42(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount);
bool Sys_ProcessorHasCrc32C();
// The best one here; from the first call on, which chooses.
extern std::atomic<Sys_Crc32CKernel> Sys_Crc32CBestKernel;

// The ways to the remainder of what iRemainder is of with iZeros zero bytes behind it.
using Sys_Crc32CShifter = Cmn_UInt32 (*)(Cmn_UInt32 iRemainder, Cmn_UInt64 iZeros);

Cmn_UInt32 Sys_Crc32CShiftPlain(Cmn_UInt32 iRemainder, Cmn_UInt64 iZeros);
// One carryless product a factor. Only where Sys_ProcessorHasCrc32C.
Cmn_UInt32 Sys_Crc32CShiftSse42(Cmn_UInt32 iRemainder, Cmn_UInt64 iZeros);

// x^(8 * d * 64^k - 33) at [k][d]: one factor for each base-64 digit of a length in bytes.
struct Sys_Crc32CDigitShifts
{
    Cmn_UInt32 mAt[11][64];
};
extern const Sys_Crc32CDigitShifts Sys_Crc32CDigitShiftTable;

namespace Sys_Crc32CField {

// x^32 modulo the polynomial.
constexpr Cmn_UInt32 cPolynomial = 0x82F63B78;
constexpr Cmn_UInt32 cOne = 0x80000000;

constexpr Cmn_UInt32 TimesX(Cmn_UInt32 iA) { return (iA >> 1) ^ ((iA & 1) != 0 ? cPolynomial : 0); }

// The polynomial has the term 1, so that x has an inverse.
constexpr Cmn_UInt32 OverX(Cmn_UInt32 iA)
{
    return (iA & cOne) != 0 ? ((iA ^ cPolynomial) << 1) | 1 : iA << 1;
}

constexpr Cmn_UInt32 Multiply(Cmn_UInt32 iA, Cmn_UInt32 iB)
{
    Cmn_UInt32 product = 0;
    for (Cmn_UInt32 bit = cOne; bit != 0; bit >>= 1, iA = TimesX(iA))
        product ^= (iB & bit) != 0 ? iA : 0;
    return product;
}

// x^-33. Reflected factors multiply without carry to a product of one x too many, and taking the remainder of
// 8 bytes brings x^32 more: constants that are multiplied in this way carry the inverse of both.
constexpr Cmn_UInt32 OverX33()
{
    Cmn_UInt32 power = cOne;
    for (int i = 0; i < 33; ++i)
        power = OverX(power);
    return power;
}

} // namespace Sys_Crc32CField
