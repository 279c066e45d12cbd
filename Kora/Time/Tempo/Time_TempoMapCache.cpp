// Time_TempoMapCache: what it knows of the segments; the rebuild stands in the file beside this one.
#include "Kora/Time/Tempo/Time_TempoMapCache_p.h"

#include "Bastel/Cmn/Cmn_Reserve_p.h"

#include <algorithm>

Time_TempoMapCache::Time_TempoMapCache(const Segments& iSegments, double iSampleRate)
    : mSegments(iSegments)
    , mBasicMap(iSampleRate)
{
}

Cmn_UInt8 Time_TempoMapCache::NotesOf(const Time_TempoMapSegment& iSegment)
{
    double beatsPerMinute;
    Time_TickLength ticksPerBeat;
    unsigned notes = 0;
    if (iSegment.IsLockedToSample()) notes |= eNote_Locked;
    if (iSegment.IsComputed()) notes |= eNote_Computed;
    if (!iSegment.GetTempo(beatsPerMinute, ticksPerBeat)) notes |= eNote_Unspecified;
    if (iSegment.IsSongStart()) notes |= eNote_SongStart;
    return static_cast<Cmn_UInt8>(notes);
}

// --- Edits

void Time_TempoMapCache::Reserve(std::size_t iCount) { Cmn_Reserve(mNotes, iCount); }

void Time_TempoMapCache::Replaced(std::size_t iIndex, Time_Tick iStart, Cmn_UInt8 iNotes)
{
    const Cmn_UInt8 old = mNotes[iIndex];
    mLockedCount -= (old & eNote_Locked) != 0;
    mSongStartCount -= (old & eNote_SongStart) != 0;
    mNotes[iIndex] = iNotes;
    Count(iNotes);
    Changed(iStart, old | iNotes);
    mTaker.Replaced(iIndex, 1, 1);
}

void Time_TempoMapCache::Inserted(std::size_t iIndex, Time_Tick iStart, Cmn_UInt8 iNotes)
{
    mNotes.insert(mNotes.begin() + static_cast<std::ptrdiff_t>(iIndex), iNotes);
    Count(iNotes);
    Changed(iStart, iNotes);
    mTaker.Replaced(iIndex, 0, 1);
}

void Time_TempoMapCache::InsertMany(std::size_t iIndex,
                                    const std::vector<std::unique_ptr<Time_TempoMapSegment>>& iSegments)
{
    auto notes = mNotes.insert(mNotes.begin() + static_cast<std::ptrdiff_t>(iIndex), iSegments.size(), 0);
    for (const auto& segment : iSegments) {
        *notes = NotesOf(*segment);
        Count(*notes);
        Changed(segment->GetStartTick(), *notes++);
    }
    mTaker.Replaced(iIndex, 0, iSegments.size());
}

void Time_TempoMapCache::Erase(std::size_t iFirst, std::size_t iLast)
{
    for (std::size_t i = iFirst; i < iLast; ++i) {
        mLockedCount -= (mNotes[i] & eNote_Locked) != 0;
        mSongStartCount -= (mNotes[i] & eNote_SongStart) != 0;
        Changed(mSegments[i]->GetStartTick(), mNotes[i]);
    }
    mNotes.erase(mNotes.begin() + static_cast<std::ptrdiff_t>(iFirst),
                 mNotes.begin() + static_cast<std::ptrdiff_t>(iLast));
    mTaker.Replaced(iFirst, iLast - iFirst, 0);
}

void Time_TempoMapCache::SetAll()
{
    mNotes.clear();
    mLockedCount = mSongStartCount = 0;
    mChanges.mEverything = true;
    mTaker.ReplacedAll();
    for (const auto& segment : mSegments) {
        mNotes.push_back(NotesOf(*segment));
        Count(mNotes.back());
    }
}

void Time_TempoMapCache::TakeAll(Time_TempoMapCache& ioOther)
{
    mTaker.ReplacedAll();
    mNotes.swap(ioOther.mNotes);
    mLockedCount = ioOther.mLockedCount;
    mSongStartCount = ioOther.mSongStartCount;
    mChanges.mEverything = true;
    if (!ioOther.mChanges.mNothing || ioOther.mBasicMap.GetSampleRate() != mBasicMap.GetSampleRate()) return;
    mChanges = ioOther.mChanges;
    mBasicMap.Swap(ioOther.mBasicMap);
    mIsRegular = ioOther.mIsRegular;
}

void Time_TempoMapCache::SetSampleRate(double iSampleRate)
{
    mBasicMap.SetSampleRate(iSampleRate);
    mChanges.mEverything = true;
}

std::vector<Cmn_UInt8> Time_TempoMapCache::TakeNotes(std::size_t iFirst)
{
    std::vector<Cmn_UInt8> taken(mNotes.begin() + static_cast<std::ptrdiff_t>(iFirst), mNotes.end());
    mNotes.resize(iFirst);
    return taken;
}

void Time_TempoMapCache::Changed(Time_Tick iStartTick, unsigned iNotes)
{
    mChanges.mFirst = mChanges.mNothing ? iStartTick : std::min(mChanges.mFirst, iStartTick);
    mChanges.mLast = mChanges.mNothing ? iStartTick : std::max(mChanges.mLast, iStartTick);
    mChanges.mNothing = false;
    mChanges.mPins = mChanges.mPins || (iNotes & (eNote_Locked | eNote_Computed)) != 0;
}

void Time_TempoMapCache::Count(Cmn_UInt8 iNotes)
{
    mLockedCount += (iNotes & eNote_Locked) != 0;
    mSongStartCount += (iNotes & eNote_SongStart) != 0;
}

Time_TempoMapCache::RowP Time_TempoMapCache::TakeRow()
{
    return mTaker.Take(mSegments.size(),
                       [this](std::size_t i) { return Time_ConstantTempoValue::Of(*mSegments[i]); });
}

// --- Queries

const Time_TempoMapSegment* Time_TempoMapCache::SegmentOrNull(std::size_t iIndex) const
{
    return iIndex < mSegments.size() ? mSegments[iIndex].get() : nullptr;
}

std::size_t Time_TempoMapCache::LowerBound(Time_Tick iTick) const
{
    // Segments are mostly added in order.
    if (mSegments.empty() || mSegments[mSegments.size() - 1]->GetStartTick() < iTick) return mSegments.size();
    const auto found =
        std::lower_bound(mSegments.begin(), mSegments.end(), iTick,
                         [](const auto& iSegment, Time_Tick iAt) { return iSegment->GetStartTick() < iAt; });
    return static_cast<std::size_t>(found - mSegments.begin());
}

std::size_t Time_TempoMapCache::UpperBound(Time_Tick iTick) const
{
    const auto after =
        std::upper_bound(mSegments.begin(), mSegments.end(), iTick,
                         [](Time_Tick iAt, const auto& iSegment) { return iAt < iSegment->GetStartTick(); });
    return static_cast<std::size_t>(after - mSegments.begin());
}

std::size_t Time_TempoMapCache::FindSongStart() const
{
    if (mSongStartCount == 0) return mSegments.size();
    const auto found = std::find_if(mNotes.begin(), mNotes.end(),
                                    [](Cmn_UInt8 iNotes) { return (iNotes & eNote_SongStart) != 0; });
    return static_cast<std::size_t>(found - mNotes.begin());
}

void Time_TempoMapCache::EffectiveTempo(std::size_t iIndex, double& oBeatsPerMinute,
                                        Time_TickLength& oTicksPerBeat) const
{
    const auto isOf = [&](const Time_TempoMapSegment* iSegment) {
        return iSegment != nullptr && iSegment->GetTempo(oBeatsPerMinute, oTicksPerBeat);
    };
    std::size_t i = iIndex;
    while (i > 0 && !isOf(SegmentOrNull(i)))
        --i;
    const bool isSpecified = i > 0 || isOf(SegmentOrNull(0)) || isOf(SegmentOrNull(1));
    // What locks out of order make a computed segment derive is no tempo.
    if (isSpecified && Time_BasicTempoMapSegment::IsTempo(oBeatsPerMinute, oTicksPerBeat)) return;
    oBeatsPerMinute = Time_TempoMap::cFallbackBeatsPerMinute;
    oTicksPerBeat = Time_TempoMap::cFallbackTicksPerBeat;
}

bool Time_TempoMapCache::ValidateSegments() const
{
    constexpr auto cIsOfAnyKind = [](const Time_TempoMapSegment& iSegment) {
        return Cmn_ASSERT_AS(iSegment.GetTypeID() != Time_TempoMapSegment::ePreviousTempoSeg,
                             "(*iter)->GetTypeID() != Time_TempoMapSegment::ePreviousTempoSeg",
                             "Time/Time_TempoMap");
    };
    for (std::size_t i = 0; i < mSegments.size(); ++i) {
        const bool holds =
            mSegments[i]->CheckIsValid() && cIsOfAnyKind(*mSegments[i]) &&
            (i == 0 ||
             Cmn_ASSERT_AS(mSegments[i]->GetStartTick() > mSegments[i - 1]->GetStartTick(),
                           "(*iter)->GetStartTick() > (*(iter - 1))->GetStartTick()", "Time/Time_TempoMap"));
        if (!holds) return false;
    }
    return true;
}
