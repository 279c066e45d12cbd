#include "Kora/FF/Format/FF_MaskGuess_p.h"

#include "Kora/FF/Format/FF_Format_p.h"
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"

#include <algorithm>
#include <array>
#include <bit>

namespace {

constexpr std::size_t cMostGuesses = 8;

using Magic = std::array<Cmn_UInt8, 4>; // what a mask would be if a magic stood there

struct Counts
{
    std::array<Cmn_Int64, 256>
        mByKey{}; // of types 1 to 4, by what is multiplied with the position; 0 for no mask
    std::array<Cmn_Int64, 256> mByBlockKey{};

    void Count(const Magic& iMask, unsigned iPosition)
    {
        const auto key = static_cast<Cmn_UInt8>(iMask[1] - iMask[0]);
        for (std::size_t i = 2; i < iMask.size(); ++i)
            if (static_cast<Cmn_UInt8>(iMask[i] - iMask[i - 1]) != key) return;
        if (iMask[0] == static_cast<Cmn_UInt8>(iPosition * key))
            ++mByKey[key];
        else if (key == 0)
            CountBlock(iMask[0], iPosition / unsigned{FF_Format::cMaskBlock});
    }

private:
    // Of a block whose number is even several keys make the same mask.
    void CountBlock(unsigned iMask, unsigned iBlock)
    {
        const unsigned block = iBlock % 256;
        if (block == 0) return;
        const int zeros = std::countr_zero(block);
        const unsigned numKeys = 1u << zeros;
        if (iMask % numKeys != 0) return;
        const unsigned step = 256 / numKeys;
        const unsigned inverse = FF_InverseOfOdd(static_cast<Cmn_UInt8>(block >> zeros));
        for (unsigned key = (iMask >> zeros) * inverse % step; key < 256; key += step)
            ++mByBlockKey[key];
    }
};

Counts CountIn(FF_StreamWindow& ioRaw)
{
    constexpr auto& magic = Sys_StdStreamHeaderFields::cMagic;
    Counts counts;
    for (Cmn_Int64 at = FF_Format::cFirstMasked; at < ioRaw.GetLength();) {
        const std::span<const Cmn_UInt8> bytes = ioRaw.At(at, magic.size());
        if (bytes.size() < magic.size()) break;
        const std::size_t count = bytes.size() - magic.size() + 1;
        for (std::size_t i = 0; i < count; ++i) {
            Magic mask;
            for (std::size_t j = 0; j < mask.size(); ++j)
                mask[j] = static_cast<Cmn_UInt8>(bytes[i + j] ^ static_cast<Cmn_UInt8>(magic[j]));
            counts.Count(mask, static_cast<unsigned>(at) + static_cast<unsigned>(i));
        }
        at += static_cast<Cmn_Int64>(count);
    }
    return counts;
}

} // namespace

Cmn_UInt8 FF_InverseOfOdd(Cmn_UInt8 iOdd)
{
    // Each step doubles the bits that are right, of which there are three at first.
    unsigned inverse = iOdd;
    for (int bits = 3; bits < 8; bits *= 2)
        inverse *= 2 - iOdd * inverse;
    return static_cast<Cmn_UInt8>(inverse);
}

std::vector<FF_Mask> FF_GuessMasks(FF_StreamWindow& ioRaw, Cmn_UInt8 iLikeType)
{
    const Counts counts = CountIn(ioRaw);
    const bool isShared = iLikeType >= 1 && iLikeType < eFF_EncryptionType_Block93;
    const Cmn_UInt8 type = isShared ? iLikeType : Cmn_UInt8{1};
    const auto rawKey = [](unsigned iKey, Cmn_UInt8 iType) {
        const auto multiplier = static_cast<Cmn_UInt8>(FF_ScrambleMultiplier(iType));
        return static_cast<Cmn_UInt8>(iKey * FF_InverseOfOdd(multiplier));
    };
    std::vector<std::pair<Cmn_Int64, FF_Mask>> guesses;
    for (unsigned key = 0; key < 256; ++key) {
        const FF_Mask byPlace = key == 0 ? FF_Mask{} : FF_Mask{type, rawKey(key, type)};
        if (counts.mByKey[key] > 0) guesses.emplace_back(counts.mByKey[key], byPlace);
        const FF_Mask byBlock = {eFF_EncryptionType_Block93, rawKey(key, eFF_EncryptionType_Block93)};
        // What stands in the first block is read with any key.
        if (counts.mByBlockKey[key] > 0)
            guesses.emplace_back(counts.mByKey[0] + counts.mByBlockKey[key], byBlock);
    }
    std::stable_sort(guesses.begin(), guesses.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    guesses.resize(std::min(guesses.size(), cMostGuesses));
    std::vector<FF_Mask> masks;
    for (const auto& guess : guesses)
        masks.push_back(guess.second);
    return masks;
}
