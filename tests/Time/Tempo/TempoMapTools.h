// TempoMapTools: tempo maps from rows, a plain model of the rebuild, and bits to compare.
#pragma once

#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Time/TimeFixture.h"

#include <bit>

constexpr Cmn_Int64 cStart = Time_TempoMap::cDefaultSongStartTick.AsInt64();
constexpr Cmn_Int64 cQuarter = Time_TickLength::cInternalPerQuarter;

// A segment as a test writes it down: {.mTick = 0, .mBpm = 90, .mLocked = true, .mSample = 48000}.
struct SegmentRow
{
    Cmn_Int64 mTick = cStart;
    double mBpm = 120;
    Cmn_Int64 mBeat = cQuarter;
    bool mLocked = false;
    bool mComputed = false;
    bool mUnspecified = false;
    bool mSongStart = false;
    Cmn_Int64 mSample = 0;

    std::unique_ptr<Time_TempoMapSegment> Make() const
    {
        auto segment =
            std::make_unique<Time_ConstantTempoSeg>(Time_Tick(mTick), mBpm, Time_TickLength(mBeat));
        segment->LockToSample(Time_Sample(mSample));
        if (!mLocked) segment->UnlockFromSample();
        if (mUnspecified) segment->SetTempoIsUnspecified();
        segment->SetIsComputed(mComputed);
        segment->SetIsSongStart(mSongStart);
        return segment;
    }
};

inline void Fill(Time_TempoMap& ioMap, std::initializer_list<SegmentRow> iRows)
{
    ioMap.BeginEdit();
    for (const SegmentRow& row : iRows)
        ioMap.AddSegment(row.Make());
    ioMap.EndEdit();
}

// A numeric segment as bits.
struct Line
{
    Cmn_Int64 mTick;
    double mStart;
    double mSamplesPerTick;
    double mTicksPerSample;

    double At(Cmn_Int64 iTick) const { return static_cast<double>(iTick - mTick) * mSamplesPerTick + mStart; }
    bool operator==(const Line& iOther) const
    {
        return mTick == iOther.mTick && Same(mStart, iOther.mStart) &&
               Same(mSamplesPerTick, iOther.mSamplesPerTick) && Same(mTicksPerSample, iOther.mTicksPerSample);
    }
    static bool Same(double iA, double iB)
    {
        return std::bit_cast<Cmn_UInt64>(iA) == std::bit_cast<Cmn_UInt64>(iB);
    }
};
using Lines = std::vector<Line>;

inline std::ostream& operator<<(std::ostream& ioStream, const Line& iLine)
{
    return ioStream << "tick " << iLine.mTick << " sample " << iLine.mStart << " slope "
                    << iLine.mSamplesPerTick;
}

inline Lines LinesOf(const Time_BasicTempoMap& iMap)
{
    Lines lines;
    for (std::size_t i = 0; i < iMap.GetNumberOfSegments(); ++i) {
        const Time_BasicTempoMapSegment& segment = iMap.GetSegment(i);
        lines.push_back({segment.GetStartTick().AsInt64(), segment.GetFractionalStartSample(),
                         segment.GetSamplesPerTick(), segment.GetTicksPerSample()});
    }
    return lines;
}

// The rebuild as it is told: one pass, plain searches, nothing kept from before.
class PlainTempoMap
{
public:
    std::map<Cmn_Int64, SegmentRow> mRows;
    double mSampleRate = 48000;

    Lines Rebuild()
    {
        mLines.clear();
        if (mRows.empty()) Put(AtTempo(cStart, 0, 120, cQuarter));
        for (auto row = mRows.begin(); row != mRows.end();) {
            SegmentRow& segment = row->second;
            if (!segment.mComputed && (segment.mLocked || !mLines.empty())) {
                Forward(row++);
                continue;
            }
            const auto target = NextLocked(row);
            if (target != mRows.end()) {
                Backward(row, target);
                row = target;
            } else {
                if (row == mRows.begin()) {
                    const auto [bpm, beat] = TempoOf(row);
                    Put(AtTempo(cStart, 0, bpm, beat));
                    Forward(row);
                }
                ++row;
            }
        }
        return mLines;
    }

    const Line& At(Cmn_Int64 iTick) const
    {
        for (std::size_t i = mLines.size(); i-- > 0;)
            if (mLines[i].mTick <= iTick) return mLines[i];
        return mLines.front();
    }
    const Line& AtSample(Cmn_Int64 iSample) const
    {
        for (std::size_t i = mLines.size(); i-- > 0;)
            if (mLines[i].mStart <= static_cast<double>(iSample)) return mLines[i];
        return mLines.front();
    }

private:
    using Row = std::map<Cmn_Int64, SegmentRow>::iterator;

    Line AtTempo(Cmn_Int64 iTick, double iStart, double iBpm, Cmn_Int64 iBeat) const
    {
        const double slope = mSampleRate * 60.0 / (static_cast<double>(iBeat) * iBpm);
        return {iTick, iStart, slope, 1.0 / slope};
    }
    std::pair<double, Cmn_Int64> TempoOf(Row iRow)
    {
        const Row next = std::next(iRow);
        SegmentRow tempo = iRow->second;
        if (tempo.mUnspecified && next != mRows.end()) {
            tempo = next->second;
            const Row target = NextLocked(next);
            if (tempo.mComputed && iRow->second.mLocked && target != mRows.end())
                tempo = Derived(iRow->second, next, target);
        }
        if (tempo.mUnspecified || !(tempo.mBpm > 0 && tempo.mBpm < 1e300)) return {120.0, cQuarter};
        return {tempo.mBpm, tempo.mBeat};
    }
    Row NextLocked(Row iRow)
    {
        return std::find_if(std::next(iRow), mRows.end(), [](auto& iAny) { return iAny.second.mLocked; });
    }
    // The stretch from iNext on, laid out for itself behind the first one's lock; a free
    // one begins at that lock.
    SegmentRow Derived(const SegmentRow& iFirst, Row iNext, Row iTarget) const
    {
        PlainTempoMap stretch;
        stretch.mSampleRate = mSampleRate;
        stretch.mRows = {std::next(iNext), std::next(iTarget)};
        SegmentRow next = iNext->second;
        if (!next.mLocked) {
            next.mLocked = true;
            next.mTick = iFirst.mTick;
            next.mSample = iFirst.mSample;
        }
        const Row from = stretch.mRows.emplace(next.mTick, next).first;
        stretch.Put(stretch.AtTempo(iFirst.mTick, static_cast<double>(iFirst.mSample), 120, cQuarter));
        stretch.Backward(from, std::prev(stretch.mRows.end()));
        return from->second;
    }
    void Forward(Row iRow)
    {
        const SegmentRow& segment = iRow->second;
        if (segment.mUnspecified && (!segment.mLocked || iRow != mRows.begin())) return;
        const auto [bpm, beat] = TempoOf(iRow);
        Put(AtTempo(segment.mTick, Start(segment), bpm, beat));
    }
    double Start(const SegmentRow& iRow) const
    {
        if (iRow.mLocked) return static_cast<double>(iRow.mSample);
        return mLines.empty() ? 0 : At(iRow.mTick).At(iRow.mTick);
    }
    void Backward(Row iFrom, Row iTarget)
    {
        if (iFrom == mRows.begin() && iFrom->second.mComputed && !iFrom->second.mLocked)
            Put(AtTempo(cStart, 0, 120, cQuarter));
        double end = static_cast<double>(iTarget->second.mSample);
        for (Row row = iTarget; row-- != iFrom;) {
            SegmentRow& segment = row->second;
            const Cmn_Int64 endTick = std::next(row)->first;
            Line line = AtTempo(segment.mTick, 0, segment.mBpm, segment.mBeat);
            const auto ticks = static_cast<double>(endTick - segment.mTick);
            if (segment.mComputed || segment.mLocked) {
                line.mStart = Start(segment);
                line.mSamplesPerTick = (end - line.mStart) / ticks;
                line.mTicksPerSample = ticks / (end - line.mStart);
                segment.mBpm =
                    mSampleRate * 60.0 / (static_cast<double>(segment.mBeat) * line.mSamplesPerTick);
            } else {
                line.mStart = end - ticks * line.mSamplesPerTick;
            }
            Put(line);
            end = line.mStart;
        }
    }
    // At the tick of another line the newer one stays.
    void Put(const Line& iLine)
    {
        const auto at =
            std::find_if(mLines.begin(), mLines.end(), [&](auto& i) { return i.mTick >= iLine.mTick; });
        if (at != mLines.end() && at->mTick == iLine.mTick)
            *at = iLine;
        else
            mLines.insert(at, iLine);
    }

    Lines mLines;
};
