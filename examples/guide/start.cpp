// Which sample, second and timecode does bar 4 begin at, in a song that slows down at bar 3?
#include "Kora/Kora_InitScope.h"
#include "Kora/Time.h"

#include <cstdio>
#include <memory>

//! [program]
int main()
{
    const Kora_InitScope kora;
    Time_MeterMap meters; // empty: 4/4 throughout
    Time_TempoMap tempos;
    tempos.AddSegment(
        std::make_unique<Time_ConstantTempoSeg>(meters.BarBeatToTick(Time_BarBeatTick::AtBar(1)), 120.0));
    tempos.AddSegment(
        std::make_unique<Time_ConstantTempoSeg>(meters.BarBeatToTick(Time_BarBeatTick::AtBar(3)), 90.0));

    Time_Converter converter;
    converter.SetMeterMap(&meters);
    converter.SetTempoMap(&tempos);
    const Time_Typed bar4 = converter.ToType(Time_BarBeatTick::AtBar(4), Time_eType_Ticks);
    const Time_Format format(converter);
    for (const Time_EForm form :
         {Time_eForm_Bars, Time_eForm_Samples, Time_eForm_MinSec, Time_eForm_Timecode})
        std::printf("%s\n", format.ToString(form, bar4).c_str());
}
//! [program]
