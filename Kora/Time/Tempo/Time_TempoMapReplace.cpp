// Time_TempoMap: edits of whole stretches of segments at once.
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMapCache_p.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <iterator>

void Time_TempoMap::ReplaceSegments(Time_Tick iStart, Time_Tick iEnd,
                                    std::vector<std::unique_ptr<Time_TempoMapSegment>> iSegments)
{
    Settled();
    for (std::size_t i = 0; i < iSegments.size(); ++i) {
        const bool fits = iSegments[i] != nullptr && iSegments[i]->GetStartTick() < iEnd &&
                          (i == 0 ? iSegments[i]->GetStartTick() >= iStart
                                  : iSegments[i - 1]->GetStartTick() < iSegments[i]->GetStartTick());
        if (!Cmn_ASSERT_TEXT(fits, "segments ascend within the range")) return;
    }
    const std::size_t first = mCache->LowerBound(iStart), last = mCache->LowerBound(iEnd);
    if (iStart >= iEnd || (first == last && iSegments.empty())) return;
    MakeRoom(iSegments.size()); // from the notice on nothing throws
    NdoAboutToModify();
    const Time_TempoMap_StEditOptimizer edit(*this);
    PutInPlace(first, last, std::move(iSegments));
}

// In the place of those from iFirst up to iLast. Room is made, an edit is open.
void Time_TempoMap::PutInPlace(std::size_t iFirst, std::size_t iLast,
                               std::vector<std::unique_ptr<Time_TempoMapSegment>> iSegments)
{
    DirtyBasicMap();
    mCache->Erase(iFirst, iLast);
    mSegments.erase(IterAt(iFirst), IterAt(iLast));
    mCache->InsertMany(iFirst, iSegments);
    mSegments.insert(IterAt(iFirst), std::make_move_iterator(iSegments.begin()),
                     std::make_move_iterator(iSegments.end()));
}

void Time_TempoMap::EnsureSongStart()
{
    if (FindSongStart() != mSegments.end()) return;
    auto first = mSegments.begin();
    while (first != mSegments.end() && !(*first)->IsLockedToSample())
        ++first;
    const Time_Tick tick = first != mSegments.end() ? (*first)->GetStartTick() : cDefaultSongStartTick;
    const Time_TempoMap_StEditOptimizer edit(*this);
    if (FindSegment(tick) == mSegments.end()) {
        double beatsPerMinute;
        Time_TickLength ticksPerBeat;
        GetTempoAtTick(beatsPerMinute, ticksPerBeat, tick);
        auto segment = std::make_unique<Time_ConstantTempoSeg>(tick, beatsPerMinute, ticksPerBeat);
        segment->LockToSample(TickToSample(tick, false));
        AddSegment(std::move(segment));
    }
    SongStartWasAdded(tick);
}
