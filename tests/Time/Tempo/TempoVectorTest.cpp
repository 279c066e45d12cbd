// The conversions of many times give the bits of the single ones, whichever kernel converts.
#include "Kora/Time/Tempo/Time_BasicTempoMapLine_p.h"
#include "Time/Tempo/TempoMapTools.h"

namespace {

using Times = std::vector<Cmn_Int64>;

// Mostly within the line, now and then at the edge of what doubles carry, or far beyond.
Cmn_Int64 RandomTime(std::mt19937_64& ioRandom, Cmn_Int64 iNear)
{
    const auto offset = static_cast<Cmn_Int64>(ioRandom() % 9) - 4;
    switch (ioRandom() % 40) {
    case 0:
        return iNear + (Cmn_Int64{1} << (48 + ioRandom() % 8)) + offset;
    case 1:
        return iNear - (Cmn_Int64{1} << (48 + ioRandom() % 8)) + offset;
    case 2:
        return static_cast<Cmn_Int64>(ioRandom());
    case 3:
        return (offset < 0 ? std::numeric_limits<Cmn_Int64>::min()
                           : std::numeric_limits<Cmn_Int64>::max() - 8) +
               (offset & 7);
    default:
        return iNear + static_cast<Cmn_Int64>(ioRandom() % 100000000) - 50000000;
    }
}

// Lines that do not meet, so that a time on the wrong one shows, and now and then far apart or steep.
std::vector<Time_BasicTempoMapSegment> RandomSegments(std::mt19937_64& ioRandom)
{
    const auto seldom = [&](auto iUsual, auto iSeldom) { return ioRandom() % 12 == 0 ? iSeldom : iUsual; };
    std::vector<Time_BasicTempoMapSegment> segments(6 + ioRandom() % 8);
    Cmn_Int64 tick = cStart;
    double sample = static_cast<double>(seldom(Cmn_Int64{1000}, -(Cmn_Int64{1} << 52)));
    for (Time_BasicTempoMapSegment& each : segments) {
        const double slope = seldom(0.25, 1e12) * (1 + static_cast<double>(ioRandom() % 7));
        each.SetEndSample(Time_Tick(tick), Time_Tick(tick + 1000), sample, sample + 1000 * slope);
        tick +=
            static_cast<Cmn_Int64>(seldom(1 + ioRandom() % 40, std::uint64_t{1} << (50 + ioRandom() % 3)));
        sample += static_cast<double>(seldom(4 + ioRandom() % 160, std::uint64_t{1} << 52)) / 4;
    }
    return segments;
}

} // namespace

TEST(TempoVector, KernelsStopWhereThePlainOneStopsAndGiveItsBits)
{
    std::vector<Time_VectorKernel> kernels{&Time_VectorRunSse2};
    if (Time_ProcessorHasAvx2()) kernels.push_back(&Time_VectorRunAvx2);
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        Time_BasicTempoMapSegment segment;
        const double start = static_cast<double>(random() % 1000000007) / 7 - 1e6;
        segment.SetTempo(Time_Tick(cStart), start, i % 100 == 0 ? 0 : 48000,
                         5 + static_cast<double>(random() % 50000) / 100, Time_TickLength(cQuarter));
        const bool toSamples = i % 2 == 0;
        Time_VectorLine line = toSamples
                                   ? Time_BasicTempoMapLine::TicksToSamples(
                                         segment, i % 4 == 0 ? 34359738367.0 : Time_VectorLine::cNoLimit)
                                   : Time_BasicTempoMapLine::SamplesToTicks(segment);
        if (i % 3 == 0) {
            line.mBegin = toSamples ? 0 : start;
            line.mEnd = line.mBegin + 40000000;
        }
        Times times(random() % 12);
        for (Cmn_Int64& each : times)
            each = RandomTime(random, toSamples ? cStart : static_cast<Cmn_Int64>(start));
        Times plain = times;
        const std::size_t done = Time_VectorRunPlain(line, plain.data(), plain.size());
        for (const Time_VectorKernel kernel : kernels) {
            Times converted = times;
            ASSERT_EQ(kernel(line, converted.data(), converted.size()), done) << i;
            ASSERT_EQ(converted, plain) << i;
        }
        for (std::size_t at = 0; at < done; ++at) // the plain kernel against the single conversions
            ASSERT_EQ(plain[at], toSamples ? segment.TickToSample(Time_Tick(times[at]), i % 4 == 0).AsInt64()
                                           : segment.SampleToTick(Time_Sample(times[at])).AsInt64());
    }
}

TEST(TempoVector, ShortRunsOnNeighbouringLinesAreConvertedAsEachAlone)
{
    if (!Time_ProcessorHasAvx2()) GTEST_SKIP() << "no such kernel for this processor";
    std::mt19937_64 random(3);
    std::size_t converted = 0;
    for (int i = 0; i < 60000; ++i) {
        const bool toSamples = i % 2 == 0;
        const std::vector<Time_BasicTempoMapSegment> segments = RandomSegments(random);
        const auto key = [&](std::size_t at) {
            return toSamples ? static_cast<double>(segments[at].GetStartTick().AsInt64())
                             : segments[at].GetFractionalStartSample();
        };
        const auto lineOf = [&](Cmn_Int64 time) { // 1 for the first, 0 before it
            std::size_t line = 0;
            while (line < segments.size() && key(line) <= static_cast<double>(time))
                ++line;
            return line;
        };
        Times times(24);
        for (Cmn_Int64& each : times)
            each = static_cast<Cmn_Int64>(key(random() % segments.size())) +
                   static_cast<Cmn_Int64>(random() % 5) - 2;
        if (i % 8 != 0) std::sort(times.begin(), times.end());
        const double limit = i % 4 == 0 ? 1010.0 : Time_VectorLine::cNoLimit;
        Times results = times;
        const std::size_t first = std::max<std::size_t>(lineOf(times[0]), 1) - 1;
        std::size_t segment = first;
        const auto kernel = toSamples ? &Time_VectorSegmentsToSamplesAvx2 : &Time_VectorSegmentsToTicksAvx2;
        const std::size_t done = kernel(Time_BasicTempoMapLayout::Of(segments.data()), segments.size(),
                                        segment, results.data(), results.size(), limit);
        for (std::size_t at = 0; at < times.size(); ++at) {
            Cmn_Int64 expected = times[at];
            if (at < done) {
                ASSERT_GT(lineOf(times[at]), first) << i;
                const Time_BasicTempoMapSegment& line = segments[lineOf(times[at]) - 1];
                expected = toSamples ? std::min(line.TickToSample(Time_Tick(times[at]), false).AsInt64(),
                                                static_cast<Cmn_Int64>(limit))
                                     : line.SampleToTick(Time_Sample(times[at])).AsInt64();
            }
            ASSERT_EQ(results[at], expected) << i << ' ' << at;
        }
        converted += done;
    }
    EXPECT_GT(converted, 100000u);
}

TEST(TempoVector, ManyTimesAreConvertedAsEachAlone)
{
    const AssertRecorder asserts; // wild maps break what validation asks for
    std::mt19937_64 random(2);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        Time_TempoMap map;
        map.BeginEdit();
        if (round % 2 == 0) map.AddSegment(SegmentRow{.mLocked = true}.Make());
        for (int i = static_cast<int>(random() % (round % 7 == 0 ? 200 : 30)); i-- > 0;)
            map.AddSegment(SegmentRow{.mTick = cStart + static_cast<Cmn_Int64>(random() % (80 * cQuarter)),
                                      .mBpm = 5 + static_cast<double>(random() % 300),
                                      .mLocked = round % 4 == 1,
                                      .mSample = static_cast<Cmn_Int64>(random() % 2000000)}
                               .Make());
        map.EndEdit();
        Time_BasicTempoMap basic = map.GetBasicTempoMap();
        if (round % 5 == 0 && basic.GetNumberOfSegments() > 1)
            basic.EraseSegment(1); // searches without the index
        for (const bool toSamples : {true, false}) {
            Times times(random() % 300);
            for (Cmn_Int64& each : times)
                each = RandomTime(random, toSamples ? cStart + 50000000 : 1000000);
            if (round % 3 != 0) std::sort(times.begin(), times.end());
            Times expected = times;
            Times clamped = times;
            for (Cmn_Int64& each : expected)
                each = toSamples ? basic.TickToSample(Time_Tick(each), false).AsInt64()
                                 : basic.SampleToTick(Time_Sample(each)).AsInt64();
            if (toSamples)
                basic.TicksToSamples(times.data(), times.size(), false);
            else
                basic.SamplesToTicks(times.data(), times.size());
            ASSERT_EQ(times, expected);
            // The typed form clamps.
            const Time_EType from = toSamples ? Time_eType_Ticks : Time_eType_Samples,
                             to = toSamples ? Time_eType_Samples : Time_eType_Ticks;
            Time_TypedVector typed(from, Time_eContext_GlobalPosition, clamped);
            basic.TimesToType(&typed, to);
            for (Cmn_Int64& each : expected)
                if (toSamples) each = std::min(each, Cmn_Int64{34359738367});
            ASSERT_EQ(typed, Time_TypedVector(to, Time_eContext_GlobalPosition, expected));
        }
        Times times(37);
        for (Cmn_Int64& each : times)
            each = RandomTime(random, cStart);
        Times alone = times;
        basic.GetSegment(0).TicksToSamples(times.data(), times.size());
        for (Cmn_Int64& each : alone)
            each = basic.GetSegment(0).TickToSample(Time_Tick(each), false).AsInt64();
        ASSERT_EQ(times, alone);
    }
}
