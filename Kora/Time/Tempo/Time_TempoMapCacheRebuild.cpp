// Time_TempoMapCache: how the numeric map is generated from the segments.
//
// The walk goes over the segments in order. One that is not computed, and is locked or has something
// generated before it, generates forward. Any other opens a stretch that reaches to the next locked segment
// and is laid out backwards from there:
//
//     locked      free      locked, computed     free     locked      free
//     |— forward —|— forward —|   ←———— backward ————      |— forward —|— forward …
//
// What an edit changes is generated in the same walk into a map of its own, which then replaces the old
// stretch. Free segments behind it keep their slopes, which depend on nothing before them, so that only their
// start samples are chained again, up to the next locked one.
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMapCache_p.h"

#include <algorithm>
#include <bit>
#include <cstring>

// Holds the mark that an update runs: nothing that is called meanwhile, such as a host's assertion handler,
// starts another one.
class Time_TempoMapCache::StUpdating
{
public:
    explicit StUpdating(Time_TempoMapCache& ioCache)
        : mCache(ioCache)
    {
        mCache.mIsUpdating = true;
    }
    ~StUpdating() { mCache.mIsUpdating = false; }
    StUpdating(const StUpdating&) = delete;
    StUpdating& operator=(const StUpdating&) = delete;

private:
    Time_TempoMapCache& mCache;
};

bool Time_TempoMapCache::Update()
{
    if (mIsUpdating) return false;
    const StUpdating updating(*this);
    const Changes changes = mChanges;
    mChanges.mEverything = true; // should memory run out halfway
    if (!RebuildChanged(changes)) RebuildAll();
    CacheSongStart();
    mFewerThanTwoAreLocked = mLockedCount < 2;
    mAllAreLocked = mLockedCount == mSegments.size();
    mChanges = {.mEverything = false, .mNothing = true, .mPins = false, .mFirst = {}, .mLast = {}};
#ifndef NDEBUG
    // Where the fallback segment stands among the segments, the joints do not meet.
    if (ValidateSegments() && mIsRegular) mBasicMap.Validate();
#endif
    return true;
}

// Only computed segments can make a rebuild assert.
void Time_TempoMapCache::TryOut(const Places& iPlaces)
{
    mTriedPlaces = &iPlaces;
    const std::size_t songStart = FindSongStart();
    if (songStart < mSegments.size() && (mNotes[songStart] & eNote_Locked) == 0)
        RefuseWhatWasRead(songStart, "a song start locked to a sample");
    if (std::ranges::any_of(mNotes, [](Cmn_UInt8 iNotes) { return (iNotes & eNote_Computed) != 0; }))
        RebuildAll();
    mTriedPlaces = nullptr;
}

void Time_TempoMapCache::CacheSongStart()
{
    mSongStartTick = mSessionStartTick = Time_TempoMap::cDefaultSongStartTick;
    mSongStartSample = Time_Sample(0);
    const Time_TempoMapSegment* const songStart = SegmentOrNull(FindSongStart());
    if (songStart == nullptr) return;
    Cmn_ASSERT_AS(songStart->IsLockedToSample(), "mIsLockedToSample", "Time/Time_TempoMap");
    mSongStartTick = songStart->GetStartTick();
    mSongStartSample = songStart->GetStartSample();
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

// What stands where no segment says a tempo.
Time_BasicTempoMapSegment FallbackSegment(double iSampleRate)
{
    return FallbackSegment(iSampleRate, Time_TempoMap::cFallbackBeatsPerMinute,
                           Time_TempoMap::cFallbackTicksPerBeat);
}

Time_Tick StartOf(const std::unique_ptr<const Time_TempoMapSegment>& iSegment)
{
    return iSegment->GetStartTick();
}

double LockOf(const std::unique_ptr<const Time_TempoMapSegment>& iSegment)
{
    return static_cast<double>(iSegment->GetStartSample().AsInt64());
}

} // namespace

void Time_TempoMapCache::RebuildAll()
{
    mIsRegular = true;
    mBasicMap.Clear();
    mBasicMap.Reserve(std::max<std::size_t>(mSegments.size(), 1));
    if (mSegments.empty()) mBasicMap.InsertSegment(FallbackSegment(mBasicMap.GetSampleRate()));
    for (std::size_t i = 0; i < mSegments.size();)
        i = Generate(mBasicMap, i);
    mBasicMap.BuildIndex();
}

// One step of the walk: generates the segment, or the stretch that begins there, and returns what follows.
std::size_t Time_TempoMapCache::Generate(Time_BasicTempoMap& ioMap, std::size_t iIndex)
{
    const bool isComputed = (mNotes[iIndex] & eNote_Computed) != 0,
               isLocked = (mNotes[iIndex] & eNote_Locked) != 0;
    if (!isComputed && (isLocked || ioMap.GetNumberOfSegments() > 0)) {
        const auto lender = iIndex == 0 ? DerivedLender() : nullptr;
        mSegments[iIndex]->GenerateForward(ioMap, SegmentOrNull(iIndex - 1),
                                           lender != nullptr ? lender.get() : SegmentOrNull(iIndex + 1));
        ReplaceFallback(ioMap, StartOf(mSegments[iIndex]));
        mNotes[iIndex] |= eNote_Forward;
        return iIndex + 1;
    }
    mNotes[iIndex] &= static_cast<Cmn_UInt8>(~eNote_Forward);
    const std::size_t locked = ComputeBackwardsTo(ioMap, iIndex);
    if (locked != mSegments.size()) return locked;
    if (isComputed) RefuseWhatWasRead(iIndex, "a tempo locked to a sample behind it");
    if (iIndex == 0) {
        GenerateFirstFromFallback(ioMap);
    } else {
        Cmn_ASSERT_AS(false, "0", "Time/Time_TempoMap");
        mIsRegular = false;
    }
    return iIndex + 1;
}

// A first segment that nothing holds starts from the fallback segment, which has its tempo.
void Time_TempoMapCache::GenerateFirstFromFallback(Time_BasicTempoMap& ioMap)
{
    double beatsPerMinute;
    Time_TickLength ticksPerBeat;
    EffectiveTempo(0, beatsPerMinute, ticksPerBeat);
    ioMap.InsertSegment(FallbackSegment(mBasicMap.GetSampleRate(), beatsPerMinute, ticksPerBeat));
    mSegments[0]->GenerateForward(ioMap, nullptr, SegmentOrNull(1));
    ReplaceFallback(ioMap, mSegments[0]->GetStartTick());
    mNotes[0] |= eNote_Forward;
    mIsRegular = mSegments[0]->GetStartTick() >= Time_TempoMap::cDefaultSongStartTick;
}

// A first segment without a tempo takes that of the next one. Where that is computed, the tempo that it holds
// is what an earlier rebuild left; so a copy of it, with the tempo of this rebuild, lends in its place. Null
// where none is needed.
//
// One that is free starts where the first one leads, at the tempo that it lends: both are one line, from the
// first one's lock to its end. (Further free computed ones behind it start from the first one's line at the
// fallback tempo here.)
std::unique_ptr<Time_TempoMapSegment> Time_TempoMapCache::DerivedLender()
{
    if ((mNotes[0] & eNote_Unspecified) == 0 || mSegments.size() < 2 || (mNotes[1] & eNote_Computed) == 0)
        return nullptr;
    const std::size_t target = NextLocked(1);
    if (target == mSegments.size()) return nullptr; // nothing derives its tempo

    const Time_TempoMapSegment& first = *mSegments[0];
    Time_BasicTempoMap map(mBasicMap.GetSampleRate());
    Time_BasicTempoMapSegment line;
    line.SetTempo(first.GetStartTick(), LockOf(mSegments[0]), map.GetSampleRate(),
                  Time_TempoMap::cFallbackBeatsPerMinute, Time_TempoMap::cFallbackTicksPerBeat);
    map.InsertSegment(line);
    Time_Tick endTick = StartOf(mSegments[target]);
    double endSample = LockOf(mSegments[target]);
    LayOutBackwards(map, 2, endTick, endSample);

    std::unique_ptr<Time_TempoMapSegment> lender = mSegments[1]->Clone();
    if (!lender->IsLockedToSample()) {
        lender->SetStartTick(first.GetStartTick());
        lender->LockToSample(first.GetStartSample());
    }
    GenerateBackward(map, *lender, 1, endSample, endTick);
    return lender;
}

// The first locked segment behind iIndex, or the end.
std::size_t Time_TempoMapCache::NextLocked(std::size_t iIndex) const
{
    const auto locked = std::find_if(mNotes.begin() + static_cast<std::ptrdiff_t>(iIndex) + 1, mNotes.end(),
                                     [](Cmn_UInt8 iNotes) { return (iNotes & eNote_Locked) != 0; });
    return static_cast<std::size_t>(locked - mNotes.begin());
}

// Lays out the segments from iFrom up to the next locked one, and returns that; the end, and nothing is laid
// out, when none is locked ahead.
std::size_t Time_TempoMapCache::ComputeBackwardsTo(Time_BasicTempoMap& ioMap, std::size_t iFrom)
{
    const std::size_t target = NextLocked(iFrom);
    if (target != mSegments.size()) ComputeBackwardsCore(ioMap, iFrom, target);
    return target;
}

void Time_TempoMapCache::ComputeBackwardsCore(Time_BasicTempoMap& ioMap, std::size_t iFrom,
                                              std::size_t iTarget)
{
    const bool isTarget = iTarget < mSegments.size();
    if (!Cmn_ASSERT_AS(isTarget, "iTargetIter != mSegments.end()", "Time/Time_TempoMap")) return;
    // Nothing lies before the map's first segment, so a computed one that is free gets something to start
    // from. It has the fallback tempo: the segment's own is what is derived here.
    if (iFrom == 0 && (mNotes[0] & (eNote_Computed | eNote_Locked)) == eNote_Computed) {
        ioMap.InsertSegment(FallbackSegment(ioMap.GetSampleRate()));
        mIsRegular = StartOf(mSegments[0]) >= Time_TempoMap::cDefaultSongStartTick;
    }

    Time_Tick endTick = StartOf(mSegments[iTarget]);
    double endSample = LockOf(mSegments[iTarget]);
    LayOutBackwards(ioMap, iFrom, endTick, endSample);
}

// From the segment that starts at the end given back to iFrom; the end is where iFrom starts then.
void Time_TempoMapCache::LayOutBackwards(Time_BasicTempoMap& ioMap, std::size_t iFrom, Time_Tick& ioEndTick,
                                         double& ioEndSample)
{
    for (std::size_t i = LowerBound(ioEndTick); i > iFrom;) {
        const Time_TempoMapSegment& segment = *mSegments[--i];
        GenerateBackward(ioMap, segment, i, ioEndSample, ioEndTick);
        ReplaceFallback(ioMap, segment.GetStartTick());
        mNotes[i] &= static_cast<Cmn_UInt8>(~eNote_Forward);
        ioEndTick = segment.GetStartTick();
        ioEndSample = ioMap.FractionalSampleAtTick(ioEndTick);
    }
}

void Time_TempoMapCache::GenerateBackward(Time_BasicTempoMap& ioMap, const Time_TempoMapSegment& iSegment,
                                          std::size_t iIndex, double iEndSample, Time_Tick iEndTick)
{
    if (mTriedPlaces != nullptr && iSegment.IsComputed()) {
        const double start = iSegment.IsLockedToSample()
                                 ? static_cast<double>(iSegment.GetStartSample().AsInt64())
                                 : ioMap.FractionalSampleAtTick(iSegment.GetStartTick());
        if (!(iEndSample > start)) RefuseWhatWasRead(iIndex, "an end behind its start");
    }
    double before = 0, after = 0;
    Time_TickLength ticksPerBeat;
    const bool isSeen = iSegment.GetTempo(before, ticksPerBeat);
    iSegment.GenerateBackward(ioMap, iEndSample, iEndTick);
    // What it has derived is part of a snapshot.
    const bool isAsItWas = isSeen && iSegment.GetTempo(after, ticksPerBeat) &&
                           std::bit_cast<Cmn_UInt64>(before) == std::bit_cast<Cmn_UInt64>(after);
    const bool isTheMaps = mSegments[iIndex].get() == &iSegment; // not one that lends a tempo
    if (isTheMaps && !isAsItWas && iSegment.IsComputed()) mTaker.Replaced(iIndex, 1, 1);
}

// What is an assertion in a map that a host edits is an exception where a document says so.
void Time_TempoMapCache::RefuseWhatWasRead(std::size_t iIndex, const char* iExpected) const
{
    if (mTriedPlaces == nullptr) return;
    throw Sys_StreamReadException((*mTriedPlaces)[iIndex],
                                  "a tempo at " + mSegments[iIndex]->Dump() + ", expected " + iExpected);
}

// The last segment before iIndex that was generated forward and has a numeric segment; the first one if there
// is none.
std::size_t Time_TempoMapCache::LastForwardBefore(std::size_t iIndex) const
{
    std::size_t index = iIndex - 1;
    while (index > 0 && (mNotes[index] & (eNote_Forward | eNote_Unspecified)) != eNote_Forward)
        --index;
    return index;
}

// The first segment from iIndex on whose start does not just follow from what lies before.
std::size_t Time_TempoMapCache::FirstPinFrom(std::size_t iIndex) const
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

// Whether what lies before the segment at iPin has no part in its start and all that lies behind. A locked
// segment without a tempo may generate nothing; a free computed segment inside a stretch starts from what
// lies before it.
bool Time_TempoMapCache::HoldsAgainst(std::size_t iPin) const
{
    if ((mNotes[iPin] & (eNote_Locked | eNote_Unspecified)) != eNote_Locked) return false;
    if ((mNotes[iPin] & eNote_Computed) == 0) return true;
    const auto pinned =
        std::find_if(mNotes.begin() + static_cast<std::ptrdiff_t>(iPin) + 1, mNotes.end(),
                     [](Cmn_UInt8 iNotes) { return (iNotes & (eNote_Locked | eNote_Computed)) != 0; });
    return pinned != mNotes.end() && (*pinned & eNote_Locked) != 0;
}

// False, and nothing is changed, where only a full rebuild gives the bits of one.
bool Time_TempoMapCache::RebuildChanged(const Changes& iChanges)
{
    if (iChanges.mEverything) return false;
    if (iChanges.mNothing) return true;
    if (!mIsRegular) return false;
    const std::size_t count = mSegments.size(), changed = LowerBound(iChanges.mFirst);
    if (count == 0 || changed == 0) return false;
    // How segments before the change are generated depends on what is locked behind only while the first one
    // floats.
    const bool firstFloats = (mNotes[0] & (eNote_Locked | eNote_Computed)) != eNote_Locked;
    if (firstFloats && iChanges.mPins) return false;
    const std::size_t kept = LastForwardBefore(changed);
    if ((mNotes[kept] & (eNote_Forward | eNote_Unspecified)) != eNote_Forward) return false;

    const std::size_t keptNumeric = mBasicMap.FindSegmentAtTick(mSegments[kept]->GetStartTick());
    Time_BasicTempoMap generated(mBasicMap.GetSampleRate());
    generated.InsertSegment(mBasicMap.GetSegment(keptNumeric));
    const std::size_t unchanged = UpperBound(iChanges.mLast);

    // The walk ends where it meets the old one and all that has to move are free segments.
    std::size_t next = kept + 1, pin = 0;
    for (; next < count; next = Generate(generated, next)) {
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
