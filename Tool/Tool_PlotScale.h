// Tool_PlotScale: one axis of a plot: values to tenths of a pixel, and the round values that get a label.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>

class Tool_PlotScale
{
public:
    // iFrom is drawn at iStart and iTo, which is greater, at iEnd. The product of the two distances is below 2^61.
    constexpr Tool_PlotScale(Cmn_Int64 iFrom, Cmn_Int64 iTo, Cmn_Int64 iStart, Cmn_Int64 iEnd,
                             Cmn_Int64 iStep)
        : mFrom(iFrom)
        , mTo(iTo)
        , mStart(iStart)
        , mEnd(iEnd)
        , mStep(iStep)
    {
    }
    // In thousandths of a beat a minute, with at most 6 steps of 1, 2 or 5 and zeros;
    // some room on either side.
    static Tool_PlotScale OfTempo(Cmn_Int64 iMin, Cmn_Int64 iMax, Cmn_Int64 iStart, Cmn_Int64 iEnd);

    Cmn_Int64 GetFrom() const { return mFrom; }
    Cmn_Int64 GetTo() const { return mTo; }
    // From one labelled value to the next.
    Cmn_Int64 GetStep() const { return mStep; }
    // The nearest tenth of a pixel.
    Cmn_Int64 PlaceOf(Cmn_Int64 iValue) const;

private:
    Cmn_Int64 mFrom;
    Cmn_Int64 mTo;
    Cmn_Int64 mStart;
    Cmn_Int64 mEnd;
    Cmn_Int64 mStep;
};

// "120", "83.5": at most three decimals.
std::string Tool_TempoText(Cmn_Int64 iThousandths);
