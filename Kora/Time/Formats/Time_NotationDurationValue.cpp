#include "Kora/Time/Formats/Time_NotationDurationValue.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_TypedStream.h"

#include <array>
#include <tuple>

namespace {

constexpr Cmn_Int16 cStreamVersion = 1;

constexpr bool IsDuration(Cmn_Int32 iCode)
{
    return iCode >= Time_eNoteDuration_Whole && iCode <= Time_eNoteDuration_SixtyFourth;
}

// A plain note value in ticks.
constexpr Cmn_Int64 PlainTicks(Cmn_Int32 iCode) { return Time_TickLength::cInternalPerWhole >> (iCode - 1); }

} // namespace

Time_TickLength Time_NotationDurationValue::GetTicks() const
{
    const bool valid = Cmn_ASSERT_TEXT(IsDuration(mDuration), "mDuration is a note value");
    Cmn_Int64 ticks = PlainTicks(valid ? mDuration : Time_eNoteDuration_Quarter);
    if (mDotted) ticks += ticks / 2;
    if (mTuplet && mTupletTime != 0) ticks = mTupletCount * ticks / mTupletTime; // below 2^54: no overflow
    return Time_TickLength(ticks);
}

void Time_NotationDurationValue::MakeDurationValue(const Time_TickLength& iLength,
                                                   Time_NotationDurationValue& oValue)
{
    Cmn_ASSERT_AS(iLength.GetTickType() == Time_eTickType_Internal,
                  "leftHandValue.mTickType == rightHandValue.mTickType", "time/Time_TickLength");
    const Cmn_Int64 length = iLength.AsInt64();
    Cmn_Int32 code = Time_eNoteDuration_SixtyFourth;
    while (code > Time_eNoteDuration_Whole && PlainTicks(code - 1) <= length)
        --code;
    const bool dotted = 3 * PlainTicks(code) / 2 <= length;
    oValue = Time_NotationDurationValue(static_cast<Time_ENoteDuration>(code), dotted);
}

std::strong_ordering operator<=>(const Time_NotationDurationValue& iA, const Time_NotationDurationValue& iB)
{
    const auto fields = [](const Time_NotationDurationValue& iValue) {
        return std::tuple(iValue.GetTicks().AsInt64(), Cmn_Int32{iValue.mDuration}, iValue.mDotted,
                          iValue.mTuplet, iValue.mTupletCount, iValue.mTupletTime);
    };
    return fields(iA) <=> fields(iB);
}

void Time_NotationDurationValue::StreamOut(Sys_TypedOutStream& ioStream) const
{
    ioStream.WriteInt16(cStreamVersion);
    ioStream.WriteInt32(mDuration);
    ioStream.WriteBool(mDotted);
    ioStream.WriteBool(mTuplet);
    ioStream.WriteInt32(mTupletCount);
    ioStream.WriteInt32(mTupletTime);
}

void Time_NotationDurationValue::StreamIn(Sys_TypedInStream& ioStream)
{
    const Cmn_Int64 start = ioStream.GetPosition();
    const Cmn_Int16 version = ioStream.ReadInt16();
    if (version < cStreamVersion) throw Cmn_DocumentTooOldException(start);
    if (version > cStreamVersion) throw Cmn_DocumentTooNewException(start);

    Time_NotationDurationValue value;
    const Cmn_Int64 codeStart = ioStream.GetPosition();
    const Cmn_Int32 code = ioStream.ReadInt32();
    if (!IsDuration(code)) throw Sys_StreamReadException(codeStart);
    value.mDuration = static_cast<Time_ENoteDuration>(code);
    value.mDotted = ioStream.ReadBool();
    value.mTuplet = ioStream.ReadBool();
    value.mTupletCount = ioStream.ReadInt32();
    value.mTupletTime = ioStream.ReadInt32();
    *this = value;
}

Cmn_XMLNode Time_NotationDurationValue::GetAsXML() const
{
    Cmn_XMLNode node("NotationDuration");
    node.AddValue("mDuration", GetDurationName(mDuration));
    node.AddValue("mDotted", mDotted);
    node.AddValue("mTuplet", mTuplet);
    node.AddValue("mTupletCount", mTupletCount);
    node.AddValue("mTupletTime", mTupletTime);
    return node;
}

const char* Time_NotationDurationValue::GetDurationName(Time_ENoteDuration iDuration)
{
    static constexpr std::array cNames = {
        "WholeNoteDur",     "HalfNoteDur",         "QuarterNoteDur",     "EighthNoteDur",
        "SixteenthNoteDur", "ThirtySecondNoteDur", "SixtyFourthNoteDur",
    };
    return IsDuration(iDuration) ? cNames[static_cast<std::size_t>(iDuration - 1)] : "";
}

std::string Time_NotationDurationValue::Dump() const
{
    std::string text = IsDuration(mDuration) ? GetDurationName(mDuration) : std::to_string(mDuration);
    if (mDotted) text += " dotted";
    if (mTuplet) text += " " + std::to_string(mTupletCount) + ":" + std::to_string(mTupletTime);
    return text;
}
