// What the sources of Time_TempoEdit share with each other and with Time_SongEdit: the tempi of a range as
// plain values, the checks, and changes that are planned before a map is touched.
#pragma once

#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoEdit.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

#include <limits>
#include <optional>
#include <vector>

namespace Time_TempoEditDetail {

using Result = Time_TempoEditResult;
using SegmentPtr = std::unique_ptr<Time_TempoMapSegment>;

// What is edited stays a tick.
constexpr Time_Tick cLastTick{576460752303423487}; // 2^59 - 1
constexpr Time_Tick cBeforeAll{std::numeric_limits<Cmn_Int64>::min()},
    cBehindAll{std::numeric_limits<Cmn_Int64>::max()};

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

inline bool HasTempoOf(const Piece& iOne, const Piece& iOther)
{
    return iOne.mBeatsPerMinute == iOther.mBeatsPerMinute && iOne.mTicksPerBeat == iOther.mTicksPerBeat;
}

// The tempo in force at a tick, as a piece that starts there.
Piece PieceAt(const Time_TempoMap& iMap, Time_Tick iTick);
// The tempi of [iFrom, iTo), the first one from iFrom on.
std::vector<Piece> PiecesOf(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo);

// The tempi in force at ascending ticks, in one pass.
class Walk
{
public:
    Walk(const Time_TempoMap& iMap, Time_Tick iFrom);

    // iTick is not before the last one.
    void To(Time_Tick iTick);
    const Piece& InForce() const { return mPiece; }  // starts at the tick
    const Time_TempoMapSegment* SegmentThere() const // or null
    {
        return mLast != nullptr && mLast->GetStartTick() == mPiece.mStart ? mLast : nullptr;
    }

private:
    Time_TempoMap::SegmentIter mNext, mEnd;
    const Time_TempoMapSegment* mLast = nullptr;
    Piece mPiece;
};
// How many samples the pieces last, the last one up to iEnd.
double SamplesOf(const std::vector<Piece>& iPieces, Time_Tick iEnd, double iSampleRate);
// The locked segments next to a tick, or null: the last one before it, and the first one at or behind it.
const Time_TempoMapSegment* LockBefore(const Time_TempoMap& iMap, Time_Tick iTick);
const Time_TempoMapSegment* LockFrom(const Time_TempoMap& iMap, Time_Tick iTick);
// The tick before which nothing is edited.
Time_Tick FirstEditableTick(const Time_TempoMap& iMap);

// Whether it is a tick, and not before the song start.
Result CheckTick(const Time_TempoMap& iMap, Time_Tick iTick);
// Whether tempi from iFrom on may be edited: it is not before the song start, and
// nothing behind it is locked.
Result CheckFrom(const Time_TempoMap& iMap, Time_Tick iFrom);
Result CheckRange(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo);
Result CheckTempo(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat);

// How many samples the piece may last up to iEnd so that its tempo is within the limits.
struct LengthRange
{
    double mMin;
    double mMax;
};
LengthRange LengthsWithinLimits(const Piece& iPiece, Time_Tick iEnd, double iSampleRate);

// A segment at the piece's tick with its tempo; of iOld, which may be null, it has the locks and marks.
SegmentPtr SegmentOf(const Piece& iPiece, const Time_TempoMapSegment* iOld);

// What comes in the place of the segments of [mStart, mEnd), where both differ; the song
// start comes first if need be.
struct Change
{
    Time_Tick mStart;
    Time_Tick mEnd;
    std::vector<SegmentPtr> mSegments;
    bool mEnsuresSongStart = false;

    bool IsNothing() const { return mStart >= mEnd; }
};
// The segments that differ from the map's of [iStart, iEnd), and the range that holds them. What is computed
// is the same whatever it was found to be.
Change ChangeTo(const Time_TempoMap& iMap, Time_Tick iStart, Time_Tick iEnd,
                std::vector<SegmentPtr> iSegments);
// One edit; nothing for a change that is none.
void Apply(Time_TempoMap& ioMap, Change iChange);
// Puts the pieces in the place of the tempi in [iFrom, iTo); with iTail from iTo on that
// one, else what was in force.
void Commit(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo, const std::vector<Piece>& iPieces,
            const std::optional<Piece>& iTail = std::nullopt);

// Time that comes, goes, is pasted and moved: what becomes of the map, or why it cannot.
Result PlanInsertion(const Time_TempoMap& iMap, Time_Tick iAt, Time_TickLength iLength, Change& oChange);
Result PlanDeletion(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo, Change& oChange);
Result PlanPasting(const Time_TempoMap& iMap, Time_Tick iAt, const Time_TempoEdit::Copied& iCopied,
                   Change& oChange);
Result PlanMove(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition,
                Change& oChange);
Result CheckMove(Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition);
Time_TempoEdit::Copied Repeated(const Time_TempoEdit::Copied& iCopied, std::size_t iCount);

} // namespace Time_TempoEditDetail
