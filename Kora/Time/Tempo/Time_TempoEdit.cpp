// Time_TempoEdit: tempi, and what its other sources share.
#include "Kora/Time/Tempo/Time_TempoEdit.h"

#include "Kora/Time/Tempo/Time_TempoEdit_p.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <algorithm>

// A DLL holds only the constants that its own code refers to, or that are declared once more.
constexpr std::size_t Time_TempoEdit::cMaxRampSteps;

namespace Time_TempoEditDetail {

Piece PieceAt(const Time_TempoMap& iMap, Time_Tick iTick)
{
    Piece piece{iTick, 0, Time_TickLength(0)};
    iMap.GetTempoAtTick(piece.mBeatsPerMinute, piece.mTicksPerBeat, iTick);
    return piece;
}

std::vector<Piece> PiecesOf(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo)
{
    std::vector<Piece> pieces{PieceAt(iMap, iFrom)};
    auto iter = iMap.FindControllingSegment(iFrom);
    for (; iter != iMap.SegmentEnd() && (*iter)->GetStartTick() < iTo; ++iter) {
        Piece piece{(*iter)->GetStartTick(), 0, Time_TickLength(0)};
        if (piece.mStart > iFrom && (*iter)->GetTempo(piece.mBeatsPerMinute, piece.mTicksPerBeat))
            pieces.push_back(piece);
    }
    return pieces;
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

Result CheckFrom(const Time_TempoMap& iMap, Time_Tick iFrom)
{
    const Time_Tick first = FirstEditableTick(iMap);
    if (iFrom < first)
        return {.mReason = Result::eReason_BeforeSongStart, .mNearest = static_cast<double>(first.AsInt64())};
    const Time_TempoMapSegment* const lock = LockFrom(iMap, iFrom + Time_TickLength(1));
    if (lock == nullptr) return {};
    return {.mReason = Result::eReason_Locked,
            .mNearest = static_cast<double>(lock->GetStartTick().AsInt64())};
}

Result CheckRange(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo)
{
    return iFrom < iTo ? CheckFrom(iMap, iFrom) : Result{.mReason = Result::eReason_EmptyRange};
}

Result CheckTempo(double iBeatsPerMinute, const Time_TickLength& iTicksPerBeat)
{
    const Time_TempoLimits& limits = Time_TempoEdit::GetTempoLimits();
    if (iTicksPerBeat.AsInt64() <= 0) return {.mReason = Result::eReason_EmptyRange};
    const double min = limits.GetMinBPM(iTicksPerBeat), max = limits.GetMaxBPM(iTicksPerBeat);
    if (iBeatsPerMinute >= min && iBeatsPerMinute <= max) return {};
    return {.mReason = Result::eReason_OutOfLimits, .mNearest = iBeatsPerMinute > max ? max : min};
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

void Commit(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo, const std::vector<Piece>& iPieces,
            const std::optional<Piece>& iTail)
{
    const auto oldAt = [&](Time_Tick iTick) {
        const auto found = ioMap.FindSegment(iTick);
        return found != ioMap.SegmentEnd() ? found->get() : nullptr;
    };
    const Time_TempoMap_StEditOptimizer edit(ioMap);
    ioMap.EnsureSongStart();
    std::vector<SegmentPtr> segments;
    segments.reserve(iPieces.size() + 1);
    for (const Piece& piece : iPieces)
        segments.push_back(SegmentOf(piece, oldAt(piece.mStart)));
    // A tempo that goes on anyway is not put there once more.
    const Piece behind = iTail ? *iTail : PieceAt(ioMap, iTo);
    const Piece reigning = iPieces.empty() ? PieceAt(ioMap, iFrom - Time_TickLength(1)) : iPieces.back();
    const bool goesOn =
        reigning.mBeatsPerMinute == behind.mBeatsPerMinute && reigning.mTicksPerBeat == behind.mTicksPerBeat;
    Time_Tick end = iTo;
    if (iTail || (oldAt(iTo) == nullptr && !goesOn)) {
        segments.push_back(SegmentOf(behind, oldAt(iTo)));
        end = iTo + Time_TickLength(1);
    }
    ioMap.ReplaceSegments(iFrom, end, std::move(segments));
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
    const bool isAnchor = at != ioMap.SegmentEnd() && (*at)->IsLockedToSample();
    if (isAnchor) pieces.push_back(PieceAt(ioMap, iFrom));
    Commit(ioMap, iFrom, iTo, pieces);
    return {};
}

namespace {

struct FactorRange
{
    double mMin = 0;
    double mMax = 1e300;
};

// The factors by which all the pieces stay within the limits; none, and mMin is above
// mMax, where they cannot.
FactorRange FactorsWithinLimits(const std::vector<Piece>& iPieces)
{
    const Time_TempoLimits& limits = Time_TempoEdit::GetTempoLimits();
    FactorRange range;
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
    const FactorRange factors = FactorsWithinLimits(pieces);
    if (!(iFactor >= factors.mMin && iFactor <= factors.mMax))
        return {.mReason = Result::eReason_OutOfLimits,
                .mNearest = iFactor > factors.mMax ? factors.mMax : factors.mMin};
    ScaleBy(pieces, iFactor);
    Commit(ioMap, iFrom, iTo, pieces);
    return {};
}

Time_TempoEditResult Time_TempoEdit::Offset(Time_TempoMap& ioMap, Time_Tick iFrom, Time_Tick iTo,
                                            double iBeatsPerMinute)
{
    if (const Result result = CheckRange(ioMap, iFrom, iTo); !result) return result;
    std::vector<Piece> pieces = PiecesOf(ioMap, iFrom, iTo);
    double min = -1e300, max = 1e300;
    for (const Piece& piece : pieces) {
        min = std::max(min, GetTempoLimits().GetMinBPM(piece.mTicksPerBeat) - piece.mBeatsPerMinute);
        max = std::min(max, GetTempoLimits().GetMaxBPM(piece.mTicksPerBeat) - piece.mBeatsPerMinute);
    }
    if (!(iBeatsPerMinute >= min && iBeatsPerMinute <= max))
        return {.mReason = Result::eReason_OutOfLimits, .mNearest = iBeatsPerMinute > max ? max : min};
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
    std::vector<Piece> pieces = PiecesOf(ioMap, iFrom, iTo);
    const Time_BasicTempoMap& basicMap = ioMap.GetBasicTempoMap();
    const double start = basicMap.FractionalSampleAtTick(iFrom);
    const auto startSample = static_cast<double>(ioMap.TickToSample(iFrom, false).AsInt64());
    double length = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i)
        length += TicksBetween(pieces[i].mStart, i + 1 < pieces.size() ? pieces[i + 1].mStart : iTo) *
                  SamplesPerTick(pieces[i], ioMap.GetSampleRate());
    const double endOffset = startSample - start;
    const double factor = length / (static_cast<double>(iLength.AsInt64()) + endOffset);
    const FactorRange factors = FactorsWithinLimits(pieces);
    if (!(factor >= factors.mMin && factor <= factors.mMax)) {
        // Lengths in between: the longest one is that of the least factor.
        const double nearest = factor > factors.mMax
                                   ? -static_cast<double>(Cmn_FloorToInt64(endOffset - length / factors.mMax))
                                   : static_cast<double>(Cmn_FloorToInt64(length / factors.mMin - endOffset));
        return {.mReason = Result::eReason_OutOfLimits, .mNearest = nearest};
    }
    ScaleBy(pieces, factor);
    Commit(ioMap, iFrom, iTo, pieces);
    return {};
}
