// Time_MeterMap's arithmetic of durations in bars, beats and ticks.
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Meter/Time_MeterMapIndex_p.h"

#include <algorithm>

namespace {

using Position = Time_MeterMapIndex::Position;

// A start less than a tenth of a beat before a barline was meant to be on it.
constexpr Cmn_Int64 cSnapsPerBeat = 10;

// Walks bar by bar, whole bars of one meter at one step.
void AdvanceByBeats(const Time_MeterMapIndex& iIndex, Position& ioPosition, Cmn_Int64 iBeats)
{
    for (;;) {
        const Cmn_Int64 beatsLeft = iIndex.LastBeatOf(ioPosition.mBar) - ioPosition.mBeat + 1;
        if (beatsLeft > iBeats) break;
        iBeats -= beatsLeft;
        ioPosition = ioPosition.NextBarline();

        const Cmn_Int64 beatsPerBar = iIndex.NumeratorAtBar(ioPosition.mBar);
        const Cmn_Int64 wholeBars = std::min(iIndex.WholeBarsFrom(ioPosition.mBar), iBeats / beatsPerBar);
        ioPosition.mBar = Cmn_WrapAdd(ioPosition.mBar, wholeBars);
        iBeats -= wholeBars * beatsPerBar;
    }
    ioPosition.mBeat += iBeats;
}

// From a whole beat. A bar's start is left for the beat behind the last one of the bar before.
void SubtractBeats(const Time_MeterMapIndex& iIndex, Position& ioPosition, Cmn_Int64 iBeats)
{
    Cmn_ASSERT_AS(ioPosition.mTick == 0, "iBBT.mTick==Time_TickLength(0)", "Time/Time_MeterMap");
    while (ioPosition.mBeat - 1 < iBeats) {
        iBeats -= ioPosition.mBeat - 1;

        // One beat at least stays for the step that follows.
        const Cmn_Int64 beatsPerBar = iIndex.NumeratorAtBar(Cmn_WrapSub<Cmn_Int64>(ioPosition.mBar, 1));
        const Cmn_Int64 wholeBars =
            std::min(iIndex.WholeBarsBefore(ioPosition.mBar), (iBeats - 1) / beatsPerBar);
        const Cmn_Int64 barBefore = Cmn_WrapSub(ioPosition.mBar, wholeBars + 1);
        iBeats -= wholeBars * beatsPerBar;
        ioPosition = {barBefore, iIndex.LastBeatOf(barBefore) + 1, 0};
    }
    ioPosition.mBeat -= iBeats;
}

// How many whole beats can be counted from a beat on until iTick, which is not before it.
Cmn_Int64 BeatsUntil(const Time_MeterMapIndex& iIndex, Position iFrom, Cmn_Int64 iTick)
{
    const Position end = iIndex.ToPosition(iTick);
    Cmn_Int64 beats = 0;
    while (iFrom.mBar < end.mBar) {
        beats += iIndex.LastBeatOf(iFrom.mBar) - iFrom.mBeat + 1;
        iFrom = iFrom.NextBarline();
        const Cmn_Int64 wholeBars = std::min(iIndex.WholeBarsFrom(iFrom.mBar), end.mBar - iFrom.mBar);
        beats += wholeBars * iIndex.NumeratorAtBar(iFrom.mBar);
        iFrom.mBar += wholeBars;
    }
    return beats + end.mBeat - iFrom.mBeat;
}

} // namespace

// Where duration arithmetic starts: a bar, the distance from its start, and what a snap to
// the next barline skipped.
struct Time_MeterMap::BarAndOffset
{
    Cmn_Int64 mBar;
    Cmn_Int64 mOffset;
    Cmn_Int64 mSnappedGap; // 0 without a snap
};

Time_MeterMap::BarAndOffset Time_MeterMap::SnapToBarline(Time_Tick iTick) const
{
    const Cmn_Int64 bar = BarOf(iTick), nextBar = Cmn_WrapAdd<Cmn_Int64>(bar, 1);
    const Cmn_Int64 gap = (BarStart(nextBar) - iTick).AsInt64();
    if (gap < Index().TicksPerBeatAt(iTick.AsInt64()) / cSnapsPerBeat) return {nextBar, 0, gap};
    return {bar, (iTick - BarStart(bar)).AsInt64(), 0};
}

Time_Tick Time_MeterMap::AddDurationToTick(Time_Tick iTick, const Time_BarBeatTick& iDuration) const
{
    const BarAndOffset start = SnapToBarline(iTick);
    const Time_Tick afterBars =
        BarStart(Cmn_WrapAdd<Cmn_Int64>(start.mBar, iDuration.mBar)) + Time_TickLength(start.mOffset);
    Position position = Index().ToPosition(afterBars.AsInt64());
    const Time_TickLength tickPart(position.mTick);
    position.mTick = 0;
    AdvanceByBeats(Index(), position, iDuration.mBeat);
    return Time_Tick(Index().ToTick(position)) + (tickPart + iDuration.mTick) -
           Time_TickLength(start.mSnappedGap);
}

Time_Tick Time_MeterMap::SubtractDurationFromTick(Time_Tick iTick, const Time_BarBeatTick& iDuration) const
{
    const BarAndOffset start = SnapToBarline(iTick);
    const Time_Tick beforeBars =
        BarStart(Cmn_WrapSub<Cmn_Int64>(start.mBar, iDuration.mBar)) + Time_TickLength(start.mOffset);
    Position position = Index().ToPosition(beforeBars.AsInt64());
    const Time_TickLength tickPart(position.mTick);
    position.mTick = 0;
    SubtractBeats(Index(), position, iDuration.mBeat);
    return Time_Tick(Index().ToTick(position)) + (tickPart - iDuration.mTick) -
           Time_TickLength(start.mSnappedGap);
}

Time_BarBeatTick Time_MeterMap::ComputeDurationBetween(Time_Tick iTickA, Time_Tick iTickB) const
{
    Time_Tick startTick = std::min(iTickA, iTickB);
    // Deliberate: the end is B in either order, so that from A back to B is no time.
    // Test: LongDurationsAndFarTimesAreExact
    Time_Tick endTick = iTickB;
    BarAndOffset start = SnapToBarline(startTick);
    // The shifted start can lie before the next barline of a very short bar.
    while (start.mSnappedGap != 0) {
        startTick += Time_TickLength(start.mSnappedGap);
        endTick += Time_TickLength(start.mSnappedGap);
        start = SnapToBarline(startTick);
    }

    // The last bar whose start plus the offset is not after the end.
    const Time_TickLength offset(start.mOffset);
    const Cmn_Int64 endBar = std::max(BarOf(endTick - offset), start.mBar);
    const Time_Tick afterBars = BarStart(endBar) + offset;

    Position afterBarsPosition = Index().ToPosition(afterBars.AsInt64());
    const Time_TickLength tickPart(afterBarsPosition.mTick);
    afterBarsPosition.mTick = 0;
    const Cmn_Int64 beats = BeatsUntil(Index(), afterBarsPosition, (endTick - tickPart).AsInt64());

    Position afterBeats = afterBarsPosition;
    AdvanceByBeats(Index(), afterBeats, beats);
    const Time_Tick counted = Time_Tick(Index().ToTick(afterBeats)) + tickPart;
    return {static_cast<Cmn_Int32>(Cmn_WrapSub(endBar, start.mBar)), static_cast<Cmn_Int32>(beats),
            endTick - counted};
}
