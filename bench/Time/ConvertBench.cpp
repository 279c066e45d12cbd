// Conversions of one time and of many, through tempo maps of 10 to 100,000 changes.
#include "Kora/Time/Convert/Time_Converter.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"
#include "Kora/Time/Values/Time_TypedVector.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>

namespace {

constexpr std::size_t cTimes = 4096;
constexpr Cmn_Int64 cSongStart = Time_TempoMap::cDefaultSongStartTick.AsInt64();
constexpr Cmn_Int64 cTicksAChange = Time_TickLength::cInternalPerWhole;

// One tempo change a bar.
struct Session
{
    explicit Session(Cmn_Int64 iChanges)
    {
        Time_Typed::Init(); // without its limits every sample is clamped to 0
        std::mt19937 random(1);
        {
            const Time_TempoMap_StEditOptimizer edit(mTempoMap);
            for (Cmn_Int64 i = 0; i < iChanges; ++i) {
                const Time_Tick tick(cSongStart + i * cTicksAChange);
                const double beatsPerMinute = 60.0 + static_cast<double>(random() % 120);
                auto segment = std::make_unique<Time_ConstantTempoSeg>(tick, beatsPerMinute);
                if (i == 0) segment->LockToSample(Time_Sample(0));
                mTempoMap.AddSegment(std::move(segment));
            }
        }
        mConverter.SetTempoMap(&mTempoMap);
        mConverter.SetMeterMap(&mMeterMap);
        mSpan = iChanges * cTicksAChange;
    }

    // Times all over the map, ascending as events of a track do, or scattered.
    Time_TypedVector Times(Time_EType iUnit, bool iAscending) const
    {
        std::mt19937_64 random(2);
        Time_TypedVector times(Time_eType_Ticks);
        for (std::size_t i = 0; i < cTimes; ++i)
            times.push_back(cSongStart + static_cast<Cmn_Int64>(random() % static_cast<Cmn_UInt64>(mSpan)));
        if (iAscending) std::sort(times.begin(), times.end());
        mConverter.ToType(&times, iUnit);
        return times;
    }

    Time_TempoMap mTempoMap;
    Time_MeterMap mMeterMap;
    Time_Converter mConverter;
    Cmn_Int64 mSpan;
};

void BM_ConvertOne(benchmark::State& ioState, Time_EType iFrom, Time_EType iTo)
{
    const Session session(ioState.range(0));
    const Time_TypedVector times = session.Times(iFrom, false);
    std::size_t at = 0;
    for (auto _ : ioState) {
        const Time_Typed converted = session.mConverter.ToType(times.GetTime(at++ % cTimes), iTo);
        benchmark::DoNotOptimize(converted);
    }
}

void BM_ConvertMany(benchmark::State& ioState, Time_EType iFrom, Time_EType iTo, bool iAscending)
{
    const Session session(ioState.range(0));
    const Time_TypedVector times = session.Times(iFrom, iAscending);
    Time_TypedVector converted(times);
    for (auto _ : ioState) {
        std::copy(times.begin(), times.end(), converted.begin());
        converted.SetType(iFrom);
        session.mConverter.ToType(&converted, iTo);
        benchmark::DoNotOptimize(converted.data());
    }
    ioState.SetItemsProcessed(ioState.iterations() * static_cast<Cmn_Int64>(cTimes));
}

void BM_BarBeatTick(benchmark::State& ioState)
{
    const Session session(ioState.range(0));
    const Time_TypedVector times = session.Times(Time_eType_Samples, false);
    std::size_t at = 0;
    for (auto _ : ioState) {
        const Time_BarBeatTick position = session.mConverter.ToBarBeatTick(times.GetTime(at++ % cTimes));
        benchmark::DoNotOptimize(position);
    }
}

void BM_KeyAtTick(benchmark::State& ioState)
{
    Time_KeySignatureMap keys;
    for (Cmn_Int64 i = 0; i < ioState.range(0); ++i)
        keys.SetKeySignature(Time_Tick(i * cTicksAChange), Time_KeySignature(true, true, i % 8));
    std::mt19937_64 random(3);
    const auto span = static_cast<Cmn_UInt64>(ioState.range(0) * cTicksAChange);
    std::vector<Time_Tick> ticks;
    for (std::size_t i = 0; i < cTimes; ++i)
        ticks.push_back(Time_Tick(static_cast<Cmn_Int64>(random() % span)));
    std::size_t at = 0;
    for (auto _ : ioState) {
        const Time_KeySignature key = keys.GetKeySignatureAtTime(ticks[at++ % cTimes]);
        benchmark::DoNotOptimize(key);
    }
}

void Sizes(benchmark::internal::Benchmark* ioBench) { ioBench->Arg(10)->Arg(1000)->Arg(100000); }

constexpr Time_EType cSamples = Time_eType_Samples, cTicks = Time_eType_Ticks, cFrames = Time_eType_Frames;
BENCHMARK_CAPTURE(BM_ConvertOne, TicksToSamples, cTicks, cSamples)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_ConvertOne, SamplesToTicks, cSamples, cTicks)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_ConvertOne, TicksToFrames, cTicks, cFrames)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_ConvertOne, FramesToTicks, cFrames, cTicks)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_ConvertMany, TicksToSamplesAscending, cTicks, cSamples, true)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_ConvertMany, TicksToSamplesScattered, cTicks, cSamples, false)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_ConvertMany, SamplesToTicksAscending, cSamples, cTicks, true)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_ConvertMany, SamplesToFrames, cSamples, cFrames, true)->Arg(10);
BENCHMARK_CAPTURE(BM_ConvertMany, FramesToSamples, cFrames, cSamples, true)->Arg(10);
BENCHMARK(BM_BarBeatTick)->Apply(Sizes);
BENCHMARK(BM_KeyAtTick)->Apply(Sizes);

} // namespace
