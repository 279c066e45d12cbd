// Time_SearchIndex: finds the governing entry among ascending keys in a few nanoseconds, whatever their number.
//
// The keys are cut into equal stretches ("buckets"); for each bucket the index remembers how many keys lie before
// it. A probe goes straight to its bucket and passes the few keys there:
//
//   keys      0   1 2        3  4          5
//   buckets |     |     |     |     |     |     |
//   before    0     1     3     4     5     5          (keys before the bucket)
//
// Evenly spread keys cost two or three memory reads; where many share a bucket a binary search inside it follows.
//
// Units:      Key is std::int64_t (ticks, bars) or double (samples).
// Invariants: (1) keys ascend  (2) mBefore[b] is the number of keys whose bucket is below b.
// Threads:    Find only reads; the owner keeps Build and Update away from readers.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <vector>

template <class Key>
class Time_SearchIndex
{
public:
    // Copies iCount ascending keys and lays a new grid over them.
    void Build(const Key* iKeys, std::size_t iCount)
    {
        mCount = iCount;
        mKeys.assign(iKeys, iKeys + iCount);
        mKeys.insert(mKeys.end(), cPadding, cNever);
        LayGrid();
        CountFrom(0);
    }

    // The same where the first iUnchanged keys are those of the last call. Keeps the grid while it fits, and then
    // costs what lies behind iUnchanged.
    void Update(const Key* iKeys, std::size_t iCount, std::size_t iUnchanged)
    {
        if (iCount == 0 || iUnchanged == 0 || !GridFits(iKeys[iCount - 1], iCount))
            return Build(iKeys, iCount);
        mCount = iCount;
        mKeys.resize(iUnchanged);
        mKeys.insert(mKeys.end(), iKeys + iUnchanged, iKeys + iCount);
        mKeys.insert(mKeys.end(), cPadding, cNever);
        CountFrom(iUnchanged);
    }

    // Index of the last key not above the probe; 0 when all are above it, or there is none.
    std::size_t Find(Key iProbe) const
    {
        if (mCount < 2 || !(iProbe >= mKeys[1])) return 0;
        const std::size_t bucket = BucketOf(iProbe);
        std::size_t passed = mBefore[bucket];
        // Keys of later buckets are above the probe, so looking past this bucket's end does no harm, and two keys
        // are passed without a branch.
        const Key* const keys = mKeys.data() + passed;
        passed += static_cast<std::size_t>(keys[0] <= iProbe) + static_cast<std::size_t>(keys[1] <= iProbe);
        if (keys[2] <= iProbe) [[unlikely]] {
            const Key* const end = std::max(keys + 2, mKeys.data() + mBefore[bucket + 1]);
            passed = static_cast<std::size_t>(std::upper_bound(keys + 2, end, iProbe) - mKeys.data());
        }
        return std::min(passed, mCount) - 1;
    }

    std::size_t GetCount() const { return mCount; }
    const Key* GetKeys() const { return mKeys.data(); }

private:
    static constexpr bool cIsFloat = std::is_floating_point_v<Key>;
    static constexpr std::size_t cPadding = 3; // Find reads three keys from any position up to the end
    static constexpr std::size_t cWrittenAtOnce = 8;
    static constexpr Key cNever =
        cIsFloat ? std::numeric_limits<Key>::infinity() : std::numeric_limits<Key>::max();

    // Non-decreasing in iKey, for keys from the first one on: the only property that Find relies on.
    std::size_t BucketOf(Key iKey) const
    {
        if constexpr (cIsFloat) {
            const double place = (iKey - mKeys[0]) * mScale;
            return place < static_cast<double>(mLastBucket) ? static_cast<std::size_t>(place) : mLastBucket;
        } else {
            const Cmn_UInt64 distance = static_cast<Cmn_UInt64>(iKey) - static_cast<Cmn_UInt64>(mKeys[0]);
            return std::min<Cmn_UInt64>(distance >> mShift, mLastBucket);
        }
    }

    // At least two buckets a key, so that most hold one key or none.
    void LayGrid()
    {
        const std::size_t buckets = std::bit_ceil(std::max<std::size_t>(mCount, 1) * 2);
        mLastBucket = buckets - 1;
        mBefore.assign(buckets + 1 + cWrittenAtOnce, 0);
        if (mCount < 2) return;
        if constexpr (cIsFloat) {
            const double span = mKeys[mCount - 1] - mKeys[0];
            mScale = span > 0 ? static_cast<double>(buckets) / span : 0.0;
            // A span of subnormal size would make the scale infinite; one bucket then holds all.
            if (!(mScale <= std::numeric_limits<double>::max())) mScale = 0.0;
        } else {
            const Cmn_UInt64 span =
                static_cast<Cmn_UInt64>(mKeys[mCount - 1]) - static_cast<Cmn_UInt64>(mKeys[0]);
            mShift = std::max(0, static_cast<int>(std::bit_width(span)) -
                                     static_cast<int>(std::bit_width(mLastBucket)));
        }
    }

    // The grid may serve while its buckets are neither crowded nor mostly empty, and the last key falls inside.
    bool GridFits(Key iLastKey, std::size_t iCount) const
    {
        if (mCount < 2 || iCount < 2 || !(iLastKey >= mKeys[0])) return false;
        const std::size_t buckets = mLastBucket + 1, lastBucket = BucketOf(iLastKey);
        return iCount <= buckets && iCount >= buckets / 8 && lastBucket >= buckets / 4 &&
               lastBucket + 1 < buckets;
    }

    // Counts the keys from iFrom on into the grid; what the keys before it gave stays.
    //
    // Each key owes its index to the buckets from `next` to its own. Eight are written whatever their number, since
    // a branch here would be mispredicted at every other key; what is written too far is written over by the next
    // key, or at the end.
    void CountFrom(std::size_t iFrom)
    {
        Cmn_UInt32* const before = mBefore.data();
        std::size_t next = iFrom == 0 ? 0 : BucketOf(mKeys[iFrom - 1]) + 1;
        for (std::size_t i = iFrom; i < mCount; ++i) {
            const std::size_t behind = BucketOf(mKeys[i]) + 1;
            std::fill_n(before + next, cWrittenAtOnce, static_cast<Cmn_UInt32>(i));
            if (behind > next + cWrittenAtOnce) [[unlikely]]
                std::fill(before + next + cWrittenAtOnce, before + behind, static_cast<Cmn_UInt32>(i));
            next = behind;
        }
        std::fill(mBefore.begin() + static_cast<std::ptrdiff_t>(next), mBefore.end(),
                  static_cast<Cmn_UInt32>(mCount));
    }

    std::vector<Key> mKeys;          // with cPadding keys behind the last that no probe passes
    std::vector<Cmn_UInt32> mBefore; // one a bucket, then the count, also as padding for writes at once
    std::size_t mCount = 0;
    std::size_t mLastBucket = 0;
    double mScale = 0.0; // buckets per unit of a floating key
    int mShift = 0;      // log2 of the units in a bucket of an integer key
};
