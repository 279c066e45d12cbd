// Time_TempoEdit: time that comes, goes and is copied.
#include "Kora/Time/Tempo/Time_TempoEdit_p.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <algorithm>

using namespace Time_TempoEditDetail;

namespace {

constexpr Time_Tick cBehindAll{0x7fffffffffffffff};

double SamplesOf(const std::vector<Piece>& iPieces, Time_Tick iEnd, double iSampleRate)
{
    double samples = 0;
    for (std::size_t i = 0; i < iPieces.size(); ++i)
        samples += TicksBetween(iPieces[i].mStart, i + 1 < iPieces.size() ? iPieces[i + 1].mStart : iEnd) *
                   SamplesPerTick(iPieces[i], iSampleRate);
    return samples;
}

bool IsSameTempo(const Piece& iOne, const Piece& iOther)
{
    return iOne.mBeatsPerMinute == iOther.mBeatsPerMinute && iOne.mTicksPerBeat == iOther.mTicksPerBeat;
}

// Replaces the ticks [mFrom, mTo) by [mFrom, mJoin) with tempi of their own, or with the one in force before.
class Splice
{
public:
    Splice(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo, Time_Tick iJoin,
           const std::vector<Piece>& iPieces)
        : mMap(ioMap)
        , mFrom(iFrom)
        , mTo(iTo)
        , mJoin(iJoin)
        , mPieces(iPieces)
        , mTail(PieceAt(ioMap, iTo))
    {
    }

    Result Run()
    {
        const auto at = mMap.FindSegment(mFrom);
        mStays = at != mMap.SegmentEnd() && (*at)->IsLockedToSample() && mFrom == FirstEditableTick(mMap);
        const Time_TempoMapSegment* const before = mStays ? at->get() : LockBefore(mMap, mFrom);
        mStart = before != nullptr ? before->GetStartTick() : mFrom;
        TakeWhatIsBefore();
        AddPieces();
        AddJoin();
        MoveWhatIsBehind();
        const std::size_t next = NextLock();
        if (mIsRearranged) Rearrange(next);
        if (next < mSegments.size() && mSegments[0]->IsLockedToSample() && next > 0 &&
            mSegments[next]->GetStartSample() <= mSegments[0]->GetStartSample())
            return {.mReason = Result::eReason_LockOrder,
                    .mNearest = static_cast<double>(mSegments[0]->GetStartSample().AsInt64() + 1)};
        mMap.ReplaceSegments(mStart, cBehindAll, std::move(mSegments));
        return {};
    }

private:
    // From the last lock on, as its stretch may get another computed segment.
    void TakeWhatIsBefore()
    {
        auto iter = mMap.FindSegment(mStart);
        if (iter == mMap.SegmentEnd() || (mStart == mFrom && !mStays)) return;
        for (; iter != mMap.SegmentEnd() && (*iter)->GetStartTick() <= mFrom; ++iter)
            if ((*iter)->GetStartTick() < mFrom || mStays) mSegments.push_back((*iter)->Clone());
    }

    // What the song start is the beginning of takes its tempo.
    void AddPieces()
    {
        for (const Piece& piece : mPieces)
            Put(piece);
        if (mStays && mJoin == mFrom && !IsSameTempo(PieceAt(mMap, mFrom), mTail))
            Put({mFrom, mTail.mBeatsPerMinute, mTail.mTicksPerBeat});
        // Where no segment goes or comes, the one that is computed stays that.
        const auto last = mMap.FindControllingSegment(mTo - Time_TickLength(1));
        mIsRearranged = !mPieces.empty() || (mFrom < mTo && ((*last)->GetStartTick() > mFrom ||
                                                             ((*last)->GetStartTick() == mFrom && !mStays)));
    }

    void Put(const Piece& iPiece)
    {
        const bool replaces = !mSegments.empty() && mSegments.back()->GetStartTick() == iPiece.mStart;
        SegmentPtr segment = SegmentOf(iPiece, replaces ? mSegments.back().get() : nullptr);
        if (replaces)
            mSegments.back() = std::move(segment);
        else
            mSegments.push_back(std::move(segment));
    }

    // The tempo behind goes on, where nothing that moves there brings it.
    void AddJoin()
    {
        const bool isBrought = mMap.FindSegment(mTo) != mMap.SegmentEnd() && !(mStays && mTo == mFrom);
        if (isBrought || (mStays && mJoin == mFrom) || mMap.GetNumberOfSegments() == 0) return;
        const Piece reigning = !mPieces.empty() ? mPieces.back()
                               : mStays         ? PieceAt(mMap, mFrom)
                                                : PieceAt(mMap, mFrom - Time_TickLength(1));
        if (!IsSameTempo(reigning, mTail)) Put({mJoin, mTail.mBeatsPerMinute, mTail.mTicksPerBeat});
    }

    void MoveWhatIsBehind()
    {
        const Piece before = PieceAt(mMap, mStays ? mFrom : mFrom - Time_TickLength(1));
        const double inserted =
            mPieces.empty() ? TicksBetween(mFrom, mJoin) * SamplesPerTick(before, mMap.GetSampleRate())
                            : SamplesOf(mPieces, mJoin, mMap.GetSampleRate());
        // By the tempi, as what is inserted: a half then rounds the same way in both.
        const double deleted =
            mFrom < mTo ? SamplesOf(PiecesOf(mMap, mFrom, mTo), mTo, mMap.GetSampleRate()) : 0;
        const Time_TickLength ticks(Cmn_WrapSub(mJoin.AsInt64(), mTo.AsInt64()));
        const Time_SampleLength samples(Cmn_RoundHalfUp(inserted - deleted));
        for (auto iter = mMap.FindControllingSegment(mTo); iter != mMap.SegmentEnd(); ++iter) {
            const Time_Tick start = (*iter)->GetStartTick();
            if (start < mTo || (mStays && (start == mFrom || start + ticks == mFrom))) continue;
            mSegments.push_back((*iter)->Clone());
            mSegments.back()->SetStartTick(start + ticks);
            if ((*iter)->IsLockedToSample())
                mSegments.back()->LockToSample((*iter)->GetStartSample() + samples);
        }
    }

    // The first lock that moved, or the end.
    std::size_t NextLock() const
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
    void Rearrange(std::size_t iNext)
    {
        std::size_t longest = 0;
        const auto lengthOf = [&](std::size_t i) {
            return TicksBetween(mSegments[i]->GetStartTick(), mSegments[i + 1]->GetStartTick());
        };
        for (std::size_t i = 0; i < iNext; ++i) {
            mSegments[i]->SetIsComputed(false);
            if (iNext < mSegments.size() && lengthOf(i) > lengthOf(longest)) longest = i;
        }
        if (iNext < mSegments.size() && iNext > 0) mSegments[longest]->SetIsComputed(true);
    }

    Time_TempoMap& mMap;
    Time_Tick mFrom, mTo, mJoin;
    const std::vector<Piece>& mPieces;
    Piece mTail;
    bool mStays = false;
    bool mIsRearranged = false;
    Time_Tick mStart;
    std::vector<SegmentPtr> mSegments;
};

// Nothing is before the song start, and what moves stays a tick.
Result CheckTime(const Time_TempoMap& iMap, Time_Tick iAt, Time_TickLength iLength)
{
    if (iLength.AsInt64() <= 0) return {.mReason = Result::eReason_EmptyRange};
    const Time_Tick first = FirstEditableTick(iMap);
    if (iAt < first)
        return {.mReason = Result::eReason_BeforeSongStart, .mNearest = static_cast<double>(first.AsInt64())};
    const auto last = iMap.SegmentEnd();
    const Time_Tick end = iMap.GetNumberOfSegments() > 0 ? std::max(iAt, (*(last - 1))->GetStartTick()) : iAt;
    if (end.AsInt64() >= cBehindAll.AsInt64() - iLength.AsInt64())
        return {.mReason = Result::eReason_OutOfLimits,
                .mNearest = static_cast<double>(cBehindAll.AsInt64() - end.AsInt64() - 1)};
    return {};
}

} // namespace

Time_TempoEditResult Time_TempoEdit::InsertTime(Time_TempoMap& ioMap, Time_Tick iAt, Time_TickLength iLength)
{
    if (const Result result = CheckTime(ioMap, iAt, iLength); !result) return result;
    if (ioMap.GetNumberOfSegments() == 0) return {};
    return Splice(ioMap, iAt, iAt, iAt + iLength, {}).Run();
}

Time_TempoEditResult Time_TempoEdit::DeleteTime(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo)
{
    if (const Result result = CheckTime(ioMap, iFrom, iTo - iFrom); !result) return result;
    if (ioMap.GetNumberOfSegments() == 0) return {};
    return Splice(ioMap, iFrom, iTo, iFrom, {}).Run();
}

Time_TempoEdit::Copied Time_TempoEdit::CopyRange(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo)
{
    if (iFrom >= iTo) return {};
    Copied copied{iTo - iFrom, {}};
    for (const Piece& piece : PiecesOf(iMap, iFrom, iTo))
        copied.mTempi.push_back({piece.mStart - iFrom, {piece.mBeatsPerMinute, piece.mTicksPerBeat}});
    return copied;
}

Time_TempoEditResult Time_TempoEdit::InsertCopied(Time_TempoMap& ioMap, Time_Tick iAt, const Copied& iCopied)
{
    if (const Result result = CheckTime(ioMap, iAt, iCopied.mLength); !result) return result;
    if (iCopied.mTempi.empty()) return {.mReason = Result::eReason_EmptyRange};
    std::vector<Piece> pieces;
    for (const CopiedTempo& copied : iCopied.mTempi)
        pieces.push_back({iAt + copied.mOffset, copied.mTempo.mBeatsPerMinute, copied.mTempo.mTicksPerBeat});
    const Time_TempoMap_StEditOptimizer edit(ioMap);
    ioMap.EnsureSongStart();
    return Splice(ioMap, iAt, iAt, iAt + iCopied.mLength, pieces).Run();
}
