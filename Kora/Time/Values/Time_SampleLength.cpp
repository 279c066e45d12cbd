#include "Kora/Time/Values/Time_SampleLength.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_StringToInt.h"
#include "Kora/Time/Values/Time_TypedDefs.h"

#include <ostream>

std::string Time_SampleLength::ToString() const { return std::to_string(mSamples); }

void Time_SampleLength::FromString(std::string iText)
{
    try {
        mSamples = Cmn_StringToInt32(iText);
    } catch (const Cmn_Exception&) {
        // The text is no length: the old one stays.
    }
}

std::string Time_SampleLength::Dump() const { return ToString() + " samples long"; }

Cmn_XMLNode Time_SampleLength::GetAsXML(const std::string& iName) const
{
    return Time_TypedDefs::GetAsXML(iName, mSamples, Time_eType_Samples);
}

std::ostream& operator<<(std::ostream& ioStream, Time_SampleLength iLength)
{
    return ioStream << iLength.AsInt64();
}
