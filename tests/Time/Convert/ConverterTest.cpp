#include "Time/Convert/ConverterFixture.h"

namespace {

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
            const StTimeGlobals rates(static_cast<double>(sampleRate), static_cast<double>(frameRate));
            const Time_Converter converter;
            const Cmn_Int64 last = Time_Typed::MaxTime(cSamples).AsInt64();
            for (Cmn_Int64 sample = 0; sample <= last; sample += sample < 20000 ? 1 : 1 + sample / 50) {
                // Halves up, and the frame at the middle of the sample, without a fraction anywhere.
                const Cmn_Int64 rounded = (2 * frameRate * sample + sampleRate) / (2 * sampleRate);
                const Cmn_Int64 running = frameRate * (2 * sample + 1) / (2 * sampleRate);
                ASSERT_EQ(converter.ToFrames(Time_Sample(sample)).AsInt64(), rounded) << sample;
                ASSERT_EQ(converter.ToTypeNotRounded(Time_Sample(sample), cFrames).AsInt64(), running)
                    << sample;
                const Cmn_Int64 start = (2 * running * sampleRate + frameRate) / (2 * frameRate);
                ASSERT_EQ(converter.ToSample(Time_Typed(running, cFrames)), Time_Sample(start)) << running;
                ASSERT_EQ(converter.ToFrames(Time_Sample(start)).AsInt64(), running);
            }
        }
}

TEST(Converter, FramesRoundOrRunOn)
{
    constexpr std::tuple<const char*, double, double, Cmn_Int64, Cmn_Int64, Cmn_Int64> cRows[] = {
        {"the middle of the sample is past the frame's start", 44100, 30000.0 / 1001, 1471, 1, 1},
        {"below zero halves still go up, and cut toward zero", 48000, 30, -1600, 0, 0},
        {"two frames below zero", 48000, 30, -3200, -1, -1},
    };
    for (const auto& [what, sampleRate, frameRate, at, rounded, running] : cRows) {
        const StTimeGlobals rates(sampleRate, frameRate);
        const Time_Converter converter;
        const Time_Sample sample(at);
        EXPECT_EQ(converter.ToType(sample, cFrames), Time_Typed(rounded, cFrames)) << what;
        EXPECT_EQ(converter.ToTypeNotRounded(sample, cFrames), Time_Typed(running, cFrames)) << what;
    }
    const StTimeGlobals rates(48000, 30);
    EXPECT_EQ(Time_Converter().GetFrameLength(), 1600);
    StTimeGlobals::Pull(ePullMedia_Audio, ePullFactor_Down, ePullFactor_None);
    EXPECT_EQ(Time_Converter().ToSample(Time_Typed(1000, cFrames)), Time_Sample(1598402)); // 1600000 / 1.001
}

TEST(Converter, EveryPathGoesThroughTheMapsAndWholeSamples)
{
    ForSessions(60, [](RandomSession& session) {
        const Time_Converter& converter = session.mConverter;
        const Time_TempoMap& tempo = *session.mTempoMap;
        const Time_MeterMap& meters = session.mMeterMap;
        for (int i = 0; i < 200; ++i) {
            const Time_Tick tick = session.AnyTime(cTicks).AsTick();
            const Time_Typed frame = session.AnyTime(cFrames);
            const Time_Sample sample = tempo.TickToSample(tick, true);
            const Time_Sample ofFrame = converter.ToSample(frame);
            ASSERT_EQ(converter.ToType(tick, cSamples), Time_Typed(sample));
            ASSERT_EQ(converter.ToType(sample, cTicks), Time_Typed(tempo.SampleToTick(sample)));
            ASSERT_EQ(converter.ToType(tick, cFrames), converter.ToType(sample, cFrames));
            ASSERT_EQ(converter.ToFramesNotRounded(tick), converter.ToFramesNotRounded(sample));
            ASSERT_EQ(converter.ToType(frame, cTicks), converter.ToType(ofFrame, cTicks));
            ASSERT_EQ(converter.ToFirstType(tick, cSamples), Time_Typed(tempo.TickToFirstSample(tick)));
            ASSERT_EQ(converter.ToFirstType(sample, cTicks), Time_Typed(tempo.SampleToFirstTick(sample)));

            const Time_Tick ofBars = converter.ToTick(frame);
            const Time_BarBeatTick length(3, 2, Time_TickLength(1234));
            const Time_Tick later = meters.AddDurationToTick(ofBars, length);
            const Time_Tick earlier = meters.SubtractDurationFromTick(ofBars, length);
            ASSERT_EQ(converter.ToBarBeatTick(frame), meters.TickToBarBeat(ofBars));
            ASSERT_EQ(converter.ToType(length, cTicks), Time_Typed(meters.BarBeatToTick(length)));
            ASSERT_EQ(converter.AddLength(frame, length), converter.ToType(later, cFrames));
            ASSERT_EQ(converter.SubtractLength(frame, length), converter.ToType(earlier, cFrames));
        }
        for (const Time_EType unit : cUnits) {
            ASSERT_EQ(converter.GetBarOneTime(unit),
                      converter.ToType(meters.BarBeatToTick(Time_BarBeatTick()), unit));
            const Time_Typed time = session.AnyTime(unit);
            ASSERT_EQ(converter.ToType(time, cInvalid), time);
        }
    });
}

TEST(Converter, SamplesSurviveTheWayThroughTicksAndLengthsAddInTheirOwnUnit)
{
    ForSessions(40, [](RandomSession& session) {
        const Time_Converter& converter = session.mConverter;
        for (int i = 0; i < 500; ++i) {
            const Time_Typed sample(session.Below(400000000), cSamples);
            const Time_Typed frame(session.Below(200000), cFrames);
            ASSERT_EQ(converter.ToType(converter.ToType(sample, cTicks), cSamples), sample);
            ASSERT_EQ(converter.ToType(converter.ToType(frame, cTicks), cFrames), frame);

            const Time_TypedLength length(session.Below(3000) - 1500,
                                          session.Any({cSamples, cTicks, cFrames}));
            const Time_Typed time = session.Any({sample, frame});
            const Time_Typed moved = converter.ToType(time, length.GetType()) + length;
            ASSERT_EQ(converter.AddLength(time, length), converter.ToType(moved, time.GetType()));
            ASSERT_EQ(converter.SubtractLength(time, -length), converter.AddLength(time, length));
        }
        // Ticks of samples are coarse: a zero length must not round them.
        const Time_Typed tick(cSongStart + 1, cTicks);
        ASSERT_EQ(converter.AddLength(tick, Time_TypedLength(0, cSamples)), tick);
        ASSERT_EQ(converter.SubtractLength(tick, Time_TypedLength(0, cFrames)), tick);
    });
}

TEST(Converter, ManyTimesGiveTheBitsOfSingleOnes)
{
    ForSessions(60, [](RandomSession& session) {
        const Time_Converter& converter = session.mConverter;
        for (const Time_EType from : cUnits)
            for (const Time_EType to : cUnits) {
                const Time_TypedVector times = AnyTimes(session, from);
                const Time_TypedLength length(session.Below(3) * 12345, to);
                Time_TypedVector converted = times;
                Time_TypedVector sums = times;
                Time_TypedVector differences = times;
                std::vector<Cmn_Int64> counts(times.begin(), times.end());
                const AllocationCounter allocations;
                converter.ToType(&converted, to);
                converter.ToType(counts.data(), counts.size(), from, to);
                converter.AddLength(&sums, length);
                converter.SubtractLength(&differences, length);
                ASSERT_EQ(allocations.Count(), 0);
                for (std::size_t i = 0; i < times.size(); ++i) {
                    const Time_Typed time = times.GetTime(i);
                    ASSERT_EQ(converted.GetTime(i), converter.ToType(time, to)) << time.Dump();
                    ASSERT_EQ(converted[i], counts[i]) << time.Dump();
                    ASSERT_EQ(sums.GetTime(i), converter.AddLength(time, length)) << time.Dump();
                    ASSERT_EQ(differences.GetTime(i), converter.SubtractLength(time, length)) << time.Dump();
                }
                ASSERT_EQ(allocations.Count(), 0); // neither do the single forms
                const Time_Typed origin = session.AnyTime(to);
                Time_TypedVector lengths = times;
                converter.SubtractTime(&lengths, origin);
                ASSERT_EQ(lengths.GetContext(), Time_eContext_RelativeLength);
                ASSERT_EQ(lengths[0], (times.GetTime(0) - converter.ToType(origin, from)).AsInt64());
                converter.AddTime(&lengths, origin);
                ASSERT_EQ(lengths, times);
            }
    });
}

TEST(Converter, TheSessionPinsWhatLiesOutside)
{
    RandomSession session(3);
    const Time_Converter& converter = session.mConverter;
    for (const Time_EType unit : cUnits) {
        const Time_Typed start = converter.GetSessionStartTime(unit);
        const Time_Typed end = converter.GetSessionEndTime(unit);
        EXPECT_EQ(start, converter.ToType(Time_Sample(0), unit));
        EXPECT_EQ(end, converter.ToType(Time_Typed::GetMaxSessionSample(), unit));
        for (const Time_Typed& edge : {start, end})
            for (const Cmn_Int64 offset : {-1, 0, 1}) {
                Time_Typed time = edge + Time_TypedLength(offset, unit);
                const Time_Typed pinned = std::clamp(time, start, end);
                EXPECT_EQ(converter.PinToValidSessionRange(time),
                          edge + Time_TypedLength(offset, unit) != pinned);
                EXPECT_EQ(time, pinned);
            }
    }
}

TEST(Converter, BrokenPreconditionsAreReportedOnceAndGoOn)
{
    RandomSession session(5);
    const Time_Converter& converter = session.mConverter;
    const Time_Converter empty;
    const AssertRecorder recorder;
    const std::string cSource = "@$^$@Time/Time_Converter";
    const auto expect = [&](const auto& iResult, const auto& iExpected, const char* iReport) {
        EXPECT_EQ(iResult, iExpected);
        EXPECT_EQ(recorder.Take(), Reports{iReport + cSource});
    };
    constexpr Time_EContext cGlobal = Time_eContext_GlobalPosition;
    const char* const cNotGlobal = "ioTimes->GetContext() == Time_eContext_GlobalPosition";
    const Time_Typed strange(5, cInvalid);
    const Time_Typed sample(5, cSamples);
    const Time_Typed tick(cSongStart, cTicks);
    const Time_Typed frame(5, cFrames);

    expect(converter.ToSample(strange), Time_Sample(0), "false");
    expect(converter.ToTick(strange), Time_Tick(0), "false");
    expect(converter.ToFirstType(sample, cFrames), sample, "0");
    expect(empty.ToType(tick, cSamples), Time_Typed(0, cSamples), "mTempoMap != 0");
    expect(empty.ToBarBeatTick(tick), Time_BarBeatTick(), "mMeterMap != 0");
    expect(empty.GetBarOneTime(cTicks), Time_Typed(0, cTicks), "mMeterMap != 0");
    expect(empty.AddLength(tick, Time_BarBeatTick()), tick, "mMeterMap != 0");
    EXPECT_EQ(converter.ToFirstType(frame, cTicks), converter.ToFirstType(sample, cTicks));
    EXPECT_EQ(recorder.Take(), Reports{"mType == Time_eType_Samples@$^$@time/Time_TypedBase"});

    Time_TypedVector times(cInvalid, cGlobal, {5, 6});
    converter.ToTicks(&times);
    expect(times, Time_TypedVector(cTicks, cGlobal, {0, 0}), "false");
    times = Time_TypedVector(cTicks, Time_eContext_LocalPosition, {cSongStart});
    converter.ToSamples(&times);
    expect(times[0], converter.ToSample(tick).AsInt64(), cNotGlobal);
    converter.AddTime(&times, sample);
    expect(times.GetContext(), cGlobal, "ioTimes->GetContext() == Time_eContext_RelativeLength");
    times.SetContext(Time_eContext_LocalPosition);
    converter.SubtractTime(&times, sample);
    expect(times.GetContext(), Time_eContext_RelativeLength, cNotGlobal);
    converter.ToFrames(nullptr);
    expect(times.GetType(), cSamples, "ioTimes != 0");
    Cmn_Int64 counts[] = {5, 6};
    converter.ToType(counts, 2, cSamples, cInvalid);
    expect(counts[0] + counts[1], Cmn_Int64{0}, "false");
}
