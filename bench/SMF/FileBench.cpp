// A MIDI file of a million events on 16 tracks, 4.4 MB, in memory: read, visited, written, and spelled
// anew. libsmf stands beside, and so do what no reader and no writer is without: a walk from event to event
// that checks and keeps nothing, and a copy of the bytes to new memory.
#include "Kora/SMF/SMF_File.h"
#include "Kora/SMF/SMF_TrackBuilder.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>

#ifdef KORA_BENCH_SMF
#include <smf.h>
#endif

namespace {

constexpr int cTracks = 16, cEventsOfATrack = 1000000 / cTracks;

// Notes, controllers and bends, each with its status; two delta times of five take two bytes.
const std::string& Song()
{
    static const std::string bytes = [] {
        std::mt19937 random(1);
        SMF_File file(960);
        for (int track = 0; track < cTracks; ++track) {
            SMF_TrackBuilder builder;
            Cmn_Int64 tick = 0;
            for (int i = 1; i < cEventsOfATrack; ++i) {
                tick += random() % 5 < 2 ? 128 + random() % 1000 : random() % 128;
                const int kinds[] = {0x90, 0x90, 0x80, 0xB0, 0xE0};
                builder.AppendChannel(tick, static_cast<Cmn_UInt8>(kinds[random() % 5] | track),
                                      static_cast<Cmn_UInt8>(random() % 128),
                                      static_cast<Cmn_UInt8>(random() % 128),
                                      random() % 4 == 0 || random() % 2 == 0);
            }
            file.AddTrack(builder.Finish());
        }
        return file.Write();
    }();
    return bytes;
}

// Of events like the song's the top bits of three bytes tell the size.
void BM_MidiBareWalk(benchmark::State& ioState)
{
    const SMF_File file = SMF_File::Read(Song());
    for (auto _ : ioState)
        for (const SMF_Track& track : file.GetTracks()) {
            const char* at = track.GetBytes().data();
            const char* const end = at + track.GetBytes().size() - 8;
            std::size_t count = 0;
            for (; at < end; ++count) {
                const auto bytes = static_cast<Cmn_UInt32>(SMF_Event::EightBytesAt(at));
                at += 3 + (bytes >> 7 & 1) + (bytes >> 15 & 1) + (bytes >> 23 & 1);
            }
            benchmark::DoNotOptimize(count);
        }
}
BENCHMARK(BM_MidiBareWalk)->Unit(benchmark::kMillisecond);

void BM_MidiBareCopy(benchmark::State& ioState)
{
    for (auto _ : ioState) {
        const auto copy = std::make_unique<const std::string>(Song());
        benchmark::DoNotOptimize(copy->data());
    }
}
BENCHMARK(BM_MidiBareCopy)->Unit(benchmark::kMillisecond);

void BM_MidiRead(benchmark::State& ioState)
{
    const std::string& song = Song();
    for (auto _ : ioState)
        benchmark::DoNotOptimize(SMF_File::Read(song).GetTracks().data());
    ioState.SetBytesProcessed(ioState.iterations() * static_cast<Cmn_Int64>(song.size()));
}
BENCHMARK(BM_MidiRead)->Unit(benchmark::kMillisecond);

Cmn_Int64 Visit(const SMF_File& iFile)
{
    Cmn_Int64 sum = 0;
    for (const SMF_Track& track : iFile.GetTracks())
        for (const SMF_Event& event : track)
            sum += event.mTick ^ event.mStatus ^ (event.mData.empty() ? 0 : event.DataByte(0));
    return sum;
}

void BM_MidiReadAndVisitEachEvent(benchmark::State& ioState)
{
    const std::string& song = Song();
    for (auto _ : ioState)
        benchmark::DoNotOptimize(Visit(SMF_File::Read(song)));
}
BENCHMARK(BM_MidiReadAndVisitEachEvent)->Unit(benchmark::kMillisecond);

void BM_MidiWrite(benchmark::State& ioState)
{
    const SMF_File file = SMF_File::Read(Song());
    for (auto _ : ioState)
        benchmark::DoNotOptimize(file.Write().data());
}
BENCHMARK(BM_MidiWrite)->Unit(benchmark::kMillisecond);

// Every event put at another tick, and the file written.
void BM_MidiBuildAndWrite(benchmark::State& ioState)
{
    const SMF_File file = SMF_File::Read(Song());
    for (auto _ : ioState) {
        SMF_File moved(960);
        for (const SMF_Track& track : file.GetTracks()) {
            SMF_TrackBuilder builder(track.GetBytes().size());
            for (const SMF_Event& event : track)
                builder.Append(event, 2 * event.mTick);
            moved.AddTrack(builder.Finish());
        }
        benchmark::DoNotOptimize(moved.Write().data());
    }
}
BENCHMARK(BM_MidiBuildAndWrite)->Unit(benchmark::kMillisecond);

#ifdef KORA_BENCH_SMF
void BM_MidiReadLibsmf(benchmark::State& ioState)
{
    const std::string& song = Song();
    for (auto _ : ioState)
        smf_delete(smf_load_from_memory(song.data(), static_cast<int>(song.size())));
}
BENCHMARK(BM_MidiReadLibsmf)->Unit(benchmark::kMillisecond);

// It writes to files only, and reads each again to see that it is there.
void BM_MidiWriteLibsmf(benchmark::State& ioState)
{
    constexpr char cFile[] = "SMFBench.mid";
    const std::string& song = Song();
    smf_t* const smf = smf_load_from_memory(song.data(), static_cast<int>(song.size()));
    for (auto _ : ioState)
        if (smf_save(smf, cFile) != 0) return ioState.SkipWithError("save");
    smf_delete(smf);
    std::remove(cFile);
}
BENCHMARK(BM_MidiWriteLibsmf)->Unit(benchmark::kMillisecond)->Iterations(1);
#endif

} // namespace
