// Times for gdb to show. The compiler lays them out, so that gdb reads them from the file without running it.
#include "Kora/Time/Formats/Time_BarBeatTick.h"
#include "Kora/Time/Formats/Time_NotationDurationValue.h"
#include "Kora/Time/Values/Time_Sample.h"
#include "Kora/Time/Values/Time_Tick.h"
#include "Kora/Time/Values/Time_Typed.h"
#include "Kora/Time/Values/Time_TypedLength.h"

constinit Time_Sample gSample(-48000);
constinit Time_Tick gTick(1000000000000);
constinit Time_TickLength gDisplay(480, Time_eTickType_Display);
constinit Time_Typed gTyped(25, Time_eType_Frames);
constinit Time_TypedLength gLength(3, Time_eType_Samples);
constinit Time_BarBeatTick gPosition(3, 4, Time_TickLength(480000));
constinit Time_NotationDurationValue gDotted(Time_ENoteDuration(4), true);

int main() { return 0; }
