// Time_TempoEdit: tempi, and what its other sources share.
#include "Kora/Time/Tempo/Time_TempoEdit.h"

#include "Kora/Time/Tempo/Time_TempoEdit_p.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <algorithm>

namespace Time_TempoEditDetail {

Piece PieceAt(const Time_TempoMap& iMap, Time_Tick iTick)
{
    Piece piece{iTick, 0, Time_TickLength(0)};
    iMap.GetTempoAtTick(piece.mBeatsPerMinute, piece.mTicksPerBeat, iTick);
    return piece;
}

Walk::Walk(const Time_TempoMap& iMap, Time_Tick iFrom)
    : mNext(iMap.FindControllingSegment(iFrom))
    , mEnd(iMap.SegmentEnd())
    , mPiece(PieceAt(iMap, iFrom))
{
    if (mNext != mEnd && (*mNext)->GetStartTick() <= iFrom) mLast = (mNext++)->get();
}

void Walk::To(Time_Tick iTick)
{
    for (; mNext != mEnd && (*mNext)->GetStartTick() <= iTick; ++mNext) {
        mLast = mNext->get();
        const bool hasTempo = mLast->GetTempo(mPiece.mBeatsPerMinute, mPiece.mTicksPerBeat);
        if (!hasTempo || Time_BasicTempoMapSegment::IsTempo(mPiece.mBeatsPerMinute, mPiece.mTicksPerBeat))
            continue;
        mPiece.mBeatsPerMinute = Time_TempoMap::cFallbackBeatsPerMinute;
        mPiece.mTicksPerBeat = Time_TempoMap::cFallbackTicksPerBeat;
    }
    mPiece.mStart = iTick;
}

std::vector<Piece> PiecesOf(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo)
{
    Walk walk(iMap, iFrom);
    std::vector<Piece> pieces{walk.InForce()};
    auto iter = iMap.FindControllingSegment(iFrom);
    double tempo;
    Time_TickLength beat;
    for (; iter != iMap.SegmentEnd() && (*iter)->GetStartTick() < iTo; ++iter) {
        if ((*iter)->GetStartTick() <= iFrom || !(*iter)->GetTempo(tempo, beat)) continue;
        walk.To((*iter)->GetStartTick());
        pieces.push_back(walk.InForce());
    }
    return pieces;
}

double SamplesOf(const std::vector<Piece>& iPieces, Time_Tick iEnd, double iSampleRate)
{
    double samples = 0;
    for (std::size_t i = 0; i < iPieces.size(); ++i)
        samples += TicksBetween(iPieces[i].mStart, i + 1 < iPieces.size() ? iPieces[i + 1].mStart : iEnd) *
                   SamplesPerTick(iPieces[i], iSampleRate);
    return samples;
}

const Time_TempoMapSegment* LockBefore(const Time_TempoMap& iMap, Time_Tick iTick)
{
    auto iter = iMap.FindControllingSegment(iTick);
    if (iter == iMap.SegmentEnd()) return nullptr;
    for (++iter; iter != iMap.SegmentBegin();) {
        --iter;
        if ((*iter)->IsLockedToSample() && (*iter)->GetStartTick() < iTick) return iter->get();
    }
    return nullptr;
}

const Time_TempoMapSegment* LockFrom(const Time_TempoMap& iMap, Time_Tick iTick)
{
    if (iMap.IsNumberOfLockedSegmentsLessThan(1)) return nullptr;
    // Mostly the song start is the only one.
    const auto songStart = iMap.FindSongStart();
    if (iMap.IsNumberOfLockedSegmentsLessThan(2) && songStart != iMap.SegmentEnd() &&
        (*songStart)->IsLockedToSample())
        return (*songStart)->GetStartTick() >= iTick ? songStart->get() : nullptr;
    for (auto iter = iMap.FindControllingSegment(iTick); iter != iMap.SegmentEnd(); ++iter)
        if ((*iter)->IsLockedToSample() && (*iter)->GetStartTick() >= iTick) return iter->get();
    return nullptr;
}

Time_Tick FirstEditableTick(const Time_TempoMap& iMap)
{
    const auto songStart = iMap.FindSongStart();
    if (songStart != iMap.SegmentEnd()) return (*songStart)->GetStartTick();
    const Time_TempoMapSegment* const firstLock =
        iMap.GetNumberOfSegments() > 0 ? LockFrom(iMap, (*iMap.SegmentBegin())->GetStartTick()) : nullptr;
    return firstLock != nullptr ? firstLock->GetStartTick() : Time_TempoMap::cDefaultSongStartTick;
}

Result CheckTick(const Time_TempoMap& iMap, Time_Tick iTick)
{
    const Time_Tick first = FirstEditableTick(iMap);
    if (iTick < first)
        return {.mReason = Result::eReason_BeforeSongStart, .mNearest = static_cast<double>(first.AsInt64())};
    if (iTick > cLastTick)
        return {.mReason = Result::eReason_OutOfLimits, .mNearest = static_cast<double>(cLastTick.AsInt64())};
    return {};
}

Result CheckFrom(const Time_TempoMap& iMap, Time_Tick iFrom)
{
    if (const Result result = CheckTick(iMap, iFrom); !result) return result;
    const Time_TempoMapSegment* const lock = LockFrom(iMap, iFrom + Time_TickLength(1));
    if (lock == nullptr) return {};
    return {.mReason = Result::eReason_Locked,
            .mNearest = static_cast<double>(lock->GetStartTick().AsInt64())};
}

Result CheckRange(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo)
{
    if (iFrom >= iTo) return {.mReason = Result::eReason_EmptyRange};
    const Result result = CheckTick(iMap, iTo);
    return result ? CheckFrom(iMap, iFrom) : result;
}

Result CheckTempo(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat)
{
    // The lengths of a beat that both limits, of beats and of quarters, leave a tempo for.
    constexpr double cShortest = 4805, cLongest = 96000000;
    const double beat = iTicksPerBeat.AsFloat64();
    if (!(beat >= cShortest && beat <= cLongest))
        return {.mReason = Result::eReason_NoSuchBeat, .mNearest = beat > cLongest ? cLongest : cShortest};
    const Time_TempoLimits& limits = Time_TempoEdit::GetTempoLimits();
    const double min = limits.GetMinBPM(iTicksPerBeat), max = limits.GetMaxBPM(iTicksPerBeat);
    if (iBeatsPerMinute >= min && iBeatsPerMinute <= max) return {};
    return {.mReason = Result::eReason_OutOfLimits, .mNearest = iBeatsPerMinute > max ? max : min};
}

LengthRange LengthsWithinLimits(const Piece& iPiece, Time_Tick iEnd, double iSampleRate)
{
    constexpr double cBits = 1e-9; // halves of a bit do not keep a limit from being reached
    LengthRange range;
    Time_ConstantTempoSeg(iPiece.mStart, iPiece.mBeatsPerMinute, iPiece.mTicksPerBeat)
        .ComputeSampleLengthLimits(range.mMin, range.mMax, iEnd - iPiece.mStart,
                                   Time_TempoEdit::GetTempoLimits(), iSampleRate);
    return {range.mMin * (1 - cBits), range.mMax * (1 + cBits)};
}

SegmentPtr SegmentOf(const Piece& iPiece, const Time_TempoMapSegment* iOld)
{
    auto segment =
        std::make_unique<Time_ConstantTempoSeg>(iPiece.mStart, iPiece.mBeatsPerMinute, iPiece.mTicksPerBeat);
    if (iOld == nullptr) return segment;
    segment->SetIsSongStart(iOld->IsSongStart());
    segment->SetIsCopyAnchor(iOld->IsCopyAnchor());
    if (iOld->IsLockedToSample()) segment->LockToSample(iOld->GetStartSample());
    return segment;
}

namespace {

bool IsSame(const Time_TempoMapSegment& iA, const Time_TempoMapSegment& iB)
{
    const bool isMarkedAlike = iA.GetStartTick() == iB.GetStartTick() &&
                               iA.IsLockedToSample() == iB.IsLockedToSample() &&
                               iA.IsComputed() == iB.IsComputed() && iA.IsSongStart() == iB.IsSongStart() &&
                               iA.IsCopyAnchor() == iB.IsCopyAnchor() &&
                               (!iA.IsLockedToSample() || iA.GetStartSample() == iB.GetStartSample());
    if (!isMarkedAlike) return false;
    double tempoA = 0, tempoB = 0;
    Time_TickLength beatA(0), beatB(0);
    if (iA.GetTempo(tempoA, beatA) != iB.GetTempo(tempoB, beatB)) return false;
    return beatA == beatB && (iA.IsComputed() || tempoA == tempoB);
}

// On a map that has its song start. A tempo that goes on anyway is not put there once more, at either end.
Change ChangeOfTempi(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo,
                     const std::vector<Piece>& iPieces, const std::optional<Piece>& iTail)
{
    std::vector<SegmentPtr> segments;
    segments.reserve(iPieces.size() + 1);
    const Piece before = PieceAt(iMap, iFrom - Time_TickLength(1));
    auto next = iMap.FindControllingSegment(iFrom);
    const auto oldAt = [&](Time_Tick iTick) {
        while (next != iMap.SegmentEnd() && (*next)->GetStartTick() < iTick)
            ++next;
        return next != iMap.SegmentEnd() && (*next)->GetStartTick() == iTick ? next->get() : nullptr;
    };
    for (const Piece& piece : iPieces) {
        const Time_TempoMapSegment* const old = oldAt(piece.mStart);
        if (old != nullptr || piece.mStart > iFrom || !HasTempoOf(piece, before))
            segments.push_back(SegmentOf(piece, old));
    }
    const Time_TempoMapSegment* const oldBehind = oldAt(iTo);
    const Piece behind = iTail ? *iTail : PieceAt(iMap, iTo);
    Time_Tick end = iTo;
    if (iTail || (oldBehind == nullptr && !HasTempoOf(iPieces.empty() ? before : iPieces.back(), behind))) {
        segments.push_back(SegmentOf(behind, oldBehind));
        end = iTo + Time_TickLength(1);
    }
    return ChangeTo(iMap, iFrom, end, std::move(segments));
}

} // namespace

Change ChangeTo(const Time_TempoMap& iMap, Time_Tick iStart, Time_Tick iEnd,
                std::vector<SegmentPtr> iSegments)
{
    auto first = iMap.FindControllingSegment(iStart), last = first;
    const auto end = iMap.SegmentEnd();
    if (first != end && (*first)->GetStartTick() < iStart) last = ++first;
    last = iMap.FindControllingSegment(iEnd);
    if (last != end && (*last)->GetStartTick() < iEnd) ++last;

    auto newFirst = iSegments.begin(), newLast = iSegments.end();
    for (; first < last && newFirst < newLast && IsSame(**first, **newFirst); ++first)
        ++newFirst;
    for (; first < last && newFirst < newLast && IsSame(**(last - 1), **(newLast - 1)); --last)
        --newLast;
    if (first >= last && newFirst >= newLast) return {};
    Change change;
    const bool hasOld = first < last, hasNew = newFirst < newLast;
    const Time_Tick oldStart = hasOld ? (*first)->GetStartTick() : (*newFirst)->GetStartTick(),
                    newStart = hasNew ? (*newFirst)->GetStartTick() : oldStart,
                    oldLast = hasOld ? (*(last - 1))->GetStartTick() : oldStart,
                    newLastStart = hasNew ? (*(newLast - 1))->GetStartTick() : oldLast;
    change.mStart = std::min(oldStart, newStart);
    change.mEnd = std::max(oldLast, newLastStart) + Time_TickLength(1);
    iSegments.erase(newLast, iSegments.end());
    iSegments.erase(iSegments.begin(), newFirst);
    change.mSegments = std::move(iSegments);
    return change;
}

void Apply(Time_TempoMap& ioMap, Change iChange)
{
    if (iChange.IsNothing()) return;
    const Time_TempoMap_StEditOptimizer edit(ioMap);
    if (iChange.mEnsuresSongStart) ioMap.EnsureSongStart();
    ioMap.ReplaceSegments(iChange.mStart, iChange.mEnd, std::move(iChange.mSegments));
}

void Commit(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo, const std::vector<Piece>& iPieces,
            const std::optional<Piece>& iTail)
{
    if (ioMap.FindSongStart() != ioMap.SegmentEnd())
        return Apply(ioMap, ChangeOfTempi(ioMap, iFrom, iTo, iPieces, iTail));
    Time_TempoMap tried(ioMap);
    tried.EnsureSongStart();
    Change change = ChangeOfTempi(tried, iFrom, iTo, iPieces, iTail);
    change.mEnsuresSongStart = true;
    Apply(ioMap, std::move(change));
}

} // namespace Time_TempoEditDetail

using namespace Time_TempoEditDetail;

const Time_TempoLimits& Time_TempoEdit::GetTempoLimits()
{
    static constexpr Time_TempoLimits cStandard(5.0, 500.0, 5.0, 999.0);
    return cStandard;
}

Time_TempoEditResult Time_TempoEdit::SetTempo(Time_TempoMap& ioMap, Time_Tick iTick, const Tempo& iTempo)
{
    if (const Result result = CheckTempo(iTempo.mBeatsPerMinute, iTempo.mTicksPerBeat); !result)
        return result;
    if (const Result result = CheckFrom(ioMap, iTick); !result) return result;
    Commit(ioMap, iTick, iTick, {}, Piece{iTick, iTempo.mBeatsPerMinute, iTempo.mTicksPerBeat});
    return {};
}

Time_TempoEditResult Time_TempoEdit::ClearRange(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo)
{
    if (const Result result = CheckRange(ioMap, iFrom, iTo); !result) return result;
    std::vector<Piece> pieces;
    const auto at = ioMap.FindSegment(iFrom);
    const bool isAnchor =
        iFrom == FirstEditableTick(ioMap) || (at != ioMap.SegmentEnd() && (*at)->IsLockedToSample());
    if (isAnchor) pieces.push_back(PieceAt(ioMap, iFrom));
    Commit(ioMap, iFrom, iTo, pieces);
    return {};
}

namespace {

// What values may be; none, where mMin is above mMax.
struct ValueRange
{
    double mMin = -1e300;
    double mMax = 1e300;

    Result Check(double iValue) const
    {
        if (iValue >= mMin && iValue <= mMax) return {};
        const double nearest = mMin > mMax     ? std::numeric_limits<double>::quiet_NaN()
                               : iValue > mMax ? mMax
                                               : mMin;
        return {.mReason = Result::eReason_OutOfLimits, .mNearest = nearest};
    }
};

// The factors by which all the pieces stay within the limits.
ValueRange FactorsWithinLimits(const std::vector<Piece>& iPieces)
{
    const Time_TempoLimits& limits = Time_TempoEdit::GetTempoLimits();
    ValueRange range;
    for (const Piece& piece : iPieces) {
        range.mMin = std::max(range.mMin, limits.GetMinBPM(piece.mTicksPerBeat) / piece.mBeatsPerMinute);
        range.mMax = std::min(range.mMax, limits.GetMaxBPM(piece.mTicksPerBeat) / piece.mBeatsPerMinute);
    }
    return range;
}

// A limit that is reached is not passed by a rounding.
double Limited(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat)
{
    const Time_TempoLimits& limits = Time_TempoEdit::GetTempoLimits();
    return std::max(std::min(iBeatsPerMinute, limits.GetMaxBPM(iTicksPerBeat)),
                    limits.GetMinBPM(iTicksPerBeat));
}

void ScaleBy(std::vector<Piece>& ioPieces, double iFactor)
{
    for (Piece& piece : ioPieces)
        piece.mBeatsPerMinute = Limited(piece.mBeatsPerMinute * iFactor, piece.mTicksPerBeat);
}

} // namespace

Time_TempoEditResult Time_TempoEdit::Scale(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                           double iFactor)
{
    if (const Result result = CheckRange(ioMap, iFrom, iTo); !result) return result;
    std::vector<Piece> pieces = PiecesOf(ioMap, iFrom, iTo);
    if (const Result result = FactorsWithinLimits(pieces).Check(iFactor); !result) return result;
    ScaleBy(pieces, iFactor);
    Commit(ioMap, iFrom, iTo, pieces);
    return {};
}

Time_TempoEditResult Time_TempoEdit::Offset(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                            double iBeatsPerMinute)
{
    if (const Result result = CheckRange(ioMap, iFrom, iTo); !result) return result;
    std::vector<Piece> pieces = PiecesOf(ioMap, iFrom, iTo);
    ValueRange range;
    for (const Piece& piece : pieces) {
        range.mMin =
            std::max(range.mMin, GetTempoLimits().GetMinBPM(piece.mTicksPerBeat) - piece.mBeatsPerMinute);
        range.mMax =
            std::min(range.mMax, GetTempoLimits().GetMaxBPM(piece.mTicksPerBeat) - piece.mBeatsPerMinute);
    }
    if (const Result result = range.Check(iBeatsPerMinute); !result) return result;
    for (Piece& piece : pieces)
        piece.mBeatsPerMinute = Limited(piece.mBeatsPerMinute + iBeatsPerMinute, piece.mTicksPerBeat);
    Commit(ioMap, iFrom, iTo, pieces);
    return {};
}

// The range ends on a whole sample, from which no rounding of the sum of its pieces leads astray.
Time_TempoEditResult Time_TempoEdit::FitToLength(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                                 Time_SampleLength iLength)
{
    if (iLength.AsInt64() <= 0) return {.mReason = Result::eReason_EmptyRange};
    if (const Result result = CheckRange(ioMap, iFrom, iTo); !result) return result;
    const double start = ioMap.GetBasicTempoMap().FractionalSampleAtTick(iFrom);
    const double endOffset = static_cast<double>(ioMap.TickToSample(iFrom, false).AsInt64()) - start;
    ValueRange lengths;
    ioMap.GetLengthConstraintsForRange(lengths.mMin, lengths.mMax, iFrom, iTo, GetTempoLimits());
    // Whole samples in between.
    lengths = {-static_cast<double>(Cmn_FloorToInt64(endOffset - lengths.mMin)),
               static_cast<double>(Cmn_FloorToInt64(lengths.mMax - endOffset))};
    const auto asked = static_cast<double>(iLength.AsInt64());
    if (const Result result = lengths.Check(asked); !result) return result;
    std::vector<Piece> pieces = PiecesOf(ioMap, iFrom, iTo);
    ScaleBy(pieces, SamplesOf(pieces, iTo, ioMap.GetSampleRate()) / (asked + endOffset));
    Commit(ioMap, iFrom, iTo, pieces);
    return {};
}
