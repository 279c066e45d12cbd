#include "Bastel/Sys/Sys_Crc32C_p.h"
#include "Bastel/Sys/Sys_Processor_p.h"

#include <array>

namespace {

using namespace Sys_Crc32CField;

// Row 0: the remainder of one byte; row k: of that byte and k zero bytes behind it.
using Table = std::array<std::array<Cmn_UInt32, 256>, 16>;

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

constexpr Table cTable = MakeTable();

// The remainder of 4 bytes, the first in the lowest bits, with iZeros zero bytes behind them.
Cmn_UInt32 RemainderOf(Cmn_UInt32 iBytes, std::size_t iZeros)
{
    return (cTable[iZeros + 3][iBytes & 0xFF] ^ cTable[iZeros + 2][iBytes >> 8 & 0xFF]) ^
           (cTable[iZeros + 1][iBytes >> 16 & 0xFF] ^ cTable[iZeros][iBytes >> 24]);
}

Cmn_UInt32 Load(const Cmn_UInt8* iBytes)
{
    return iBytes[0] | iBytes[1] << 8 | iBytes[2] << 16 | static_cast<Cmn_UInt32>(iBytes[3]) << 24;
}

constexpr Sys_Crc32CDigitShifts MakeShifts()
{
    Sys_Crc32CDigitShifts shifts{};
    Cmn_UInt32 step = cOne >> 8; // x^8
    for (auto& row : shifts.mAt) {
        Cmn_UInt32 power = cOne;
        for (Cmn_UInt32& shift : row) {
            shift = Multiply(OverX33(), power);
            power = Multiply(power, step);
        }
        step = power;
    }
    return shifts;
}

// Every fourth bit of each factor goes into one of 16 ordinary products: a column adds up to 8 ones, which is
// below 16 and so never reaches the next column.
Cmn_UInt64 CarrylessProduct(Cmn_UInt32 iA, Cmn_UInt32 iB)
{
    constexpr Cmn_UInt64 cMasks[4] = {0x1111111111111111, 0x2222222222222222, 0x4444444444444444,
                                      0x8888888888888888};
    Cmn_UInt64 product = 0;
    for (std::size_t column = 0; column < 4; ++column) {
        Cmn_UInt64 sum = 0;
        for (std::size_t i = 0; i < 4; ++i)
            sum ^= (iA & cMasks[i]) * (iB & cMasks[(column + 4 - i) % 4]);
        product |= sum & cMasks[column];
    }
    return product;
}

// The remainder of a product, as that of 8 bytes.
Cmn_UInt32 Reduce(Cmn_UInt64 iProduct)
{
    return RemainderOf(static_cast<Cmn_UInt32>(iProduct), 4) ^
           RemainderOf(static_cast<Cmn_UInt32>(iProduct >> 32), 0);
}

} // namespace

Cmn_UInt32 Sys_Crc32CPlain(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount)
{
    for (; iCount >= 16; iCount -= 16, iBytes += 16) {
        const Cmn_UInt32 rest = RemainderOf(Load(iBytes + 4), 8) ^ RemainderOf(Load(iBytes + 8), 4) ^
                                RemainderOf(Load(iBytes + 12), 0);
        iRemainder = RemainderOf(Load(iBytes) ^ iRemainder, 12) ^ rest;
    }
    for (; iCount >= 4; iCount -= 4, iBytes += 4)
        iRemainder = RemainderOf(Load(iBytes) ^ iRemainder, 0);
    for (; iCount > 0; --iCount, ++iBytes)
        iRemainder = iRemainder >> 8 ^ cTable[0][(iRemainder ^ *iBytes) & 0xFF];
    return iRemainder;
}

bool Sys_ProcessorHasCrc32C()
{
    constexpr Cmn_UInt32 cPclmulqdq = 1u << 1, cSse42 = 1u << 20;
    return (~Sys_AskProcessor(1).mC & (cPclmulqdq | cSse42)) == 0;
}

constinit const Sys_Crc32CDigitShifts Sys_Crc32CDigitShiftTable = MakeShifts();

Cmn_UInt32 Sys_Crc32CShiftPlain(Cmn_UInt32 iRemainder, Cmn_UInt64 iZeros)
{
    for (std::size_t digit = 0; iZeros != 0; ++digit, iZeros >>= 6)
        iRemainder = Reduce(CarrylessProduct(iRemainder, Sys_Crc32CDigitShiftTable.mAt[digit][iZeros & 63]));
    return iRemainder;
}
