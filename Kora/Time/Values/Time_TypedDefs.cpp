#include "Kora/Time/Values/Time_TypedDefs.h"

#include "Kora/Time/Values/Time_TypedLength.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ostream>

namespace {

// Unlike the unit names of Time_Typed these are never translated.
std::string UnitName(Time_EType iType)
{
    static constexpr std::array cNames = {"Samples", "Ticks", "Frames"};
    return iType < cNames.size() ? cNames[iType] : std::to_string(iType);
}

// "1 tick", "2 ticks": the lower-case letters of the names above, the last one left out for one.
std::string UnitWord(Cmn_Int64 iCount, Time_EType iType)
{
    std::string word = UnitName(iType);
    if (word.front() >= 'A') word.front() = static_cast<char>(word.front() - 'A' + 'a');
    if (iCount == 1 && word.back() == 's') word.pop_back();
    return word;
}

bool IsUnitWord(std::string_view iText, Cmn_Int64 iCount, Time_EType iType)
{
    const std::string word = UnitWord(iCount, iType);
    return std::equal(iText.begin(), iText.end(), word.begin(), word.end(), [](char iRead, char iSmall) {
        return iRead == iSmall || (iRead >= 'A' && iRead <= 'Z' && iRead - 'A' + 'a' == iSmall);
    });
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

std::string Time_TypedDefs::ToString(Cmn_Int64 iCount, Time_EType iType)
{
    return std::to_string(iCount) + " " + UnitWord(iCount, iType);
}

bool Time_TypedDefs::FromString(std::string_view iText, Cmn_Int64* oCount, Time_EType* oType)
{
    constexpr std::string_view cBlanks = " \t";
    const std::size_t first = iText.find_first_not_of(cBlanks);
    if (first == std::string_view::npos) return false;
    const std::string_view text = iText.substr(first, iText.find_last_not_of(cBlanks) + 1 - first);
    Cmn_Int64 count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc()) return false;
    const std::string_view rest = text.substr(static_cast<std::size_t>(end - text.data()));
    const std::size_t unit = rest.find_first_not_of(cBlanks);
    if (unit == std::string_view::npos || unit == 0) return false;
    for (const Time_EType type : {Time_eType_Samples, Time_eType_Ticks, Time_eType_Frames})
        for (const Cmn_Int64 oneOrMany : {1, 2})
            if (IsUnitWord(rest.substr(unit), oneOrMany, type)) {
                *oCount = count;
                *oType = type;
                return true;
            }
    return false;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_TypedLength& iLength)
{
    return ioStream << iLength.Dump();
}
