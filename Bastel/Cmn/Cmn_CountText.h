// Cmn_CountText: a count and what is counted: "1 byte", "2 bytes", "0 entries".
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>

// For any noun: the word for one, and the word for every other count.
[[nodiscard]] inline std::string Cmn_CountText(Cmn_Int64 iCount, const std::string& iOne,
                                               const std::string& iMany)
{
    return std::to_string(iCount) + ' ' + (iCount == 1 ? iOne : iMany);
}

// For nouns whose plural ends with s.
[[nodiscard]] inline std::string Cmn_CountText(Cmn_Int64 iCount, const std::string& iNoun)
{
    return Cmn_CountText(iCount, iNoun, iNoun + 's');
}
