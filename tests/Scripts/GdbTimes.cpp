// Times for gdb to show. Most are laid out by the compiler, so that gdb reads them from the file without running it.
#include "Kora/Time/Formats/Time_BarBeatTick.h"
#include "Kora/Time/Formats/Time_NotationDurationValue.h"
#include "Kora/Time/Key/Time_KeySignature.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Values/Time_RangeSet.h"
#include "Kora/Time/Values/Time_Sample.h"
#include "Kora/Time/Values/Time_Tick.h"
#include "Kora/Time/Values/Time_Typed.h"
#include "Kora/Time/Values/Time_TypedLength.h"
#include "Kora/Time/Values/Time_TypedVector.h"

constinit Time_Sample gSample(-48000);
constinit Time_Tick gTick(1000000000000);
constinit Time_TickLength gDisplay(480, Time_eTickType_Display);
constinit Time_Typed gTyped(25, Time_eType_Frames);
constinit Time_TypedLength gLength(3, Time_eType_Samples);
constinit Time_BarBeatTick gPosition(3, 4, Time_TickLength(480000));
constinit Time_NotationDurationValue gDotted(Time_ENoteDuration(4), true);
constinit Time_Range gRange(Time_Typed(-4, Time_eType_Frames), Time_Typed(48000, Time_eType_Frames));
constinit Time_GridLine gLine{Time_Tick(7680000), Time_GridLine::eSub, {3, 1, Time_TickLength(480)}};
constinit Time_KeySignature gKeys[] = {
    Time_KeySignature::Major(0),          Time_KeySignature::Major(7), Time_KeySignature::MajorWithFlats(3),
    Time_KeySignature::MajorWithFlats(7), Time_KeySignature::Minor(0), Time_KeySignature::Minor(3),
    Time_KeySignature::MinorWithFlats(7), Time_KeySignature::Minor(9)};

namespace {

void Show(const Time_RangeSet& iRanges, const Time_TypedVector& iTimes, const Time_MeterChange& iChange)
{
    [[maybe_unused]] const volatile bool isReached =
        iRanges.IsEmpty() || iTimes.empty() || iChange.IsOffBarline();
}

} // namespace

int main()
{
    Time_RangeSet ranges(gRange);
    ranges.Add(Time_Range(Time_Typed(50000, Time_eType_Frames), Time_Typed(60000, Time_eType_Frames)));
    Time_TypedVector times(Time_eType_Ticks, Time_eContext_RelativeLength, std::vector<Cmn_Int64>(102, 7));
    Time_MeterMap map;
    map.AddMeterChange(Time_Tick(1000000000000), Time_Meter(4, 4));
    map.AddMeterChange(Time_Tick(1000000000005), Time_Meter(6, 8));
    Show(ranges, times, *std::prev(map.IterEnd()));
    return 0;
}
