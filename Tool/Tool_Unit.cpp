#include "Tool/Tool_Unit.h"

#include <algorithm>

namespace {

struct Unit
{
    std::string_view mName;
    Time_EType mCountedIn;
};

// Indexed by Tool_EUnit.
constexpr Unit cUnits[] = {
    {"ticks", Time_eType_Ticks},       {"samples", Time_eType_Samples}, {"frames", Time_eType_Frames},
    {"bars", Time_eType_Ticks},        {"timecode", Time_eType_Frames}, {"seconds", Time_eType_Samples},
    {"subframes", Time_eType_Samples}, {"minsec", Time_eType_Samples},  {"feet", Time_eType_Samples},
};

} // namespace

std::string_view Tool_UnitName(Tool_EUnit iUnit) { return cUnits[iUnit].mName; }

std::string Tool_UnitNames()
{
    std::string names;
    for (const Unit& unit : cUnits)
        names.append(names.empty() ? "" : ", ").append(unit.mName);
    return names;
}

bool Tool_ParseUnit(std::string_view iName, Tool_EUnit& oUnit)
{
    const auto unit =
        std::find_if(std::begin(cUnits), std::end(cUnits), [&](const Unit& u) { return u.mName == iName; });
    if (unit == std::end(cUnits)) return false;
    oUnit = static_cast<Tool_EUnit>(unit - std::begin(cUnits));
    return true;
}

bool Tool_ParseUnits(std::string_view iNames, std::vector<Tool_EUnit>& oUnits)
{
    std::vector<Tool_EUnit> units;
    for (std::size_t start = 0; start <= iNames.size();) {
        const std::size_t end = std::min(iNames.find(',', start), iNames.size());
        Tool_EUnit unit;
        if (!Tool_ParseUnit(iNames.substr(start, end - start), unit)) return false;
        units.push_back(unit);
        start = end + 1;
    }
    oUnits = std::move(units);
    return true;
}

Time_EType Tool_CountedIn(Tool_EUnit iUnit) { return cUnits[iUnit].mCountedIn; }

bool Tool_HasPositionsBefore0(Tool_EUnit iUnit)
{
    return iUnit != Tool_eUnit_Frames && iUnit != Tool_eUnit_Timecode && iUnit != Tool_eUnit_Subframes &&
           iUnit != Tool_eUnit_Feet;
}
