#include "Tool/Tool_PlotScale.h"

#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Tool/Tool_Text.h"

#include <algorithm>

namespace {

// 1, 2, 5, 10, 20, 50 …
Cmn_Int64 NextRound(Cmn_Int64 iStep)
{
    Cmn_Int64 leading = iStep;
    while (leading >= 10)
        leading /= 10;
    return leading == 2 ? iStep / 2 * 5 : iStep * 2;
}

// A fraction of iDigits digits as ".25", without the zeros at its end; nothing for 0.
std::string FractionText(Cmn_Int64 iFraction, int iDigits)
{
    if (iFraction == 0) return {};
    std::string text = ".";
    Tool_AppendPadded(iFraction, iDigits, text);
    return text.substr(0, text.find_last_not_of('0') + 1);
}

} // namespace

Tool_PlotScale Tool_PlotScale::OfTempo(Cmn_Int64 iMin, Cmn_Int64 iMax, Cmn_Int64 iStart, Cmn_Int64 iEnd)
{
    constexpr Cmn_Int64 cMostSteps = 6;
    for (Cmn_Int64 step = iMin == iMax ? 10000 : 1000;; step = NextRound(step)) {
        const Cmn_Int64 from = std::max<Cmn_Int64>(Cmn_FloorDiv(iMin - step / 4, step) * step, 0);
        const Cmn_Int64 to = (Cmn_FloorDiv(iMax + step / 4, step) + 1) * step;
        if ((to - from) / step <= cMostSteps) return {from, to, iStart, iEnd, step};
    }
}

Cmn_Int64 Tool_PlotScale::PlaceOf(Cmn_Int64 iValue) const
{
    const Cmn_Int64 range = mTo - mFrom;
    return mStart + Cmn_FloorDiv(2 * (iValue - mFrom) * (mEnd - mStart) + range, 2 * range);
}

std::string Tool_TempoText(Cmn_Int64 iThousandths)
{
    std::string text;
    Tool_AppendInteger(iThousandths / 1000, text);
    return text + FractionText(iThousandths % 1000, 3);
}
