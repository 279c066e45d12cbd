// C_Time: times of the C interface as the library's, and back; a unit that is none is refused.
#pragma once

#include "Kora/C/C_Guard_p.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <cstdint>

Time_EType C_Unit(std::uint32_t iUnit);
Time_Typed C_TimeOf(const kora_time& iTime);
kora_time C_TimeOf(const Time_Typed& iTime);
