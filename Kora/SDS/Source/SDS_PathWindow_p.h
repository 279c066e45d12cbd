// SDS_PathWindow: a short path as whole words, so that it is hashed and compared at once, not name by name.
//
//   bytes   M i x e r / B u s   1 / . . . . .      the path, one slash behind it, zeros up to a word's end
//
// Most paths are written plainly: single slashes between the names, none at the ends. A plain path is looked up by one
// sum of all its bytes, and what is found is compared with it from the end: in so few instructions that several
// look-ups are under way side by side, each of them waiting for memory of its own.
#pragma once

#include "Bastel/Sys/Sys_Crc32C.h"
#include "Kora/SDS/Source/SDS_Name_p.h"

#include <bit>
#include <cstddef>

class SDS_PathWindow
{
public:
    static constexpr std::size_t cMaxLength = 40;

    // Of 1 to cMaxLength bytes. None is read from behind the last one.
    SDS_PathWindow(const char* iPath, std::size_t iLength);
    SDS_PathWindow(const SDS_PathWindow&) = delete;
    SDS_PathWindow& operator=(const SDS_PathWindow&) = delete;

    std::size_t GetLength() const { return mLength; }
    // Those of the path. The first byte is the lowest.
    const Cmn_UInt64* GetWords() const { return mWords; }
    std::size_t GetWordCount() const { return (mLength + 7) / 8; }

    // Of the words, each by a factor of its own: what paths of one length differ in.
    Cmn_UInt64 GetSum() const { return mSum; }
    // The hash of the node to which the path leads from the base, if it is plain.
    Cmn_UInt32 HashBelow(const SDS_Name& iBase) const { return Sys_Crc32C(iBase.mHash, mWords, mLength + 1); }
    // Whether it leads there, in so many words.
    bool Leads(const SDS_Name& iBase, const SDS_Name& iName) const;
    // Whether it is plain, and no name in it is too long.
    bool IsPlain() const;

private:
    static constexpr std::size_t cWords = cMaxLength / 8;

    const char* Bytes() const { return reinterpret_cast<const char*>(mWords); }
    // Whether the bytes from there on are a name's, of so many.
    bool Holds(std::size_t iAt, const SDS_NameText& iText, std::size_t iBytes) const;
    Cmn_UInt64 FindSlashes() const;

    const std::size_t mLength;
    Cmn_UInt64 mSum = 0;
    // As many behind as a word may reach that begins in the path.
    Cmn_UInt64 mWords[cWords + 2];
};

// Of a longer path the last word is its last eight bytes without those that came before.
inline SDS_PathWindow::SDS_PathWindow(const char* iPath, std::size_t iLength)
    : mLength(iLength)
{
    constexpr Cmn_UInt64 factors[cWords + 1] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                                                0xD6E8FEB86659FD93u, 0xFF51AFD7ED558CCDu, 1};
    const std::size_t whole = iLength / 8;
    const std::size_t rest = iLength % 8;
    for (std::size_t i = 0; i < whole; ++i) {
        std::memcpy(&mWords[i], iPath + 8 * i, 8);
        mSum += mWords[i] * factors[i];
    }
    Cmn_UInt64 last = 0;
    if (whole > 0) {
        std::memcpy(&last, iPath + iLength - 8, 8);
        last = last >> 1 >> (63 - 8 * rest); // of none, nothing
    } else {
        for (std::size_t i = 0; i < rest; ++i)
            last |= Cmn_UInt64{static_cast<unsigned char>(iPath[i])} << 8 * i;
    }
    mSum += last * factors[whole];
    mWords[whole] = last | Cmn_UInt64{'/'} << 8 * rest;
    mWords[whole + 1] = 0;
}

inline bool SDS_PathWindow::Holds(std::size_t iAt, const SDS_NameText& iText, std::size_t iBytes) const
{
    const char* at = Bytes() + iAt;
    const Cmn_UInt64* text = iText.mWords;
    Cmn_UInt64 word;
    for (; iBytes > 8; iBytes -= 8, at += 8) {
        std::memcpy(&word, at, 8);
        if (word != *text++) return false;
    }
    std::memcpy(&word, at, 8);
    return (word ^ *text) << (64 - 8 * iBytes) == 0;
}

inline bool SDS_PathWindow::Leads(const SDS_Name& iBase, const SDS_Name& iName) const
{
    const SDS_Name* name = &iName;
    for (std::size_t end = mLength;; name = name->mParent) {
        const std::size_t bytes = name->mText.Length();
        // The root ends every way up: it is called "".
        if (bytes > end || bytes == 0 || !Holds(end - bytes, name->mText, bytes)) return false;
        end -= bytes;
        if (end == 0) return name->mParent == &iBase;
        if (Bytes()[--end] != '/') return false;
    }
}

// A bit for each byte.
inline Cmn_UInt64 SDS_PathWindow::FindSlashes() const
{
    constexpr Cmn_UInt64 ones = 0x0101010101010101u;
    constexpr Cmn_UInt64 low = ones * 0x7F;
    Cmn_UInt64 slashes = 0;
    for (std::size_t i = 0; i <= mLength / 8; ++i) {
        const Cmn_UInt64 other = mWords[i] ^ ones * '/';
        const Cmn_UInt64 equal = ~(((other & low) + low) | other | low); // the highest bits of such bytes
        // The product's highest byte has each of them, and nothing is carried into it.
        slashes |= ((equal >> 7) * 0x0102040810204080u >> 56) << 8 * i;
    }
    return slashes;
}

inline bool SDS_PathWindow::IsPlain() const
{
    const Cmn_UInt64 slashes = FindSlashes(); // the one behind the path is the last
    if ((slashes & (slashes << 1 | 1)) != 0) return false;
    // Bytes of names; then those where so many more follow: 2, 4, 8 … 32 of them.
    Cmn_UInt64 run = ~slashes & ((Cmn_UInt64{1} << mLength) - 1);
    for (unsigned bytes = 1; bytes <= SDS_NameText::cMaxLength; bytes *= 2)
        run &= run >> bytes;
    return run == 0;
}
