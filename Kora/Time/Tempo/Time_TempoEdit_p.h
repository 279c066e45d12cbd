// What the sources of Time_TempoEdit share: the tempi of a range as plain values, the checks, and the commit.
#pragma once

#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoEdit.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

#include <optional>

namespace Time_TempoEditDetail {

using Result = Time_TempoEditResult;
using SegmentPtr = std::unique_ptr<Time_TempoMapSegment>;

// A tempo from a tick on.
struct Piece
{
    Time_Tick mStart;
    double mBeatsPerMinute;
    Time_TickLength mTicksPerBeat;
};

inline double TicksBetween(Time_Tick iFrom, Time_Tick iTo)
{
    return static_cast<double>(Cmn_WrapSub(iTo.AsInt64(), iFrom.AsInt64()));
}
inline double SamplesPerTick(const Piece& iPiece, double iSampleRate)
{
    return iSampleRate * 60.0 / (iPiece.mTicksPerBeat.AsFloat64() * iPiece.mBeatsPerMinute);
}

// The tempo in force at a tick, as a piece that starts there.
Piece PieceAt(const Time_TempoMap& iMap, Time_Tick iTick);
// The tempi of [iFrom, iTo), the first one from iFrom on.
std::vector<Piece> PiecesOf(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo);
// The locked segments next to a tick, or null: the last one before it, and the first one at or behind it.
const Time_TempoMapSegment* LockBefore(const Time_TempoMap& iMap, Time_Tick iTick);
const Time_TempoMapSegment* LockFrom(const Time_TempoMap& iMap, Time_Tick iTick);
// The tick before which nothing is edited.
Time_Tick FirstEditableTick(const Time_TempoMap& iMap);

// Whether tempi from iFrom on may be edited: it is not before the song start, and
// nothing behind it is locked.
Result CheckFrom(const Time_TempoMap& iMap, Time_Tick iFrom);
Result CheckRange(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo);
Result CheckTempo(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat);

// A segment at the piece's tick with its tempo; of iOld, which may be null, it has the locks and marks.
SegmentPtr SegmentOf(const Piece& iPiece, const Time_TempoMapSegment* iOld);
// Puts the pieces in the place of the tempi in [iFrom, iTo); with iTail from iTo on that
// one, else what was in force.
void Commit(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo, const std::vector<Piece>& iPieces,
            const std::optional<Piece>& iTail = std::nullopt);

} // namespace Time_TempoEditDetail
