#include "Time/ConverterFixture.h"

#include <limits>

namespace {

using Reports = std::vector<std::string>;

// Counts as they come out of single conversions.
template <class Convert>
Time_TypedVector Each(const Time_TypedVector& iTimes, Time_EType iType, Convert iConvert)
{
    Time_TypedVector result(iType);
    for (const Cmn_Int64 count : iTimes) {
        const Time_Typed converted = iConvert(Time_Typed(count, iTimes.GetType()));
        EXPECT_EQ(converted.GetType(), iType);
        result.push_back(converted.AsInt64());
    }
    return result;
}

Time_TypedVector AnyTimes(RandomSession& ioSession, Time_EType iUnit)
{
    Time_TypedVector times(iUnit);
    for (Cmn_Int64 i = ioSession.Below(200); i >= 0; --i)
        times.PushTime(ioSession.AnyTime(iUnit));
    for (const Cmn_Int64 count :
         {std::numeric_limits<Cmn_Int64>::min(), std::numeric_limits<Cmn_Int64>::max(), Cmn_Int64{0},
          Cmn_Int64{-1}, cSongStart, cSongStart - 1})
        times.push_back(count);
    return times;
}

} // namespace

TEST(Converter, SamplesAndFramesAgreeWithExactIntegers)
{
    for (const Cmn_Int64 sampleRate : {8000, 44100, 48000, 96000, 192000})
        for (const Cmn_Int64 frameRate : {24, 25, 30, 50, 60}) {
            const StRates rates(static_cast<double>(sampleRate), static_cast<double>(frameRate));
            const Time_Converter converter;
            const Cmn_Int64 last = Time_Typed::MaxTime(cSamples).AsInt64();
            for (Cmn_Int64 sample = 0; sample <= last; sample += sample < 20000 ? 1 : 1 + sample / 50) {
                // Halves up, and the frame at the middle of the sample, without a fraction anywhere.
                const Cmn_Int64 rounded = (2 * frameRate * sample + sampleRate) / (2 * sampleRate);
                const Cmn_Int64 running = frameRate * (2 * sample + 1) / (2 * sampleRate);
                ASSERT_EQ(converter.ToFrames(Time_Sample(sample)).AsInt64(), rounded) << sample;
                ASSERT_EQ(converter.ToFramesNotRounded(Time_Sample(sample)).AsInt64(), running) << sample;
                const Cmn_Int64 start = (2 * running * sampleRate + frameRate) / (2 * frameRate);
                ASSERT_EQ(converter.ToSample(Time_Typed(running, cFrames)), Time_Sample(start)) << running;
                ASSERT_EQ(converter.ToFrames(Time_Sample(start)).AsInt64(), running);
            }
        }
}

TEST(Converter, FramesRoundOrRunOn)
{
    struct Row
    {
        const char* what;
        double sampleRate, frameRate;
        Cmn_Int64 sample, rounded, running;
    };
    constexpr Row cRows[] = {
        {"the last sample of a frame",                         48000, 30,             1599,  1,  0 },
        {"the first of the next",                              48000, 30,             1600,  1,  1 },
        {"half a frame rounds up",                             48000, 30,             800,   1,  0 },
        {"one sample less does not",                           48000, 30,             799,   0,  0 },
        {"the middle of the sample is past the frame's start", 44100, 30000.0 / 1001, 1471,  1,  1 },
        {"below zero halves still go up, and cut toward zero", 48000, 30,             -1600, 0,  0 },
        {"two frames below zero",                              48000, 30,             -3200, -1, -1},
    };
    for (const Row& row : cRows) {
        const StRates rates(row.sampleRate, row.frameRate);
        const Time_Converter converter;
        const Time_Sample sample(row.sample);
        EXPECT_EQ(converter.ToType(sample, cFrames), Time_Typed(row.rounded, cFrames)) << row.what;
        EXPECT_EQ(converter.ToTypeNotRounded(sample, cFrames), Time_Typed(row.running, cFrames)) << row.what;
    }
    const StRates rates(48000, 30);
    EXPECT_EQ(Time_Converter().GetFrameLength(), 1600);
    EXPECT_EQ(Time_Converter().ToSample(Time_Typed(1, cFrames)), Time_Sample(1600));
    StRates::Pull(ePullMedia_Audio, ePullType_NTSC, ePullFactor_Down);
    EXPECT_EQ(Time_Converter().ToSample(Time_Typed(1000, cFrames)), Time_Sample(1598402)); // 1600000 / 1.001
}

TEST(Converter, EveryPathGoesThroughTheMapsAndWholeSamples)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomSession session(seed);
        const Time_Converter& converter = session.converter;
        const Time_TempoMap& tempo = *session.tempoMap;
        const Time_MeterMap& meters = session.meterMap;
        for (int i = 0; i < 200; ++i) {
            const Time_Tick tick = session.AnyTime(cTicks).AsTick();
            const Time_Typed frame = session.AnyTime(cFrames);
            const Time_Sample sample = tempo.TickToSample(tick, true), ofFrame = converter.ToSample(frame);
            ASSERT_EQ(converter.ToType(tick, cSamples), Time_Typed(sample));
            ASSERT_EQ(converter.ToType(sample, cTicks), Time_Typed(tempo.SampleToTick(sample)));
            ASSERT_EQ(converter.ToType(tick, cFrames), converter.ToType(sample, cFrames));
            ASSERT_EQ(converter.ToFramesNotRounded(tick), converter.ToFramesNotRounded(sample));
            ASSERT_EQ(converter.ToType(frame, cTicks), converter.ToType(ofFrame, cTicks));
            ASSERT_EQ(converter.ToFramesNotRounded(frame), frame);
            ASSERT_EQ(converter.ToFirstType(tick, cSamples), Time_Typed(tempo.TickToFirstSample(tick)));
            ASSERT_EQ(converter.ToFirstType(sample, cTicks), Time_Typed(tempo.SampleToFirstTick(sample)));

            const Time_Typed bar(tick);
            const Time_BarBeatTick position = meters.TickToBarBeat(tick), length(3, 2, Time_TickLength(1234));
            ASSERT_EQ(converter.ToBarBeatTick(bar), position);
            ASSERT_EQ(converter.ToBarBeatTick(frame), meters.TickToBarBeat(converter.ToTick(frame)));
            ASSERT_EQ(converter.ToType(position, cFrames),
                      converter.ToType(meters.BarBeatToTick(position), cFrames));
            ASSERT_EQ(converter.AddLength(bar, length), Time_Typed(meters.AddDurationToTick(tick, length)));
            ASSERT_EQ(
                converter.SubtractLength(frame, length),
                converter.ToType(meters.SubtractDurationFromTick(converter.ToTick(frame), length), cFrames));
        }
        for (const Time_EType unit : cUnits) {
            ASSERT_EQ(converter.GetBarOneTime(unit),
                      converter.ToType(meters.BarBeatToTick(Time_BarBeatTick()), unit));
            const Time_Typed time = session.AnyTime(unit);
            ASSERT_EQ(converter.ToType(time, cInvalid), time);
            session.converter.SetMainCounterType(unit);
            ASSERT_EQ(converter.ToMainCounterType(Time_Sample(4711)),
                      converter.ToType(Time_Sample(4711), unit));
        }
    }
}

TEST(Converter, SamplesSurviveTheWayThroughTicksAndLengthsAddInTheirOwnUnit)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomSession session(seed);
        const Time_Converter& converter = session.converter;
        for (int i = 0; i < 500; ++i) {
            const Time_Typed sample(session.Below(400000000), cSamples),
                frame(session.Below(200000), cFrames);
            ASSERT_EQ(converter.ToType(converter.ToType(sample, cTicks), cSamples), sample);
            ASSERT_EQ(converter.ToType(converter.ToType(frame, cTicks), cFrames), frame);

            const Time_TypedLength length(session.Below(3000) - 1500,
                                          session.Any({cSamples, cTicks, cFrames}));
            const Time_Typed time = session.Any({sample, frame});
            const Time_Typed moved = converter.ToType(time, length.GetType()) + length;
            ASSERT_EQ(converter.AddLength(time, length),
                      length.AsInt64() == 0 ? time : converter.ToType(moved, time.GetType()));
            ASSERT_EQ(converter.SubtractLength(time, length), converter.AddLength(time, -length));
        }
        // Ticks of samples are coarse: a zero length must not round them.
        const Time_Typed tick(cSongStart + 1, cTicks);
        ASSERT_EQ(converter.AddLength(tick, Time_TypedLength(0, cSamples)), tick);
        ASSERT_EQ(converter.SubtractLength(tick, Time_TypedLength(0, cFrames)), tick);
    }
}

TEST(Converter, ManyTimesGiveTheBitsOfSingleOnes)
{
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomSession session(seed);
        const Time_Converter& converter = session.converter;
        for (const Time_EType from : cUnits)
            for (const Time_EType to : cUnits) {
                const Time_TypedVector times = AnyTimes(session, from);
                Time_TypedVector converted = times;
                const AllocationCounter allocations;
                converter.ToType(&converted, to);
                ASSERT_EQ(allocations.Count(), 0);
                ASSERT_EQ(converted, Each(times, to, [&](const Time_Typed& iTime) {
                              return converter.ToType(iTime, to);
                          }));

                const Time_TypedLength length(session.Below(100000) - 50000, to);
                for (const Time_TypedLength& step : {length, Time_TypedLength(0, to)}) {
                    Time_TypedVector sums = times, differences = times;
                    converter.AddLength(&sums, step);
                    converter.SubtractLength(&differences, step);
                    ASSERT_EQ(sums, Each(times, from, [&](const Time_Typed& iTime) {
                                  return converter.AddLength(iTime, step);
                              }));
                    ASSERT_EQ(differences, Each(times, from, [&](const Time_Typed& iTime) {
                                  return converter.SubtractLength(iTime, step);
                              }));
                }
                const Time_Typed origin = session.AnyTime(to);
                Time_TypedVector lengths = times;
                converter.SubtractTime(&lengths, origin);
                ASSERT_EQ(lengths.GetContext(), Time_eContext_RelativeLength);
                ASSERT_EQ(lengths[0], (times.GetTime(0) - converter.ToType(origin, from)).AsInt64());
                converter.AddTime(&lengths, origin);
                ASSERT_EQ(lengths, times);
            }
    }
}

TEST(Converter, TheSessionPinsWhatLiesOutside)
{
    RandomSession session(3);
    const Time_Converter& converter = session.converter;
    for (const Time_EType unit : cUnits) {
        const Time_Typed start = converter.GetSessionStartTime(unit), end = converter.GetSessionEndTime(unit);
        EXPECT_EQ(start, converter.ToType(Time_Sample(0), unit));
        EXPECT_EQ(end, converter.ToType(Time_Typed::GetMaxSessionSample(), unit));
        const Time_TypedLength one(1, unit);
        struct Row
        {
            const char* what;
            Time_Typed before, after;
            bool isMoved;
        };
        const Row rows[] = {
            {"before the start", start - one, start,       true },
            {"the start itself", start,       start,       false},
            {"inside",           start + one, start + one, false},
            {"the end itself",   end,         end,         false},
            {"after the end",    end + one,   end,         true },
        };
        for (const Row& row : rows) {
            Time_Typed time = row.before;
            EXPECT_EQ(converter.PinToValidSessionRange(time), row.isMoved) << row.what;
            EXPECT_EQ(time, row.after) << row.what;
        }
    }
}

TEST(Converter, BrokenPreconditionsAreReportedOnceAndGoOn)
{
    const auto of = [](const char* iText) {
        return Reports{std::string(iText) + "@$^$@Time/Time_Converter"};
    };
    RandomSession session(5);
    const Time_Converter& converter = session.converter;
    const Time_Converter empty;
    const AssertRecorder recorder;
    const Time_Typed strange(5, cInvalid), sample(5, cSamples), tick(cSongStart, cTicks), frame(5, cFrames);

    EXPECT_EQ(converter.ToSample(strange), Time_Sample(0));
    EXPECT_EQ(recorder.Take(), of("false"));
    EXPECT_EQ(converter.ToTick(strange), Time_Tick(0));
    EXPECT_EQ(recorder.Take(), of("false"));
    Time_TypedVector times(cInvalid, Time_eContext_GlobalPosition, {5, 6});
    converter.ToTicks(&times);
    EXPECT_EQ(times, Time_TypedVector(cTicks, Time_eContext_GlobalPosition, {0, 0}));
    EXPECT_EQ(recorder.Take(), of("false"));
    converter.ToType(&times, cInvalid);
    EXPECT_EQ(times.GetType(), cTicks);

    EXPECT_EQ(converter.ToFirstType(sample, cFrames), sample);
    EXPECT_EQ(recorder.Take(), of("0"));
    EXPECT_EQ(converter.ToFirstType(frame, cFrames), frame);
    EXPECT_EQ(converter.ToFirstType(frame, cTicks), converter.ToFirstType(sample, cTicks));
    EXPECT_EQ(recorder.Take(), Reports{"mType == Time_eType_Samples@$^$@time/Time_TypedBase"});

    times = Time_TypedVector(cFrames, Time_eContext_LocalPosition, {30});
    converter.ToSamples(&times);
    EXPECT_EQ(times[0], converter.ToSample(Time_Typed(30, cFrames)).AsInt64());
    EXPECT_EQ(times.GetContext(), Time_eContext_LocalPosition);
    EXPECT_EQ(recorder.Take(), of("ioTimes->GetContext() == Time_eContext_GlobalPosition"));
    converter.AddTime(&times, sample);
    EXPECT_EQ(recorder.Take(), of("ioTimes->GetContext() == Time_eContext_RelativeLength"));
    times.SetContext(Time_eContext_LocalPosition);
    converter.SubtractTime(&times, sample);
    EXPECT_EQ(recorder.Take(), of("ioTimes->GetContext() == Time_eContext_GlobalPosition"));
    converter.ToFrames(nullptr);
    EXPECT_EQ(recorder.Take(), of("ioTimes != 0"));

    EXPECT_EQ(empty.ToType(tick, cSamples), Time_Typed(0, cSamples));
    EXPECT_EQ(recorder.Take(), of("mTempoMap != 0"));
    EXPECT_EQ(empty.ToBarBeatTick(tick), Time_BarBeatTick());
    EXPECT_EQ(recorder.Take(), of("mMeterMap != 0"));
    EXPECT_EQ(empty.GetBarOneTime(cTicks), Time_Typed(0, cTicks));
    EXPECT_EQ(recorder.Take(), of("mMeterMap != 0"));
    EXPECT_EQ(empty.AddLength(tick, Time_BarBeatTick(1, 0, Time_TickLength(0))), tick);
    EXPECT_EQ(recorder.Take(), of("mMeterMap != 0"));
}

TEST(Converter, SingleConversionsAllocateNothing)
{
    RandomSession session(11);
    const Time_Converter& converter = session.converter;
    converter.ToSample(Time_Tick(cSongStart)); // the tempo map's first query lays its cache out
    const AllocationCounter allocations;
    for (int i = 0; i < 1000; ++i)
        for (const Time_EType unit : cUnits) {
            Time_Typed time = session.AnyTime(unit);
            converter.ToBarBeatTick(time);
            converter.ToFirstType(converter.ToSample(time), cTicks);
            converter.AddLength(time, Time_TypedLength(1, cTicks));
            converter.AddLength(time, Time_BarBeatTick(1, 1, Time_TickLength(1)));
            converter.PinToValidSessionRange(time);
        }
    EXPECT_EQ(allocations.Count(), 0);
}
