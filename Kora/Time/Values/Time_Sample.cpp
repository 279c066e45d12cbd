#include "Kora/Time/Values/Time_Sample.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_StringToInt.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <ostream>

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

Cmn_XMLNode Time_Sample::GetAsXML(const std::string& iName) const
{
    return Time_TypedDefs::GetAsXML(iName, mSamples, Time_eType_Samples);
}

std::ostream& operator<<(std::ostream& ioStream, Time_Sample iTime) { return ioStream << iTime.AsInt64(); }
