// SDS_NameTable: finds nodes by the hash of their paths, and grows without ever stopping its caller.
//
//   buckets   0 … mSplit ┆ mSplit … mLevel ┆ mLevel … mLevel + mSplit      each a
//             line: seven names, their tags
//             split      ┆ not yet         ┆ split off the first
//
// When a name comes in and the buckets are full enough, one more of them is split in two, by one more bit of
// the hash; when all of a level are, the next level begins, of twice as many. So a table of any size takes at
// most a handful of names in hand for one that comes in. Buckets lie in segments that never move. In a bucket
// that overflows, the last place leads to the next one.
//
// Fullness:   a level's splitting begins at 4 names a bucket and ends at 2.8, of twice the
//             buckets: 18 to 26 bytes a name.
// Threads:    whoever uses the registry, one thread at a time.
#pragma once

#include "Kora/SDS/Source/SDS_Name_p.h"

#include <bit>
#include <cstddef>

class SDS_NameTable
{
public:
    // False when there is no memory.
    bool Init();
    // False, and nothing changes, when there is no memory.
    bool Insert(SDS_Name& ioName, Cmn_UInt32 iHash);
    // The name is in the table.
    void Erase(const SDS_Name& iName);
    // The first name of this hash, or of one with the same tag and bucket, that iIs takes.
    template <class TIs>
    SDS_Name* Find(Cmn_UInt32 iHash, TIs iIs) const;

private:
    static constexpr unsigned cPlaces = 7;
    static constexpr Cmn_UInt64 cOverflows = Cmn_UInt64{1} << 56;
    static constexpr std::size_t cSegmentBuckets = 512;
    // At 4 names a bucket 26 of a segment's buckets overflow, give or take 5: whichever names come and go, these do.
    static constexpr std::size_t cSegmentSpares = 64;
    static constexpr std::size_t cFirstLevel = 512;

    struct alignas(64) Bucket
    {
        // A byte for each place, 0 where it is free, from the lowest on; the highest byte says that the last
        // place is the next bucket.
        Cmn_UInt64 mTags = 0;
        void* mPlaces[cPlaces] = {};

        bool Overflows() const { return (mTags & cOverflows) != 0; }
        Bucket* Next() const { return Overflows() ? static_cast<Bucket*>(mPlaces[cPlaces - 1]) : nullptr; }
        SDS_Name* NameAt(unsigned iPlace) const { return static_cast<SDS_Name*>(mPlaces[iPlace]); }
        unsigned Count() const
        {
            return (static_cast<unsigned>(std::bit_width(mTags & (cOverflows - 1))) + 7) / 8;
        }
        Cmn_UInt64 TagAt(unsigned iPlace) const { return mTags >> 8 * iPlace & 0xFF; }
        void Put(SDS_Name* iName, Cmn_UInt64 iTag)
        {
            const unsigned place = Count();
            mPlaces[place] = iName;
            mTags |= iTag << 8 * place;
        }
        void Clear(unsigned iPlace)
        {
            mPlaces[iPlace] = nullptr;
            mTags &= ~(Cmn_UInt64{0xFF} << 8 * iPlace);
        }
    };
    static_assert(sizeof(Bucket) == 64);

    // From 2 on: no free place looks like one that differs by 1.
    static Cmn_UInt64 TagOf(Cmn_UInt32 iHash) { return iHash >> 24 > 1 ? iHash >> 24 : 2; }
    Bucket& At(std::size_t iIndex) const
    {
        return mSegments[iIndex / cSegmentBuckets][iIndex % cSegmentBuckets];
    }
    Bucket& BucketOf(Cmn_UInt32 iHash) const
    {
        const std::size_t index = iHash & (2 * mLevel - 1);
        return At(index < mLevel + mSplit ? index : index - mLevel);
    }
    static Bucket& LastOf(Bucket& ioFirst);
    bool AddSegment();
    Bucket* TakeSpare();
    void GiveSpare(Bucket& ioBucket);
    bool Add(Bucket& ioFirst, SDS_Name& ioName, Cmn_UInt32 iHash);
    void SplitOne();

    Bucket** mSegments = nullptr;
    std::size_t mSegmentCount = 0;
    std::size_t mSegmentRoom = 0;
    std::size_t mLevel = cFirstLevel;
    std::size_t mSplit = 0;
    std::size_t mNameCount = 0;
    Bucket* mSpare = nullptr; // linked through their last places
};

template <class TIs>
inline SDS_Name* SDS_NameTable::Find(Cmn_UInt32 iHash, TIs iIs) const
{
    constexpr Cmn_UInt64 ones = 0x0101010101010101u;
    const Cmn_UInt64 wanted = ones * TagOf(iHash);
    for (const Bucket* bucket = &BucketOf(iHash);;) {
        // The bytes that are the tag, as their highest bits; behind the first one perhaps some that differ by 1.
        const Cmn_UInt64 other = bucket->mTags ^ wanted;
        Cmn_UInt64 equal = (other - ones) & ~other & (ones << 7) & (cOverflows - 1);
        for (; equal != 0; equal &= equal - 1) {
            SDS_Name* const name = bucket->NameAt(static_cast<unsigned>(std::countr_zero(equal)) / 8);
            if (iIs(*name)) return name;
        }
        if (!bucket->Overflows()) return nullptr;
        bucket = bucket->Next();
    }
}
