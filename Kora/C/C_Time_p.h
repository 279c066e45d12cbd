// C_Time: times of the C interface as the library's, and back; a unit or a film that is none is refused, and a
// time outside of the limits of its unit, which reach as far before 0 as behind it.
#pragma once

#include "Kora/C/C_Guard_p.h"
#include "Kora/Time/Formats/Time_FeetFrame.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <cstdint>

Time_EType C_Unit(std::uint32_t iUnit);
Time_Typed C_TimeOf(const kora_time& iTime);
kora_time C_TimeOf(const Time_Typed& iTime);
Time_EFilmGauge C_Gauge(std::int32_t iFilm);
