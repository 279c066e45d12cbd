// Drop-frame labels from running counts and back, in an order that no branch predictor learns.
#include "Kora/Time/Formats/Time_SMPTE.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#ifdef KORA_BENCH_LTC
#include <ltc.h>
#endif

namespace {

constexpr std::size_t cCount = 4096;

// Counts of a day, scattered.
std::vector<Cmn_Int32> Frames()
{
    std::mt19937 random(1);
    std::uniform_int_distribution<Cmn_Int32> frame(0, 2589407);
    std::vector<Cmn_Int32> frames(cCount);
    for (Cmn_Int32& each : frames)
        each = frame(random);
    return frames;
}

std::vector<Time_SMPTE> Labels(ETimeCodeFormat iFormat)
{
    std::vector<Time_SMPTE> labels(cCount, Time_SMPTE(iFormat));
    const std::vector<Cmn_Int32> frames = Frames();
    for (std::size_t at = 0; at < cCount; ++at)
        labels[at].SetFromTotalFrames(frames[at]);
    return labels;
}

void BM_FramesToLabel(benchmark::State& ioState, ETimeCodeFormat iFormat)
{
    const std::vector<Cmn_Int32> frames = Frames();
    Time_SMPTE time(iFormat);
    std::size_t at = 0;
    for (auto _ : ioState) {
        time.SetFromTotalFrames(frames[at++ % cCount]);
        benchmark::DoNotOptimize(time);
    }
}
BENCHMARK_CAPTURE(BM_FramesToLabel, 2997Drop, eTimeCodeFormat_2997Drop);
BENCHMARK_CAPTURE(BM_FramesToLabel, 5994Drop, eTimeCodeFormat_5994Drop);
BENCHMARK_CAPTURE(BM_FramesToLabel, 25, eTimeCodeFormat_25);

void BM_LabelToFrames(benchmark::State& ioState, ETimeCodeFormat iFormat)
{
    const std::vector<Time_SMPTE> labels = Labels(iFormat);
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(labels[at++ % cCount].GetTotalFrames());
}
BENCHMARK_CAPTURE(BM_LabelToFrames, 2997Drop, eTimeCodeFormat_2997Drop);
BENCHMARK_CAPTURE(BM_LabelToFrames, 5994Drop, eTimeCodeFormat_5994Drop);
BENCHMARK_CAPTURE(BM_LabelToFrames, 25, eTimeCodeFormat_25);

// Into a buffer of the caller's; then as a string.
void BM_LabelToText(benchmark::State& ioState)
{
    const std::vector<Time_SMPTE> labels = Labels(eTimeCodeFormat_2997Drop);
    std::size_t at = 0;
    char text[Time_SMPTE::cTextBytes];
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(labels[at++ % cCount].ToText(text));
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_LabelToText);

void BM_LabelToString(benchmark::State& ioState)
{
    const std::vector<Time_SMPTE> labels = Labels(eTimeCodeFormat_2997Drop);
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(labels[at++ % cCount].ToString());
}
BENCHMARK(BM_LabelToString);

// The peer counts labels but has no running count: what can be compared is the step
// to the next frame's label.
void BM_NextLabel(benchmark::State& ioState)
{
    Time_SMPTE time(eTimeCodeFormat_2997Drop);
    for (auto _ : ioState) {
        time.StepToNextFrame();
        benchmark::DoNotOptimize(time);
    }
}
BENCHMARK(BM_NextLabel);

void BM_NextLabelByCount(benchmark::State& ioState)
{
    Time_SMPTE time(eTimeCodeFormat_2997Drop);
    for (auto _ : ioState) {
        time.SetFromTotalFrames(time.GetTotalFrames() + 1);
        benchmark::DoNotOptimize(time);
    }
}
BENCHMARK(BM_NextLabelByCount);

#ifdef KORA_BENCH_LTC
void BM_NextLabelLibltc(benchmark::State& ioState)
{
    LTCFrame frame;
    ltc_frame_reset(&frame);
    frame.dfbit = 1;
    SMPTETimecode label;
    for (auto _ : ioState) {
        ltc_frame_increment(&frame, 30, LTC_TV_525_60, LTC_NO_PARITY);
        ltc_frame_to_time(&label, &frame, 0); // its frame holds decimal digits; ours holds numbers
        benchmark::DoNotOptimize(label);
    }
}
BENCHMARK(BM_NextLabelLibltc);
#endif

} // namespace
