// SDS_PathMemory: the nodes that the last paths led to, so that a path that is looked up again and again is
// not taken apart each time.
//
// A path is remembered as it was written, with the base that it was written for. What is remembered is never
// wrong: as long as a node is live and its cell was not recycled meanwhile, it and all above it keep their
// names and places. So nothing is forgotten when nodes go; a node that comes back to life is found again.
//
// A path has two places, and the newest takes the first. Of the paths that are not found here one in four
// is kept, so that what is looked up once costs little and throws little out. Longer paths than
// cMaxLength are not remembered.
//
// Threads: whoever uses the registry, one thread at a time.
#pragma once

#include "Kora/SDS/Source/SDS_Name_p.h"

#include <bit>
#include <cstddef>

class SDS_PathMemory
{
public:
    static constexpr std::size_t cWords = 5;
    static constexpr std::size_t cMaxLength = 8 * cWords;

    // A path of 1 to cMaxLength bytes, filled up with zeros, and its hash.
    struct Key
    {
        Key(const SDS_Name& iBase, const char* iPath, std::size_t iLength);

        Cmn_UInt64 mWords[cWords];
        std::size_t mWordCount;
        const SDS_Name* mBase;
        Cmn_UInt32 mCheck; // of the hash, and the length
        std::size_t mPair;
    };

    // The live node, or null.
    static SDS_Name* Find(const Key& iKey);
    // A node below the key's base. Not each time.
    static void Keep(const Key& iKey, SDS_Name& iName);

private:
    static constexpr std::size_t cPairs = 8192;

    struct alignas(64) Entry
    {
        Cmn_UInt64 mWords[cWords];
        const SDS_Name* mBase;
        SDS_Name* mName;
        Cmn_UInt32 mGeneration;
        Cmn_UInt32 mCheck; // never 0 of a path

        SDS_Name* NameOf(const Key& iKey) const;
    };
    static_assert(sizeof(Entry) == 64);

    inline static unsigned sMisses = 0;
    // A megabyte of zeros, of which the system gives what is used.
    inline static Entry sEntries[2 * cPairs];
};

inline SDS_PathMemory::Key::Key(const SDS_Name& iBase, const char* iPath, std::size_t iLength)
    : mWordCount((iLength + 7) / 8)
    , mBase(&iBase)
{
    constexpr Cmn_UInt64 factors[cWords] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                                            0xD6E8FEB86659FD93u, 0xFF51AFD7ED558CCDu};
    const std::size_t whole = mWordCount - 1;
    Cmn_UInt64 sum = reinterpret_cast<std::uintptr_t>(mBase) ^ iLength;
    for (std::size_t i = 0; i < whole; ++i) {
        std::memcpy(&mWords[i], iPath + 8 * i, 8);
        sum += mWords[i] * factors[i];
    }
    // The last word: of a longer path its last eight bytes, without those that came before.
    Cmn_UInt64 last = 0;
    if (iLength >= 8) {
        std::memcpy(&last, iPath + iLength - 8, 8);
        last >>= 8 * (8 * mWordCount - iLength);
    } else {
        for (std::size_t i = 0; i < iLength; ++i)
            last |= Cmn_UInt64{static_cast<unsigned char>(iPath[i])} << 8 * i;
    }
    mWords[whole] = last;
    sum += last * factors[whole];
    const Cmn_UInt64 mixed = (sum ^ sum >> 32) * 0xD6E8FEB86659FD93u;
    mPair = static_cast<std::size_t>(mixed >> 40) % cPairs;
    mCheck = static_cast<Cmn_UInt32>(mixed >> 8) << 8 | static_cast<Cmn_UInt32>(iLength);
}

inline SDS_Name* SDS_PathMemory::Entry::NameOf(const Key& iKey) const
{
    if (mCheck != iKey.mCheck || mBase != iKey.mBase) return nullptr;
    for (std::size_t i = 0; i < iKey.mWordCount; ++i) {
        if (mWords[i] != iKey.mWords[i]) return nullptr;
    }
    return mName->mIsLive && mName->mGeneration == mGeneration ? mName : nullptr;
}

inline SDS_Name* SDS_PathMemory::Find(const Key& iKey)
{
    const Entry* const pair = &sEntries[2 * iKey.mPair];
    if (SDS_Name* const name = pair[0].NameOf(iKey)) return name;
    return pair[1].NameOf(iKey);
}

inline void SDS_PathMemory::Keep(const Key& iKey, SDS_Name& iName)
{
    if (++sMisses % 4 != 0) return;
    // The cell's generations do not tell its lives apart any more.
    if (iName.mGeneration == SDS_Name::cLastGeneration) return;
    Entry* const pair = &sEntries[2 * iKey.mPair];
    pair[1] = pair[0];
    std::memcpy(pair[0].mWords, iKey.mWords, 8 * iKey.mWordCount);
    pair[0].mBase = iKey.mBase;
    pair[0].mName = &iName;
    pair[0].mGeneration = iName.mGeneration;
    pair[0].mCheck = iKey.mCheck;
}
