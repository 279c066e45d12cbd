#include "Kora/Time/Values/Time_TickLength.h"

#include "Bastel/Cmn/Cmn_XMLNode.h"

#include <ostream>

Cmn_XMLNode Time_TickLength::GetAsXML(const std::string& iName) const
{
    Cmn_XMLNode node(iName);
    node.AddAttribute("tickType", mTickType == Time_eTickType_Display ? "Display" : "Internal");
    node.SetText(std::to_string(mLength));
    return node;
}

std::string Time_TickLength::Dump() const
{
    return std::to_string(mLength) + (mTickType == Time_eTickType_Display ? " display" : "") + " ticks long";
}

std::ostream& operator<<(std::ostream& ioStream, const Time_TickLength& iLength)
{
    return ioStream << iLength.Dump();
}
