#include "Time/Convert/ConverterFixture.h"

namespace {

const char* const cNoConverter = "sTimeConverter != 0@$^$@Time/Time_Convert";

// Installs a converter for a test. The scope behind it leaves none in use, whatever the test did.
struct StConverter
{
    explicit StConverter(Time_Converter* iConverter) { Time_Convert::SetTimeConverter(iConverter); }
    const Time_Convert::StTempoMap mScope{nullptr};
};

} // namespace

TEST(Convert, WithoutAConverterTheArgumentOrZeroComesBack)
{
    ASSERT_EQ(Time_Convert::GetTimeConverter(), nullptr);
    const AssertRecorder recorder;
    const Time_Typed time(5, cTicks);
    const Time_TypedLength length(3, cSamples);
    const Time_BarBeatTick bar(2, 3, Time_TickLength(4));
    Time_Typed pinned(-1, cSamples);
    EXPECT_EQ(Time_Convert::ToSample(time), Time_Sample(0));
    EXPECT_EQ(Time_Convert::ToTick(time), Time_Tick(0));
    EXPECT_EQ(Time_Convert::ToBarBeatTick(time), Time_BarBeatTick());
    EXPECT_EQ(Time_Convert::ToType(bar, cTicks), Time_Typed(0, cTicks));
    EXPECT_EQ(Time_Convert::GetSessionEndTime(cTicks), Time_Typed(0, cTicks));
    EXPECT_EQ(Time_Convert::GetMainCounterType(), cSamples);
    EXPECT_FALSE(Time_Convert::PinToValidSessionRange(pinned));
    EXPECT_TRUE(Time_Convert::GetTempoMap() == nullptr && Time_Convert::GetMeterMap() == nullptr);
    for (const Time_Typed& same :
         {Time_Convert::ToType(time, cFrames), Time_Convert::ToFrames(time),
          Time_Convert::ToFirstType(time, cSamples), Time_Convert::ToMainCounterType(time),
          Time_Convert::AddLength(time, length), Time_Convert::SubtractLength(time, bar),
          Time_Convert::QuantizeToSample(time), Time_Convert::QuantizeToFrame(time),
          Time_Convert::AdjustToTickBoundary(time), Time_Convert::SnapToDisplayTick(time),
          Time_Convert::ToTickTimeWithDisplaySnap(time)})
        EXPECT_EQ(same, time);
    Time_TypedVector times(cTicks, Time_eContext_GlobalPosition, {5});
    Time_Convert::ToFrames(&times);
    Time_Convert::AddTime(&times, time);
    EXPECT_EQ(times, Time_TypedVector(cTicks, Time_eContext_GlobalPosition, {5}));
    EXPECT_EQ(recorder.Take(), Reports(22, cNoConverter));

    // In the unit asked for nobody is asked.
    EXPECT_EQ(Time_Convert::ToType(time, cTicks), time);
    EXPECT_EQ(Time_Convert::ToType(Time_Sample(7), cSamples), Time_Typed(7, cSamples));
    Time_Convert::ToTicks(&times);
    EXPECT_EQ(recorder.Take(), Reports());
}

TEST(Convert, AScopeBorrowsTheConverterOrBringsItsOwn)
{
    Time_TempoMap slow;
    Time_TempoMap fast;
    Time_MeterMap meters;
    Time_Converter converter;
    converter.SetTempoMap(&slow);
    converter.SetMeterMap(&meters);
    {
        const Time_Convert::StTempoMap own(&fast);
        EXPECT_EQ(Time_Convert::GetTempoMap(), &fast);
        EXPECT_EQ(Time_Convert::GetMeterMap(), nullptr);
        Time_Converter* const brought = Time_Convert::GetTimeConverter();
        {
            const Time_Convert::StTempoMap inner(&slow);
            EXPECT_EQ(Time_Convert::GetTimeConverter(), brought);
            EXPECT_EQ(Time_Convert::GetTempoMap(), &slow);
        }
        EXPECT_EQ(Time_Convert::GetTempoMap(), &fast);
    }
    EXPECT_EQ(Time_Convert::GetTimeConverter(), nullptr);
    {
        const Time_Convert::StTempoMap own(nullptr);
        EXPECT_EQ(Time_Convert::ToBarBeatTick(Time_Tick(cSongStart)), Time_BarBeatTick());
        Time_Convert::GetTimeConverter()->SetTempoMap(&fast);
        Time_Convert::GetTimeConverter()->UseDefaultMaps(); // has its maps already, and keeps the one in use
        EXPECT_EQ(Time_Convert::GetTempoMap(), &fast);
    }
    {
        const StConverter installed(&converter);
        {
            const Time_Convert::StTempoMap nothing(nullptr);
            EXPECT_EQ(Time_Convert::GetTempoMap(), &slow);
            const Time_Convert::StTempoMap other(&fast);
            EXPECT_EQ(converter.GetTempoMap(), &fast);
        }
        EXPECT_EQ(converter.GetTempoMap(), &slow);
        converter.SetTempoMap(nullptr);
        {
            const Time_Convert::StTempoMap other(&fast);
        }
        EXPECT_EQ(converter.GetTempoMap(), &fast); // no map was displaced: none is put back
        Time_Convert::SetTimeConverter(nullptr);
        Time_Converter* const byDefault = Time_Convert::GetTimeConverter();
        EXPECT_EQ(Time_Convert::GetTempoMap(), Time_TempoMap::GetDefaultTempoMap());
        EXPECT_EQ(Time_Convert::GetMeterMap(), Time_MeterMap::GetDefaultMeterMap());
        Time_Convert::SetTimeConverter(&converter);
        Time_Convert::SetTimeConverter(nullptr);
        EXPECT_EQ(Time_Convert::GetTimeConverter(), byDefault);
    }
    EXPECT_EQ(Time_Convert::GetTimeConverter(), nullptr);
}

TEST(Convert, TheFrontEndAnswersAsItsConverter)
{
    RandomSession session(21);
    Time_Converter& converter = session.mConverter;
    converter.SetMainCounterType(cFrames);
    const StConverter installed(&converter);
    EXPECT_EQ(Time_Convert::GetMainCounterType(), cFrames);
    const Time_TypedLength length(12345, cTicks);
    const Time_BarBeatTick bars(1, 2, Time_TickLength(900));
    using Front = Time_Convert;
    for (const Time_EType unit : cUnits) {
        const Time_Typed time(4711, unit);
        const Time_Typed earlier = converter.SubtractLength(time, length);
        const std::pair<Time_Typed, Time_Typed> answers[] = {
            {Front::ToTypeNotRounded(Time_Sample(1), unit), converter.ToTypeNotRounded(Time_Sample(1), unit)},
            {Front::ToType(bars, unit), converter.ToType(bars, unit)},
            {Front::ToMainCounterType(time), converter.ToType(time, cFrames)},
            {Front::AddLength(time, bars), converter.AddLength(time, bars)},
            {Front::SubtractLength(time, bars), converter.SubtractLength(time, bars)},
            {Front::AddLength(time, length), converter.AddLength(time, length)},
            {Front::SubtractLength(time, length), earlier},
        };
        for (const auto& [front, behind] : answers)
            EXPECT_EQ(front, behind) << &front - &answers[0].first;
        EXPECT_EQ(Front::ToBarBeatTick(time), converter.ToBarBeatTick(time));
        Time_TypedVector times(unit, Time_eContext_GlobalPosition, {4711});
        Front::SubtractLength(&times, length);
        Front::ToSamples(&times);
        EXPECT_EQ(times.GetTime(0), converter.ToType(earlier, cSamples));
    }
}

TEST(Convert, QuantizedTimesStayWhereTheyAre)
{
    ForSessions(40, [](RandomSession& session) {
        Time_Converter& converter = session.mConverter;
        const StConverter installed(&converter);
        for (int i = 0; i < 200; ++i)
            for (const Time_EType unit : cUnits) {
                const Cmn_Int64 origin = unit == cTicks ? cSongStart : 0;
                const Time_Typed time(origin + session.Below(unit == cTicks ? 4000000000 : 100000), unit);
                const Time_Typed bySample = Time_Convert::QuantizeToSample(time);
                ASSERT_EQ(bySample, converter.ToType(converter.ToType(time, cSamples), unit));
                ASSERT_EQ(Time_Convert::QuantizeToSample(bySample), bySample);
                const Time_Typed byFrame = Time_Convert::QuantizeToFrame(time);
                ASSERT_EQ(byFrame, converter.ToType(converter.ToType(time, cFrames), unit));
                ASSERT_EQ(Time_Convert::QuantizeToFrame(byFrame), byFrame);
                // Ticks are finer than samples and frames here, so their boundaries are everywhere.
                ASSERT_EQ(Time_Convert::AdjustToTickBoundary(time), time);
            }
    });
    // At 1 tick a sample and coarser, samples move to tick boundaries.
    auto segment = std::make_unique<Time_ConstantTempoSeg>(Time_Tick(cSongStart), 20.0, Time_TickLength(1));
    Time_TempoMap coarse;
    coarse.SetSampleRate(96000);
    coarse.AddSegment(std::move(segment));
    const Time_Convert::StTempoMap scope(&coarse); // 288000 samples a tick
    EXPECT_EQ(Time_Convert::AdjustToTickBoundary(Time_Sample(143999)), Time_Typed(0, cSamples));
    EXPECT_EQ(Time_Convert::AdjustToTickBoundary(Time_Sample(144000)), Time_Typed(288000, cSamples));
}

TEST(Convert, DisplaySnapsNeverMoveAudio)
{
    // One sample a second: thousands of ticks share a sample, and snaps are taken freely.
    Time_TempoMap slow;
    slow.SetSampleRate(1);
    {
        const Time_Convert::StTempoMap scope(&slow);
        constexpr std::pair<Cmn_Int64, Cmn_Int64> cRows[] = {
            {cSongStart + 1499, cSongStart + 1000},
            {cSongStart + 1500, cSongStart + 2000},
            {-1499, 0},     // toward zero
            {-1500, -1000}, // half up
        };
        for (const auto& [tick, snapped] : cRows)
            EXPECT_EQ(Time_Convert::SnapToDisplayTick(Time_Tick(tick)), Time_Typed(snapped, cTicks));
        EXPECT_EQ(Time_Convert::SnapToDisplayTick(Time_Sample(1499)), Time_Typed(1499, cSamples));
        EXPECT_EQ(Time_Convert::ToTickTimeWithDisplaySnap(Time_Tick(1499)), Time_Typed(1499, cTicks));
    }
    ForSessions(40, [](RandomSession& session) {
        Time_Converter& converter = session.mConverter;
        const StConverter installed(&converter);
        int snaps = 0;
        for (int i = 0; i < 2000; ++i) {
            const Time_Typed tick(cSongStart + session.Below(400000000), cTicks);
            const Time_Typed nearest((tick.AsInt64() + 500) / 1000 * 1000, cTicks);
            const bool isTaken = converter.ToSample(nearest) == converter.ToSample(tick);
            ASSERT_EQ(Time_Convert::SnapToDisplayTick(tick), isTaken ? nearest : tick);
            snaps += isTaken ? 1 : 0;

            const Time_Typed time(1 + session.Below(200000), session.Any({cSamples, cFrames}));
            const Time_Typed snapped = Time_Convert::ToTickTimeWithDisplaySnap(time);
            const Time_Typed exact = converter.ToTick(converter.ToSample(time));
            ASSERT_EQ(snapped, Time_Convert::SnapToDisplayTick(exact)) << time.Dump();
        }
        EXPECT_GT(snaps, 0);
    });
    // The session start keeps its exact tick, though a display tick lies at the same sample.
    Time_TempoMap shifted;
    shifted.SetSampleRate(1);
    auto segment = std::make_unique<Time_ConstantTempoSeg>(Time_Tick(cSongStart + 1400));
    segment->LockToSample(Time_Sample(0));
    shifted.AddSegment(std::move(segment));
    const Time_Convert::StTempoMap scope(&shifted);
    EXPECT_EQ(Time_Convert::ToTickTimeWithDisplaySnap(Time_Sample(0)), Time_Typed(cSongStart + 1400, cTicks));
    EXPECT_EQ(Time_Convert::ToTickTimeWithDisplaySnap(Time_Sample(1)),
              Time_Typed(cSongStart + 1921000, cTicks));
}
