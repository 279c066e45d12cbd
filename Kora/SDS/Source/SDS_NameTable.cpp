#include "Kora/SDS/Source/SDS_NameTable_p.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

bool SDS_NameTable::Init() { return mSegmentCount != 0 || AddSegment(); }

bool SDS_NameTable::Insert(SDS_Name& ioName, Cmn_UInt32 iHash)
{
    if (!Add(BucketOf(iHash), ioName, iHash)) return false;
    ++mNameCount;
    if (5 * mNameCount > 20 * mLevel + 8 * mSplit) SplitOne();
    return true;
}

// The chain's last name takes the place, so that all of its buckets but the last stay full.
void SDS_NameTable::Erase(const SDS_Name& iName)
{
    Bucket* holder = &BucketOf(iName.GetHash());
    const auto placeIn = [&](const Bucket& iBucket) {
        const auto* const begin = iBucket.mPlaces;
        return static_cast<unsigned>(std::find(begin, begin + iBucket.Count(), &iName) - begin);
    };
    Bucket* before = nullptr;
    while (placeIn(*holder) == holder->Count())
        before = std::exchange(holder, holder->Next());
    Bucket* last = holder;
    while (Bucket* const next = last->Next())
        before = std::exchange(last, next);
    const unsigned place = placeIn(*holder);
    const unsigned lastPlace = last->Count() - 1;
    const Cmn_UInt64 lastTag = last->TagAt(lastPlace);
    SDS_Name* const lastName = last->NameAt(lastPlace);
    last->Clear(lastPlace);
    if (lastName != &iName) {
        holder->Clear(place);
        holder->mPlaces[place] = lastName;
        holder->mTags |= lastTag << 8 * place;
    }
    --mNameCount;
    if (last->Count() != 0 || before == nullptr) return;
    before->mTags &= ~cOverflows;
    before->mPlaces[cPlaces - 1] = nullptr;
    GiveSpare(*last);
}

SDS_NameTable::Bucket& SDS_NameTable::LastOf(Bucket& ioFirst)
{
    Bucket* last = &ioFirst;
    while (Bucket* const next = last->Next())
        last = next;
    return *last;
}

bool SDS_NameTable::AddSegment()
{
    if (mSegmentCount == mSegmentRoom) {
        const std::size_t room = std::max<std::size_t>(2 * mSegmentRoom, 64);
        Bucket** const segments = new (std::nothrow) Bucket*[room];
        if (segments == nullptr) return false;
        std::copy_n(mSegments, mSegmentCount, segments);
        delete[] std::exchange(mSegments, segments);
        mSegmentRoom = room;
    }
    // The first is all in use at once. Of the others each bucket is cleared when it comes into use.
    void* const memory = ::operator new (sizeof(Bucket) * (cSegmentBuckets + cSegmentSpares),
                                         std::align_val_t{alignof(Bucket)}, std::nothrow);
    if (memory == nullptr) return false;
    Bucket* const buckets = static_cast<Bucket*>(memory);
    if (mSegmentCount == 0) std::uninitialized_default_construct_n(buckets, cSegmentBuckets);
    mSegments[mSegmentCount++] = buckets;
    for (std::size_t i = 0; i < cSegmentSpares; ++i)
        GiveSpare(*new (buckets + cSegmentBuckets + i) Bucket);
    return true;
}

SDS_NameTable::Bucket* SDS_NameTable::TakeSpare()
{
    constexpr unsigned cSpareBlock = 16;
    if (mSpare == nullptr) {
        Bucket* const block = new (std::nothrow) Bucket[cSpareBlock];
        if (block == nullptr) return nullptr;
        for (unsigned i = 0; i < cSpareBlock; ++i)
            GiveSpare(block[i]);
    }
    Bucket* const bucket = mSpare;
    mSpare = static_cast<Bucket*>(bucket->mPlaces[cPlaces - 1]);
    *bucket = Bucket();
    return bucket;
}

void SDS_NameTable::GiveSpare(Bucket& ioBucket)
{
    ioBucket.mPlaces[cPlaces - 1] = mSpare;
    mSpare = &ioBucket;
}

bool SDS_NameTable::Add(Bucket& ioFirst, SDS_Name& ioName, Cmn_UInt32 iHash)
{
    Bucket* last = &LastOf(ioFirst);
    if (last->Count() == cPlaces) {
        Bucket* const next = TakeSpare();
        if (next == nullptr) return false;
        next->Put(last->NameAt(cPlaces - 1), last->TagAt(cPlaces - 1));
        last->Clear(cPlaces - 1);
        last->mPlaces[cPlaces - 1] = next;
        last->mTags |= cOverflows;
        last = next;
    }
    last->Put(&ioName, TagOf(iHash));
    return true;
}

// Without memory for one more segment the table stays as it is, and its buckets grow fuller.
void SDS_NameTable::SplitOne()
{
    const std::size_t added = mLevel + mSplit;
    if (added == mSegmentCount * cSegmentBuckets && !AddSegment()) return;
    Bucket& first = At(mSplit);
    Bucket rest = std::exchange(first, Bucket());
    Bucket& second = *new (&At(added)) Bucket;
    for (;;) {
        for (unsigned i = 0; i < rest.Count(); ++i) {
            SDS_Name& name = *rest.NameAt(i);
            const Cmn_UInt32 hash = name.GetHash();
            // The buckets that this needs have come free before: two chains take no
            // more of them than one did.
            static_cast<void>(Add((hash & mLevel) != 0 ? second : first, name, hash));
        }
        Bucket* const next = rest.Next();
        if (next == nullptr) break;
        rest = *next;
        GiveSpare(*next);
    }
    if (++mSplit < mLevel) return;
    mLevel *= 2;
    mSplit = 0;
}
