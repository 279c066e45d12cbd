// Time_SearchIndex: finds the governing entry among ascending keys in a few nanoseconds, whatever their
// number and however they lie.
//
// The keys stay in their owner's records: each call gets a function that reads the key of an entry. The
// stretch from the first key to the last is cut into equal buckets; for each bucket the index remembers how
// many keys lie before it. A probe goes straight to its bucket and passes the few keys there. A bucket of
// more than a few keys has a grid of its own, over the stretch between its own first and last key, and so on:
//
//   keys      0   1 2        3  4          5 ············ 25       26
//   buckets |     |     |     |     |     |       ···       |     |
//   before    0     1     3     4     5     a grid over 5…25   26
//
// Where most keys would crowd in equal buckets, since each lies further on by some part than the one before,
// the buckets of a grid grow with the distance from its first key, as the steps of floating numbers do.
//
// A probe at or past the last key, as those that follow an append are, is answered at once.
//
// Units:      Key is std::int64_t (ticks, bars) or double (samples). 12 to 24 bytes a key where one grid
//             serves, 4 to 8 where the keys are many, and at most cMostBytes where grids stand in grids.
// Invariants: (1) keys ascend  (2) the entry of each bucket, up to the one behind the last key's, is the
//             number of keys whose bucket is below, or the number of its grid, which knows it; no probe looks
//             past that one, so that an append costs what it adds.
// Memory:     without enough of it there is no grid, and searches are binary until one can be made; nothing
//             throws.
// Threads:    Find only reads; the owner keeps Build and Splice away from readers.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <limits>
#include <new>
#include <type_traits>
#include <vector>

template <class Key>
class Time_SearchIndex
{
public:
    // Lays new grids over iCount ascending keys; iKeyAt(i) is the i-th.
    template <class KeyAt>
    void Build(std::size_t iCount, KeyAt iKeyAt) noexcept
    {
        try {
            mCount = iCount;
            mGrids.clear();
            mGridEntries.clear();
            LayRoot(iKeyAt);
            Crowds crowds = CountFrom(0, iCount, 0, iKeyAt);
            const bool isCrowded = !crowds.empty() && CountIn(crowds) >= iCount / 4;
            if (isCrowded && ChooseOctaves(mRoot, 0, iCount, true, iKeyAt))
                crowds = CountFrom(0, iCount, 0, iKeyAt);
            CountAllBehindLast(iKeyAt);
            GiveGrids(crowds, iKeyAt);
        } catch (const std::bad_alloc&) {
            mEntries.clear();
        }
    }

    // The same where the first iFront keys are those of the last call, and the last iBack its last ones.
    // Keeps the grid while it fits; then it costs what lies between, the crowds at its ends and, when the
    // count changes, a pass over the grid from there to the last key.
    template <class KeyAt>
    void Splice(std::size_t iCount, std::size_t iFront, std::size_t iBack, KeyAt iKeyAt) noexcept
    {
        if (iFront == 0 || iCount < 2 || mCount < 2 || !GridFits(iKeyAt(iCount - 1), iCount))
            return Build(iCount, iKeyAt);
        const auto more = static_cast<Cmn_UInt32>(iCount - mCount); // modulo 2^32, so that it may be negative
        const std::size_t oldBack = mCount - iBack;
        mCount = iCount;
        SetEnds(iKeyAt);
        const std::size_t frontBucket = mRoot.BucketOf(iKeyAt(iFront - 1));
        const std::size_t crowdStart = KeysBefore(frontBucket);
        // The first key at the back has its bucket counted anew; behind that bucket, only the count has
        // changed.
        const std::size_t to = iCount - iBack + (iBack > 0);
        const std::size_t stop = mRoot.BucketOf(iKeyAt(to - 1)) + 1;
        Cmn_UInt32 kept[cWrittenAtOnce];
        std::copy_n(mEntries.begin() + static_cast<std::ptrdiff_t>(stop), cWrittenAtOnce, kept);
        mEntries[frontBucket] = static_cast<Cmn_UInt32>(crowdStart);
        try {
            const Crowds crowds = CountFrom(iFront, to, crowdStart, iKeyAt);
            std::copy_n(kept, cWrittenAtOnce, mEntries.begin() + static_cast<std::ptrdiff_t>(stop));
            if (iBack == 0)
                CountAllBehindLast(iKeyAt);
            else if (more != 0)
                MoveKeys(stop, mRoot.BucketOf(mLastKey) + 2, oldBack, more);
            GiveGrids(crowds, iKeyAt);
        } catch (const std::bad_alloc&) {
            mEntries.clear();
        }
    }

    // Index of the last key not above the probe; 0 when all are above it, or there is none.
    template <class KeyAt>
    std::size_t Find(Key iProbe, KeyAt iKeyAt) const
    {
        if (mCount < 2 || !(iProbe >= mSecondKey)) return 0;
        if (iProbe >= mLastKey) return mCount - 1;
        std::size_t passed = 0;
        if (!mEntries.empty()) [[likely]] {
            Cmn_UInt32 entry = mEntries[mRoot.BucketOf(iProbe)];
            while ((entry & cIsGrid) != 0) {
                const Grid& grid = mGrids[entry - cIsGrid];
                passed = grid.mKeysBefore;
                entry = mGridEntries[grid.mFirstEntry + grid.BucketFor(iProbe)];
            }
            passed += entry;
        }
        // The last key is above the probe, so that this ends. Whether a bucket's first key is passed cannot
        // be foreseen; that a second one is, is rare.
        passed += static_cast<std::size_t>(iKeyAt(passed) <= iProbe);
        for (std::size_t step = 0; step < 2 * cFew; ++step, ++passed)
            if (!(iKeyAt(passed) <= iProbe)) return passed - 1;
        return SearchFrom(passed, iProbe, iKeyAt) - 1;
    }

    std::size_t GetCount() const { return mCount; }
    static constexpr std::size_t cMostBytes = 136; // a key
    std::size_t GetByteCount() const
    {
        return (mEntries.capacity() + mGridEntries.capacity()) * sizeof(Cmn_UInt32) +
               mGrids.capacity() * sizeof(Grid);
    }

private:
    static constexpr bool cIsFloat = std::is_floating_point_v<Key>;
    static constexpr std::size_t cFew = 4; // keys that a bucket has without a grid
    // More keys than that and their grid are in no cache near the processor: there fewer buckets, which miss less
    // often, take back the time that a second key in some costs.
    static constexpr std::size_t cMany = std::size_t{1} << 17;
    static constexpr std::size_t cWrittenAtOnce = 8;
    static constexpr std::size_t cMostEntries = 8; // of all grids but the first, for each key
    static constexpr int cDeepest = 12;            // grids in grids
    static constexpr Cmn_UInt32 cIsGrid = Cmn_UInt32{1} << 31;

    // Keys [mFirst, mLast) in one bucket, more than a few.
    struct Crowd
    {
        std::size_t mFirst, mLast;
    };
    using Crowds = std::vector<Crowd>;

    struct Grid
    {
        // Lays iBuckets over the keys from iFirst to iLast and, with iRoom, a third as much behind.
        void Lay(Key iFirst, Key iLast, std::size_t iBuckets, bool iRoom)
        {
            mFirst = iFirst;
            mLastBucket = static_cast<Cmn_UInt32>(iBuckets - 1);
            if constexpr (cIsFloat) {
                const double span = iLast - iFirst;
                mScale = span > 0 ? static_cast<double>(iBuckets) * (iRoom ? 0.75 : 1.0) / span : 0.0;
                // A span of subnormal size would make the scale infinite; one bucket then holds all.
                if (!(mScale <= std::numeric_limits<double>::max())) mScale = 0.0;
            } else {
                const int spanBits = std::bit_width(Distance(iLast));
                mShift = std::max(0, spanBits - static_cast<int>(std::bit_width(mLastBucket)));
            }
        }
        // The same with buckets that grow with the distance from the first key, for keys that lie the further
        // apart the further on they are: a bucket is a piece of an octave, as a double's leading bits have
        // it. iSecond is the first key that is above iFirst. False where that makes no sense.
        bool LayOctaves(Key iFirst, Key iSecond, Key iLast, std::size_t iBuckets, bool iRoom)
        {
            mFirst = iFirst;
            mLastBucket = static_cast<Cmn_UInt32>(iBuckets - 1);
            const Cmn_UInt64 least = FloatForm(iSecond), most = FloatForm(iLast);
            if (least >= most || most >= std::bit_cast<Cmn_UInt64>(std::numeric_limits<double>::infinity()))
                return false;
            const Cmn_UInt64 places = (iRoom ? iBuckets * 3 / 4 : iBuckets) - 2;
            for (mShift = 0; (most >> mShift) - (least >> mShift) > places;)
                ++mShift;
            mOctaveBase = (least >> mShift) - 1;
            return least >> mShift > 1;
        }
        // Non-decreasing in iKey, for keys from the first one on: the only property that Find relies on.
        std::size_t BucketOf(Key iKey) const
        {
            if (mOctaveBase != 0) {
                const Cmn_UInt64 place = FloatForm(iKey) >> mShift;
                return place < mOctaveBase ? 0 : std::min<Cmn_UInt64>(place - mOctaveBase, mLastBucket);
            }
            if constexpr (cIsFloat) {
                const double place = (iKey - mFirst) * mScale;
                return place < static_cast<double>(mLastBucket) ? static_cast<std::size_t>(place)
                                                                : mLastBucket;
            } else {
                return std::min<Cmn_UInt64>(Distance(iKey) >> mShift, mLastBucket);
            }
        }
        // The same for probes, which may lie before the first key.
        std::size_t BucketFor(Key iProbe) const { return BucketOf(std::max(iProbe, mFirst)); }
        // Where the last key may lie while the grid serves.
        bool HasInRange(Key iLastKey) const
        {
            const std::size_t buckets = mLastBucket + std::size_t{1};
            if (!(iLastKey >= mFirst)) return false;
            if (mOctaveBase != 0) {
                const Cmn_UInt64 place = FloatForm(iLastKey) >> mShift;
                return place >= mOctaveBase + buckets / 4 && place < mOctaveBase + buckets;
            }
            if constexpr (cIsFloat) {
                const double place = (iLastKey - mFirst) * mScale;
                return place >= static_cast<double>(buckets / 4) && place < static_cast<double>(buckets);
            } else {
                const Cmn_UInt64 place = Distance(iLastKey) >> mShift;
                return place >= buckets / 4 && place < buckets;
            }
        }
        Cmn_UInt64 Distance(Key iKey) const requires(!cIsFloat)
        {
            return static_cast<Cmn_UInt64>(iKey) - static_cast<Cmn_UInt64>(mFirst);
        }

        // The distance from the first key as a double, whose bits ascend with it.
        Cmn_UInt64 FloatForm(Key iKey) const
        {
            if constexpr (cIsFloat) {
                return std::bit_cast<Cmn_UInt64>(iKey - mFirst);
            } else {
                constexpr Cmn_UInt64 cMost = std::numeric_limits<Cmn_Int64>::max();
                const auto distance = static_cast<Cmn_Int64>(std::min(Distance(iKey), cMost));
                return std::bit_cast<Cmn_UInt64>(static_cast<double>(distance));
            }
        }

        Key mFirst = 0;
        double mScale = 0.0;        // buckets per unit of a floating key
        Cmn_UInt64 mOctaveBase = 0; // where buckets grow: of all float forms, shifted, the one of bucket 0
        int mShift = 0; // log2 of the units in a bucket of an integer key, or the bits that float forms lose
        Cmn_UInt32 mLastBucket = 0;
        std::size_t mFirstEntry = 0; // of a grid in a grid, whose entries count from its own first key …
        Cmn_UInt32 mKeysBefore = 0;  // … before which so many lie
    };

    template <class KeyAt>
    void SetEnds(KeyAt iKeyAt)
    {
        mSecondKey = iKeyAt(1);
        mLastKey = iKeyAt(mCount - 1);
    }

    // At least two buckets a key, so that most hold one key or none, or about one where keys are many. A quarter
    // or more of the grid lies behind the last key at first, so that keys may move up.
    template <class KeyAt>
    void LayRoot(KeyAt iKeyAt)
    {
        const std::size_t buckets =
            std::bit_ceil(std::max<std::size_t>(mCount, 1) * (mCount > cMany ? 1 : 3));
        if (mCount >= 2) SetEnds(iKeyAt);
        mEntries.assign(buckets + 1 + cWrittenAtOnce, 0);
        mRoot = {};
        if (mCount >= 2) mRoot.Lay(iKeyAt(0), mLastKey, buckets, true);
    }

    // The grid may serve while its buckets are neither crowded nor mostly empty, the last key falls inside,
    // and the grids that serve no more are not many.
    bool GridFits(Key iLastKey, std::size_t iCount) const
    {
        const std::size_t buckets = mRoot.mLastBucket + std::size_t{1};
        const std::size_t most = iCount > cMany ? buckets + buckets / 2 : buckets / 2;
        return !mEntries.empty() && iCount <= most && iCount >= buckets / 16 &&
               mGridEntries.size() <= cMostEntries / 2 * iCount && mRoot.HasInRange(iLastKey);
    }

    std::size_t KeysBefore(std::size_t iBucket) const
    {
        const Cmn_UInt32 entry = mEntries[iBucket];
        return (entry & cIsGrid) != 0 ? mGrids[entry - cIsGrid].mKeysBefore : entry;
    }

    // Counts the keys in [iFrom, iTo) into the grid; what the keys before gave stays. Returns the crowds that
    // the buckets of these keys have. iFirst is the first key in the bucket of the one before iFrom.
    //
    // Each key owes its index to the buckets from `next` to its own. Eight are written whatever their number,
    // since a branch here would be mispredicted at every other key; what is written too far is written over
    // by the next key, or by the caller at the end.
    template <class KeyAt>
    Crowds CountFrom(std::size_t iFrom, std::size_t iTo, std::size_t iFirst, KeyAt iKeyAt)
    {
        Crowds crowds;
        const Grid root = mRoot; // which the writes below leave alone
        Cmn_UInt32* const before = mEntries.data();
        std::size_t next = iFrom == 0 ? 0 : root.BucketOf(iKeyAt(iFrom - 1)) + 1;
        std::size_t first = iFirst; // of those in one bucket
        for (std::size_t i = iFrom; i < iTo; ++i) {
            const std::size_t behind = root.BucketOf(iKeyAt(i)) + 1;
            const bool isOther = behind != next;
            if (isOther & (i - first > cFew)) [[unlikely]]
                crowds.push_back({first, i});
            first = isOther ? i : first;
            std::fill_n(before + next, cWrittenAtOnce, static_cast<Cmn_UInt32>(i));
            if (behind > next + cWrittenAtOnce) [[unlikely]]
                std::fill(before + next + cWrittenAtOnce, before + behind, static_cast<Cmn_UInt32>(i));
            next = behind;
        }
        std::size_t last = iTo;
        while (last < mCount && root.BucketOf(iKeyAt(last)) + 1 == next)
            ++last;
        if (last - first > cFew) crowds.push_back({first, last});
        return crowds;
    }

    // All keys lie before the bucket behind the last one's.
    template <class KeyAt>
    void CountAllBehindLast(KeyAt iKeyAt)
    {
        if (mCount > 0) mEntries[mRoot.BucketOf(iKeyAt(mCount - 1)) + 1] = static_cast<Cmn_UInt32>(mCount);
    }

    // The keys from iFirstKey on, whose buckets are [iFirst, iLast), have iMore others before them.
    void MoveKeys(std::size_t iFirst, std::size_t iLast, std::size_t iFirstKey, Cmn_UInt32 iMore)
    {
        Cmn_UInt32* const entries = mEntries.data();
        for (std::size_t bucket = iFirst; bucket < iLast; ++bucket)
            entries[bucket] += (entries[bucket] & cIsGrid) != 0 ? 0 : iMore;
        for (Grid& grid : mGrids)
            grid.mKeysBefore += grid.mKeysBefore >= iFirstKey ? iMore : 0;
    }

    template <class KeyAt>
    void GiveGrids(const Crowds& iCrowds, KeyAt iKeyAt)
    {
        for (const Crowd& crowd : iCrowds)
            mEntries[mRoot.BucketOf(iKeyAt(crowd.mFirst))] =
                EntryFor(crowd.mFirst, crowd.mLast, crowd.mFirst, 1, iKeyAt);
    }

    // How many keys lie in crowds, but for the first few of each.
    static std::size_t CountIn(const Crowds& iCrowds)
    {
        std::size_t crowded = 0;
        for (const Crowd& crowd : iCrowds)
            crowded += crowd.mLast - crowd.mFirst - cFew;
        return crowded;
    }
    // The same of the keys [iFirst, iLast), by themselves.
    template <class KeyAt>
    static std::size_t CountCrowded(const Grid& iGrid, std::size_t iFirst, std::size_t iLast, KeyAt iKeyAt)
    {
        std::size_t crowded = 0, alike = 0, bucket = 0;
        for (std::size_t i = iFirst; i < iLast; ++i) {
            const std::size_t next = iGrid.BucketOf(iKeyAt(i));
            alike = next == bucket ? alike + 1 : 0;
            crowded += alike >= cFew;
            bucket = next;
        }
        return crowded;
    }

    // Makes the buckets grow where many keys crowd in equal ones, and growing ones leave much fewer.
    template <class KeyAt>
    static bool ChooseOctaves(Grid& ioGrid, std::size_t iFirst, std::size_t iLast, bool iRoom, KeyAt iKeyAt)
    {
        std::size_t second = iFirst + 1;
        while (second < iLast && !(iKeyAt(second) > iKeyAt(iFirst)))
            ++second;
        const std::size_t crowded = CountCrowded(ioGrid, iFirst, iLast, iKeyAt);
        if (second == iLast || crowded < (iLast - iFirst) / 4) return false;
        Grid octaves;
        const std::size_t buckets = ioGrid.mLastBucket + std::size_t{1};
        if (!octaves.LayOctaves(iKeyAt(iFirst), iKeyAt(second), iKeyAt(iLast - 1), buckets, iRoom) ||
            CountCrowded(octaves, iFirst, iLast, iKeyAt) > crowded / 2)
            return false;
        ioGrid = octaves;
        return true;
    }

    // What stands in an entry for the keys [iFirst, iLast), of which iBefore are counted before it: where
    // they are many, a grid.
    template <class KeyAt>
    Cmn_UInt32 EntryFor(std::size_t iFirst, std::size_t iLast, std::size_t iBefore, int iDepth, KeyAt iKeyAt)
    {
        const auto count = static_cast<Cmn_UInt32>(iBefore);
        const std::size_t keys = iLast - iFirst, buckets = std::bit_ceil(2 * keys);
        const std::size_t firstEntry = mGridEntries.size();
        const bool isBig = firstEntry + buckets > cMostEntries * mCount;
        if (keys <= cFew || iDepth > cDeepest || isBig) return count;
        Grid grid;
        grid.Lay(iKeyAt(iFirst), iKeyAt(iLast - 1), buckets, false);
        if (grid.BucketOf(iKeyAt(iLast - 1)) == 0) return count; // too close together
        ChooseOctaves(grid, iFirst, iLast, false, iKeyAt);
        grid.mFirstEntry = firstEntry;
        grid.mKeysBefore = static_cast<Cmn_UInt32>(iFirst);
        const auto number = static_cast<Cmn_UInt32>(mGrids.size());
        mGrids.push_back(grid);
        mGridEntries.resize(firstEntry + buckets);
        std::size_t next = 0;
        for (std::size_t first = iFirst, last; first < iLast; first = last) {
            const std::size_t bucket = grid.BucketOf(iKeyAt(first));
            for (last = first + 1; last < iLast && grid.BucketOf(iKeyAt(last)) == bucket;)
                ++last;
            for (; next < bucket; ++next)
                mGridEntries[firstEntry + next] = static_cast<Cmn_UInt32>(first - iFirst);
            const Cmn_UInt32 entry = EntryFor(first, last, first - iFirst, iDepth + 1, iKeyAt);
            mGridEntries[firstEntry + next++] = entry;
        }
        for (; next < buckets; ++next)
            mGridEntries[firstEntry + next] = static_cast<Cmn_UInt32>(keys);
        return cIsGrid + number;
    }

    // The first key from iFirst on that is above the probe: in steps that double, then by halves.
    template <class KeyAt>
    std::size_t SearchFrom(std::size_t iFirst, Key iProbe, KeyAt iKeyAt) const
    {
        std::size_t below = iFirst, step = 1;
        while (below + step < mCount && iKeyAt(below + step) <= iProbe) {
            below += step;
            step *= 2;
        }
        std::size_t above = std::min(below + step, mCount);
        while (below < above) {
            const std::size_t middle = below + (above - below) / 2;
            if (iKeyAt(middle) <= iProbe)
                below = middle + 1;
            else
                above = middle;
        }
        return above;
    }

    std::size_t mCount = 0;
    Key mSecondKey = 0, mLastKey = 0;
    Grid mRoot;
    std::vector<Cmn_UInt32> mEntries; // one a bucket, then the count, also as padding for writes at once
    std::vector<Grid> mGrids;
    std::vector<Cmn_UInt32> mGridEntries;
};
