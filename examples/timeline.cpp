// A song with a tempo change and a change of meter, and its positions in all four forms.
#include "Kora/Kora_InitScope.h"
#include "Kora/Time.h"

#include <cstdio>
#include <memory>

namespace {

void Print(const Time_Converter& iConverter, const Time_BarBeatTick& iPosition)
{
    const Time_Typed ticks = iConverter.ToType(iPosition, Time_eType_Ticks);
    const Time_Sample sample = iConverter.ToSample(ticks);
    Time_SMPTE timecode(eTimeCodeFormat_30);
    timecode.SetFromTotalSamples(sample);
    std::printf("%-10s  %14s  %8s  %s\n", iPosition.ToString(true, false).c_str(),
                std::to_string(ticks.AsInt64()).c_str(), sample.ToString().c_str(),
                timecode.ToString().c_str());
}

} // namespace

int main()
{
    const Kora_InitScope kora;
    Time_Globals::SetSampleRate(48000);
    Time_Globals::SetFrameRate(30);

    // Meter: 4/4, from bar 3 on 6/8.
    Time_MeterMap meters;
    meters.MakeRealIfDefault();
    meters.AddMeterChange(meters.BarBeatToTick(Time_BarBeatTick::AtBar(3)), Time_Meter::Eighths(6));

    // Tempo: 120, from bar 3 on 90 dotted quarters a minute; the song starts at sample 0.
    Time_TempoMap tempos;
    {
        const Time_TempoMap_StEditOptimizer edit(tempos); // one rebuild for both segments
        auto first = std::make_unique<Time_ConstantTempoSeg>(meters.GetSongStartTick(), 120.0);
        first->LockToSample(Time_Sample(0));
        tempos.AddSegment(std::move(first));
        tempos.AddSegment(std::make_unique<Time_ConstantTempoSeg>(
            meters.BarBeatToTick(Time_BarBeatTick::AtBar(3)), 90.0, Time_TickLength(1440000)));
    }

    Time_Converter converter;
    converter.SetTempoMap(&tempos);
    converter.SetMeterMap(&meters);

    std::printf("%-10s  %14s  %8s  %s\n", "bar|beat", "ticks", "samples", "timecode");
    for (Cmn_Int32 bar = 1; bar <= 5; ++bar)
        Print(converter, Time_BarBeatTick::AtBar(bar));
    Print(converter, Time_BarBeatTick::AtBar(5).WithBeat(4).WithTick(Time_TickLength(480000)));

    // Musical arithmetic: two bars on from bar 2, across the change.
    const Time_Typed from = converter.ToType(Time_BarBeatTick::AtBar(2), Time_eType_Samples);
    const Time_Typed to = converter.AddLength(from, Time_BarBeatTick::Bars(2));
    std::printf("two bars after bar 2, which is sample %s, comes sample %s\n",
                from.AsSample().ToString().c_str(), to.AsSample().ToString().c_str());
    return 0;
}
