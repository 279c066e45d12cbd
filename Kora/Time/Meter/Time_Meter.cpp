#include "Kora/Time/Meter/Time_Meter.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_TypedStream.h"

Time_Meter::Time_Meter(Cmn_Int32 iNumerator, Cmn_Int32 iDenominator)
    : mNumerator(iNumerator)
    , mDenominator(iDenominator)
{
    Cmn_ASSERT_IN("Time/Time_MeterMap", iNumerator >= 1);
    Cmn_ASSERT_IN("Time/Time_MeterMap", iDenominator >= 1);
}

Time_Meter::Time_Meter(Cmn_Int32 iNumerator, Cmn_Int32 iDenominator,
                       const Time_NotationDurationValue& iClickInterval)
    : mNumerator(iNumerator)
    , mDenominator(iDenominator)
    , mClickInterval(iClickInterval)
{
}

Time_Meter::~Time_Meter() = default;

Time_TickLength Time_Meter::ComputeOffsetIntoBar(const Time_BarBeatTick& iBBT) const
{
    const Cmn_Int64 barLength = GetBarLength().AsInt64();
    const Cmn_Int64 beats = Cmn_Int64{iBBT.mBeat} - 1;
    // Whole bars apart from the rest: the product with the bar length stays small.
    const Cmn_Int64 wholeBars = Cmn_WrapMul(Cmn_TruncDiv<Cmn_Int64>(beats, mNumerator), barLength);
    const Cmn_Int64 beatsLeft = Cmn_WrapMul(Cmn_TruncMod<Cmn_Int64>(beats, mNumerator), barLength);
    const Cmn_Int64 toBeat = Cmn_WrapAdd(wholeBars, Cmn_TruncDiv<Cmn_Int64>(beatsLeft, mNumerator));
    return Time_TickLength(toBeat) + iBBT.mTick;
}

void Time_Meter::StreamOut(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteInt32(mNumerator);
    ioStream.WriteInt32(mDenominator);
    mClickInterval.StreamOut(ioStream);
}

void Time_Meter::StreamIn(Sys_TypedInStream& ioStream)
{
    const Cmn_Int64 start = ioStream.GetPosition();
    const Cmn_Int32 numerator = ioStream.ReadInt32();
    const Cmn_Int32 denominator = ioStream.ReadInt32();
    if (numerator < 1 || denominator < 1 || denominator > Time_TickLength::cInternalPerWhole)
        throw Sys_StreamReadException(start);
    Time_NotationDurationValue click;
    click.StreamIn(ioStream);
    *this = Time_Meter(numerator, denominator, click);
}

Cmn_XMLNode Time_Meter::GetAsXML() const
{
    Cmn_XMLNode node("Meter");
    node.AddValue("mNumerator", mNumerator);
    node.AddValue("mDenominator", mDenominator);
    node.AddChild(mClickInterval.GetAsXML());
    return node;
}

std::string Time_Meter::Dump() const
{
    std::string text = std::to_string(mNumerator) + "/" + std::to_string(mDenominator);
    if (mClickInterval != Time_NotationDurationValue()) text += " click " + mClickInterval.Dump();
    return text;
}
