// Time_SongLine: what is in force along a song's ticks, by changes, and how stretches of
// such lines make a new one.
//
// Invariants: ticks ascend strictly.
#pragma once

#include "Kora/Time/Values/Time_Tick.h"

#include <algorithm>
#include <vector>

template <class State>
class Time_SongLine
{
public:
    struct Entry
    {
        Time_Tick mTick;
        State mState;
        friend bool operator==(const Entry& iA, const Entry& iB)
        {
            return iA.mTick == iB.mTick && iA.mState == iB.mState;
        }
    };
    // The part [mOldStart, mOldEnd) of a line, to stand at mNewStart.
    struct Stretch
    {
        const Time_SongLine* mSource;
        Time_Tick mOldStart;
        Time_Tick mOldEnd;
        Time_Tick mNewStart;
    };

    explicit Time_SongLine(const State& iBefore)
        : mBefore(iBefore)
    {
    }

    // Behind the last one, or in its place.
    void Put(Time_Tick iTick, const State& iState)
    {
        if (!mEntries.empty() && mEntries.back().mTick == iTick)
            mEntries.back().mState = iState;
        else
            mEntries.push_back({iTick, iState});
    }

    const std::vector<Entry>& Get() const { return mEntries; }
    // What is in force before the first change.
    const State& GetBefore() const { return mBefore; }
    const State& Last() const { return mEntries.empty() ? mBefore : mEntries.back().mState; }
    const State& At(Time_Tick iTick) const
    {
        const auto behind = From(iTick + Time_TickLength(1));
        return behind == mEntries.begin() ? mBefore : std::prev(behind)->mState;
    }
    bool HasChangeAt(Time_Tick iTick) const
    {
        const auto found = From(iTick);
        return found != mEntries.end() && found->mTick == iTick;
    }
    // The changes of a range, the first at its start.
    std::vector<Entry> Part(Time_Tick iFrom, Time_Tick iTo) const
    {
        std::vector<Entry> part{{iFrom, At(iFrom)}};
        part.insert(part.end(), From(iFrom + Time_TickLength(1)), From(iTo));
        return part;
    }
    friend bool operator==(const Time_SongLine& iA, const Time_SongLine& iB)
    {
        return iA.mEntries == iB.mEntries;
    }

    // By ascending new starts; between them goes on what is in force. What iOld has set up at the song start
    // stays there, and is what comes first there now.
    static Time_SongLine Of(const Time_SongLine& iOld, const std::vector<Stretch>& iStretches,
                            Time_Tick iSongStart)
    {
        Time_SongLine line(iOld.mBefore);
        const bool isSetUp = iOld.HasChangeAt(iSongStart);
        for (const Stretch& stretch : iStretches) {
            const bool isOpenBefore = line.mEntries.empty() || line.mEntries.back().mTick < iSongStart;
            if (isSetUp && isOpenBefore && stretch.mNewStart > iSongStart)
                line.Put(iSongStart, iOld.At(iSongStart));
            line.Append(stretch, iOld, iSongStart);
        }
        return line;
    }

private:
    using Iter = typename std::vector<Entry>::const_iterator;

    Iter From(Time_Tick iTick) const
    {
        return std::lower_bound(mEntries.begin(), mEntries.end(), iTick,
                                [](const Entry& iEntry, Time_Tick iAt) { return iEntry.mTick < iAt; });
    }

    void Append(const Stretch& iStretch, const Time_SongLine& iOld, Time_Tick iSongStart)
    {
        const Time_SongLine& source = *iStretch.mSource;
        const bool wasSetUp = &source == &iOld && iStretch.mOldStart == iSongStart;
        const bool isNeeded = (iStretch.mNewStart == iSongStart && iOld.HasChangeAt(iSongStart)) ||
                              !(source.At(iStretch.mOldStart) == Last());
        if (isNeeded || (source.HasChangeAt(iStretch.mOldStart) && !wasSetUp))
            Put(iStretch.mNewStart, source.At(iStretch.mOldStart));
        const auto end = source.From(iStretch.mOldEnd);
        for (auto entry = source.From(iStretch.mOldStart + Time_TickLength(1)); entry < end; ++entry)
            Put(iStretch.mNewStart + (entry->mTick - iStretch.mOldStart), entry->mState);
    }

    State mBefore;
    std::vector<Entry> mEntries;
};
