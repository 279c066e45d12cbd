// Time_SearchIndex: finds the governing entry among ascending keys in a few
// nanoseconds, whatever their number.
//
// The keys are cut into equal stretches ("buckets"); for each bucket the index remembers how many keys lie
// before it. A probe goes straight to its bucket and passes the few keys there; one at or past the last key,
// as those that follow an append are, is answered at once:
//
//   keys      0   1 2        3  4          5
//   buckets |     |     |     |     |     |     |
//   before    0     1     3     4     5     5     6    (keys before the bucket; further on they are not kept)
//
// Evenly spread keys cost two or three memory reads; where many share a bucket a binary
// search inside it follows.
//
// Units:      Key is std::int64_t (ticks, bars) or double (samples).
// Invariants: (1) keys ascend  (2) mBefore[b] is the number of keys whose bucket is below b, for
//             all b up to the one behind the last key's; no probe looks past that one, so that an
//             append costs what it adds.
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
        Build(iCount, [iKeys](std::size_t i) { return iKeys[i]; });
    }
    // The same where iKeyAt(i) is the i-th key.
    template <class KeyAt>
    void Build(std::size_t iCount, KeyAt iKeyAt)
    {
        SetKeys(iCount, 0, 0, iKeyAt);
        LayGrid();
        CountFrom(0, iCount);
        CountAllBehindLast();
    }

    // The same where the first iUnchanged keys are those of the last call. Keeps the grid while it fits, and
    // then costs what lies behind iUnchanged.
    void Update(const Key* iKeys, std::size_t iCount, std::size_t iUnchanged)
    {
        Splice(iCount, iUnchanged, 0, [iKeys](std::size_t i) { return iKeys[i]; });
    }

    // The same where the last iBack keys also are the last ones of the last call. Costs what lies between,
    // and, when the count changes, a pass over the grid from there to the last key.
    template <class KeyAt>
    void Splice(std::size_t iCount, std::size_t iFront, std::size_t iBack, KeyAt iKeyAt)
    {
        if (iFront == 0 || iCount < 2 || mCount < 2 || !GridFits(iKeyAt(iCount - 1), iCount))
            return Build(iCount, iKeyAt);
        const auto more = static_cast<Cmn_UInt32>(iCount - mCount); // modulo 2^32, so that it may be negative
        SetKeys(iCount, iFront, iBack, iKeyAt);
        if (iBack == 0) {
            CountFrom(iFront, iCount);
            return CountAllBehindLast();
        }
        // The first key at the back has its bucket counted anew; behind that bucket,
        // only the count has changed.
        const std::size_t stop = BucketOf(mKeys[iCount - iBack]) + 1;
        Cmn_UInt32 kept[cWrittenAtOnce];
        std::copy_n(mBefore.begin() + static_cast<std::ptrdiff_t>(stop), cWrittenAtOnce, kept);
        CountFrom(iFront, iCount - iBack + 1);
        std::copy_n(kept, cWrittenAtOnce, mBefore.begin() + static_cast<std::ptrdiff_t>(stop));
        if (more == 0) return;
        const std::size_t end = BucketOf(mKeys[iCount - 1]) + 2;
        for (std::size_t bucket = stop; bucket < end; ++bucket)
            mBefore[bucket] += more;
    }

    // Index of the last key not above the probe; 0 when all are above it, or there is none.
    std::size_t Find(Key iProbe) const
    {
        if (mCount < 2 || !(iProbe >= mKeys[1])) return 0;
        if (iProbe >= mKeys[mCount - 1]) return mCount - 1;
        const std::size_t bucket = BucketOf(iProbe);
        std::size_t passed = mBefore[bucket];
        // Keys of later buckets are above the probe, so looking past this bucket's end does no harm, and two
        // keys are passed without a branch.
        const Key* const keys = mKeys.data() + passed;
        passed += static_cast<std::size_t>(keys[0] <= iProbe) + static_cast<std::size_t>(keys[1] <= iProbe);
        if (keys[2] <= iProbe) [[unlikely]] {
            const Key* const end = std::max(keys + 2, mKeys.data() + mBefore[bucket + 1]);
            passed = static_cast<std::size_t>(std::upper_bound(keys + 2, end, iProbe) - mKeys.data());
        }
        return passed - 1;
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
            return std::min<Cmn_UInt64>(Distance(iKey) >> mShift, mLastBucket);
        }
    }

    template <class KeyAt>
    void SetKeys(std::size_t iCount, std::size_t iFront, std::size_t iBack, KeyAt iKeyAt)
    {
        // The keys at the back, the padding among them, move as they are.
        const auto stays = static_cast<std::ptrdiff_t>(iBack + cPadding);
        if (iCount > mCount) mKeys.resize(iCount + cPadding);
        if (iBack != 0) {
            const auto oldEnd = mKeys.begin() + static_cast<std::ptrdiff_t>(mCount + cPadding);
            const auto newEnd = mKeys.begin() + static_cast<std::ptrdiff_t>(iCount + cPadding);
            if (iCount > mCount)
                std::copy_backward(oldEnd - stays, oldEnd, newEnd);
            else
                std::copy(oldEnd - stays, oldEnd, newEnd - stays);
        }
        mKeys.resize(iCount + cPadding);
        mCount = iCount;
        Key* const keys = mKeys.data();
        for (std::size_t i = iFront; i < iCount - iBack; ++i)
            keys[i] = iKeyAt(i);
        std::fill_n(keys + iCount, cPadding, cNever);
    }

    // At least two buckets a key, so that most hold one key or none. A quarter or more of the grid lies
    // behind the last key at first, so that keys may move up.
    void LayGrid()
    {
        const std::size_t buckets = std::bit_ceil(std::max<std::size_t>(mCount, 1) * 3);
        mLastBucket = buckets - 1;
        mBefore.assign(buckets + 1 + cWrittenAtOnce, 0);
        if (mCount < 2) return;
        if constexpr (cIsFloat) {
            const double span = mKeys[mCount - 1] - mKeys[0];
            mScale = span > 0 ? static_cast<double>(buckets) * 0.75 / span : 0.0;
            // A span of subnormal size would make the scale infinite; one bucket then holds all.
            if (!(mScale <= std::numeric_limits<double>::max())) mScale = 0.0;
        } else {
            const Cmn_UInt64 span = Distance(mKeys[mCount - 1]);
            mShift = std::max(0, static_cast<int>(std::bit_width(span)) -
                                     static_cast<int>(std::bit_width(mLastBucket)));
        }
    }

    Cmn_UInt64 Distance(Key iKey) const requires(!cIsFloat)
    {
        return static_cast<Cmn_UInt64>(iKey) - static_cast<Cmn_UInt64>(mKeys[0]);
    }

    // The grid may serve while its buckets are neither crowded nor mostly empty, and
    // the last key falls inside.
    bool GridFits(Key iLastKey, std::size_t iCount) const
    {
        const std::size_t buckets = mLastBucket + 1;
        if (!(iLastKey >= mKeys[0]) || iCount > buckets / 2 || iCount < buckets / 16) return false;
        if constexpr (cIsFloat) {
            const double place = (iLastKey - mKeys[0]) * mScale;
            return place >= static_cast<double>(buckets / 4) && place < static_cast<double>(buckets);
        } else {
            const Cmn_UInt64 place = Distance(iLastKey) >> mShift;
            return place >= buckets / 4 && place < buckets;
        }
    }

    // Counts the keys in [iFrom, iTo) into the grid; what the keys before gave stays.
    //
    // Each key owes its index to the buckets from `next` to its own. Eight are written whatever their number,
    // since a branch here would be mispredicted at every other key; what is written too far is written over
    // by the next key, or by the caller at the end.
    void CountFrom(std::size_t iFrom, std::size_t iTo)
    {
        Cmn_UInt32* const before = mBefore.data();
        std::size_t next = iFrom == 0 ? 0 : BucketOf(mKeys[iFrom - 1]) + 1;
        for (std::size_t i = iFrom; i < iTo; ++i) {
            const std::size_t behind = BucketOf(mKeys[i]) + 1;
            std::fill_n(before + next, cWrittenAtOnce, static_cast<Cmn_UInt32>(i));
            if (behind > next + cWrittenAtOnce) [[unlikely]]
                std::fill(before + next + cWrittenAtOnce, before + behind, static_cast<Cmn_UInt32>(i));
            next = behind;
        }
    }

    // All keys lie before the bucket behind the last one's.
    void CountAllBehindLast()
    {
        if (mCount > 0) mBefore[BucketOf(mKeys[mCount - 1]) + 1] = static_cast<Cmn_UInt32>(mCount);
    }

    std::vector<Key> mKeys;          // with cPadding keys behind the last that no probe passes
    std::vector<Cmn_UInt32> mBefore; // one a bucket, then the count, also as padding for writes at once
    std::size_t mCount = 0;
    std::size_t mLastBucket = 0;
    double mScale = 0.0; // buckets per unit of a floating key
    int mShift = 0;      // log2 of the units in a bucket of an integer key
};
