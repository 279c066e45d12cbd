// Time_TempoMap: its segments, and how they are edited.
#include "Kora/Time/Tempo/Time_TempoMap.h"

#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"
#include "Kora/Time/Values/Time_OrderByTick_p.h"
#include "OstrelPlatformSupport/PSThread.h"

#include <algorithm>

// A DLL holds only the constants that its own code refers to, or that are declared once more.
constexpr Time_Tick Time_TempoMap::cDefaultSongStartTick;
constexpr double Time_TempoMap::cFallbackBeatsPerMinute;
constexpr Time_TickLength Time_TempoMap::cFallbackTicksPerBeat;

constinit Time_TempoMap* Time_TempoMap::spDefaultTempoMap = nullptr;
constinit Cmn_Int32 Time_TempoMap::sUniqueEditIdentifier = 0;

Time_TempoMap::Time_TempoMap(EUndoFlag iUndoFlag)
    : Ndo_Object(iUndoFlag)
    , mBasicMap(Time_Globals::GetPullSampleRate())
    , mUniqueEditIdentifier(++sUniqueEditIdentifier)
    , mReadLock(gPSThread.CreateCriticalSection("TempoMapReadLock"))
{
    // A new map is out of date, and the first rebuild leaves the lock.
    static_cast<void>(mReadLock->Enter(IPSSyncPrim::cWaitForever));
}

Time_TempoMap::Time_TempoMap(const Time_TempoMap& iOther)
    : Time_TempoMap(kNoUndo)
{
    mBasicMap.SetSampleRate(iOther.GetSampleRate());
    SetSegments(iOther.CloneSegments());
}

Time_TempoMap& Time_TempoMap::operator=(const Time_TempoMap& iOther)
{
    if (this == &iOther) return *this;
    Segments segments = iOther.CloneSegments();
    NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    mBasicMap.SetSampleRate(iOther.GetSampleRate());
    SetSegments(std::move(segments));
    return *this;
}

Time_TempoMap::~Time_TempoMap()
{
    if (mIsDirty) mReadLock->Leave();
}

Time_TempoMap* Time_TempoMap::GetDefaultTempoMap()
{
    if (spDefaultTempoMap == nullptr) spDefaultTempoMap = new Time_TempoMap(kNoUndo);
    spDefaultTempoMap->UpdateBasicMapIfNeeded();
    return spDefaultTempoMap;
}

bool Time_TempoMap::TryToAcquireReadLock() const KORA_NONBLOCKING
{
    if (!mReadLock->Enter(IPSSyncPrim::cTryOnly)) return false;
    // The editing thread, which is inside already, is let in again.
    if (mIsDirty) mReadLock->Leave();
    return !mIsDirty;
}

void Time_TempoMap::ReleaseReadLock() const KORA_NONBLOCKING { mReadLock->Leave(); }

void Time_TempoMap::DirtyBasicMap()
{
    if (mIsDirty) return;
    static_cast<void>(mReadLock->Enter(IPSSyncPrim::cWaitForever));
    mIsDirty = true;
}

void Time_TempoMap::EndEdit()
{
    Cmn_ASSERT(mEditCount > 0);
    --mEditCount;
    mUniqueEditIdentifier = ++sUniqueEditIdentifier;
    if (mEditCount > 0) return;
    UpdateBasicMapIfNeeded();
    mListeners.Broadcast(Mdl_SimpleValMessage_ValChanged());
}

namespace {

// Whether the tempo that the segment has of its own is one. What a computed one has is derived again.
bool HasTempo(const Time_TempoMapSegment& iSegment)
{
    double beatsPerMinute;
    Time_TickLength ticksPerBeat;
    return iSegment.IsComputed() || !iSegment.GetTempo(beatsPerMinute, ticksPerBeat) ||
           Time_BasicTempoMapSegment::IsTempo(beatsPerMinute, ticksPerBeat);
}

// Room for iCount elements, by doubling as pushing back makes it.
template <class Vector>
void MakeRoom(Vector& ioVector, std::size_t iCount)
{
    if (ioVector.capacity() < iCount) ioVector.reserve(std::max(iCount, 2 * ioVector.capacity()));
}

} // namespace

void Time_TempoMap::AddSegment(std::unique_ptr<Time_TempoMapSegment> iSegmentP)
{
    if (!Cmn_ASSERT(0 != iSegmentP.get()) || !Cmn_ASSERT_TEXT(HasTempo(*iSegmentP), "iBeatsPerMinute > 0"))
        return;
    NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    const Time_Tick start = iSegmentP->GetStartTick();
    const bool isBehindAll = mSegments.empty() || (*std::prev(mSegments.end()))->GetStartTick() < start;
    const bool isInBracket = mEditCount > 1; // around the edit here
    if (isInBracket && !(isBehindAll && mAdded.empty())) return mAdded.push_back(std::move(iSegmentP));
    Settled();
    const Cmn_UInt8 notes = NotesOf(*iSegmentP);
    PutSegment(LowerBound(start), std::move(iSegmentP), start, notes);
}

// In place of the segment at iIndex where that starts at the same tick, else before it.
void Time_TempoMap::PutSegment(std::size_t iIndex, std::unique_ptr<const Time_TempoMapSegment> iSegmentP,
                               Time_Tick iStart, Cmn_UInt8 iNotes) const
{
    if (iIndex < mSegments.size() && mSegments[iIndex]->GetStartTick() == iStart) {
        ForgetNotes(iIndex);
        mSegments[iIndex] = std::move(iSegmentP);
        mNotes[iIndex] = iNotes;
    } else {
        mSegments.insert(IterAt(iIndex), std::move(iSegmentP));
        mNotes.insert(mNotes.begin() + static_cast<std::ptrdiff_t>(iIndex), iNotes);
    }
    Changed(iStart, iNotes);
    Count(iNotes);
}

// Puts the collected segments in turn, sorted, between those that stood behind the first of them. Nothing
// is moved before all room is made. What is asked of the segments is asked in the order in which they
// came, which memory likes.
void Time_TempoMap::SettleAdded() const
{
    std::vector<Time_Ordered> order;
    std::vector<Cmn_UInt8> addedNotes;
    order.reserve(mAdded.size());
    addedNotes.reserve(mAdded.size());
    for (const auto& added : mAdded) {
        order.push_back({added->GetStartTick(), order.size()});
        addedNotes.push_back(NotesOf(*added));
    }
    Time_OrderByTick(order);

    const std::size_t first = LowerBound(order.front().mTick), oldCount = mSegments.size();
    MakeRoom(mSegments, oldCount + order.size());
    MakeRoom(mNotes, oldCount + order.size());
    const std::vector<Cmn_UInt8> oldNotes(mNotes.begin() + static_cast<std::ptrdiff_t>(first), mNotes.end());
    Segments old;
    old.resize(oldNotes.size());
    std::move(mSegments.begin() + static_cast<std::ptrdiff_t>(first), mSegments.end(), old.begin());
    mSegments.resize(first);
    mNotes.resize(first);

    std::size_t kept = 0;
    Time_Tick last; // where a segment from first on starts
    const auto keepOld = [&] {
        last = old[kept]->GetStartTick();
        mNotes.push_back(oldNotes[kept]);
        mSegments.push_back(std::move(old[kept++]));
    };
    for (const auto& [tick, index] : order) {
        while (kept < old.size() && old[kept]->GetStartTick() <= tick)
            keepOld();
        const bool isTaken = mSegments.size() > first && last == tick;
        last = tick;
        PutSegment(mSegments.size() - isTaken, std::move(mAdded[index]), tick, addedNotes[index]);
    }
    while (kept < old.size())
        keepOld();
    mAdded.clear();
}

Cmn_UInt8 Time_TempoMap::NotesOf(const Time_TempoMapSegment& iSegment)
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

void Time_TempoMap::Count(Cmn_UInt8 iNotes) const
{
    mLockedCount += (iNotes & eNote_Locked) != 0;
    mSongStartCount += (iNotes & eNote_SongStart) != 0;
}

void Time_TempoMap::ForgetNotes(std::size_t iIndex) const
{
    const unsigned notes = mNotes[iIndex];
    Changed(mSegments[iIndex]->GetStartTick(), notes);
    mLockedCount -= (notes & eNote_Locked) != 0;
    mSongStartCount -= (notes & eNote_SongStart) != 0;
}

void Time_TempoMap::RemoveSegments(std::size_t iFirst, std::size_t iLast)
{
    if (iFirst >= iLast) return;
    NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    for (std::size_t i = iFirst; i < iLast; ++i)
        ForgetNotes(i);
    mSegments.erase(IterAt(iFirst), IterAt(iLast));
    mNotes.erase(mNotes.begin() + static_cast<std::ptrdiff_t>(iFirst),
                 mNotes.begin() + static_cast<std::ptrdiff_t>(iLast));
}

void Time_TempoMap::DeleteSegment(SegmentIter iter)
{
    if (!Cmn_ASSERT(iter != mSegments.end())) return;
    RemoveSegments(IndexOf(iter), IndexOf(iter) + 1);
}

void Time_TempoMap::EraseSegments(Time_Tick iStart, Time_Tick iEnd)
{
    Settled();
    if (iStart < iEnd) RemoveSegments(LowerBound(iStart), LowerBound(iEnd));
}

void Time_TempoMap::EraseLockedSegmentsBySample(Time_Sample iStart, Time_Sample iEnd)
{
    const auto isMeant = [&](const std::unique_ptr<const Time_TempoMapSegment>& iSegment) {
        const Time_Sample start = iSegment->GetStartSample();
        return iSegment->IsLockedToSample() && start >= iStart && start < iEnd;
    };
    Settled();
    if (std::none_of(mSegments.begin(), mSegments.end(), isMeant)) return;
    const Time_TempoMap_StEditOptimizer edit(*this);
    for (std::size_t last = mSegments.size(); last > 0;) {
        // Stretches of segments that go are removed at once, from the back.
        std::size_t first = last;
        while (first > 0 && isMeant(mSegments[first - 1]))
            --first;
        RemoveSegments(first, last);
        last = first == last ? last - 1 : first;
    }
}

void Time_TempoMap::Clear()
{
    NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    SetSegments({});
}

void Time_TempoMap::ReplaceWith(const Time_TempoMap& iOther)
{
    if (this == &iOther) return;
    Segments segments = iOther.CloneSegments();
    NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    SetSegments(std::move(segments));
}

void Time_TempoMap::SetSampleRate(double iSampleRate)
{
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    mBasicMap.SetSampleRate(iSampleRate);
    ChangedEverything();
}

void Time_TempoMap::SetSegments(Segments iSegments)
{
    mSegments.swap(iSegments);
    mAdded.clear();
    mNotes.clear();
    mLockedCount = mSongStartCount = 0;
    for (const auto& segment : mSegments) {
        mNotes.push_back(NotesOf(*segment));
        Count(mNotes.back());
    }
    ChangedEverything();
}

// Tempi that a rebuild derives are up to date in the copies.
Time_TempoMap::Segments Time_TempoMap::CloneSegments() const
{
    UpdateBasicMapIfNeeded();
    Segments copy;
    copy.reserve(mSegments.size());
    for (const auto& segment : mSegments)
        copy.push_back(segment->Clone());
    return copy;
}

void Time_TempoMap::Changed(Time_Tick iStartTick, unsigned iNotes) const
{
    mChanges.mFirst = mChanges.mNothing ? iStartTick : std::min(mChanges.mFirst, iStartTick);
    mChanges.mLast = mChanges.mNothing ? iStartTick : std::max(mChanges.mLast, iStartTick);
    mChanges.mNothing = false;
    mChanges.mPins = mChanges.mPins || (iNotes & (eNote_Locked | eNote_Computed)) != 0;
}

void Time_TempoMap::ChangedEverything() { mChanges.mEverything = true; }

std::size_t Time_TempoMap::LowerBound(Time_Tick iTick) const
{
    // Segments are mostly added in order.
    if (mSegments.empty() || mSegments[mSegments.size() - 1]->GetStartTick() < iTick) return mSegments.size();
    const auto found = std::lower_bound(mSegments.begin(), mSegments.end(), iTick,
                                        [](const std::unique_ptr<const Time_TempoMapSegment>& iSegment,
                                           Time_Tick iAt) { return iSegment->GetStartTick() < iAt; });
    return IndexOf(found);
}

const Time_TempoMapSegment* Time_TempoMap::SegmentOrNull(std::size_t iIndex) const
{
    return iIndex < mSegments.size() ? mSegments[iIndex].get() : nullptr;
}

bool Time_TempoMap::ValidateSegs() const
{
    Settled();
    for (auto iter = mSegments.begin(); iter != mSegments.end(); ++iter) {
        const bool holds = (*iter)->CheckIsValid() &&
                           Cmn_ASSERT((*iter)->GetTypeID() != Time_TempoMapSegment::ePreviousTempoSeg) &&
                           (iter == mSegments.begin() ||
                            Cmn_ASSERT((*iter)->GetStartTick() > (*(iter - 1))->GetStartTick()));
        if (!holds) return false;
    }
    return true;
}
