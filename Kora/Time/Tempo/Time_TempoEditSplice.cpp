#include "Kora/Time/Tempo/Time_TempoEditSplice_p.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Tempo/Time_SampleTransform.h"

#include <algorithm>

namespace Time_TempoEditDetail {
namespace {

// A half goes away from zero, so that time that comes and then goes moves a lock there and back.
Cmn_Int64 RoundedLength(double iSamples)
{
    return iSamples < 0 ? -Cmn_RoundHalfUp(-iSamples) : Cmn_RoundHalfUp(iSamples);
}

} // namespace

Splice::Splice(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo, Time_Tick iJoin,
               const std::vector<Piece>& iPieces)
    : mMap(iMap)
    , mFrom(iFrom)
    , mTo(iTo)
    , mJoin(iJoin)
    , mPieces(iPieces)
    , mTail(PieceAt(iMap, iTo))
{
}

Result Splice::Run(Change& oChange)
{
    const auto at = mMap.FindSegment(mFrom);
    mStays = at != mMap.SegmentEnd() && mFrom == FirstEditableTick(mMap);
    const Time_TempoMapSegment* const before = mStays ? at->get() : LockBefore(mMap, mFrom);
    mStart = before != nullptr ? before->GetStartTick() : mFrom;
    TakeWhatIsBefore();
    AddPieces();
    AddJoin();
    MoveWhatIsBehind();
    const std::size_t next = NextLock();
    if (mIsRearranged) Rearrange(next);
    if (const Result result = CheckStretch(next); !result) return result;
    oChange = ChangeTo(mMap, mStart, cBehindAll, std::move(mSegments));
    return {};
}

// From the last lock on, as its stretch may get another computed segment.
void Splice::TakeWhatIsBefore()
{
    auto iter = mMap.FindSegment(mStart);
    if (iter == mMap.SegmentEnd() || (mStart == mFrom && !mStays)) return;
    for (; iter != mMap.SegmentEnd() && (*iter)->GetStartTick() <= mFrom; ++iter)
        if ((*iter)->GetStartTick() < mFrom || mStays) mSegments.push_back((*iter)->Clone());
}

// What the song start is the beginning of takes its tempo. A tempo that reigns anyway is
// not put there once more.
void Splice::AddPieces()
{
    const Piece before = PieceAt(mMap, mStays ? mFrom : mFrom - Time_TickLength(1));
    for (const Piece& piece : mPieces)
        if (&piece != &mPieces.front() || !HasTempoOf(piece, before)) Put(piece);
    if (mStays && mJoin == mFrom && !HasTempoOf(before, mTail))
        Put({mFrom, mTail.mBeatsPerMinute, mTail.mTicksPerBeat});
    // Where no segment goes or comes, the one that is computed stays that. One that would come to the song
    // start goes: with its lock the stretch behind it becomes the song start's.
    const bool goesAtStart =
        mStays && mJoin == mFrom && mFrom < mTo && mMap.FindSegment(mTo) != mMap.SegmentEnd();
    const auto last = mMap.FindControllingSegment(mTo - Time_TickLength(1));
    mIsRearranged = !mPieces.empty() || goesAtStart ||
                    (mFrom < mTo && last != mMap.SegmentEnd() &&
                     ((*last)->GetStartTick() > mFrom || ((*last)->GetStartTick() == mFrom && !mStays)));
}

void Splice::Put(const Piece& iPiece)
{
    const bool replaces = !mSegments.empty() && mSegments.back()->GetStartTick() == iPiece.mStart;
    SegmentPtr segment = SegmentOf(iPiece, replaces ? mSegments.back().get() : nullptr);
    if (replaces)
        mSegments.back() = std::move(segment);
    else
        mSegments.push_back(std::move(segment));
}

// The tempo behind goes on, where nothing that moves there brings it.
void Splice::AddJoin()
{
    const bool isBrought = mMap.FindSegment(mTo) != mMap.SegmentEnd() && !(mStays && mTo == mFrom);
    if (isBrought || (mStays && mJoin == mFrom) || mMap.GetNumberOfSegments() == 0) return;
    const Piece reigning = !mPieces.empty() ? mPieces.back()
                           : mStays         ? PieceAt(mMap, mFrom)
                                            : PieceAt(mMap, mFrom - Time_TickLength(1));
    if (!HasTempoOf(reigning, mTail)) Put({mJoin, mTail.mBeatsPerMinute, mTail.mTicksPerBeat});
}

void Splice::MoveWhatIsBehind()
{
    const Piece before = PieceAt(mMap, mStays ? mFrom : mFrom - Time_TickLength(1));
    const double inserted = mPieces.empty()
                                ? TicksBetween(mFrom, mJoin) * SamplesPerTick(before, mMap.GetSampleRate())
                                : SamplesOf(mPieces, mJoin, mMap.GetSampleRate());
    const double deleted = mFrom < mTo ? SamplesOf(PiecesOf(mMap, mFrom, mTo), mTo, mMap.GetSampleRate()) : 0;
    const Time_TickLength ticks = mJoin - mTo;
    const Time_SampleTransform along{.mOffset = Time_SampleLength(RoundedLength(inserted - deleted))};
    for (auto iter = mMap.FindControllingSegment(mTo); iter != mMap.SegmentEnd(); ++iter) {
        const Time_Tick start = (*iter)->GetStartTick();
        if (start < mTo || (mStays && (start == mFrom || start + ticks == mFrom))) continue;
        mSegments.push_back((*iter)->Clone());
        mSegments.back()->SetStartTick(start + ticks);
        mSegments.back()->TransformSamples(along);
    }
}

// The first lock that moved, or the end.
std::size_t Splice::NextLock() const
{
    std::size_t next = mSegments.size() - (mSegments.empty() ? 0 : 1);
    while (next < mSegments.size() && next > 0 && mSegments[next]->GetStartTick() >= mJoin)
        --next;
    for (; next < mSegments.size(); ++next)
        if (mSegments[next]->GetStartTick() >= mJoin && mSegments[next]->IsLockedToSample() &&
            !(mStays && next == 0))
            return next;
    return next;
}

// All keep the tempi that they had but the longest, which takes up what rounding moved the next lock by.
void Splice::Rearrange(std::size_t iNext)
{
    for (std::size_t i = 0; i < iNext; ++i)
        mSegments[i]->SetIsComputed(false);
    if (iNext == 0 || iNext == mSegments.size() || !mSegments[0]->IsLockedToSample()) return;
    std::size_t longest = 0;
    for (std::size_t i = 1; i < iNext; ++i) {
        const auto lengthOf = [&](std::size_t iIndex) {
            return TicksBetween(mSegments[iIndex]->GetStartTick(), mSegments[iIndex + 1]->GetStartTick());
        };
        if (lengthOf(i) > lengthOf(longest)) longest = i;
    }
    mSegments[longest]->SetIsComputed(true);
}

// The tempo that is computed between two locks; one that was beyond the limits before may stay there.
Result Splice::CheckStretch(std::size_t iNext) const
{
    if (iNext == 0 || iNext >= mSegments.size() || !mSegments[0]->IsLockedToSample()) return {};
    const Time_Sample start = mSegments[0]->GetStartSample(), end = mSegments[iNext]->GetStartSample();
    if (end <= start)
        return {.mReason = Result::eReason_LockOrder, .mNearest = static_cast<double>(start.AsInt64()) + 1};
    double others = 0;
    Piece piece = PieceAt(mMap, mSegments[0]->GetStartTick());
    std::optional<Piece> computed;
    Time_Tick computedEnd;
    for (std::size_t i = 0; i < iNext; ++i) {
        static_cast<void>(mSegments[i]->GetTempo(piece.mBeatsPerMinute, piece.mTicksPerBeat));
        piece.mStart = mSegments[i]->GetStartTick();
        const Time_Tick pieceEnd = mSegments[i + 1]->GetStartTick();
        if (!mSegments[i]->IsComputed()) {
            others += TicksBetween(piece.mStart, pieceEnd) * SamplesPerTick(piece, mMap.GetSampleRate());
        } else {
            computed = piece;
            computedEnd = pieceEnd;
        }
    }
    if (!computed) return {};
    const double toEnd = static_cast<double>((end - start).AsInt64());
    const LengthRange lengths = LengthsWithinLimits(*computed, computedEnd, mMap.GetSampleRate());
    const double length = toEnd - others, nearest = std::max(std::min(length, lengths.mMax), lengths.mMin);
    const bool wasBeyond = !CheckTempo(computed->mBeatsPerMinute, computed->mTicksPerBeat);
    if (length == nearest || (wasBeyond && length > 0)) return {};
    // The whole sample within the limits, if there is one.
    const double base = static_cast<double>(start.AsInt64()) + others;
    const double whole = length > nearest ? static_cast<double>(Cmn_FloorToInt64(base + lengths.mMax))
                                          : -static_cast<double>(Cmn_FloorToInt64(-base - lengths.mMin));
    const bool isWithin = whole - base >= lengths.mMin && whole - base <= lengths.mMax;
    return {.mReason = Result::eReason_OutOfLimits,
            .mNearest = isWithin ? whole : std::numeric_limits<double>::quiet_NaN()};
}

} // namespace Time_TempoEditDetail
