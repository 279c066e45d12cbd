#include "Kora/Time/Meter/Time_Meter.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_TypedStream.h"
#include "Kora/Time/Formats/Time_FormText_p.h"

#include <algorithm>
#include <limits>
#include <ostream>

namespace {

constexpr std::string_view cClick = " click ";

// Null when the meter was read; otherwise why not.
const char* ReadMeter(std::string_view iText, Time_Meter& oMeter)
{
    Time_FormReader reader(iText);
    Cmn_Int64 numerator = 0;
    Cmn_Int64 denominator = 0;
    if (reader.TakeNumber(numerator) == 0 || !reader.Take('/') || reader.TakeNumber(denominator) == 0)
        return "a meter such as 6/8 is expected";
    if (numerator < 1 || numerator > (std::numeric_limits<Cmn_Int32>::max)())
        return "a bar has 1 to 2147483647 beats";
    if (denominator < 1 || denominator > Time_TickLength::cInternalPerWhole)
        return "the beats of a meter are parts of a whole note, from 1 to 3840000";
    Time_NotationDurationValue click;
    if (!reader.IsAtEnd()) {
        if (!reader.GetRest().starts_with(cClick)) return "a meter such as 6/8 is expected";
        const char* whyNot = nullptr;
        if (!click.FromText(reader.GetRest().substr(cClick.size()), &whyNot)) return whyNot;
    }
    oMeter = Time_Meter(static_cast<Cmn_Int32>(numerator), static_cast<Cmn_Int32>(denominator), click);
    return nullptr;
}

} // namespace

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

std::string Time_Meter::ToString() const
{
    char text[cTextBytes];
    return std::string(text, ToText(text));
}

std::size_t Time_Meter::ToText(char* oText) const
{
    char* at = Time_WriteInteger(oText, mNumerator);
    *at++ = '/';
    at = Time_WriteInteger(at, mDenominator);
    if (mClickInterval != Time_NotationDurationValue()) {
        at = std::copy(cClick.begin(), cClick.end(), at);
        at += mClickInterval.ToText(at);
    }
    *at = '\0';
    return static_cast<std::size_t>(at - oText);
}

bool Time_Meter::FromText(std::string_view iText, const char** oWhyNot)
{
    if (const char* const whyNot = ReadMeter(iText, *this)) {
        if (oWhyNot != nullptr) *oWhyNot = whyNot;
        return false;
    }
    return true;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_Meter& iMeter)
{
    char text[Time_Meter::cTextBytes];
    iMeter.ToText(text);
    return ioStream << text;
}

std::string Time_Meter::Dump() const
{
    std::string text = std::to_string(mNumerator) + "/" + std::to_string(mDenominator);
    if (mClickInterval != Time_NotationDurationValue()) text += " click " + mClickInterval.Dump();
    return text;
}
