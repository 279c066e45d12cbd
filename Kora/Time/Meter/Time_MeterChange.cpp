#include "Kora/Time/Meter/Time_MeterChange.h"

#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_TypedStream.h"

#include <ostream>

Time_MeterChange::Time_MeterChange(Time_Tick iTick, const Time_Meter& iMeter, Cmn_Int32 iBarNumber)
    : mTick(iTick)
    , mMeter(iMeter)
    , mBarNumber(iBarNumber)
    , mBBT(iBarNumber, 1, Time_TickLength::cZero)
{
}

Time_MeterChange::~Time_MeterChange() = default;

void Time_MeterChange::StreamOut(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteInt64(mTick.AsInt64());
    ioStream.WriteInt32(mBarNumber);
    mMeter.StreamOut(ioStream);
}

void Time_MeterChange::StreamIn(Sys_TypedInStream& ioStream)
{
    const Time_Tick tick(ioStream.ReadInt64());
    const Cmn_Int32 barNumber = ioStream.ReadInt32();
    Time_Meter meter;
    meter.StreamIn(ioStream);
    *this = Time_MeterChange(tick, meter, barNumber);
}

void Time_MeterChange::StreamOutBBT(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteInt32(mBBT.mBar);
    ioStream.WriteInt32(mBBT.mBeat);
    ioStream.WriteInt64(mBBT.mTick.AsInt64());
}

void Time_MeterChange::StreamInBBT(Sys_TypedInStream& ioStream)
{
    const Cmn_Int32 bar = ioStream.ReadInt32();
    const Cmn_Int32 beat = ioStream.ReadInt32();
    const Time_TickLength tick(ioStream.ReadInt64());
    mBBT = Time_BarBeatTick(bar, beat, tick);
}

Cmn_XMLNode Time_MeterChange::GetAsXML() const
{
    Cmn_XMLNode node("MeterChange");
    node.AddValue("nSessionTick", mTick.AsInt64());
    node.AddValue("mBarNumber", mBarNumber);
    node.AddValue("nBar", mBBT.mBar);
    node.AddValue("nBeat", mBBT.mBeat);
    node.AddValue("nTick", mBBT.mTick.AsInt64());
    node.AddChild(mMeter.GetAsXML());
    return node;
}

std::string Time_MeterChange::Dump() const
{
    std::string text = std::to_string(mBarNumber) + "| " + mMeter.Dump() + " at " + mTick.Dump();
    if (mIsOffBarline) text += ", off the barline";
    if (mIsCarriedIn) text += ", carried in";
    if (mBBT != Time_BarBeatTick(mBarNumber, 1, Time_TickLength::cZero)) text += ", BBT " + mBBT.Dump();
    return text;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_MeterChange& iChange)
{
    return ioStream << iChange.Dump();
}
