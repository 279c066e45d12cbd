// Edits of time: a ramp amid 10,000 tempi and its undo, beats of a recording, and time
// inserted into a whole song.
#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"
#include "Kora/Time/Edit/Time_SongEdit.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"

#include <benchmark/benchmark.h>

#include <random>

namespace {

constexpr Cmn_Int64 cStart = 1000000000000, cQuarter = 960000;

Time_Tick At(Cmn_Int64 iQuarter) { return Time_Tick(cStart + iQuarter * cQuarter); }

// A tempo every one to seven quarters, over some forty thousand.
void Fill(Time_TempoMap& ioMap)
{
    std::mt19937 random(1);
    const Time_TempoMap_StEditOptimizer edit(ioMap);
    Cmn_Int64 quarter = 0;
    for (int i = 0; i < 10000; ++i) {
        auto segment = std::make_unique<Time_ConstantTempoSeg>(
            At(quarter), 60 + static_cast<double>(random() % 120000) / 1000);
        segment->SetIsSongStart(i == 0);
        if (i == 0) segment->LockToSample(Time_Sample(0));
        ioMap.AddSegment(std::move(segment));
        quarter += 1 + static_cast<Cmn_Int64>(random() % 7);
    }
}

class Listener
{
public:
    explicit Listener(Time_TempoMap& ioMap)
        : mMap(ioMap)
    {
        mMap.GetListenerList().Add(&mReceiver);
    }
    ~Listener() { mMap.GetListenerList().Remove(&mReceiver); }

private:
    // What a host shows asks where something is.
    void OnChanged(const Mdl_SimpleValMessage_ValChanged&)
    {
        benchmark::DoNotOptimize(mMap.TickToSample(At(30000)).AsInt64());
    }

    Time_TempoMap& mMap;
    Cnn_Receiver<Listener, Mdl_SimpleValMessage, &Listener::OnChanged> mReceiver{*this};
};

// A thousand steps over a thousand quarters, there and back: each takes the place of the one before.
bool Ramp(Time_TempoMap& ioMap, bool iIsBack, Time_TempoEdit::ECurve iCurve)
{
    return static_cast<bool>(Time_TempoEdit::Ramp(ioMap, At(20000), At(21000), {iIsBack ? 140.0 : 70.0},
                                                  iIsBack ? 70.0 : 140.0, iCurve, std::size_t{1000}));
}

void BM_EditRampAmid(benchmark::State& ioState)
{
    Time_Typed::Init();
    Time_TempoMap map;
    Fill(map);
    const Listener listener(map);
    const auto curve = static_cast<Time_TempoEdit::ECurve>(ioState.range(0));
    bool isBack = false;
    for (auto _ : ioState)
        benchmark::DoNotOptimize(Ramp(map, isBack = !isBack, curve));
}
BENCHMARK(BM_EditRampAmid)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

// The ramp undone and redone in turn, each recorded, as a host does.
void BM_EditRampUndo(benchmark::State& ioState)
{
    Time_Typed::Init();
    auto* const map = new Time_TempoMap(Ndo_Object::kUndoable);
    Fill(*map);
    const Listener listener(*map);
    std::unique_ptr<Ndo_Operation> operation;
    {
        Ndo_StOperationRecorder recorder;
        benchmark::DoNotOptimize(Ramp(*map, false, Time_TempoEdit::eCurve_Bars));
        operation = recorder.OperationComplete();
    }
    for (auto _ : ioState) {
        Ndo_StOperationRecorder recorder;
        operation->Restore();
        operation = recorder.OperationComplete();
    }
}
BENCHMARK(BM_EditRampUndo)->Unit(benchmark::kMicrosecond);

// Ten thousand beats of a recording that drifts; with a tolerance in samples.
void BM_EditBeatsFitted(benchmark::State& ioState)
{
    Time_Typed::Init();
    std::mt19937 random(2);
    std::vector<Time_TempoEdit::Point> beats;
    Cmn_Int64 sample = 5000;
    for (Cmn_Int64 beat = 0; beat < 10000; ++beat, sample += 24000 + static_cast<Cmn_Int64>(random() % 99))
        beats.push_back({At(beat), Time_Sample(sample)});
    const auto tolerance = static_cast<double>(ioState.range(0));
    for (auto _ : ioState) {
        Time_TempoMap map;
        benchmark::DoNotOptimize(static_cast<bool>(Time_TempoEdit::LockAll(map, beats, tolerance)));
    }
}
BENCHMARK(BM_EditBeatsFitted)->Arg(0)->Arg(48)->Unit(benchmark::kMillisecond);

// A bar comes and goes amid 10,000 tempi, 1,000 meters and 1,000 keys.
void BM_EditSongInsertAndDelete(benchmark::State& ioState)
{
    Time_Typed::Init();
    Time_MeterMap meters;
    Time_TempoMap tempi;
    Time_KeySignatureMap keys;
    Fill(tempi);
    for (int i = 0; i < 1000; ++i) {
        meters.AddMeterChange(At(i * 36), Time_Meter(3 + i % 2, 4), 1);
        keys.SetKeySignature(At(i * 36), Time_KeySignature(true, true, static_cast<Cmn_UInt8>(i % 8)));
    }
    const Time_SongEdit::Song song{&meters, &tempi, &keys, {}};
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(
            static_cast<bool>(Time_SongEdit::InsertTime(song, At(20000), Time_TickLength(4 * cQuarter))));
        benchmark::DoNotOptimize(static_cast<bool>(Time_SongEdit::DeleteTime(song, At(20000), At(20004))));
    }
}
BENCHMARK(BM_EditSongInsertAndDelete)->Unit(benchmark::kMicrosecond);

} // namespace
