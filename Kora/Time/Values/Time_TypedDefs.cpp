#include "Kora/Time/Values/Time_TypedDefs.h"

#include "Kora/Time/Values/Time_TypedLength.h"

#include <array>
#include <ostream>

namespace {

// Unlike the unit names of Time_Typed these are never translated.
std::string UnitName(Time_EType iType)
{
    static constexpr std::array cNames = {"Samples", "Ticks", "Frames"};
    return iType < cNames.size() ? cNames[iType] : std::to_string(iType);
}

} // namespace

Cmn_XMLNode Time_TypedDefs::GetAsXML(const std::string& iName, Cmn_Int64 iCount, Time_EType iType)
{
    Cmn_XMLNode node(iName);
    node.AddAttribute("unit", UnitName(iType));
    node.SetText(std::to_string(iCount));
    return node;
}

std::string Time_TypedDefs::Dump(Cmn_Int64 iCount, Time_EType iType)
{
    return std::to_string(iCount) + " " + UnitName(iType);
}

std::ostream& operator<<(std::ostream& ioStream, const Time_TypedLength& iLength)
{
    return ioStream << iLength.Dump();
}
