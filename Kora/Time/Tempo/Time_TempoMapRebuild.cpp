// Time_TempoMap: how the numeric cache is generated from the segments.
//
// The walk goes over the segments in order. One that is not computed, and is locked or has something
// generated before it, generates forward. Any other opens a stretch that reaches to the next locked segment
// and is laid out backwards from there:
//
//     locked      free      locked, computed     free     locked      free
//     |— forward —|— forward —|   ←———— backward ————      |— forward —|— forward …
//
// What an edit changes is generated in the same walk into a map of its own, which then replaces the old
// stretch of the cache. Free segments behind it keep their slopes, which depend on nothing before them, so
// that only their start samples are chained again, up to the next locked one.
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "OstrelPlatformSupport/IPSSyncPrim.h"

#include <algorithm>
#include <cstring>

// Holds the mark that an update runs: nothing that is called meanwhile, such as a host's assertion
// handler, starts another one.
class Time_TempoMap::StUpdating
{
public:
    explicit StUpdating(const Time_TempoMap& iMap)
        : mMap(iMap)
    {
        mMap.mIsUpdating = true;
    }
    ~StUpdating() { mMap.mIsUpdating = false; }
    StUpdating(const StUpdating&) = delete;
    StUpdating& operator=(const StUpdating&) = delete;

private:
    const Time_TempoMap& mMap;
};

void Time_TempoMap::UpdateBasicMapIfNeeded() const
{
    if (!mIsDirty || mIsUpdating) return;
    Settled();
    {
        const StUpdating updating(*this);
        if (!RebuildChanged()) RebuildAll();
        CacheSongStart();
        mFewerThanTwoAreLocked = mLockedCount < 2;
        mAllAreLocked = mLockedCount == mSegments.size();
        mChanges = {.mEverything = false, .mNothing = true, .mPins = false, .mFirst = {}, .mLast = {}};
#ifndef NDEBUG
        // Where the fallback segment stands among the segments, the cache's joints do not meet.
        if (ValidateSegs() && mIsRegular) mBasicMap.Validate();
#endif
    }
    mIsDirty = false;
    mReadLock->Leave();
}

void Time_TempoMap::CacheSongStart() const
{
    mSongStartTick = mSessionStartTick = cDefaultSongStartTick;
    mSongStartSample = Time_Sample(0);
    const SegmentIter songStart = FindSongStart();
    if (songStart == mSegments.end()) return;
    Cmn_ASSERT_AS((*songStart)->IsLockedToSample(), "mIsLockedToSample", "Time/Time_TempoMap");
    mSongStartTick = (*songStart)->GetStartTick();
    mSongStartSample = (*songStart)->GetStartSample();
    mSessionStartTick = mBasicMap.SampleToTick(Time_Sample(0));
}

namespace {

// A segment just generated takes the place of a fallback segment at its tick.
void ReplaceFallback(Time_BasicTempoMap& ioMap, Time_Tick iGenerated)
{
    if (iGenerated != Time_TempoMap::cDefaultSongStartTick) return;
    const std::size_t last = ioMap.FindSegmentAtTick(iGenerated);
    if (last == 0 || ioMap.GetSegment(last - 1).GetStartTick() != iGenerated) return;
    // What was generated stands at the map's end, or before the other one.
    ioMap.EraseSegment(last + 1 == ioMap.GetNumberOfSegments() ? last - 1 : last);
}

Time_BasicTempoMapSegment FallbackSegment(double iSampleRate, double iBeatsPerMinute,
                                          const Time_TickLength& iTicksPerBeat)
{
    Time_BasicTempoMapSegment fallback;
    fallback.SetTempo(Time_TempoMap::cDefaultSongStartTick, 0.0, iSampleRate, iBeatsPerMinute, iTicksPerBeat);
    return fallback;
}

} // namespace

void Time_TempoMap::RebuildAll() const
{
    mIsRegular = true;
    mBasicMap.Clear();
    mBasicMap.Reserve(std::max<std::size_t>(mSegments.size(), 1));
    if (mSegments.empty())
        mBasicMap.InsertSegment(
            FallbackSegment(GetSampleRate(), cFallbackBeatsPerMinute, cFallbackTicksPerBeat));
    for (SegmentIter iter = mSegments.begin(); iter != mSegments.end();)
        iter = Generate(mBasicMap, iter);
    mBasicMap.BuildIndex();
}

// One step of the walk: generates the segment at iter, or the stretch that begins there,
// and returns what follows.
Time_TempoMap::SegmentIter Time_TempoMap::Generate(Time_BasicTempoMap& ioMap, SegmentIter iter) const
{
    const std::size_t index = IndexOf(iter);
    const bool isComputed = (mNotes[index] & eNote_Computed) != 0,
               isLocked = (mNotes[index] & eNote_Locked) != 0;
    if (!isComputed && (isLocked || ioMap.GetNumberOfSegments() > 0)) {
        const auto lender = index == 0 ? DerivedLender() : nullptr;
        (*iter)->GenerateForward(ioMap, SegmentOrNull(index - 1),
                                 lender != nullptr ? lender.get() : SegmentOrNull(index + 1));
        ReplaceFallback(ioMap, (*iter)->GetStartTick());
        mNotes[index] |= eNote_Forward;
        return iter + 1;
    }
    mNotes[index] &= static_cast<Cmn_UInt8>(~eNote_Forward);
    const SegmentIter locked = ComputeBackwardsTo(ioMap, iter);
    if (locked != mSegments.end()) return locked;
    if (isComputed) RefuseWhatWasRead(index, "a tempo locked to a sample behind it");
    if (index == 0) {
        GenerateFirstFromFallback(ioMap);
    } else {
        Cmn_ASSERT_AS(false, "0", "Time/Time_TempoMap");
        mIsRegular = false;
    }
    return iter + 1;
}

// A first segment that nothing holds starts from the fallback segment, which has its tempo.
void Time_TempoMap::GenerateFirstFromFallback(Time_BasicTempoMap& ioMap) const
{
    double beatsPerMinute;
    Time_TickLength ticksPerBeat;
    EffectiveTempo(0, beatsPerMinute, ticksPerBeat);
    ioMap.InsertSegment(FallbackSegment(GetSampleRate(), beatsPerMinute, ticksPerBeat));
    mSegments[0]->GenerateForward(ioMap, nullptr, SegmentOrNull(1));
    ReplaceFallback(ioMap, mSegments[0]->GetStartTick());
    mNotes[0] |= eNote_Forward;
    mIsRegular = mSegments[0]->GetStartTick() >= cDefaultSongStartTick;
}

// A first segment without a tempo takes that of the next one. Where that is computed, the tempo that it
// holds is what an earlier rebuild left; so a copy of it, with the tempo of this rebuild, lends in its
// place. Null where none is needed.
//
// One that is free starts where the first one leads, at the tempo that it lends: both are one line, from
// the first one's lock to its end. (Further free computed ones behind it start from the first one's line at
// the fallback tempo here.)
std::unique_ptr<Time_TempoMapSegment> Time_TempoMap::DerivedLender() const
{
    if ((mNotes[0] & eNote_Unspecified) == 0 || mSegments.size() < 2 || (mNotes[1] & eNote_Computed) == 0)
        return nullptr;
    const SegmentIter target = NextLocked(IterAt(1));
    if (target == mSegments.end()) return nullptr; // nothing derives its tempo

    const Time_TempoMapSegment& first = *mSegments[0];
    Time_BasicTempoMap map(GetSampleRate());
    Time_BasicTempoMapSegment line;
    line.SetTempo(first.GetStartTick(), static_cast<double>(first.GetStartSample().AsInt64()),
                  map.GetSampleRate(), cFallbackBeatsPerMinute, cFallbackTicksPerBeat);
    map.InsertSegment(line);
    Time_Tick endTick = (*target)->GetStartTick();
    auto endSample = static_cast<double>((*target)->GetStartSample().AsInt64());
    LayOutBackwards(map, IterAt(2), endTick, endSample);

    std::unique_ptr<Time_TempoMapSegment> lender = mSegments[1]->Clone();
    if (!lender->IsLockedToSample()) {
        lender->SetStartTick(first.GetStartTick());
        lender->LockToSample(first.GetStartSample());
    }
    GenerateBackward(map, *lender, 1, endSample, endTick);
    return lender;
}

// The first locked segment behind iter, or the end.
Time_TempoMap::SegmentIter Time_TempoMap::NextLocked(SegmentIter iter) const
{
    const auto locked = std::find_if(mNotes.begin() + (iter - mSegments.begin()) + 1, mNotes.end(),
                                     [](Cmn_UInt8 iNotes) { return (iNotes & eNote_Locked) != 0; });
    return IterAt(static_cast<std::size_t>(locked - mNotes.begin()));
}

// Lays out the segments from iFrom up to the next locked one, and returns that; the end, and nothing is laid
// out, when none is locked ahead.
Time_TempoMap::SegmentIter Time_TempoMap::ComputeBackwardsTo(Time_BasicTempoMap& ioMap,
                                                             SegmentIter iFrom) const
{
    const SegmentIter target = NextLocked(iFrom);
    if (target != mSegments.end()) ComputeBackwardsCore(ioMap, iFrom, target);
    return target;
}

void Time_TempoMap::ComputeBackwardsCore(Time_BasicTempoMap& ioMap, SegmentIter iFrom,
                                         SegmentIter iTargetIter) const
{
    if (!Cmn_ASSERT_IN("Time/Time_TempoMap", iTargetIter != mSegments.end())) return;
    // Nothing lies before the map's first segment, so a computed one that is free gets something to start
    // from. It has the fallback tempo: the segment's own is what is derived here.
    if (iFrom == mSegments.begin() && (*iFrom)->IsComputed() && !(*iFrom)->IsLockedToSample()) {
        ioMap.InsertSegment(
            FallbackSegment(ioMap.GetSampleRate(), cFallbackBeatsPerMinute, cFallbackTicksPerBeat));
        mIsRegular = (*iFrom)->GetStartTick() >= cDefaultSongStartTick;
    }

    Time_Tick endTick = (*iTargetIter)->GetStartTick();
    auto endSample = static_cast<double>((*iTargetIter)->GetStartSample().AsInt64());
    LayOutBackwards(ioMap, iFrom, endTick, endSample);
}

// From the segment that starts at the end given back to iFrom; the end is where iFrom starts then.
void Time_TempoMap::LayOutBackwards(Time_BasicTempoMap& ioMap, SegmentIter iFrom, Time_Tick& ioEndTick,
                                    double& ioEndSample) const
{
    for (SegmentIter iter = IterAt(LowerBound(ioEndTick)); iter != iFrom;) {
        --iter;
        GenerateBackward(ioMap, **iter, IndexOf(iter), ioEndSample, ioEndTick);
        ReplaceFallback(ioMap, (*iter)->GetStartTick());
        mNotes[IndexOf(iter)] &= static_cast<Cmn_UInt8>(~eNote_Forward);
        ioEndTick = (*iter)->GetStartTick();
        ioEndSample = ioMap.FractionalSampleAtTick(ioEndTick);
    }
}

void Time_TempoMap::GenerateBackward(Time_BasicTempoMap& ioMap, const Time_TempoMapSegment& iSegment,
                                     std::size_t iIndex, double iEndSample, Time_Tick iEndTick) const
{
    if (mTriedPlaces != nullptr && iSegment.IsComputed()) {
        const double start = iSegment.IsLockedToSample()
                                 ? static_cast<double>(iSegment.GetStartSample().AsInt64())
                                 : ioMap.FractionalSampleAtTick(iSegment.GetStartTick());
        if (!(iEndSample > start)) RefuseWhatWasRead(iIndex, "an end behind its start");
    }
    iSegment.GenerateBackward(ioMap, iEndSample, iEndTick);
}

// What is an assertion in a map that a host edits is an exception where a document says so.
void Time_TempoMap::RefuseWhatWasRead(std::size_t iIndex, const char* iExpected) const
{
    if (mTriedPlaces == nullptr) return;
    throw Sys_StreamReadException((*mTriedPlaces)[iIndex],
                                  "a tempo at " + mSegments[iIndex]->Dump() + ", expected " + iExpected);
}

// The last segment before iIndex that was generated forward and has a numeric segment; the
// first one if there is none.
std::size_t Time_TempoMap::LastForwardBefore(std::size_t iIndex) const
{
    std::size_t index = iIndex - 1;
    while (index > 0 && (mNotes[index] & (eNote_Forward | eNote_Unspecified)) != eNote_Forward)
        --index;
    return index;
}

// The first segment from iIndex on whose start does not just follow from what lies before.
std::size_t Time_TempoMap::FirstPinFrom(std::size_t iIndex) const
{
    constexpr Cmn_UInt64 cPinsInEach = eNote_Pins * Cmn_UInt64{0x0101010101010101};
    std::size_t index = iIndex;
    for (Cmn_UInt64 eight; index + sizeof eight <= mNotes.size(); index += sizeof eight) {
        std::memcpy(&eight, mNotes.data() + index, sizeof eight);
        if ((eight & cPinsInEach) != 0) break;
    }
    while (index < mNotes.size() && (mNotes[index] & eNote_Pins) == 0)
        ++index;
    return index;
}

// Whether what lies before the segment at iPin has no part in its start and all that lies behind. A
// locked segment without a tempo may generate nothing; a free computed segment inside a stretch starts
// from what lies before it.
bool Time_TempoMap::HoldsAgainst(std::size_t iPin) const
{
    if ((mNotes[iPin] & (eNote_Locked | eNote_Unspecified)) != eNote_Locked) return false;
    if ((mNotes[iPin] & eNote_Computed) == 0) return true;
    const auto pinned =
        std::find_if(mNotes.begin() + static_cast<std::ptrdiff_t>(iPin) + 1, mNotes.end(),
                     [](Cmn_UInt8 iNotes) { return (iNotes & (eNote_Locked | eNote_Computed)) != 0; });
    return pinned != mNotes.end() && (*pinned & eNote_Locked) != 0;
}

// False, and nothing is changed, where only a full rebuild gives the bits of one.
bool Time_TempoMap::RebuildChanged() const
{
    if (mChanges.mEverything || mChanges.mNothing || !mIsRegular) return false;
    const std::size_t count = mSegments.size(), changed = LowerBound(mChanges.mFirst);
    if (count == 0 || changed == 0) return false;
    // How segments before the change are generated depends on what is locked behind only
    // while the first one floats.
    const bool firstFloats = (mNotes[0] & (eNote_Locked | eNote_Computed)) != eNote_Locked;
    if (firstFloats && mChanges.mPins) return false;
    const std::size_t kept = LastForwardBefore(changed);
    if ((mNotes[kept] & (eNote_Forward | eNote_Unspecified)) != eNote_Forward) return false;

    const std::size_t keptNumeric = mBasicMap.FindSegmentAtTick(mSegments[kept]->GetStartTick());
    Time_BasicTempoMap generated(GetSampleRate());
    generated.InsertSegment(mBasicMap.GetSegment(keptNumeric));
    const std::size_t unchanged = static_cast<std::size_t>(
        std::upper_bound(mSegments.begin() + static_cast<std::ptrdiff_t>(changed), mSegments.end(),
                         mChanges.mLast,
                         [](Time_Tick iAt, const std::unique_ptr<const Time_TempoMapSegment>& iSegment) {
                             return iAt < iSegment->GetStartTick();
                         }) -
        mSegments.begin());

    // The walk ends where it meets the old one and all that has to move are free segments.
    std::size_t next = kept + 1, pin = 0;
    for (; next < count; next = IndexOf(Generate(generated, IterAt(next)))) {
        if (next < unchanged || (mNotes[next] & eNote_Forward) == 0) continue;
        if (pin < next) pin = FirstPinFrom(next);
        if (pin == count || HoldsAgainst(pin)) break;
    }
    const auto oldNumericFrom = [&](std::size_t iIndex) {
        if (iIndex >= count) return mBasicMap.GetNumberOfSegments();
        const Time_Tick tick = mSegments[iIndex]->GetStartTick();
        const std::size_t numeric = mBasicMap.FindSegmentAtTick(tick);
        return mBasicMap.GetSegment(numeric).GetStartTick() < tick ? numeric + 1 : numeric;
    };
    const std::size_t last = oldNumericFrom(next), chainEnd = next < count ? oldNumericFrom(pin) : last;
    mBasicMap.Splice(keptNumeric + 1, last, generated, 1, chainEnd);
    return true;
}
