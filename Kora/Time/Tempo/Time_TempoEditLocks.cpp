// Time_TempoEdit: positions that are locked to samples.
#include "Kora/Time/Tempo/Time_TempoEdit_p.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <algorithm>

using namespace Time_TempoEditDetail;

namespace {

using Point = Time_TempoEdit::Point;

std::optional<Point> PointOf(const Time_TempoMapSegment* iLock)
{
    if (iLock == nullptr) return std::nullopt;
    return Point{iLock->GetStartTick(), iLock->GetStartSample()};
}

// What a point may be. Beyond 2^53 samples are not exact any more.
struct SampleRange
{
    double mMin = -9007199254740992.0;
    double mMax = 9007199254740992.0;
};

// The whole samples that a stretch may last within the tempo limits, at least one: by what a tick may last in
// the beats that are in force at its start.
class StretchLengths
{
public:
    StretchLengths(const Time_TempoMap& iMap, Time_Tick iFrom)
        : mWalk(iMap, iFrom)
        , mSampleRate(iMap.GetSampleRate())
    {
    }
    // iFrom is not before the last one.
    SampleRange Between(Time_Tick iFrom, Time_Tick iTo)
    {
        mWalk.To(iFrom);
        const Piece& piece = mWalk.InForce();
        if (piece.mTicksPerBeat != mBeat) {
            mBeat = piece.mTicksPerBeat;
            mTick = LengthsWithinLimits(piece, iFrom + Time_TickLength(1), mSampleRate);
        }
        const double ticks = TicksBetween(iFrom, iTo);
        return {std::max(1.0, -static_cast<double>(Cmn_FloorToInt64(-mTick.mMin * ticks))),
                static_cast<double>(Cmn_FloorToInt64(mTick.mMax * ticks))};
    }

private:
    Walk mWalk;
    double mSampleRate;
    Time_TickLength mBeat{0};
    LengthRange mTick{0, 0};
};

Result CheckPoint(StretchLengths& ioLengths, const Point& iPoint, const std::optional<Point>& iBefore,
                  const std::optional<Point>& iNext)
{
    const auto sampleOf = [](const Point& iAt) { return static_cast<double>(iAt.mSample.AsInt64()); };
    const double sample = sampleOf(iPoint);
    SampleRange range;
    if (iBefore) {
        const SampleRange lengths = ioLengths.Between(iBefore->mTick, iPoint.mTick);
        range.mMin = std::max(range.mMin, sampleOf(*iBefore) + lengths.mMin);
        range.mMax = std::min(range.mMax, sampleOf(*iBefore) + lengths.mMax);
    }
    if (iNext) {
        const SampleRange lengths = ioLengths.Between(iPoint.mTick, iNext->mTick);
        range.mMin = std::max(range.mMin, sampleOf(*iNext) - lengths.mMax);
        range.mMax = std::min(range.mMax, sampleOf(*iNext) - lengths.mMin);
    }
    if (sample >= range.mMin && sample <= range.mMax) return {};
    if (range.mMin > range.mMax)
        return {.mReason = Result::eReason_OutOfLimits, .mNearest = std::numeric_limits<double>::quiet_NaN()};
    const bool isOrdered =
        (!iBefore || iBefore->mSample < iPoint.mSample) && (!iNext || iPoint.mSample < iNext->mSample);
    return {.mReason = isOrdered ? Result::eReason_OutOfLimits : Result::eReason_LockOrder,
            .mNearest = std::max(std::min(sample, range.mMax), range.mMin)};
}

struct Neighbours
{
    std::optional<Point> mBefore;
    std::optional<Point> mNext;
};

// Where no position is locked, the song start will be.
Neighbours NeighboursOf(const Time_TempoMap& iMap, Time_Tick iFirst, Time_Tick iLast)
{
    Neighbours found{PointOf(LockBefore(iMap, iFirst)), PointOf(LockFrom(iMap, iLast + Time_TickLength(1)))};
    constexpr Time_Tick cStart = Time_TempoMap::cDefaultSongStartTick;
    if (iMap.IsNumberOfLockedSegmentsLessThan(1) && cStart < iFirst)
        found.mBefore = Point{cStart, iMap.TickToSample(cStart, false)};
    return found;
}

Result CheckPoints(const Time_TempoMap& iMap, const std::vector<Point>& iPoints,
                   const Neighbours& iNeighbours)
{
    const bool isLockless = iMap.IsNumberOfLockedSegmentsLessThan(1);
    if (isLockless && iPoints.front().mTick < Time_TempoMap::cDefaultSongStartTick)
        return {.mReason = Result::eReason_BeforeSongStart,
                .mNearest = static_cast<double>(Time_TempoMap::cDefaultSongStartTick.AsInt64())};
    if (iPoints.back().mTick > cLastTick)
        return {.mReason = Result::eReason_OutOfLimits,
                .mNearest = static_cast<double>(cLastTick.AsInt64()),
                .mIndex = iPoints.size() - 1};
    std::optional<Point> before = iNeighbours.mBefore;
    StretchLengths lengths(iMap, (before ? *before : iPoints.front()).mTick);
    for (std::size_t i = 0; i < iPoints.size(); ++i) {
        const bool isLast = i + 1 == iPoints.size();
        Result result;
        if (before && before->mTick >= iPoints[i].mTick)
            result.mReason = Result::eReason_EmptyRange;
        else
            result = CheckPoint(lengths, iPoints[i], before, isLast ? iNeighbours.mNext : std::nullopt);
        result.mIndex = i;
        if (!result) return result;
        before = iPoints[i];
    }
    return {};
}

// One tempo from each lock to the next; the tempo in force at the last one goes on behind it.
void CommitPoints(Time_TempoMap& ioMap, const std::vector<Point>& iPoints, const Neighbours& iNeighbours)
{
    std::optional<Time_TempoMap_StEditOptimizer> edit;
    if (ioMap.FindSongStart() == ioMap.SegmentEnd()) edit.emplace(ioMap);
    ioMap.EnsureSongStart();
    Walk walk(ioMap, (iNeighbours.mBefore ? *iNeighbours.mBefore : iPoints.front()).mTick);
    const auto lockOf = [&](const Point& iPoint, bool iIsComputed) {
        walk.To(iPoint.mTick);
        SegmentPtr segment = SegmentOf(walk.InForce(), walk.SegmentThere());
        segment->LockToSample(iPoint.mSample);
        segment->SetIsComputed(iIsComputed);
        return segment;
    };
    std::vector<SegmentPtr> segments;
    segments.reserve(iPoints.size() + 1);
    if (iNeighbours.mBefore) segments.push_back(lockOf(*iNeighbours.mBefore, true));
    for (std::size_t i = 0; i < iPoints.size(); ++i)
        segments.push_back(lockOf(iPoints[i], i + 1 < iPoints.size() || iNeighbours.mNext));
    const Time_Tick end =
        iNeighbours.mNext ? iNeighbours.mNext->mTick : iPoints.back().mTick + Time_TickLength(1);
    const Time_Tick start = segments.front()->GetStartTick();
    Apply(ioMap, ChangeTo(ioMap, start, end, std::move(segments)));
}

// The points that get a lock: from each, the next is the last up to which one line stays within the
// tolerance of all between.
std::vector<Point> WithinTolerance(const std::vector<Point>& iPoints, double iTolerance)
{
    std::vector<Point> kept{iPoints.front()};
    double least = -1e300, most = 1e300; // samples per tick that keep to what is skipped
    for (std::size_t i = 1; i < iPoints.size(); ++i) {
        const auto from = [&](const Point& iPoint) {
            return std::pair(TicksBetween(kept.back().mTick, iPoint.mTick),
                             static_cast<double>((iPoint.mSample - kept.back().mSample).AsInt64()));
        };
        auto [ticks, samples] = from(iPoints[i]);
        if (samples < least * ticks || samples > most * ticks) {
            kept.push_back(iPoints[i - 1]);
            least = -1e300, most = 1e300;
            std::tie(ticks, samples) = from(iPoints[i]);
        }
        least = std::max(least, (samples - iTolerance) / ticks);
        most = std::min(most, (samples + iTolerance) / ticks);
    }
    if (iPoints.size() > 1) kept.push_back(iPoints.back());
    return kept;
}

} // namespace

Time_TempoEditResult Time_TempoEdit::LockToSample(Time_TempoMap& ioMap, Time_Tick iTick, Time_Sample iSample)
{
    return LockAll(ioMap, {Point{iTick, iSample}});
}

Time_TempoEditResult Time_TempoEdit::MoveLock(Time_TempoMap& ioMap, Time_Tick iTick, Time_Sample iSample)
{
    const auto lock = ioMap.FindSegment(iTick);
    if (lock == ioMap.SegmentEnd() || !(*lock)->IsLockedToSample())
        return {.mReason = Result::eReason_NoLock};
    return LockToSample(ioMap, iTick, iSample);
}

Time_TempoEditResult Time_TempoEdit::RemoveLock(Time_TempoMap& ioMap, Time_Tick iTick)
{
    const auto lock = ioMap.FindSegment(iTick);
    const Time_TempoMapSegment* const before = LockBefore(ioMap, iTick);
    if (lock == ioMap.SegmentEnd() || !(*lock)->IsLockedToSample() || (*lock)->IsSongStart() ||
        before == nullptr)
        return {.mReason = Result::eReason_NoLock};
    const Time_TempoMapSegment* const next = LockFrom(ioMap, iTick + Time_TickLength(1));
    const Time_Tick start = before->GetStartTick();
    if (next != nullptr) {
        std::vector<SegmentPtr> segments;
        segments.push_back(SegmentOf(PieceAt(ioMap, start), before));
        segments.back()->SetIsComputed(true);
        ioMap.ReplaceSegments(start, next->GetStartTick(), std::move(segments));
        return {};
    }
    // All at once, so that memory that runs out leaves the lock. A tempo that followed from it stays as it was found.
    std::vector<SegmentPtr> segments;
    Walk walk(ioMap, start);
    for (auto iter = ioMap.FindSegment(start); iter <= lock; ++iter) {
        walk.To((*iter)->GetStartTick());
        segments.push_back((*iter)->IsComputed() ? SegmentOf(walk.InForce(), iter->get()) : (*iter)->Clone());
    }
    segments.back()->UnlockFromSample();
    ioMap.ReplaceSegments(start, iTick + Time_TickLength(1), std::move(segments));
    return {};
}

Time_TempoEditResult Time_TempoEdit::LockAll(Time_TempoMap& ioMap, const std::vector<Point>& iPoints,
                                             double iToleranceSamples)
{
    if (iPoints.empty() || !(iToleranceSamples >= 0)) return {.mReason = Result::eReason_EmptyRange};
    const Neighbours neighbours = NeighboursOf(ioMap, iPoints.front().mTick, iPoints.back().mTick);
    if (const Result result = CheckPoints(ioMap, iPoints, neighbours); !result) return result;
    CommitPoints(ioMap, WithinTolerance(iPoints, iToleranceSamples), neighbours);
    return {};
}
