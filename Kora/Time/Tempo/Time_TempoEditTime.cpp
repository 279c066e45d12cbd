// Time_TempoEdit: time that comes, goes, is copied and moved.
#include "Kora/Time/Tempo/Time_TempoEditSplice_p.h"

#include <algorithm>

namespace Time_TempoEditDetail {
namespace {

// What moves stays a tick.
Result CheckInsertion(const Time_TempoMap& iMap, Time_Tick iAt, Time_TickLength iLength)
{
    if (iLength.AsInt64() <= 0) return {.mReason = Result::eReason_EmptyRange};
    if (const Result result = CheckTick(iMap, iAt); !result) return result;
    const auto end = iMap.SegmentEnd();
    const Time_Tick last = iMap.GetNumberOfSegments() > 0 ? std::max(iAt, (*(end - 1))->GetStartTick()) : iAt;
    const Time_TickLength room = std::max(cLastTick - last, Time_TickLength(0));
    if (iLength <= room) return {};
    return {.mReason = Result::eReason_OutOfLimits, .mNearest = room.AsFloat64()};
}

Result CheckDeletion(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo)
{
    if (iFrom >= iTo) return {.mReason = Result::eReason_EmptyRange};
    const Result result = CheckTick(iMap, iFrom);
    return result ? CheckTick(iMap, iTo) : result;
}

// By ascending offsets within the length, the first at 0; with tempi that are some.
Result CheckCopied(const Time_TempoEdit::Copied& iCopied)
{
    Time_TickLength next(0);
    if (iCopied.mTempi.empty() || iCopied.mTempi.front().mOffset != next)
        return {.mReason = Result::eReason_EmptyRange};
    for (std::size_t i = 0; i < iCopied.mTempi.size(); ++i) {
        const auto& [offset, tempo] = iCopied.mTempi[i];
        if (offset < next || offset >= iCopied.mLength)
            return {.mReason = Result::eReason_EmptyRange, .mNearest = 0, .mIndex = i};
        next = offset + Time_TickLength(1);
        if (Time_BasicTempoMapSegment::IsTempo(tempo.mBeatsPerMinute, tempo.mTicksPerBeat)) continue;
        Result result = CheckTempo(tempo.mBeatsPerMinute, tempo.mTicksPerBeat);
        result.mIndex = i;
        return result;
    }
    return {};
}

// A first tempo that holds backwards loses that where something comes before it, or it goes: then the song
// start, which has it too, comes first.
Result PlanSplice(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo, Time_Tick iJoin,
                  const std::vector<Piece>& iPieces, Change& oChange)
{
    const bool hasSongStart = iMap.FindSongStart() != iMap.SegmentEnd();
    const bool isFirstKept = iPieces.empty() && (iMap.GetNumberOfSegments() == 0 ||
                                                 (*iMap.SegmentBegin())->GetStartTick() < iFrom ||
                                                 (*iMap.SegmentBegin())->GetStartTick() >= iTo);
    if (hasSongStart || isFirstKept) return Splice(iMap, iFrom, iTo, iJoin, iPieces).Run(oChange);
    Time_TempoMap tried(iMap);
    tried.EnsureSongStart();
    const Result result = Splice(tried, iFrom, iTo, iJoin, iPieces).Run(oChange);
    oChange.mEnsuresSongStart = true;
    return result;
}

} // namespace

Result PlanInsertion(const Time_TempoMap& iMap, Time_Tick iAt, Time_TickLength iLength, Change& oChange)
{
    const Result result = CheckInsertion(iMap, iAt, iLength);
    return result ? PlanSplice(iMap, iAt, iAt, iAt + iLength, {}, oChange) : result;
}

Result PlanDeletion(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo, Change& oChange)
{
    const Result result = CheckDeletion(iMap, iFrom, iTo);
    return result ? PlanSplice(iMap, iFrom, iTo, iFrom, {}, oChange) : result;
}

Result PlanPasting(const Time_TempoMap& iMap, Time_Tick iAt, const Time_TempoEdit::Copied& iCopied,
                   Change& oChange)
{
    if (const Result result = CheckInsertion(iMap, iAt, iCopied.mLength); !result) return result;
    if (const Result result = CheckCopied(iCopied); !result) return result;
    std::vector<Piece> pieces;
    pieces.reserve(iCopied.mTempi.size());
    for (const auto& [offset, tempo] : iCopied.mTempi)
        pieces.push_back({iAt + offset, tempo.mBeatsPerMinute, tempo.mTicksPerBeat});
    return PlanSplice(iMap, iAt, iAt, iAt + iCopied.mLength, pieces, oChange);
}

Result CheckMove(Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition)
{
    if (iPosition <= iFrom || iPosition >= iTo) return {};
    const bool isNearTheEnd = iTo - iPosition < iPosition - iFrom;
    return {.mReason = Result::eReason_InsideRange,
            .mNearest = static_cast<double>((isNearTheEnd ? iTo : iFrom).AsInt64())};
}

Result PlanMove(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition,
                Change& oChange)
{
    if (const Result result = CheckDeletion(iMap, iFrom, iTo); !result) return result;
    if (const Result result = CheckTick(iMap, iPosition); !result) return result;
    if (const Result result = CheckMove(iFrom, iTo, iPosition); !result) return result;
    if (iPosition == iFrom || iPosition == iTo || iMap.GetNumberOfSegments() == 0) return {};
    Time_TempoMap tried(iMap);
    Change change;
    if (const Result result = PlanDeletion(tried, iFrom, iTo, change); !result) return result;
    Apply(tried, std::move(change));
    change = {};
    const Time_Tick at = iPosition > iTo ? iPosition - (iTo - iFrom) : iPosition;
    if (const Result result = PlanPasting(tried, at, Time_TempoEdit::CopyRange(iMap, iFrom, iTo), change);
        !result)
        return result;
    Apply(tried, std::move(change));
    std::vector<SegmentPtr> segments;
    for (auto iter = tried.SegmentBegin(); iter != tried.SegmentEnd(); ++iter)
        segments.push_back((*iter)->Clone());
    oChange = ChangeTo(iMap, cBeforeAll, cBehindAll, std::move(segments));
    return {};
}

Time_TempoEdit::Copied Repeated(const Time_TempoEdit::Copied& iCopied, std::size_t iCount)
{
    Time_TempoEdit::Copied repeated;
    repeated.mTempi.reserve(iCopied.mTempi.size() * iCount);
    for (std::size_t i = 0; i < iCount; ++i, repeated.mLength += iCopied.mLength)
        for (const auto& [offset, tempo] : iCopied.mTempi) {
            const bool goesOn = !repeated.mTempi.empty() && offset.AsInt64() == 0 &&
                                repeated.mTempi.back().mTempo.mBeatsPerMinute == tempo.mBeatsPerMinute &&
                                repeated.mTempi.back().mTempo.mTicksPerBeat == tempo.mTicksPerBeat;
            if (!goesOn) repeated.mTempi.push_back({repeated.mLength + offset, tempo});
        }
    return repeated;
}

} // namespace Time_TempoEditDetail

using namespace Time_TempoEditDetail;

namespace {

Result Carried(Time_TempoMap& ioMap, const Result& iResult, Change iChange)
{
    if (iResult) Apply(ioMap, std::move(iChange));
    return iResult;
}

} // namespace

Time_TempoEditResult Time_TempoEdit::InsertTime(Time_TempoMap& ioMap, Time_Tick iAt, Time_TickLength iLength)
{
    Change change;
    const Result result = PlanInsertion(ioMap, iAt, iLength, change);
    return Carried(ioMap, result, std::move(change));
}

Time_TempoEditResult Time_TempoEdit::DeleteTime(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo)
{
    Change change;
    const Result result = PlanDeletion(ioMap, iFrom, iTo, change);
    return Carried(ioMap, result, std::move(change));
}

Time_TempoEditResult Time_TempoEdit::MoveTime(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                              Time_Tick iPosition)
{
    Change change;
    const Result result = PlanMove(ioMap, iFrom, iTo, iPosition, change);
    return Carried(ioMap, result, std::move(change));
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
    Change change;
    const Result result = PlanPasting(ioMap, iAt, iCopied, change);
    return Carried(ioMap, result, std::move(change));
}
