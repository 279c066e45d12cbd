#include "Kora/Time/Values/Time_Sample.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_StringToInt.h"
#include "Kora/Time/Values/Time_Typed.h"

void Time_Sample::PinToValidRange()
{
    Time_Typed time(*this);
    time.PinToValidRange();
    mSamples = time.AsInt64();
}

std::string Time_Sample::ToString() const { return std::to_string(mSamples); }

void Time_Sample::FromString(const std::string& iText)
{
    try {
        mSamples = Cmn_StringToInt64(iText);
    } catch (const Cmn_Exception&) {
        mSamples = 0;
    }
}

std::string Time_Sample::Dump() const { return "sample " + ToString(); }
