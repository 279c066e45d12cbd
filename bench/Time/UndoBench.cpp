// What undo costs: one change amid 10 to 100,000 of a map, without a recorder and as a recorded step, where
// the last 1,000 steps are kept; and a step restored under a recorder, undone and redone in turn.
#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace {

constexpr Cmn_Int64 cStart = 1000000000000, cBar = 4 * 960000;
constexpr std::size_t cKept = 1000;

Time_Tick At(Cmn_Int64 iBar) { return Time_Tick(cStart + iBar * cBar); }

// Each has one change a bar, and changes the one in a bar to the iWhich-th value.
struct Tempi
{
    Time_TempoMap mMap{Ndo_Object::kUndoable};

    explicit Tempi(Cmn_Int64 iCount)
    {
        const Time_TempoMap_StEditOptimizer edit(mMap);
        for (Cmn_Int64 bar = 0; bar < iCount; ++bar)
            Change(bar, bar);
    }
    void Change(Cmn_Int64 iBar, Cmn_Int64 iWhich)
    {
        auto segment =
            std::make_unique<Time_ConstantTempoSeg>(At(iBar), 60.0 + static_cast<double>(iWhich % 97));
        if (iBar == 0) segment->LockToSample(Time_Sample(0));
        mMap.AddSegment(std::move(segment));
    }
};

struct Meters
{
    Time_MeterMap mMap{Ndo_Object::kUndoable};

    explicit Meters(Cmn_Int64 iCount)
    {
        for (Cmn_Int64 bar = 0; bar < iCount; ++bar)
            mMap.AddMeterChange(At(bar), Time_Meter(4, 4), 1);
    }
    void Change(Cmn_Int64 iBar, Cmn_Int64 iWhich)
    {
        mMap.AddMeterChange(At(iBar), Time_Meter(2 + static_cast<Cmn_Int32>(iWhich % 5), 4));
    }
};

struct Keys
{
    Time_KeySignatureMap mMap{Ndo_Object::kUndoable};

    explicit Keys(Cmn_Int64 iCount)
    {
        for (Cmn_Int64 bar = 0; bar < iCount; ++bar)
            Change(bar, bar);
    }
    void Change(Cmn_Int64 iBar, Cmn_Int64 iWhich)
    {
        mMap.SetKeySignature(At(iBar), Time_KeySignature(true, true, static_cast<Cmn_UInt8>(iWhich % 8)));
    }
};

// The bars of the map's middle third, in turn.
Cmn_Int64 BarAmid(Cmn_Int64 iStep, Cmn_Int64 iCount) { return iCount / 3 + iStep * 7 % (iCount / 3); }

template <class Map>
void Edit(benchmark::State& ioState)
{
    const Cmn_Int64 count = ioState.range(0);
    Map map(count);
    Cmn_Int64 step = 0;
    for (auto _ : ioState) {
        ++step;
        map.Change(BarAmid(step, count), step);
    }
}

template <class Map>
void Step(benchmark::State& ioState)
{
    const Cmn_Int64 count = ioState.range(0);
    Map map(count);
    std::vector<std::unique_ptr<Ndo_Operation>> steps(cKept);
    Cmn_Int64 step = 0;
    for (auto _ : ioState) {
        ++step;
        Ndo_StOperationRecorder recorder;
        map.Change(BarAmid(step, count), step);
        steps[static_cast<std::size_t>(step) % cKept] = recorder.OperationComplete();
    }
    std::size_t bytes = 0;
    for (const auto& each : steps)
        bytes += each != nullptr ? each->GetByteCount() : 0;
    ioState.counters["bytes"] = static_cast<double>(bytes);
}

template <class Map>
void UndoRedo(benchmark::State& ioState)
{
    const Cmn_Int64 count = ioState.range(0);
    Map map(count);
    Ndo_StOperationRecorder first;
    map.Change(BarAmid(1, count), 1);
    std::unique_ptr<Ndo_Operation> operation = first.OperationComplete();
    for (auto _ : ioState) {
        Ndo_StOperationRecorder recorder;
        operation->Restore();
        operation = recorder.OperationComplete();
    }
}

// A ramp of 1,000 steps amid tempi, drawn and undone in turn; half of the time is the undo's.
void TempoRampUndoRedo(benchmark::State& ioState)
{
    Tempi map(ioState.range(0));
    const Cmn_Int64 bar = ioState.range(0) / 2;
    std::vector<std::unique_ptr<Time_TempoMapSegment>> ramp;
    for (Cmn_Int64 i = 0; i < 1000; ++i)
        ramp.push_back(std::make_unique<Time_ConstantTempoSeg>(At(bar) + Time_TickLength(i * 1920),
                                                               90 + static_cast<double>(i) / 100));
    Ndo_StOperationRecorder first;
    map.mMap.ReplaceSegments(At(bar), At(bar + 1), std::move(ramp));
    std::unique_ptr<Ndo_Operation> operation = first.OperationComplete();
    for (auto _ : ioState) {
        Ndo_StOperationRecorder recorder;
        operation->Restore();
        operation = recorder.OperationComplete();
    }
}

} // namespace

#define KORA_UNDO_ROWS(iMap)                                                                                 \
    BENCHMARK_TEMPLATE(Edit, iMap)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);          \
    BENCHMARK_TEMPLATE(Step, iMap)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);          \
    BENCHMARK_TEMPLATE(UndoRedo, iMap)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond)
KORA_UNDO_ROWS(Tempi);
KORA_UNDO_ROWS(Meters);
KORA_UNDO_ROWS(Keys);
BENCHMARK(TempoRampUndoRedo)->Arg(10000)->Unit(benchmark::kMicrosecond);
