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

TEST(TempoVector, ManyTimesAreConvertedAsEachAlone)
{
    const AssertRecorder asserts; // wild maps break what validation asks for
    std::mt19937_64 random(2);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        Time_TempoMap map;
        map.BeginEdit();
        if (round % 2 == 0) map.AddSegment(SegmentRow{.mLocked = true}.Make());
        for (int i = static_cast<int>(random() % 30); i-- > 0;)
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
