// Time_TempoMap: its segments, and how they are edited.
#include "Kora/Time/Tempo/Time_TempoMap.h"

#include "Bastel/Cmn/Cmn_Reserve_p.h"
#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Tempo/Time_TempoMapCache_p.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"
#include "Kora/Time/Values/Time_OrderByTick_p.h"
#include "OstrelPlatformSupport/PSThread.h"

#include <algorithm>
#include <new>

constinit Time_TempoMap* Time_TempoMap::spDefaultTempoMap = nullptr;
constinit Cmn_Int32 Time_TempoMap::sUniqueEditIdentifier = 0;

Time_TempoMap::Time_TempoMap(EUndoFlag iUndoFlag)
    : Ndo_Object(iUndoFlag)
    , mCache(std::make_unique<Time_TempoMapCache>(mSegments, Time_Globals::GetPullSampleRate()))
    , mUniqueEditIdentifier(++sUniqueEditIdentifier)
    , mReadLock(gPSThread.CreateCriticalSection("TempoMapReadLock"))
{
    // A new map is out of date, and the first rebuild leaves the lock.
    static_cast<void>(mReadLock->Enter(IPSSyncPrim::cWaitForever));
}

Time_TempoMap::Time_TempoMap(const Time_TempoMap& iOther)
    : Time_TempoMap(kNoUndo)
{
    mCache->SetSampleRate(iOther.GetSampleRate());
    SetSegments(iOther.CloneSegments());
}

Time_TempoMap& Time_TempoMap::operator=(const Time_TempoMap& iOther)
{
    if (this == &iOther) return *this;
    Segments segments = iOther.CloneSegments();
    NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    mCache->SetSampleRate(iOther.GetSampleRate());
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
    try {
        UpdateBasicMapIfNeeded();
    } catch (const std::bad_alloc&) {
        // The edit is done; scope guards end brackets, and do not throw.
    }
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

} // namespace

void Time_TempoMap::AddSegment(std::unique_ptr<Time_TempoMapSegment> iSegmentP)
{
    if (!Cmn_ASSERT(0 != iSegmentP.get()) || !Cmn_ASSERT_TEXT(HasTempo(*iSegmentP), "iBeatsPerMinute > 0"))
        return;
    NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    const Time_Tick start = iSegmentP->GetStartTick();
    const bool isAtEnd = mSegments.empty() || (*std::prev(mSegments.end()))->GetStartTick() <= start;
    const bool isInBracket = mEditCount > 1; // around the edit here
    if (isInBracket && !(isAtEnd && mAdded.empty())) return mAdded.push_back(std::move(iSegmentP));
    Settled();
    const Cmn_UInt8 notes = Time_TempoMapCache::NotesOf(*iSegmentP);
    MakeRoom(1); // so that a segment is never put without its notes
    PutSegment(mCache->LowerBound(start), std::move(iSegmentP), start, notes);
}

// In place of the segment at iIndex where that starts at the same tick, else before it.
void Time_TempoMap::PutSegment(std::size_t iIndex, std::unique_ptr<const Time_TempoMapSegment> iSegmentP,
                               Time_Tick iStart, Cmn_UInt8 iNotes) const
{
    if (iIndex < mSegments.size() && mSegments[iIndex]->GetStartTick() == iStart) {
        mSegments[iIndex] = std::move(iSegmentP);
        mCache->Replaced(iIndex, iStart, iNotes);
    } else {
        mSegments.insert(IterAt(iIndex), std::move(iSegmentP));
        mCache->Inserted(iIndex, iStart, iNotes);
    }
}

// Room for iCount more than there are.
void Time_TempoMap::MakeRoom(std::size_t iCount) const
{
    const std::size_t count = mSegments.size() + iCount;
    Cmn_Reserve(mSegments, count);
    mCache->Reserve(count);
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
        addedNotes.push_back(Time_TempoMapCache::NotesOf(*added));
    }
    Time_OrderByTick(order);

    const std::size_t first = mCache->LowerBound(order.front().mTick);
    MakeRoom(order.size());
    Segments old;
    old.resize(mSegments.size() - first);
    const std::vector<Cmn_UInt8> oldNotes = mCache->TakeNotes(first);
    std::move(mSegments.begin() + static_cast<std::ptrdiff_t>(first), mSegments.end(), old.begin());
    mSegments.resize(first);

    std::size_t kept = 0;
    Time_Tick last; // where a segment from first on starts
    const auto keepOld = [&] {
        last = old[kept]->GetStartTick();
        mCache->GiveBack(oldNotes[kept]);
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
    Segments().swap(mAdded);
}

void Time_TempoMap::RemoveSegments(std::size_t iFirst, std::size_t iLast)
{
    if (iFirst >= iLast) return;
    NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    mCache->Erase(iFirst, iLast);
    mSegments.erase(IterAt(iFirst), IterAt(iLast));
}

void Time_TempoMap::DeleteSegment(SegmentIter iter)
{
    if (!Cmn_ASSERT(iter != mSegments.end())) return;
    RemoveSegments(IndexOf(iter), IndexOf(iter) + 1);
}

void Time_TempoMap::EraseSegments(Time_Tick iStart, Time_Tick iEnd)
{
    Settled();
    if (iStart < iEnd) RemoveSegments(mCache->LowerBound(iStart), mCache->LowerBound(iEnd));
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

void Time_TempoMap::ReplaceWith(Time_TempoMap&& ioOther)
{
    if (this == &ioOther) return;
    ioOther.UpdateBasicMapIfNeeded();
    NdoAboutToModify();
    ioOther.NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this), otherEdit(ioOther);
    DirtyBasicMap();
    ioOther.DirtyBasicMap();
    mSegments = std::exchange(ioOther.mSegments, {});
    mAdded.clear();
    mCache->TakeAll(*ioOther.mCache);
    ioOther.SetSegments({});
}

void Time_TempoMap::SetSampleRate(double iSampleRate)
{
    const Time_TempoMap_StEditOptimizer edit(*this);
    DirtyBasicMap();
    mCache->SetSampleRate(iSampleRate);
}

void Time_TempoMap::SetSegments(Segments iSegments)
{
    mCache->Reserve(iSegments.size()); // from here on nothing throws
    mSegments.swap(iSegments);
    mAdded.clear();
    mCache->SetAll();
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

bool Time_TempoMap::ValidateSegs() const
{
    Settled();
    return mCache->ValidateSegments();
}

void Time_TempoMap::UpdateBasicMapIfNeeded() const
{
    if (!mIsDirty) return;
    Settled();
    if (!mCache->Update()) return;
    mIsDirty = false;
    mReadLock->Leave();
}
