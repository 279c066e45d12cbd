// Sys_Crc32CKernel: the ways to compute CRC-32C, for the choice between them and for the tests that compare them.
//
// Kernels work on the raw remainder, without the complements at start and end. A remainder is a polynomial over GF(2)
// of degree 31 at most, bit 31 being the coefficient of 1 and bit 0 that of x^31.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <array>
#include <cstddef>

using Sys_Crc32CKernel = Cmn_UInt32 (*)(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount);

// Any processor: tables of 8 bytes at a time.
Cmn_UInt32 Sys_Crc32CPlain(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount);

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

// Row 0: the remainder of one byte; row k: of that byte and k zero bytes behind it.
using Table = std::array<std::array<Cmn_UInt32, 256>, 8>;

constexpr Table MakeTable()
{
    Table table{};
    for (Cmn_UInt32 byte = 0; byte < 256; ++byte) {
        Cmn_UInt32 remainder = byte;
        for (std::array<Cmn_UInt32, 256>& row : table) {
            for (int bit = 0; bit < 8; ++bit)
                remainder = TimesX(remainder);
            row[byte] = remainder;
        }
    }
    return table;
}

} // namespace Sys_Crc32CField
