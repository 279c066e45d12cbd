// Bars from ticks and back through maps of 10 to 100,000 meters, scattered queries; beside them the library
// search over the same ticks, which finds the governing meter and computes nothing.
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Meter/Time_MeterMap_StEditOptimizer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

constexpr std::size_t cProbes = 4096;
constexpr Cmn_Int64 cSongStart = Time_MeterMap::cDefaultSongStartTick.AsInt64();
constexpr Cmn_Int64 cBar = 3 * Time_TickLength::cInternalPerQuarter;

// Meters of all kinds every few bars, and places all over them.
struct Song
{
    explicit Song(std::int64_t iMeters)
    {
        std::mt19937_64 random(1);
        Cmn_Int32 bar = 1;
        for (std::int64_t i = 0; i < iMeters; ++i) {
            const Time_Tick tick = mMap.BarBeatToTick({bar, 1, Time_TickLength(0)});
            mMap.AddMeterChange(tick, Time_Meter(2 + random() % 11, 1 << (1 + random() % 4)), bar);
            mChangeTicks.push_back(tick.AsInt64());
            bar += 1 + static_cast<Cmn_Int32>(random() % 8);
        }
        const Cmn_Int64 span = mMap.BarBeatToTick({bar, 1, Time_TickLength(0)}).AsInt64() - cSongStart;
        for (std::size_t i = 0; i < cProbes; ++i) {
            mTicks.emplace_back(cSongStart +
                                static_cast<Cmn_Int64>(random() % static_cast<Cmn_UInt64>(span)));
            mPositions.push_back(mMap.TickToBarBeat(mTicks.back()));
        }
    }

    Time_MeterMap mMap;
    std::vector<Cmn_Int64> mChangeTicks;
    std::vector<Time_Tick> mTicks;
    std::vector<Time_BarBeatTick> mPositions;
};

template <class Query>
void RunQueries(benchmark::State& ioState, Query iQuery)
{
    const Song song(ioState.range(0));
    std::size_t i = 0;
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(iQuery(song, i));
        i = (i + 1) % cProbes;
    }
}

void MeterTickToBarBeat(benchmark::State& ioState)
{
    RunQueries(ioState,
               [](const Song& iSong, std::size_t i) { return iSong.mMap.TickToBarBeat(iSong.mTicks[i]); });
}

void MeterBarBeatToTick(benchmark::State& ioState)
{
    RunQueries(ioState, [](const Song& iSong, std::size_t i) {
        return iSong.mMap.BarBeatToTick(iSong.mPositions[i]);
    });
}

void MeterAtTick(benchmark::State& ioState)
{
    RunQueries(ioState,
               [](const Song& iSong, std::size_t i) { return iSong.mMap.GetMeterAtTick(iSong.mTicks[i]); });
}

// Twenty bars and three beats on, across several meters.
void MeterAddDuration(benchmark::State& ioState)
{
    RunQueries(ioState, [](const Song& iSong, std::size_t i) {
        return iSong.mMap.AddDurationToTick(iSong.mTicks[i], {20, 3, Time_TickLength(7)});
    });
}

// The yardstick: std::upper_bound over the change ticks, packed.
void MeterUpperBoundOnly(benchmark::State& ioState)
{
    RunQueries(ioState, [](const Song& iSong, std::size_t i) {
        return std::upper_bound(iSong.mChangeTicks.begin(), iSong.mChangeTicks.end(),
                                iSong.mTicks[i].AsInt64());
    });
}

// Meters added one by one at the end, as an import does: the whole map. Evenly spread, and in clusters with
// gaps between that grow to a thousand bars.
void MeterAppend(benchmark::State& ioState, bool iClustered)
{
    constexpr std::int64_t cCluster = 1000;
    for (auto _ : ioState) {
        Time_MeterMap map;
        Cmn_Int64 tick = cSongStart;
        for (std::int64_t i = 0; i < ioState.range(0); ++i) {
            map.AddMeterChange(Time_Tick(tick), Time_Meter(3, 4), 1);
            tick += cBar * (iClustered && i % cCluster == 0 ? 1 + i / 100 : 1);
        }
        benchmark::DoNotOptimize(map.GetNumberOfChanges());
    }
    ioState.SetItemsProcessed(ioState.iterations() * ioState.range(0));
}
void MeterAppendEven(benchmark::State& ioState) { MeterAppend(ioState, false); }
void MeterAppendClustered(benchmark::State& ioState) { MeterAppend(ioState, true); }

// Meters in any order within one bracket: in order, shuffled, and shuffled in clusters with gaps between.
enum class Order { eSorted, eShuffled, eClustered };

void MeterLoad(benchmark::State& ioState, Order iOrder)
{
    constexpr Cmn_Int64 cCluster = 1000, cGap = 100000;
    std::vector<Time_Tick> ticks;
    for (Cmn_Int64 i = 0; i < ioState.range(0); ++i)
        ticks.emplace_back(cSongStart +
                           cBar * (iOrder == Order::eClustered ? i + i / cCluster * cGap : i * 4));
    if (iOrder != Order::eSorted) std::shuffle(ticks.begin(), ticks.end(), std::mt19937(3));
    for (auto _ : ioState) {
        Time_MeterMap map;
        {
            const Time_MeterMap_StEditOptimizer edit(map);
            for (const Time_Tick tick : ticks)
                map.AddMeterChange(tick, Time_Meter(3, 4));
        }
        benchmark::DoNotOptimize(map.GetNumberOfChanges());
    }
}
void MeterLoadSorted(benchmark::State& ioState) { MeterLoad(ioState, Order::eSorted); }
void MeterLoadShuffled(benchmark::State& ioState) { MeterLoad(ioState, Order::eShuffled); }
void MeterLoadClustered(benchmark::State& ioState) { MeterLoad(ioState, Order::eClustered); }

// A meter overwritten in the middle: what lies behind is numbered anew.
void MeterEditInTheMiddle(benchmark::State& ioState)
{
    Song song(ioState.range(0));
    const Time_Tick middle(song.mChangeTicks[song.mChangeTicks.size() / 2]);
    Cmn_Int32 numerator = 3;
    for (auto _ : ioState)
        song.mMap.AddMeterChange(middle, Time_Meter(numerator ^= 7, 4), 1);
}

} // namespace

BENCHMARK(MeterTickToBarBeat)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(MeterBarBeatToTick)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(MeterAtTick)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(MeterAddDuration)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(MeterUpperBoundOnly)->Arg(10)->Arg(1000)->Arg(100000);
BENCHMARK(MeterAppendEven)->Arg(10)->Arg(1000)->Arg(100000)->Arg(400000)->Unit(benchmark::kMicrosecond);
BENCHMARK(MeterAppendClustered)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(MeterLoadSorted)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(MeterLoadShuffled)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(MeterLoadClustered)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(MeterEditInTheMiddle)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
