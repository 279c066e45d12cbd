// SDS_PathReader: the names of a path, one after the other, and the hash of the path down to each.
//
// It takes eight bytes at a time, and none from behind the path's end: what would lie there reads as slashes.
#pragma once

#include "Bastel/Sys/Sys_Crc32C.h"
#include "Kora/SDS/FicInterface/SDS_Error.h"
#include "Kora/SDS/Source/SDS_Name_p.h"

#include <bit>
#include <cstddef>

class SDS_PathReader
{
public:
    static constexpr std::size_t cPathBytes = 1024; // with the closing zero

    // iPath: null for a path of no names. The reader and its names do not outlive it.
    SDS_PathReader(const char* iPath, std::size_t iLength, const SDS_Name& iBase)
        : mNext(iPath)
        , mEnd(iPath + iLength)
        , mLength(iLength)
        , mHash(iBase.mHash)
    {
        if (iLength >= sizeof(Cmn_UInt64)) return;
        for (std::size_t i = 0; i < iLength; ++i)
            mShort |= Cmn_UInt64{static_cast<unsigned char>(iPath[i])} << 8 * i;
    }
    SDS_PathReader(const SDS_PathReader&) = delete;
    SDS_PathReader& operator=(const SDS_PathReader&) = delete;

    bool IsTooLong() const { return mLength >= cPathBytes; }

    // False at the end. A name that is too long gives eSDSErr_NameTooLong in oResult.
    bool Next(SDS_NameText& oText, ESDSError& oResult)
    {
        while (mNext < mEnd && *mNext == '/')
            ++mNext;
        if (mNext >= mEnd) return false;
        const char* const start = mNext;
        oText = SDS_NameText();
        bool ended = false;
        // Unrolled by hand, so that the words stay in registers.
        ended = ended || TakeWord(oText.mWords[0]);
        ended = ended || TakeWord(oText.mWords[1]);
        ended = ended || TakeWord(oText.mWords[2]);
        ended = ended || TakeWord(oText.mWords[3]);
        if (ended) {
            const auto bytes = static_cast<std::size_t>(mNext - start);
            // With the slash behind the name, or one in its place at the path's end.
            mHash = Sys_Crc32C(mHash, start, mNext < mEnd ? bytes + 1 : bytes);
            if (mNext == mEnd) mHash = Sys_Crc32C(mHash, "/", 1);
            return true;
        }
        oResult = eSDSErr_NameTooLong; // 32 bytes without a slash
        return true;
    }
    Cmn_UInt32 GetHash() const { return mHash; }

private:
    static constexpr Cmn_UInt64 cOnes = 0x0101010101010101u;
    static constexpr Cmn_UInt64 cSlashes = cOnes * '/';

    // The eight bytes of a word that are slashes, as their highest bits; exact up to the first one.
    static Cmn_UInt64 SlashesIn(Cmn_UInt64 iWord)
    {
        const Cmn_UInt64 zeros = iWord ^ cSlashes;
        return (zeros - cOnes) & ~zeros & (cOnes << 7);
    }

    // The first byte is the lowest: these processors are little-endian.
    static Cmn_UInt64 WordAt(const char* iFrom)
    {
        Cmn_UInt64 word = 0;
        std::memcpy(&word, iFrom, sizeof(word));
        return word;
    }

    Cmn_UInt64 NextWord() const
    {
        const auto left = static_cast<std::size_t>(mEnd - mNext);
        if (left >= sizeof(Cmn_UInt64)) return WordAt(mNext);
        if (left == 0) return cSlashes;
        const Cmn_UInt64 rest = mLength >= sizeof(Cmn_UInt64) ? WordAt(mEnd - 8) >> (64 - 8 * left)
                                                              : mShort >> 8 * (mLength - left);
        return rest | cSlashes << 8 * left;
    }

    // Takes up to eight bytes of the name; true when it ends there.
    bool TakeWord(Cmn_UInt64& oWord)
    {
        const Cmn_UInt64 word = NextWord();
        const Cmn_UInt64 slashes = SlashesIn(word);
        const int bytes = slashes != 0 ? std::countr_zero(slashes) / 8 : 8;
        oWord = slashes != 0 ? word & ((Cmn_UInt64{1} << (8 * bytes)) - 1) : word;
        mNext += bytes;
        return slashes != 0;
    }

    const char* mNext;
    const char* const mEnd;
    const std::size_t mLength;
    Cmn_UInt64 mShort = 0; // the bytes of a path that has no whole word
    Cmn_UInt32 mHash;
};
