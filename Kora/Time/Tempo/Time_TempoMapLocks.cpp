// Time_TempoMap: the stretches from one locked segment to the next, and what is computed in them.
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <algorithm>

namespace {

using SegmentIter = Time_TempoMap::SegmentIter;

struct Stretch
{
    SegmentIter mFirst;
    SegmentIter mEnd;
    bool mIsBetweenLocks;
};

// From the lock at or before iter, or the map's start, up to the next one, or the end.
Stretch StretchAround(const Time_TempoMap& iMap, SegmentIter iter)
{
    const auto isLocked = [](const auto& iSegment) { return iSegment->IsLockedToSample(); };
    SegmentIter first = iter;
    while (first != iMap.SegmentBegin() && !isLocked(*first))
        --first;
    const SegmentIter end = std::find_if(iter + 1, iMap.SegmentEnd(), isLocked);
    return {first, end, isLocked(*first) && end != iMap.SegmentEnd()};
}

// What locks out of order made a computed segment derive is no tempo that it could keep.
void EnsureTempo(Time_TempoMapSegment& ioSegment)
{
    auto* const segment = dynamic_cast<Time_ConstantTempoSeg*>(&ioSegment);
    if (segment == nullptr) return;
    if (!Time_BasicTempoMapSegment::IsTempo(segment->GetBeatsPerMinute(), segment->GetTicksPerBeat()))
        segment->SetTempo(Time_TempoMap::cFallbackBeatsPerMinute, Time_TempoMap::cFallbackTicksPerBeat);
}

bool IsComputed(const std::unique_ptr<const Time_TempoMapSegment>& iSegment)
{
    return iSegment->IsComputed();
}

// The first segment that starts in the range; the last one is followed by iEnd at the latest.
SegmentIter Longest(SegmentIter iFirst, SegmentIter iLast, Time_Tick iEnd)
{
    SegmentIter longest = iFirst;
    Cmn_Int64 most = -1;
    for (SegmentIter iter = iFirst; iter < iLast; ++iter) {
        const Time_Tick end = iter + 1 < iLast ? (*(iter + 1))->GetStartTick() : iEnd;
        const Cmn_Int64 length = (end - (*iter)->GetStartTick()).AsInt64();
        if (length > most) longest = iter;
        most = std::max(most, length);
    }
    return longest;
}

// The first segment that starts at iTick or later.
SegmentIter FirstFrom(const Time_TempoMap& iMap, Time_Tick iTick)
{
    const SegmentIter controlling = iMap.FindControllingSegment(iTick);
    const bool isBefore = controlling != iMap.SegmentEnd() && (*controlling)->GetStartTick() < iTick;
    return isBefore ? controlling + 1 : controlling;
}

// Of [iFirst, iLast) only iComputed, which may be the end, is computed afterwards.
void LeaveComputed(Time_TempoMap& ioMap, SegmentIter iFirst, SegmentIter iLast, SegmentIter iComputed)
{
    ioMap.UpdateBasicMapIfNeeded(); // what was computed keeps what was found for it
    std::vector<std::unique_ptr<Time_TempoMapSegment>> changed;
    for (SegmentIter iter = iFirst; iter < iLast; ++iter)
        if ((*iter)->IsComputed() != (iter == iComputed)) {
            changed.push_back((*iter)->Clone());
            changed.back()->SetIsComputed(iter == iComputed);
            if (iter != iComputed) EnsureTempo(*changed.back());
        }
    if (changed.empty()) return;
    const Time_TempoMap_StEditOptimizer edit(ioMap);
    for (auto& segment : changed)
        ioMap.AddSegment(std::move(segment));
}

} // namespace

void Time_TempoMap::SongStartWasAdded(Time_Tick iTick)
{
    const SegmentIter iter = FindSegment(iTick);
    if (!Cmn_ASSERT(iter != mSegments.end())) return;
    std::vector<std::unique_ptr<Time_TempoMapSegment>> changed;
    for (SegmentIter other = SegmentBegin(); other != SegmentEnd(); ++other)
        if ((*other)->IsSongStart() && other != iter) {
            changed.push_back((*other)->Clone());
            changed.back()->SetIsSongStart(false);
        }
    if (!(*iter)->IsSongStart() || !(*iter)->IsLockedToSample()) {
        changed.push_back((*iter)->Clone());
        changed.back()->SetIsSongStart(true);
        if (!(*iter)->IsLockedToSample()) changed.back()->LockToSample(TickToSample(iTick, false));
    }
    if (changed.empty()) return;
    const Time_TempoMap_StEditOptimizer edit(*this);
    for (auto& segment : changed)
        AddSegment(std::move(segment));
}

void Time_TempoMap::ClearComputedFlagsInRange(Time_Tick iStart, Time_Tick iEnd)
{
    if (iStart < iEnd) LeaveComputed(*this, FirstFrom(*this, iStart), FirstFrom(*this, iEnd), SegmentEnd());
}

void Time_TempoMap::EnsureExactlyOneComputedSegmentInRange(Time_Tick iStart, Time_Tick iEnd)
{
    if (iStart >= iEnd) return;
    const SegmentIter first = FirstFrom(*this, iStart), last = FirstFrom(*this, iEnd);
    const SegmentIter computed = std::find_if(first, last, IsComputed);
    LeaveComputed(*this, first, last, computed != last ? computed : Longest(first, last, iEnd));
}

void Time_TempoMap::FixUpComputedFlagsAroundTick(Time_Tick iTick)
{
    const SegmentIter controlling = FindControllingSegment(iTick);
    if (controlling == mSegments.end()) return;
    const Stretch stretch = StretchAround(*this, controlling);
    if (stretch.mIsBetweenLocks)
        EnsureExactlyOneComputedSegmentInRange((*stretch.mFirst)->GetStartTick(),
                                               (*stretch.mEnd)->GetStartTick());
    else
        LeaveComputed(*this, stretch.mFirst, stretch.mEnd, stretch.mEnd);
}

void Time_TempoMap::RecomputeBetweenIDBs(Time_Tick iStart, Time_Tick iEnd)
{
    std::vector<Time_Tick> ticks; // one in each stretch
    for (SegmentIter iter = FindControllingSegment(iStart);
         iter != mSegments.end() && ((*iter)->GetStartTick() < iEnd || ticks.empty());)
    {
        ticks.push_back((*iter)->GetStartTick());
        iter = StretchAround(*this, iter).mEnd;
    }
    bool isNeeded = false;
    for (const Time_Tick tick : ticks) {
        const Stretch stretch = StretchAround(*this, FindSegment(tick));
        isNeeded |= std::count_if(stretch.mFirst, stretch.mEnd, IsComputed) != stretch.mIsBetweenLocks;
    }
    if (!isNeeded) return UpdateBasicMapIfNeeded();
    const Time_TempoMap_StEditOptimizer edit(*this);
    for (const Time_Tick tick : ticks)
        FixUpComputedFlagsAroundTick(tick);
}

bool Time_TempoMap::ValidateBetweenIDBs() const
{
    for (SegmentIter iter = SegmentBegin(); iter != SegmentEnd();) {
        const Stretch stretch = StretchAround(*this, iter);
        const auto count = std::count_if(stretch.mFirst, stretch.mEnd, IsComputed);
        if (!Cmn_ASSERT_TEXT(count == stretch.mIsBetweenLocks,
                             "exactly one computed segment between two locks"))
            return false;
        const bool ascends = !stretch.mIsBetweenLocks ||
                             (*stretch.mFirst)->GetStartSample() < (*stretch.mEnd)->GetStartSample();
        if (!Cmn_ASSERT_TEXT(ascends, "locks ascend")) return false;
        iter = stretch.mEnd;
    }
    return true;
}
