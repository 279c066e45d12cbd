// Time_BarBeatTick: what it answers under a meter, which formats know by name only.
#include "Kora/Time/Meter/Time_Meter.h"

void Time_BarBeatTick::Offset(const Time_TickLength& iOffset, const Time_Meter& iMeter,
                              Time_BarBeatTick& oResult) const
{
    const Cmn_Int64 numerator = iMeter.GetNumerator();
    const Cmn_Int64 beatLength = iMeter.GetDenominator() * Time_TickLength::cInternalPerQuarter / 4;
    const Cmn_Int64 ticks = (mTick + iOffset).AsInt64();
    const Cmn_Int64 wholeBeats = Cmn_TruncDiv(ticks, beatLength);
    const Cmn_Int64 beatIndex = Cmn_WrapAdd<Cmn_Int64>(wholeBeats, Cmn_Int64{mBeat} - 1);

    const Cmn_Int64 wholeBars = Cmn_TruncDiv(beatIndex, numerator);
    const Cmn_Int64 beat = Cmn_TruncMod(beatIndex, numerator) + 1;
    oResult = {static_cast<Cmn_Int32>(Cmn_WrapAdd<Cmn_Int64>(mBar, wholeBars)), static_cast<Cmn_Int32>(beat),
               Time_TickLength(Cmn_TruncMod(ticks, beatLength))};
}

Time_TickLength Time_BarBeatTick::Diff(const Time_BarBeatTick& iOther, const Time_Meter& iMeter) const
{
    const Cmn_Int64 beatLength =
        Cmn_TruncDiv<Cmn_Int64>(Time_TickLength::cInternalPerWhole, iMeter.GetDenominator());
    const Cmn_Int64 bars = Cmn_Int64{mBar} - iOther.mBar;
    const Cmn_Int64 beats =
        Cmn_WrapAdd(Cmn_WrapMul<Cmn_Int64>(bars, iMeter.GetNumerator()), Cmn_Int64{mBeat} - iOther.mBeat);
    // The sum reports a tick part of display ticks and is in internal ticks.
    return Time_TickLength(Cmn_WrapMul(beats, beatLength)) + (mTick - iOther.mTick);
}
