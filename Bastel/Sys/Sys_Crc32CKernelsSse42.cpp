// Compiled for processors with SSE4.2 and PCLMULQDQ; reached only where Sys_ProcessorHasCrc32C.
#include "Bastel/Sys/Sys_Crc32C_p.h"

#include <cstring>
#include <immintrin.h>

namespace {

using namespace Sys_Crc32CField;

constexpr std::size_t cFewestWords = 12; // below, joining three parts costs more than it saves
constexpr std::size_t cMostInPart = 256;

// x^(64 * n - 33) at [n]: moves a remainder over n words of 8 bytes. No std::array: its functions, compiled
// here for newer processors, could be the copies that the linker keeps for everybody.
struct WordShifts
{
    Cmn_UInt32 mAt[2 * cMostInPart + 1];
};

constexpr WordShifts MakeShifts()
{
    WordShifts shifts{};
    Cmn_UInt32 power = OverX33();
    constexpr Cmn_UInt32 cX64 = Multiply(Multiply(cOne >> 31, cOne >> 31), cOne >> 2);
    for (Cmn_UInt32& shift : shifts.mAt) {
        shift = power;
        power = Multiply(power, cX64);
    }
    return shifts;
}

constexpr WordShifts cShifts = MakeShifts();

template <typename Word>
Word Load(const Cmn_UInt8* iBytes)
{
    Word value;
    std::memcpy(&value, iBytes, sizeof value);
    return value;
}

__m128i Product(Cmn_UInt64 iRemainder, Cmn_UInt32 iFactor)
{
    return _mm_clmulepi64_si128(_mm_cvtsi64_si128(static_cast<long long>(iRemainder)),
                                _mm_cvtsi32_si128(static_cast<int>(iFactor)), 0);
}

// What, exclusive-ored into the last of iWords words, stands for the remainder before them.
__m128i MovedOver(Cmn_UInt64 iRemainder, std::size_t iWords)
{
    return Product(iRemainder, cShifts.mAt[iWords]);
}

// An instruction's result takes three cycles and one can start in each: three parts of iPart words side by
// side keep the processor busy. The remainders of the first two join at the last word of the third.
Cmn_UInt64 ThreeParts(Cmn_UInt64 iRemainder, const Cmn_UInt8* iBytes, std::size_t iPart)
{
    Cmn_UInt64 first = iRemainder, second = 0, third = 0;
    const Cmn_UInt8* const last = iBytes + (iPart - 1) * 8;
    for (; iBytes != last; iBytes += 8) {
        first = _mm_crc32_u64(first, Load<Cmn_UInt64>(iBytes));
        second = _mm_crc32_u64(second, Load<Cmn_UInt64>(iBytes + iPart * 8));
        third = _mm_crc32_u64(third, Load<Cmn_UInt64>(iBytes + iPart * 16));
    }
    first = _mm_crc32_u64(first, Load<Cmn_UInt64>(iBytes));
    second = _mm_crc32_u64(second, Load<Cmn_UInt64>(iBytes + iPart * 8));
    const __m128i moved = _mm_xor_si128(MovedOver(first, 2 * iPart), MovedOver(second, iPart));
    return _mm_crc32_u64(third, Load<Cmn_UInt64>(iBytes + iPart * 16) ^
                                    static_cast<Cmn_UInt64>(_mm_cvtsi128_si64(moved)));
}

// Fewer than cFewestWords words.
inline Cmn_UInt32 Short(Cmn_UInt64 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount)
{
    Cmn_UInt64 remainder = iRemainder;
    const Cmn_UInt8* const end = iBytes + iCount / 8 * 8;
    for (; iBytes != end; iBytes += 8)
        remainder = _mm_crc32_u64(remainder, Load<Cmn_UInt64>(iBytes));
    auto tail = static_cast<Cmn_UInt32>(remainder);
    if ((iCount & 4) != 0) {
        tail = _mm_crc32_u32(tail, Load<Cmn_UInt32>(iBytes));
        iBytes += 4;
    }
    if ((iCount & 2) != 0) {
        tail = _mm_crc32_u16(tail, Load<Cmn_UInt16>(iBytes));
        iBytes += 2;
    }
    return (iCount & 1) != 0 ? _mm_crc32_u8(tail, *iBytes) : tail;
}

} // namespace

Cmn_UInt32 Sys_Crc32CSse42(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount)
{
    // First of all, so that it saves none of the registers that three parts take.
    if (iCount < cFewestWords * 8) return Short(iRemainder, iBytes, iCount);
    Cmn_UInt64 remainder = iRemainder;
    do {
        const std::size_t third = iCount / 24;
        const std::size_t part = third < cMostInPart ? third : cMostInPart;
        remainder = ThreeParts(remainder, iBytes, part);
        iBytes += part * 24;
        iCount -= part * 24;
    } while (iCount >= cFewestWords * 8);
    return Short(remainder, iBytes, iCount);
}

Cmn_UInt32 Sys_Crc32CShiftSse42(Cmn_UInt32 iRemainder, Cmn_UInt64 iZeros)
{
    Cmn_UInt64 remainder = iRemainder;
    for (std::size_t digit = 0; iZeros != 0; ++digit, iZeros >>= 6) {
        const __m128i moved = Product(remainder, Sys_Crc32CDigitShiftTable.mAt[digit][iZeros & 63]);
        remainder = _mm_crc32_u64(0, static_cast<Cmn_UInt64>(_mm_cvtsi128_si64(moved)));
    }
    return static_cast<Cmn_UInt32>(remainder);
}
