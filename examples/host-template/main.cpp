// A host in its first hour: it sees that library and headers belong together, starts the library and asks it something.
#include "Kora/Kora_InitScope.h"
#include "Kora/Kora_Version.h"
#include "Kora/Time.h"

#include <cstdio>

int main()
{
    if (!Kora_Version::HeadersMatch()) {
        std::printf("made for Kora " KORA_VERSION_TEXT ", found %s\n", Kora_Version::GetText());
        return 1;
    }
    const Kora_InitScope kora;
    // Empty maps: 4/4 throughout, at 120 beats a minute.
    Time_MeterMap meters;
    Time_TempoMap tempos;
    Time_Converter converter;
    converter.SetMeterMap(&meters);
    converter.SetTempoMap(&tempos);
    const Time_Typed ticks = converter.ToType(Time_BarBeatTick(3, 1, {}), Time_eType_Ticks);
    std::printf("bar 3 starts at sample %lld\n", static_cast<long long>(converter.ToSample(ticks).AsInt64()));
    return 0;
}
