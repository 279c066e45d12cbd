// Tempo map: conversions at 1, 100 and 10,000 tempi, a million event times, and edits amid 10,000.
// std::upper_bound over the same points, and libsmf, stand beside.
#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#ifdef KORA_BENCH_SMF
#include <smf.h>
#endif

namespace {

constexpr Cmn_Int64 cStart = Time_TempoMap::cDefaultSongStartTick.AsInt64();
constexpr Cmn_Int64 cQuarter = Time_TickLength::cInternalPerQuarter;
constexpr std::size_t cQueries = 1 << 14, cEvents = 1000000;

std::unique_ptr<Time_TempoMapSegment> Tempo(Cmn_Int64 iQuarter, double iBeatsPerMinute)
{
    auto segment =
        std::make_unique<Time_ConstantTempoSeg>(Time_Tick(cStart + iQuarter * cQuarter), iBeatsPerMinute);
    if (iQuarter == 0) segment->LockToSample(Time_Sample(0));
    return segment;
}

// A tempo every one to seven quarters.
void Fill(Time_TempoMap& ioMap, std::size_t iCount)
{
    std::mt19937 random(1);
    const Time_TempoMap_StEditOptimizer edit(ioMap);
    Cmn_Int64 quarter = 0;
    for (std::size_t i = 0; i < iCount; ++i) {
        ioMap.AddSegment(Tempo(quarter, 60 + static_cast<double>(random() % 120000) / 1000));
        quarter += 1 + random() % 7;
    }
}

Cmn_Int64 LastTick(const Time_TempoMap& iMap) { return (*(iMap.SegmentEnd() - 1))->GetStartTick().AsInt64(); }

std::vector<Cmn_Int64> RandomTicks(const Time_TempoMap& iMap, std::size_t iCount)
{
    std::mt19937_64 random(2);
    std::uniform_int_distribution<Cmn_Int64> tick(cStart, LastTick(iMap) + 10 * cQuarter);
    std::vector<Cmn_Int64> ticks(iCount);
    for (Cmn_Int64& each : ticks)
        each = tick(random);
    return ticks;
}

std::vector<Cmn_Int64> RandomSamples(const Time_TempoMap& iMap, std::size_t iCount)
{
    std::vector<Cmn_Int64> samples = RandomTicks(iMap, iCount);
    iMap.GetBasicTempoMap().TicksToSamples(samples.data(), samples.size(), true);
    return samples;
}

void BM_TempoTickToSample(benchmark::State& ioState)
{
    Time_Typed::Init();
    Time_TempoMap map;
    Fill(map, static_cast<std::size_t>(ioState.range(0)));
    const std::vector<Cmn_Int64> ticks = RandomTicks(map, cQueries);
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(map.TickToSample(Time_Tick(ticks[at++ % cQueries]), true));
}
BENCHMARK(BM_TempoTickToSample)->Arg(1)->Arg(100)->Arg(10000);

void BM_TempoSampleToTick(benchmark::State& ioState)
{
    Time_Typed::Init();
    Time_TempoMap map;
    Fill(map, static_cast<std::size_t>(ioState.range(0)));
    const std::vector<Cmn_Int64> samples = RandomSamples(map, cQueries);
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(map.SampleToTick(Time_Sample(samples[at++ % cQueries])));
}
BENCHMARK(BM_TempoSampleToTick)->Arg(1)->Arg(100)->Arg(10000);

// The usual way: upper_bound over the segments, then the formula.
void BM_TempoTickToSampleByUpperBound(benchmark::State& ioState)
{
    Time_Typed::Init();
    Time_TempoMap map;
    Fill(map, static_cast<std::size_t>(ioState.range(0)));
    const std::vector<Cmn_Int64> ticks = RandomTicks(map, cQueries);
    const Time_BasicTempoMap& basic = map.GetBasicTempoMap();
    std::vector<Cmn_Int64> starts;
    for (std::size_t i = 0; i < basic.GetNumberOfSegments(); ++i)
        starts.push_back(basic.GetSegment(i).GetStartTick().AsInt64());
    std::size_t at = 0;
    for (auto _ : ioState) {
        const Cmn_Int64 tick = ticks[at++ % cQueries];
        const auto after = std::upper_bound(starts.begin() + 1, starts.end(), tick);
        const auto& segment = basic.GetSegment(static_cast<std::size_t>(after - starts.begin()) - 1);
        benchmark::DoNotOptimize(segment.TickToSample(Time_Tick(tick), true));
    }
}
BENCHMARK(BM_TempoTickToSampleByUpperBound)->Arg(1)->Arg(100)->Arg(10000);

// However tempi lie: evenly, 990 of each thousand close together and a gap, and each further on by some part
// than the one before. Ours, and the usual way, over the same ticks, which are as close as the tempi.
enum class Spread { eEven, eClustered, eExponential };

void Lay(Time_TempoMap& ioMap, std::vector<Cmn_Int64>& oTicks, std::int64_t iCount, Spread iSpread)
{
    constexpr Cmn_Int64 cCluster = 1000, cClose = 990, cNear = 1000;
    std::mt19937_64 random(4);
    std::vector<Cmn_Int64> starts;
    double far = 1;
    const double growth = std::exp2(50.0 / static_cast<double>(iCount));
    for (Cmn_Int64 i = 0, tick = 0; i < iCount; ++i) {
        starts.push_back(cStart + tick);
        far *= growth;
        const bool isClose = i % cCluster < cClose;
        if (iSpread == Spread::eEven) tick += cQuarter;
        if (iSpread == Spread::eClustered) tick += isClose ? cNear : cQuarter * 1000;
        if (iSpread == Spread::eExponential) tick = std::max(tick + 1, static_cast<Cmn_Int64>(far));
    }
    {
        const Time_TempoMap_StEditOptimizer edit(ioMap);
        for (const Cmn_Int64 start : starts) {
            auto segment = std::make_unique<Time_ConstantTempoSeg>(Time_Tick(start), 60.0 + random() % 90);
            if (start == cStart) segment->LockToSample(Time_Sample(0));
            ioMap.AddSegment(std::move(segment));
        }
    }
    for (std::size_t i = 0; i < cQueries; ++i) {
        const std::size_t at = random() % (starts.size() - 1);
        oTicks.push_back(starts[at] + static_cast<Cmn_Int64>(
                                          random() % static_cast<Cmn_UInt64>(starts[at + 1] - starts[at])));
    }
}

void TempoLying(benchmark::State& ioState, Spread iSpread)
{
    Time_Typed::Init();
    Time_TempoMap map;
    std::vector<Cmn_Int64> ticks;
    Lay(map, ticks, ioState.range(0), iSpread);
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(map.TickToSample(Time_Tick(ticks[at++ % cQueries]), true));
}
void TempoLyingUpperBound(benchmark::State& ioState, Spread iSpread)
{
    Time_Typed::Init();
    Time_TempoMap map;
    std::vector<Cmn_Int64> ticks, starts;
    Lay(map, ticks, ioState.range(0), iSpread);
    const Time_BasicTempoMap& basic = map.GetBasicTempoMap();
    for (std::size_t i = 0; i < basic.GetNumberOfSegments(); ++i)
        starts.push_back(basic.GetSegment(i).GetStartTick().AsInt64());
    std::size_t at = 0;
    for (auto _ : ioState) {
        const Cmn_Int64 tick = ticks[at++ % cQueries];
        const auto after = std::upper_bound(starts.begin() + 1, starts.end(), tick);
        const auto& segment = basic.GetSegment(static_cast<std::size_t>(after - starts.begin()) - 1);
        benchmark::DoNotOptimize(segment.TickToSample(Time_Tick(tick), true));
    }
}
#define KORA_LYING(iName, iSpread)                                                                           \
    BENCHMARK_CAPTURE(TempoLying, iName, iSpread)->Arg(1000)->Arg(10000)->Arg(100000);                       \
    BENCHMARK_CAPTURE(TempoLyingUpperBound, iName, iSpread)->Arg(1000)->Arg(10000)->Arg(100000)
KORA_LYING(Even, Spread::eEven);
KORA_LYING(Clustered, Spread::eClustered);
KORA_LYING(Exponential, Spread::eExponential);

#ifdef KORA_BENCH_SMF
// Seconds from pulses, as its players compute them. 960 pulses a quarter.
void BM_TempoPulsesToSecondsLibsmf(benchmark::State& ioState)
{
    Time_TempoMap map;
    Fill(map, static_cast<std::size_t>(ioState.range(0)));
    smf_t* const smf = smf_new();
    if (smf_set_ppqn(smf, 960) != 0) return ioState.SkipWithError("ppqn");
    smf_track_t* const track = smf_track_new();
    smf_add_track(smf, track);
    for (auto iter = map.SegmentBegin(); iter != map.SegmentEnd(); ++iter) {
        double beatsPerMinute;
        Time_TickLength beat;
        static_cast<void>((*iter)->GetTempo(beatsPerMinute, beat));
        const auto micros = static_cast<unsigned>(60e6 / beatsPerMinute);
        unsigned char bytes[] = {0xFF,
                                 0x51,
                                 3,
                                 static_cast<unsigned char>(micros >> 16),
                                 static_cast<unsigned char>(micros >> 8),
                                 static_cast<unsigned char>(micros)};
        smf_track_add_event_pulses(track, smf_event_new_from_pointer(bytes, sizeof bytes),
                                   static_cast<int>(((*iter)->GetStartTick().AsInt64() - cStart) / 1000));
    }
    std::vector<Cmn_Int64> ticks = RandomTicks(map, cQueries);
    std::size_t at = 0;
    for (auto _ : ioState) {
        const auto pulses = static_cast<int>((ticks[at++ % cQueries] - cStart) / 1000);
        const smf_tempo_t* const tempo = smf_get_tempo_by_pulses(smf, pulses);
        benchmark::DoNotOptimize(tempo->time_seconds + (pulses - tempo->time_pulses) *
                                                           (tempo->microseconds_per_quarter_note / 960e6));
    }
    smf_delete(smf);
}
BENCHMARK(BM_TempoPulsesToSecondsLibsmf)->Arg(1)->Arg(100)->Arg(10000);
#endif

// A million event times in place.
void ConvertEvents(benchmark::State& ioState, bool iSorted, bool iToSamples)
{
    Time_Typed::Init();
    Time_TempoMap map;
    Fill(map, static_cast<std::size_t>(ioState.range(0)));
    std::vector<Cmn_Int64> source = iToSamples ? RandomTicks(map, cEvents) : RandomSamples(map, cEvents);
    if (iSorted) std::sort(source.begin(), source.end());
    std::vector<Cmn_Int64> times(cEvents);
    const Time_BasicTempoMap& basic = map.GetBasicTempoMap();
    for (auto _ : ioState) {
        ioState.PauseTiming();
        times = source;
        ioState.ResumeTiming();
        if (iToSamples)
            basic.TicksToSamples(times.data(), times.size(), true);
        else
            basic.SamplesToTicks(times.data(), times.size());
        benchmark::ClobberMemory();
    }
}
void BM_TempoMillionTicksSorted(benchmark::State& ioState) { ConvertEvents(ioState, true, true); }
void BM_TempoMillionTicksAnyOrder(benchmark::State& ioState) { ConvertEvents(ioState, false, true); }
void BM_TempoMillionSamplesSorted(benchmark::State& ioState) { ConvertEvents(ioState, true, false); }
void BM_TempoMillionSamplesAnyOrder(benchmark::State& ioState) { ConvertEvents(ioState, false, false); }
BENCHMARK(BM_TempoMillionTicksSorted)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TempoMillionTicksAnyOrder)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TempoMillionSamplesSorted)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TempoMillionSamplesAnyOrder)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

class Listener
{
public:
    explicit Listener(Time_TempoMap& ioMap)
        : mMap(ioMap)
    {
        mMap.GetListenerList().Add(&mReceiver);
    }
    ~Listener() { mMap.GetListenerList().Remove(&mReceiver); }

    int mTold = 0;

private:
    void OnChanged(const Mdl_SimpleValMessage_ValChanged&) { ++mTold; }

    Time_TempoMap& mMap;
    Cnn_Receiver<Listener, Mdl_SimpleValMessage, &Listener::OnChanged> mReceiver{*this};
};

// One tempo more amid many, and one less again: the time of one edit, cache and broadcast included.
void BM_TempoInsertAmid(benchmark::State& ioState)
{
    Time_Typed::Init();
    Time_TempoMap map;
    Fill(map, static_cast<std::size_t>(ioState.range(0)));
    const Listener listener(map);
    const Time_Tick amid((cStart + LastTick(map)) / 2 + 17);
    for (auto _ : ioState) {
        auto segment = std::make_unique<Time_ConstantTempoSeg>(amid, 133.0);
        map.AddSegment(std::move(segment));
        ioState.PauseTiming();
        map.DeleteSegment(map.FindSegment(amid));
        ioState.ResumeTiming();
    }
}
BENCHMARK(BM_TempoInsertAmid)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);

void BM_TempoInsertAmidAndDelete(benchmark::State& ioState)
{
    Time_Typed::Init();
    Time_TempoMap map;
    Fill(map, static_cast<std::size_t>(ioState.range(0)));
    const Listener listener(map);
    const Time_Tick amid((cStart + LastTick(map)) / 2 + 17);
    for (auto _ : ioState) {
        map.AddSegment(std::make_unique<Time_ConstantTempoSeg>(amid, 133.0));
        map.DeleteSegment(map.FindSegment(amid));
    }
}
BENCHMARK(BM_TempoInsertAmidAndDelete)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);

// Tempi loaded in one edit, in order, shuffled, and shuffled in clusters of close ones with gaps between.
enum class Order { eSorted, eShuffled, eClustered };

void LoadInOneEdit(benchmark::State& ioState, Order iOrder)
{
    constexpr Cmn_Int64 cCluster = 1000, cGap = 1000000;
    Time_Typed::Init();
    std::vector<Cmn_Int64> quarters;
    for (Cmn_Int64 i = 0; i < ioState.range(0); ++i)
        quarters.push_back(iOrder == Order::eClustered ? i + i / cCluster * cGap : i * 4);
    if (iOrder != Order::eSorted) std::shuffle(quarters.begin(), quarters.end(), std::mt19937(3));
    for (auto _ : ioState) {
        Time_TempoMap map;
        {
            const Time_TempoMap_StEditOptimizer edit(map);
            for (const Cmn_Int64 quarter : quarters)
                map.AddSegment(Tempo(quarter, 60 + static_cast<double>(quarter % 120)));
        }
        benchmark::DoNotOptimize(map.GetNumberOfSegments());
    }
}
void BM_TempoLoadSorted(benchmark::State& ioState) { LoadInOneEdit(ioState, Order::eSorted); }
void BM_TempoLoadShuffled(benchmark::State& ioState) { LoadInOneEdit(ioState, Order::eShuffled); }
void BM_TempoLoadClustered(benchmark::State& ioState) { LoadInOneEdit(ioState, Order::eClustered); }
BENCHMARK(BM_TempoLoadSorted)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TempoLoadShuffled)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TempoLoadClustered)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);

} // namespace
