#include "Kora/Time/Values/Time_SampleLength.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_StringToInt.h"

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
