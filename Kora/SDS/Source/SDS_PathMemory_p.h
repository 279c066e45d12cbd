// SDS_PathMemory: the nodes that the last paths led to, so that a path that is looked up again and again is
// not taken apart each time.
//
// A path is remembered as it was written, with the base that it was written for. What is remembered is never
// wrong: as long as a node is live and its cell was not recycled meanwhile, it and all above it keep their
// names and places. So nothing is forgotten when nodes go; a node that comes back to life is found again.
//
// A path has two places, and the newest takes the first. Of the paths that are not found here one in four
// is kept, so that what is looked up once costs little and throws little out. Longer paths than a
// window takes are not remembered.
//
// Threads: whoever uses the registry, one thread at a time.
#pragma once

#include "Kora/SDS/Source/SDS_Name_p.h"
#include "Kora/SDS/Source/SDS_PathWindow_p.h"

#include <cstddef>
#include <cstdint>

class SDS_PathMemory
{
public:
    static constexpr std::size_t cWords = SDS_PathWindow::cMaxLength / 8;

    // A path below the base, and its hash. Lives no longer than the window.
    struct Key
    {
        Key(const SDS_Name& iBase, const SDS_PathWindow& iPath);

        const Cmn_UInt64* mWords;
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
    static constexpr std::size_t cPairs = 16384;

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
    // Two megabytes of zeros, of which the system gives what is used.
    inline static Entry sEntries[2 * cPairs];
};

inline SDS_PathMemory::Key::Key(const SDS_Name& iBase, const SDS_PathWindow& iPath)
    : mWords(iPath.GetWords())
    , mWordCount(iPath.GetWordCount())
    , mBase(&iBase)
{
    const std::size_t length = iPath.GetLength();
    const Cmn_UInt64 sum = iPath.GetSum() + (reinterpret_cast<std::uintptr_t>(mBase) ^ length);
    const Cmn_UInt64 mixed = (sum ^ sum >> 32) * 0xD6E8FEB86659FD93u;
    mPair = static_cast<std::size_t>(mixed >> 40) % cPairs;
    mCheck = static_cast<Cmn_UInt32>(mixed >> 8) << 8 | static_cast<Cmn_UInt32>(length);
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
