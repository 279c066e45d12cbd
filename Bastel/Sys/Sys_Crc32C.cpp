#include "Bastel/Sys/Sys_Crc32C.h"

#include "Bastel/Sys/Sys_Crc32C_p.h"

namespace {

using namespace Sys_Crc32CField;

constexpr Table cTable = MakeTable();

// The remainder of 8 bytes, the first in the lowest bits.
Cmn_UInt32 RemainderOf(Cmn_UInt64 iBytes)
{
    Cmn_UInt32 remainder = 0;
    for (std::size_t row = 8; row-- > 0; iBytes >>= 8)
        remainder ^= cTable[row][iBytes & 0xFF];
    return remainder;
}

Cmn_UInt64 Load(const Cmn_UInt8* iBytes)
{
    Cmn_UInt64 value = 0;
    for (std::size_t i = 8; i-- > 0;)
        value = value << 8 | iBytes[i];
    return value;
}

// x^(8 * d * 64^k - 33) at [k][d]. A product of two reflected factors comes out of a carry-less multiplication as
// one of x^-1, and RemainderOf adds x^32: the constants hold the inverse of both.
using Shifts = std::array<std::array<Cmn_UInt32, 64>, 11>;

constexpr Shifts MakeShifts()
{
    Cmn_UInt32 none = cOne;
    for (int i = 0; i < 33; ++i)
        none = OverX(none);
    Cmn_UInt32 step = cOne >> 8;
    Shifts shifts{};
    for (std::array<Cmn_UInt32, 64>& row : shifts) {
        Cmn_UInt32 power = cOne;
        for (Cmn_UInt32& shift : row) {
            shift = Multiply(none, power);
            power = Multiply(power, step);
        }
        step = power;
    }
    return shifts;
}

constexpr Shifts cShifts = MakeShifts();

// Carry-less product of two 32-bit factors. Every fourth bit of each goes into one of 16 ordinary products: a column
// adds up to 8 ones, which is below 16 and so never reaches the next column.
Cmn_UInt64 CarrylessProduct(Cmn_UInt32 iA, Cmn_UInt32 iB)
{
    constexpr Cmn_UInt64 cMask[4] = {0x1111111111111111, 0x2222222222222222, 0x4444444444444444,
                                     0x8888888888888888};
    Cmn_UInt64 product = 0;
    for (unsigned column = 0; column < 4; ++column) {
        Cmn_UInt64 sum = 0;
        for (unsigned i = 0; i < 4; ++i)
            sum ^= (iA & cMask[i]) * (iB & cMask[(column + 4 - i) % 4]);
        product |= sum & cMask[column];
    }
    return product;
}

} // namespace

Cmn_UInt32 Sys_Crc32CPlain(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount)
{
    for (; iCount >= 8; iCount -= 8, iBytes += 8)
        iRemainder = RemainderOf(Load(iBytes) ^ iRemainder);
    for (; iCount > 0; --iCount, ++iBytes)
        iRemainder = iRemainder >> 8 ^ cTable[0][(iRemainder ^ *iBytes) & 0xFF];
    return iRemainder;
}

Cmn_UInt32 Sys_Crc32C(Cmn_UInt32 iSumOfA, const void* iB, std::size_t iCountOfB)
{
    return ~Sys_Crc32CPlain(~iSumOfA, static_cast<const Cmn_UInt8*>(iB), iCountOfB);
}

Cmn_UInt32 Sys_Crc32CCombine(Cmn_UInt32 iSumOfA, Cmn_UInt32 iSumOfB, Cmn_UInt64 iCountOfB)
{
    for (std::size_t digit = 0; iCountOfB != 0; ++digit, iCountOfB >>= 6)
        iSumOfA = RemainderOf(CarrylessProduct(iSumOfA, cShifts[digit][iCountOfB & 63]));
    return iSumOfA ^ iSumOfB;
}
