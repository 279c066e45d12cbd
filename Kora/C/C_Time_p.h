// C_Time: times of the C interface as the library's, and back; a unit or a film that is none is refused.
#pragma once

#include "Kora/C/C_Guard_p.h"
#include "Kora/Time/Formats/Time_FeetFrame.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <cstdint>

Time_EType C_Unit(std::uint32_t iUnit);
Time_Typed C_TimeOf(const kora_time& iTime);
// The same of a place that a view may show: inside the limits of its unit, before 0 as far as behind it.
Time_Typed C_PlaceOf(const kora_time& iTime);
kora_time C_TimeOf(const Time_Typed& iTime);
Time_EFilmGauge C_Gauge(std::int32_t iFilm);
