#include "Kora/Time/Tempo/Time_TempoEdit.h"

const Time_TempoLimits& Time_TempoEdit::GetTempoLimits()
{
    static constexpr Time_TempoLimits cStandard(5.0, 500.0, 5.0, 999.0);
    return cStandard;
}
