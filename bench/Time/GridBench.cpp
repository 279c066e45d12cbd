// Lines of a grid, rulers, and the forms of time as text.
#include "Kora/Kora_Init.h"
#include "Kora/Time.h"

#include <benchmark/benchmark.h>

#include <random>

namespace {

// So many meters, a few bars apart, from tick 0 on.
void AddMeters(Time_MeterMap& ioMap, Cmn_Int64 iCount)
{
    std::mt19937 random(15);
    ioMap.BeginEdit();
    Cmn_Int64 tick = 0;
    for (Cmn_Int64 i = 0; i < iCount; ++i) {
        const Time_Meter meter(static_cast<int>(2 + random() % 6), random() % 2 != 0 ? 4 : 8);
        ioMap.AddMeterChange(Time_Tick(tick), meter);
        tick += 1000000 * static_cast<Cmn_Int64>(4 + random() % 40);
    }
    ioMap.EndEdit();
}

constexpr Cmn_Int64 cLines = 1000000;
const Time_NotationDurationValue cSixteenth(Time_eNoteDuration_Sixteenth, false);

void BM_GridLines(benchmark::State& ioState)
{
    Time_MeterMap map;
    AddMeters(map, ioState.range(0));
    const Time_GridDivision division(cSixteenth);
    const Time_Range range(Time_Tick(0), Time_Tick(Cmn_Int64{1} << 58));
    for (auto _ : ioState) {
        Cmn_Int64 sum = 0, count = 0;
        for (const Time_GridLine line : map.Grid(range, division)) {
            sum += line.mTick.AsInt64() + line.mPosition.mBeat;
            if (++count == cLines) break;
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_GridLines)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The same lines, each asked for by its tick.
void BM_GridLinesOneByOne(benchmark::State& ioState)
{
    Time_MeterMap map;
    AddMeters(map, ioState.range(0));
    const Cmn_Int64 step = cSixteenth.GetTicks().AsInt64();
    for (auto _ : ioState) {
        Cmn_Int64 sum = 0;
        for (Cmn_Int64 i = 0; i < cLines; ++i)
            sum += map.TickToBarBeat(Time_Tick(i * step)).mBeat;
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(BM_GridLinesOneByOne)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_GridSnap(benchmark::State& ioState)
{
    Time_MeterMap map;
    AddMeters(map, ioState.range(0));
    const Time_GridDivision division(cSixteenth);
    std::mt19937_64 random(3);
    const auto end = static_cast<Cmn_UInt64>(map.GetTickOfLastChange().AsInt64());
    std::vector<Time_Tick> ticks(4096);
    for (Time_Tick& tick : ticks)
        tick = Time_Tick(static_cast<Cmn_Int64>(random() % end));
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(map.FindGridLine(ticks[at++ % ticks.size()], division));
}
BENCHMARK(BM_GridSnap)->Arg(10)->Arg(1000)->Arg(100000);

// 3840 pixels over so many bars, scrolled to another place each time, in a song of so many meters and tempi.
void BM_Ruler(benchmark::State& ioState, Time_EForm iForm, Cmn_Int64 iBars)
{
    static const bool sStarted = (Kora_Init::Init(), true); // the limits of times
    benchmark::DoNotOptimize(sStarted);
    Time_MeterMap meters;
    AddMeters(meters, ioState.range(0));
    Time_TempoMap tempi;
    tempi.BeginEdit();
    for (Cmn_Int64 i = 0; i < ioState.range(0); ++i) {
        const double tempo = 60.0 + static_cast<double>(i % 90);
        auto segment = std::make_unique<Time_ConstantTempoSeg>(Time_Tick(i * 20000000), tempo);
        if (i == 0) segment->LockToSample(Time_Sample(0));
        tempi.AddSegment(std::move(segment));
    }
    tempi.EndEdit();
    Time_Converter converter;
    converter.SetMeterMap(&meters);
    converter.SetTempoMap(&tempi);
    const auto measure = [](std::string_view iText) { return 7.0 * static_cast<double>(iText.size()); };
    const Time_Ruler ruler(converter, iForm, Time_Typed(1000000000, Time_eType_Samples), measure);
    Time_PixelMapper mapper(converter);
    std::mt19937_64 random(7);
    std::size_t lines = 0;
    for (auto _ : ioState) {
        const auto start = static_cast<Cmn_Int64>(random() % 100000000000);
        mapper.Show(Time_Range(Time_Tick(start), Time_Tick(start + iBars * 3000000)), 3840);
        ruler.Draw(mapper, 3840, [&](const Time_RulerLine&) { ++lines; });
    }
    ioState.counters["lines"] = static_cast<double>(lines) / static_cast<double>(ioState.iterations());
}
BENCHMARK_CAPTURE(BM_Ruler, Bars100, Time_eForm_Bars, 100)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Ruler, Bars10000, Time_eForm_Bars, 10000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Ruler, MinSec, Time_eForm_MinSec, 100)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Ruler, Timecode, Time_eForm_Timecode, 100)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);

// Scattered values, to text and back.
template <class Form>
void BM_ToText(benchmark::State& ioState, std::vector<Form> (*iForms)())
{
    const std::vector<Form> forms = iForms();
    char text[64];
    std::size_t at = 0;
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(forms[at++ % forms.size()].ToText(text));
        benchmark::ClobberMemory();
    }
}

template <class Form>
void BM_FromText(benchmark::State& ioState, std::vector<Form> (*iForms)())
{
    std::vector<std::string> texts;
    Form form = iForms().front();
    for (const Form& each : iForms())
        texts.push_back(each.ToString());
    std::size_t at = 0;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(form.FromText(texts[at++ % texts.size()]));
}

constexpr std::size_t cCount = 4096;

std::vector<Time_MinSec> MinSecs()
{
    std::mt19937 random(1);
    std::vector<Time_MinSec> forms(cCount);
    for (auto& form : forms)
        form = Time_MinSec(static_cast<Cmn_Int64>(random() % 86400000));
    return forms;
}
std::vector<Time_FeetFrame> Feet()
{
    std::mt19937 random(1);
    std::vector<Time_FeetFrame> forms(cCount);
    for (auto& form : forms)
        form = Time_FeetFrame(random() % 2073600);
    return forms;
}
std::vector<Time_SMPTE> Labels()
{
    std::mt19937 random(1);
    std::vector<Time_SMPTE> forms(cCount, Time_SMPTE(eTimeCodeFormat_2997Drop));
    for (auto& form : forms)
        form.SetFromTotalFrames(static_cast<Cmn_Int32>(random() % 2589408));
    return forms;
}
// With internal ticks.
struct Bars : Time_BarBeatTick
{
    Bars() = default;
    explicit Bars(const Time_BarBeatTick& iPosition)
        : Time_BarBeatTick(iPosition)
    {
    }
    std::size_t ToText(char* oText) const { return ToInternalText(oText); }
    std::string ToString() const { return ToInternalString(); }
    bool FromText(std::string_view iText) { return FromInternalText(iText); }
};
std::vector<Bars> Positions()
{
    std::mt19937 random(1);
    std::vector<Bars> forms(cCount);
    for (auto& form : forms)
        form = Bars({static_cast<int>(random() % 1000), static_cast<int>(1 + random() % 12),
                     Time_TickLength(random() % 960000)});
    return forms;
}
BENCHMARK_CAPTURE(BM_ToText, MinSec, MinSecs);
BENCHMARK_CAPTURE(BM_FromText, MinSec, MinSecs);
BENCHMARK_CAPTURE(BM_ToText, Feet, Feet);
BENCHMARK_CAPTURE(BM_FromText, Feet, Feet);
BENCHMARK_CAPTURE(BM_ToText, Timecode, Labels);
BENCHMARK_CAPTURE(BM_FromText, Timecode, Labels);
BENCHMARK_CAPTURE(BM_ToText, Bars, Positions);
BENCHMARK_CAPTURE(BM_FromText, Bars, Positions);

} // namespace
