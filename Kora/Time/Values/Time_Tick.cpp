#include "Kora/Time/Values/Time_Tick.h"

#include "Kora/Time/Values/Time_Typed.h"

#include <ostream>

void Time_Tick::PinToValidRange()
{
    Time_Typed time(*this);
    time.PinToValidRange();
    mTicks = time.AsInt64();
}

std::string Time_Tick::Dump() const { return "tick " + std::to_string(mTicks); }

Cmn_XMLNode Time_Tick::GetAsXML(const std::string& iName) const
{
    return Time_TypedDefs::GetAsXML(iName, mTicks, Time_eType_Ticks);
}

std::ostream& operator<<(std::ostream& ioStream, Time_Tick iTime) { return ioStream << iTime.AsInt64(); }
