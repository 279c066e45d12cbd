#include "Kora/Time/Values/Time_Tick.h"

#include "Kora/Time/Values/Time_Typed.h"

void Time_Tick::PinToValidRange()
{
    Time_Typed time(*this);
    time.PinToValidRange();
    mTicks = time.AsInt64();
}

std::string Time_Tick::Dump() const { return "tick " + std::to_string(mTicks); }
