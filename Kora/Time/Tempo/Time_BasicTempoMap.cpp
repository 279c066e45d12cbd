#include "Kora/Time/Tempo/Time_BasicTempoMap.h"

#include "Kora/Time/Tempo/Time_BasicTempoMapIndex_p.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <sstream>

namespace {

using Segments = std::vector<Time_BasicTempoMapSegment>;

// What a map without segments answers with: 0 everywhere.
constexpr Time_BasicTempoMapSegment cNone{};

bool StartsBefore(const Time_BasicTempoMapSegment& iSegment, Time_Tick iTick)
{
    return iSegment.GetStartTick() < iTick;
}

std::size_t LastIndexBefore(std::size_t iAfter) { return iAfter == 0 ? 0 : iAfter - 1; }

std::size_t SearchTick(const Segments& iSegments, Time_Tick iTick)
{
    if (iSegments.empty()) return 0;
    if (iTick >= iSegments.back().GetStartTick()) return iSegments.size() - 1;
    const auto after = std::upper_bound(iSegments.begin(), iSegments.end(), iTick,
                                        [](Time_Tick iAt, const Time_BasicTempoMapSegment& iSegment) {
                                            return iAt < iSegment.GetStartTick();
                                        });
    return LastIndexBefore(static_cast<std::size_t>(after - iSegments.begin()));
}

// From the end: start samples need not ascend here.
std::size_t SearchSample(const Segments& iSegments, Time_Sample iSample)
{
    const auto sample = static_cast<double>(iSample.AsInt64());
    std::size_t after = iSegments.size();
    while (after > 0 && !(iSegments[after - 1].GetFractionalStartSample() <= sample))
        --after;
    return LastIndexBefore(after);
}

// The two ways to reach a start sample differ by rounding errors of double arithmetic: 2^-17 sample at the
// session's end, a little more where long stretches are subtracted from each other. A thousandth of a sample
// is far above that and far below what anyone hears.
bool DoublesAreEqual(double iA, double iB) { return std::abs(iA - iB) <= 1e-3 + std::abs(iA) * 0x1p-46; }

} // namespace

Time_BasicTempoMap::Time_BasicTempoMap(double iSampleRate)
    : mSampleRate(iSampleRate)
{
}

Time_BasicTempoMap::Time_BasicTempoMap(const Time_BasicTempoMap& iOther)
    : mSampleRate(iOther.mSampleRate)
    , mSegments(iOther.mSegments)
{
    if (iOther.mIsIndexed) BuildIndex();
}

Time_BasicTempoMap& Time_BasicTempoMap::operator=(const Time_BasicTempoMap& iOther)
{
    mSampleRate = iOther.mSampleRate;
    mSegments = iOther.mSegments;
    mIsIndexed = false;
    if (iOther.mIsIndexed) BuildIndex();
    return *this;
}

Time_BasicTempoMap::~Time_BasicTempoMap() = default;

void Time_BasicTempoMap::Swap(Time_BasicTempoMap& ioOther)
{
    std::swap(mSampleRate, ioOther.mSampleRate);
    mSegments.swap(ioOther.mSegments);
    mIndex.swap(ioOther.mIndex);
    std::swap(mIsIndexed, ioOther.mIsIndexed);
}

void Time_BasicTempoMap::Clear()
{
    mSegments.clear();
    mIsIndexed = false;
}

void Time_BasicTempoMap::InsertSegment(const Time_BasicTempoMapSegment& iSegment)
{
    const Time_Tick start = iSegment.GetStartTick();
    const bool isBehind = mSegments.empty() || start >= mSegments.back().GetStartTick();
    mSegments.insert(isBehind ? mSegments.end()
                              : std::lower_bound(mSegments.begin(), mSegments.end(), start, StartsBefore),
                     iSegment);
    mIsIndexed = false;
}

void Time_BasicTempoMap::EraseSegment(std::size_t iIndex)
{
    mSegments.erase(mSegments.begin() + static_cast<std::ptrdiff_t>(iIndex));
    mIsIndexed = false;
}

void Time_BasicTempoMap::BuildIndex()
{
    mIsIndexed = false;
    if (mSegments.empty()) return;
    if (!mIndex) mIndex = std::make_unique<Index>();
    const auto startSample = Index::SamplesOf(mSegments.data());
    bool ascend = startSample(0) == startSample(0);
    for (std::size_t i = 1; i < mSegments.size(); ++i)
        ascend = ascend && startSample(i) >= startSample(i - 1);
    mIndex->mSamplesAscend = ascend;
    mIndex->mLowest.resize(ascend ? 0 : mSegments.size());
    mIndex->mTicks.Build(mSegments.size(), Index::TicksOf(mSegments.data()));
    if (ascend) {
        mIndex->mSamples.Build(mSegments.size(), startSample);
    } else {
        std::vector<double>& lowest = mIndex->mLowest;
        double soFar = std::numeric_limits<double>::infinity();
        for (std::size_t i = mSegments.size(); i-- > 0;)
            lowest[i] = soFar = startSample(i) < soFar ? startSample(i) : soFar;
        mIndex->mSamples.Build(lowest.size(), [&lowest](std::size_t i) { return lowest[i]; });
    }
    mIsIndexed = true;
}

std::size_t Time_BasicTempoMap::ChainStarts(std::size_t iFrom, std::size_t iEnd, bool& ioAscend)
{
    bool ascend = ioAscend;
    const Time_BasicTempoMapSegment* before = &mSegments[iFrom - 1];
    // Kept apart from the segment, where each addition would wait for the store of the one before.
    double start = before->GetFractionalStartSample();
    std::size_t i = iFrom;
    for (; i < iEnd; ++i) {
        Time_BasicTempoMapSegment& segment = mSegments[i];
        const double ticks = (segment.GetStartTick() - before->GetStartTick()).AsFloat64();
        const double next = ticks * before->GetSamplesPerTick() + start;
        ascend = ascend & (next >= start);
        // Bits alike here are alike behind.
        if (std::bit_cast<Cmn_UInt64>(next) == std::bit_cast<Cmn_UInt64>(segment.GetFractionalStartSample()))
            break;
        segment.SetFractionalStartSample(next);
        before = &segment;
        start = next;
    }
    // The joint with what stays.
    if (i < mSegments.size()) ascend = ascend & (mSegments[i].GetFractionalStartSample() >= start);
    ioAscend = ascend;
    return i;
}

void Time_BasicTempoMap::Splice(std::size_t iFirst, std::size_t iLast, const Time_BasicTempoMap& iBy,
                                std::size_t iFrom, std::size_t iChainEnd)
{
    bool ascend = mIsIndexed && mIndex->mSamplesAscend;
    mIsIndexed = false;
    const auto at = [this](std::size_t i) { return mSegments.begin() + static_cast<std::ptrdiff_t>(i); };
    const std::size_t added = iBy.mSegments.size() - iFrom, removed = iLast - iFirst;
    if (added > removed)
        mSegments.insert(at(iLast), added - removed, cNone);
    else
        mSegments.erase(at(iFirst + added), at(iLast));
    std::copy(iBy.mSegments.begin() + static_cast<std::ptrdiff_t>(iFrom), iBy.mSegments.end(), at(iFirst));

    const std::size_t behind = iFirst + added, chainEnd = iChainEnd - removed + added;
    for (std::size_t i = iFirst; i < behind; ++i)
        ascend =
            ascend && mSegments[i].GetFractionalStartSample() >= mSegments[i - 1].GetFractionalStartSample();
    const std::size_t unchangedFrom = ChainStarts(behind, chainEnd, ascend);
    if (!ascend) return BuildIndex();
    const std::size_t count = mSegments.size();
    mIndex->mTicks.Splice(count, iFirst, count - behind, Index::TicksOf(mSegments.data()));
    mIndex->mSamples.Splice(count, iFirst, count - unchangedFrom, Index::SamplesOf(mSegments.data()));
    mIsIndexed = true;
}

std::size_t Time_BasicTempoMap::FindSegmentAtTick(Time_Tick iTick) const KORA_NONBLOCKING
{
    return mIsIndexed ? mIndex->FindTick(mSegments.data(), iTick.AsInt64()) : SearchTick(mSegments, iTick);
}

std::size_t Time_BasicTempoMap::FindSegmentAtSample(Time_Sample iSample) const KORA_NONBLOCKING
{
    return mIsIndexed ? mIndex->FindSample(mSegments.data(), static_cast<double>(iSample.AsInt64()))
                      : SearchSample(mSegments, iSample);
}

double Time_BasicTempoMap::GetMinTicksPerSample() const
{
    double least = mSegments.empty() ? 0.0 : mSegments[0].GetTicksPerSample();
    for (const Time_BasicTempoMapSegment& segment : mSegments)
        least = std::min(least, segment.GetTicksPerSample());
    return least;
}

double Time_BasicTempoMap::GetMaxTicksPerSample() const
{
    double most = mSegments.empty() ? 0.0 : mSegments[0].GetTicksPerSample();
    for (const Time_BasicTempoMapSegment& segment : mSegments)
        most = std::max(most, segment.GetTicksPerSample());
    return most;
}

bool Time_BasicTempoMap::Validate() const
{
    for (std::size_t i = 1; i < mSegments.size(); ++i) {
        const auto *const iter = &mSegments[i], *const prevIter = &mSegments[i - 1];
        const double start = iter->GetFractionalStartSample();
        const double fractionalSample = prevIter->FractionalSampleAt(iter->GetStartTick());
        const double wholeSample = std::floor(fractionalSample + 0.5);
        const bool holds =
            Cmn_ASSERT_TEXT(iter->GetStartTick() > prevIter->GetStartTick(),
                            "iter->mStartTick > prevIter->mStartTick") &&
            Cmn_ASSERT_TEXT(start > prevIter->GetFractionalStartSample(),
                            "iter->mFractionalStartSample > prevIter->mFractionalStartSample") &&
            Cmn_ASSERT_TEXT(DoublesAreEqual(start, fractionalSample) || DoublesAreEqual(start, wholeSample),
                            "DoublesAreEqual(iter->mFractionalStartSample, fractionalSample) || "
                            "DoublesAreEqual(iter->mFractionalStartSample, wholeSample)");
        if (!holds) return false;
    }
    return true;
}

std::string Time_BasicTempoMap::Dump() const
{
    std::ostringstream text;
    text << "BasicTempoMap: " << mSegments.size() << " segments at " << mSampleRate << " Hz\n";
    for (const Time_BasicTempoMapSegment& segment : mSegments)
        text << "  " << segment.Dump() << "\n";
    return text.str();
}
