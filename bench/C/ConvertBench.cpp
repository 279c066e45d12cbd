// Conversions and dispatch through the C interface, beside the same through the classes.
#include "Kora/C/Kora_C.h"
#include "Kora/Kora_Song.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/Time/Values/Time_TypedVector.h"

#include <benchmark/benchmark.h>

#include <algorithm>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t cTempi = 10000, cTimes = 1000000, cScattered = 4096;
constexpr std::int64_t cQuarter = KORA_TICKS_PER_QUARTER;

void Check(kora_status iStatus)
{
    if (iStatus == KORA_OK) return;
    std::fprintf(stderr, "%s\n", kora_last_error_text());
    std::exit(1);
}

// A song of many tempi, a quarter apart, and the same by the classes.
struct Scene
{
    Scene()
    {
        Check(kora_init());
        Check(kora_song_new(&mSong));
        kora_tempo_map* tempi = nullptr;
        Check(kora_song_get_tempo_map(mSong, &tempi));
        std::mt19937_64 random(1);
        for (std::size_t i = 0; i < cTempi; ++i) {
            const double tempo = 60.0 + static_cast<double>(random() % 9000) / 100;
            const std::int64_t tick = KORA_SONG_START_TICK + static_cast<std::int64_t>(i) * cQuarter;
            Check(kora_tempo_map_set(tempi, tick, tempo, cQuarter, nullptr));
        }
        std::size_t size = 0;
        Check(kora_song_write_midi(mSong, nullptr, 0, &size));
        std::string bytes(size, '\0');
        Check(kora_song_write_midi(mSong, bytes.data(), size, &size));
        Check(kora_release(tempi));
        Check(kora_release(mSong));
        Check(kora_song_read_bytes(bytes.data(), size, &mSong));
        mClasses.Read(SMF_File::Read(std::move(bytes)));
        for (std::size_t i = 0; i < cTimes; ++i)
            mTicks.push_back(KORA_SONG_START_TICK +
                             static_cast<std::int64_t>(random() % (cTempi * cQuarter)));
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    kora_song* mSong = nullptr;
    Kora_Song mClasses;
    std::vector<std::int64_t> mTicks;
};

Scene& TheScene()
{
    static Scene* const sScene = new Scene; // for the whole process
    return *sScene;
}

void Convert_C(benchmark::State& ioState)
{
    const Scene& scene = TheScene();
    std::size_t i = 0;
    kora_time result{};
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(kora_convert(scene.mSong, {scene.mTicks[i++ % cScattered], KORA_TICKS, 0},
                                              KORA_SAMPLES, &result));
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(Convert_C);

void Convert_Classes(benchmark::State& ioState)
{
    const Scene& scene = TheScene();
    std::size_t i = 0;
    for (auto _ : ioState) {
        const Time_Typed time(scene.mTicks[i++ % cScattered], Time_eType_Ticks);
        benchmark::DoNotOptimize(scene.mClasses.GetConverter().ToType(time, Time_eType_Samples));
    }
}
BENCHMARK(Convert_Classes);

void ToBars_C(benchmark::State& ioState)
{
    const Scene& scene = TheScene();
    std::size_t i = 0;
    kora_bar_position result{};
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(
            kora_to_bars(scene.mSong, {scene.mTicks[i++ % cScattered], KORA_TICKS, 0}, &result));
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(ToBars_C);

void ToBars_Classes(benchmark::State& ioState)
{
    const Scene& scene = TheScene();
    std::size_t i = 0;
    for (auto _ : ioState) {
        const Time_Typed time(scene.mTicks[i++ % cScattered], Time_eType_Ticks);
        benchmark::DoNotOptimize(scene.mClasses.GetConverter().ToBarBeatTick(time));
    }
}
BENCHMARK(ToBars_Classes);

// A million ticks in a column of their own, and every third word of a host's records.
void ConvertAll_C(benchmark::State& ioState)
{
    const Scene& scene = TheScene();
    const std::size_t stride = static_cast<std::size_t>(ioState.range(0));
    std::vector<std::int64_t> times(cTimes * stride);
    const auto bytes = static_cast<std::ptrdiff_t>(8 * stride);
    for (std::size_t i = 0; i < cTimes; ++i)
        times[i * stride] = scene.mTicks[i];
    std::vector<std::int64_t> results(times.size());
    for (auto _ : ioState)
        Check(kora_convert_all(scene.mSong, KORA_TICKS, times.data(), bytes, KORA_SAMPLES, results.data(),
                               bytes, cTimes));
    benchmark::DoNotOptimize(results.data());
}
BENCHMARK(ConvertAll_C)->Arg(1)->Arg(3)->Unit(benchmark::kMillisecond);

void ConvertAll_Classes(benchmark::State& ioState)
{
    const Scene& scene = TheScene();
    Time_TypedVector times(Time_eType_Ticks, Time_eContext_GlobalPosition);
    for (auto _ : ioState) {
        times.resize(cTimes);
        std::copy(scene.mTicks.begin(), scene.mTicks.end(), times.begin());
        times.SetType(Time_eType_Ticks);
        scene.mClasses.GetConverter().ToType(&times, Time_eType_Samples);
    }
    benchmark::DoNotOptimize(times.data());
}
BENCHMARK(ConvertAll_Classes)->Unit(benchmark::kMillisecond);

} // namespace
