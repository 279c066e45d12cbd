// Time_TempoEdit: what tempo editing has to keep to.
#pragma once

#include "Kora/Time/Tempo/Time_TempoLimits.h"

class KORA_API Time_TempoEdit
{
public:
    // The library's standard limits: 5 to 500 quarters and 5 to 999 beats per minute.
    static const Time_TempoLimits& GetTempoLimits();
};
