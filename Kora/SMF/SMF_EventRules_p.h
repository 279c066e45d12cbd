// SMF_EventRules: what the contents of meta events have to be, and how lengths are spelled.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>
#include <string_view>

namespace SMF_EventRules {

// The largest denominator that divides a whole note of 3840000 ticks is 2048 (1875 ticks a beat).
inline constexpr Cmn_Int32 cMaxDenominatorPower = 11;
inline constexpr Cmn_Int32 cMaxSharps = 7;
inline constexpr Cmn_Int32 cMaxMicroseconds = 0xFFFFFF;
inline constexpr Cmn_Int32 cMaxDivision = 0x7FFF;

// What is wrong with a meta event, and at which byte of its content; cAtLength for the length itself.
struct Fault
{
    static constexpr Cmn_Int64 cAtLength = -1;
    std::string mText; // empty: nothing
    Cmn_Int64 mAt = 0;
};
Fault FaultOf(Cmn_UInt8 iMetaType, std::string_view iContent);

// "0x3c"
std::string Hex(Cmn_Int32 iByte);

void AppendBigEndian(std::string& ioBytes, Cmn_Int64 iValue, int iBytes);
Cmn_Int64 BigEndian(std::string_view iBytes);

} // namespace SMF_EventRules
