// Time_SharedRow: a row of values as it was at one moment. Rows taken one after the other hold once what they
// have in common:
//
//   a row                 [a b c d] [e f g h] [i j k l]
//   with X put before f   [a b c d] [e X f g h] [i j k l]     the first and the last stretch are the same
//   memory
//
// Invariants: (1) no stretch is empty.
// Threads:    a row never changes; see Time_SharedStretch.
#pragma once

#include "Kora/Time/Numeric/Time_SharedStretch_p.h"

#include <algorithm>
#include <vector>

template <class Value>
class Time_SharedRow
{
public:
    using Stretch = Time_SharedStretch<Value>;

    // iBytes is what the row has for itself, beside what other rows held before.
    Time_SharedRow(std::vector<Stretch> iStretches, std::size_t iBytes)
        : mStretches(std::move(iStretches))
        , mByteCount(iBytes + sizeof(*this) + mStretches.capacity() * sizeof(Stretch))
    {
        for (const Stretch& stretch : mStretches)
            mCount += stretch.size();
    }

    std::size_t size() const { return mCount; }
    const std::vector<Stretch>& GetStretches() const { return mStretches; }
    std::size_t GetByteCount() const { return mByteCount; }

    // Calls iVisit with each value of [iFirst, iLast).
    template <class Visit>
    void ForEach(std::size_t iFirst, std::size_t iLast, Visit iVisit) const
    {
        std::size_t start = 0; // of the stretch
        for (const Stretch& stretch : mStretches) {
            if (start >= iLast) return;
            const std::size_t end = std::min(iLast - start, stretch.size());
            for (std::size_t i = iFirst > start ? iFirst - start : 0; i < end; ++i)
                iVisit(stretch[i]);
            start += stretch.size();
        }
    }

    // How many values at the front, and how many others at the back, both rows have. Passes over stretches
    // that are the same at one step.
    struct Common
    {
        std::size_t mFront, mBack;
    };
    Common CommonWith(const Time_SharedRow& iOther) const
    {
        const std::size_t most = std::min(mCount, iOther.mCount);
        const std::size_t front = CountCommon<false>(iOther, most);
        return {front, CountCommon<true>(iOther, most - front)};
    }

private:
    // Goes over a row from the front, or from the back.
    template <bool cFromBack>
    class Walk
    {
    public:
        explicit Walk(const std::vector<Stretch>& iStretches)
            : mStretches(iStretches)
        {
        }
        const Stretch& GetStretch() const
        {
            return mStretches[cFromBack ? mStretches.size() - 1 - mStretch : mStretch];
        }
        const Value& GetValue() const
        {
            return GetStretch()[cFromBack ? GetStretch().size() - 1 - mValue : mValue];
        }
        bool IsAtStretch() const { return mValue == 0; }
        void PassStretch() { ++mStretch; }
        void Pass()
        {
            if (++mValue < GetStretch().size()) return;
            mValue = 0;
            ++mStretch;
        }

    private:
        const std::vector<Stretch>& mStretches;
        std::size_t mStretch = 0, mValue = 0; // passed
    };

    template <bool cFromBack>
    std::size_t CountCommon(const Time_SharedRow& iOther, std::size_t iMost) const
    {
        Walk<cFromBack> here(mStretches), there(iOther.mStretches);
        std::size_t common = 0;
        while (common < iMost) {
            if (here.IsAtStretch() && there.IsAtStretch() && here.GetStretch() == there.GetStretch()) {
                common += here.GetStretch().size();
                here.PassStretch();
                there.PassStretch();
            } else if (here.GetValue() == there.GetValue()) {
                ++common;
                here.Pass();
                there.Pass();
            } else {
                break;
            }
        }
        return std::min(common, iMost);
    }

    std::vector<Stretch> mStretches;
    std::size_t mCount = 0;
    std::size_t mByteCount;
};
