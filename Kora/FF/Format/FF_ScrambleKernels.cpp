#include "Kora/FF/Format/FF_ScrambleKernels_p.h"

#include "Bastel/Sys/Sys_VecUtils.h"
#include "Kora/FF/Format/FF_Format_p.h"

#include <algorithm>
#include <array>
#include <emmintrin.h>

namespace {

constexpr std::size_t cLane = sizeof(__m128i);
constexpr std::size_t cStride = 4 * cLane;
constexpr std::size_t cBlock = FF_Format::cMaskBlock;

__m128i Load(const Cmn_UInt8* iFrom) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(iFrom)); }

void Mask(Cmn_UInt8* ioBytes, __m128i iMask)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(ioBytes), _mm_xor_si128(Load(ioBytes), iMask));
}

__m128i Splat(std::size_t iByte) { return _mm_set1_epi8(static_cast<char>(iByte)); }

// The masks of neighbouring bytes differ by the key, so those of a byte and the one a stride further on
// differ by stride × key: four registers of masks step through the bytes with one addition each.
void MaskEachByte(Cmn_UInt8 iKey, Cmn_UInt8* ioBytes, std::size_t iCount, std::size_t iPosition)
{
    std::size_t done = 0;
    if (iCount >= cStride) {
        std::array<Cmn_UInt8, cStride> first;
        for (std::size_t i = 0; i < cStride; ++i)
            first[i] = static_cast<Cmn_UInt8>((iPosition + i) * iKey);
        __m128i a = Load(&first[0]);
        __m128i b = Load(&first[cLane]);
        __m128i c = Load(&first[2 * cLane]);
        __m128i d = Load(&first[3 * cLane]);
        const __m128i step = Splat(cStride * iKey);
        for (; iCount - done >= cStride; done += cStride) {
            Mask(ioBytes + done, a);
            Mask(ioBytes + done + cLane, b);
            Mask(ioBytes + done + 2 * cLane, c);
            Mask(ioBytes + done + 3 * cLane, d);
            a = _mm_add_epi8(a, step);
            b = _mm_add_epi8(b, step);
            c = _mm_add_epi8(c, step);
            d = _mm_add_epi8(d, step);
        }
    }
    for (; done < iCount; ++done)
        ioBytes[done] ^= static_cast<Cmn_UInt8>((iPosition + done) * iKey);
}

void MaskEachBlock(Cmn_UInt8 iKey, Cmn_UInt8* ioBytes, std::size_t iCount, Cmn_UInt64 iPosition)
{
    while (iCount > 0) {
        const std::size_t piece = std::min(iCount, cBlock - static_cast<std::size_t>(iPosition % cBlock));
        const auto block = static_cast<Cmn_UInt8>(iPosition / cBlock);
        Sys_VecUtils::XorConstant({ioBytes, piece}, static_cast<Cmn_UInt8>(block * iKey));
        ioBytes += piece;
        iPosition += piece;
        iCount -= piece;
    }
}

} // namespace

void FF_Scramble(Cmn_UInt32 iType, Cmn_UInt8 iKey, void* ioBytes, std::size_t iCount, Cmn_Int64 iPosition)
{
    const auto bytes = static_cast<Cmn_UInt8*>(ioBytes);
    if (iType == eFF_EncryptionType_Block93)
        MaskEachBlock(iKey, bytes, iCount, static_cast<Cmn_UInt64>(iPosition));
    else if (FF_ScrambleMultiplier(iType) != 0)
        MaskEachByte(iKey, bytes, iCount, static_cast<Cmn_UInt8>(iPosition));
}
