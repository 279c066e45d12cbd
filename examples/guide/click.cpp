// A click track: each beat of a song as a sound at its own sample, in a WAV file.
#include "Kora/Kora_InitScope.h"
#include "Kora/Time.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int cRate = 48000;

//! [song]
// A bar of 4/4 at 120, then 7/8 at 132 quarters a minute; in 7/8 each eighth is a beat.
void FillSong(Time_MeterMap& ioMeters, Time_TempoMap& ioTempos)
{
    ioMeters.MakeRealIfDefault();
    const Time_Tick second = ioMeters.BarBeatToTick({2, 1, {}});
    ioMeters.AddMeterChange(second, Time_Meter(7, 8));

    const Time_TempoMap_StEditOptimizer edit(ioTempos);
    auto first = std::make_unique<Time_ConstantTempoSeg>(ioMeters.GetSongStartTick(), 120.0);
    first->LockToSample(Time_Sample(0));
    ioTempos.AddSegment(std::move(first));
    ioTempos.AddSegment(std::make_unique<Time_ConstantTempoSeg>(second, 132.0));
}
//! [song]

//! [sound]
// Adds a square wave that dies away: whole numbers only, so that every platform writes the same file.
void AddClick(std::vector<std::int16_t>& ioSamples, std::size_t iAt, bool iIsBar)
{
    const std::size_t halfPeriod = iIsBar ? 12 : 18; // 2000 and 1333 Hz
    int level = iIsBar ? 24000 : 12000;
    for (std::size_t i = 0; iAt + i < ioSamples.size() && level > 0; ++i) {
        if (i > 0 && i % halfPeriod == 0) level -= level / 8 + 1;
        const bool isHigh = i / halfPeriod % 2 == 0;
        ioSamples[iAt + i] = static_cast<std::int16_t>(isHigh ? level : -level);
    }
}
//! [sound]

//! [wav]
void AppendNumber(std::string& ioBytes, std::uint32_t iNumber, int iCount)
{
    for (int i = 0; i < iCount; ++i)
        ioBytes += static_cast<char>(iNumber >> (8 * i) & 0xFF);
}

bool WriteWav(const char* iPath, const std::vector<std::int16_t>& iSamples)
{
    const auto size = static_cast<std::uint32_t>(2 * iSamples.size());
    std::string bytes = "RIFF";
    AppendNumber(bytes, 36 + size, 4);
    bytes += "WAVEfmt ";
    AppendNumber(bytes, 16, 4);
    AppendNumber(bytes, 1, 2); // plain samples
    AppendNumber(bytes, 1, 2); // channel
    AppendNumber(bytes, cRate, 4);
    AppendNumber(bytes, 2 * cRate, 4);
    AppendNumber(bytes, 2, 2);
    AppendNumber(bytes, 16, 2);
    bytes += "data";
    AppendNumber(bytes, size, 4);
    for (const std::int16_t sample : iSamples)
        AppendNumber(bytes, static_cast<std::uint16_t>(sample), 2);
    std::FILE* const file = std::fopen(iPath, "wb");
    if (file == nullptr) return false;
    const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && isWritten;
}
//! [wav]

} // namespace

int main()
{
    const Kora_InitScope kora;
    Time_Globals::SetSampleRate(cRate);
    Time_MeterMap meters;
    Time_TempoMap tempos;
    FillSong(meters, tempos);
    Time_Converter converter;
    converter.SetMeterMap(&meters);
    converter.SetTempoMap(&tempos);

    //! [beats]
    const Time_Tick start = meters.GetSongStartTick();
    const Time_Tick end = meters.BarBeatToTick({4, 1, {}});
    std::vector<std::int16_t> samples(static_cast<std::size_t>(converter.ToSample(end).AsInt64()));
    for (const Time_GridLine line : meters.Grid(Time_Range(start, end), Time_GridDivision::Beats())) {
        const Time_Sample sample = converter.ToSample(line.mTick); // rounded once, from the exact place
        AddClick(samples, static_cast<std::size_t>(sample.AsInt64()), line.mKind == Time_GridLine::eBar);
        std::printf("%-8s sample %6s%s\n", line.mPosition.ToString(true, false).c_str(),
                    sample.ToString().c_str(), line.mKind == Time_GridLine::eBar ? "  bar" : "");
    }
    //! [beats]
    const bool isWritten = WriteWav("guide-click.wav", samples);
    std::printf("%s: %zu samples, %.3f s\n", isWritten ? "guide-click.wav" : "not written", samples.size(),
                static_cast<double>(samples.size()) / cRate);
    return isWritten ? 0 : 1;
}
