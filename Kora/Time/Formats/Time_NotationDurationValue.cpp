#include "Kora/Time/Formats/Time_NotationDurationValue.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_TypedStream.h"
#include "Kora/Time/Formats/Time_FormText_p.h"

#include <array>
#include <limits>
#include <ostream>
#include <tuple>

namespace {

constexpr Cmn_Int16 cStreamVersion = 1;

constexpr bool IsDuration(Cmn_Int32 iCode)
{
    return iCode >= Time_eNoteDuration_Whole && iCode <= Time_eNoteDuration_SixtyFourth;
}

// A plain note value in ticks.
constexpr Cmn_Int64 PlainTicks(Cmn_Int32 iCode) { return Time_TickLength::cInternalPerWhole >> (iCode - 1); }

// The code of 1, 2, 4 … 64, or 0.
Cmn_Int32 CodeOf(Cmn_Int64 iPart)
{
    for (Cmn_Int32 code = Time_eNoteDuration_Whole; IsDuration(code); ++code)
        if (Cmn_Int64{1} << (code - 1) == iPart) return code;
    return 0;
}

bool TakeCount(Time_FormReader& ioReader, Cmn_Int32& oCount)
{
    Cmn_Int64 count = 0;
    if (ioReader.TakeNumber(count) == 0) return false;
    oCount = count <= std::numeric_limits<Cmn_Int32>::max() ? static_cast<Cmn_Int32>(count) : 0;
    return oCount >= 1;
}

// Null when the value was read; otherwise why not.
const char* ReadNoteValue(std::string_view iText, Time_NotationDurationValue& oValue)
{
    static constexpr char cForm[] = "a note value such as 1/8, 1/8. or 1/16t is expected";
    Time_FormReader reader(iText);
    Cmn_Int64 part = 0;
    if (!reader.Take('1') || !reader.Take('/') || reader.TakeNumber(part) == 0) return cForm;
    const Cmn_Int32 code = CodeOf(part);
    if (code == 0) return "note values are 1/1, 1/2, 1/4, 1/8, 1/16, 1/32 and 1/64";
    const auto duration = static_cast<Time_ENoteDuration>(code);
    const bool isDotted = reader.Take('.');
    oValue = Time_NotationDurationValue(duration, isDotted);
    if (reader.Take('t')) {
        oValue = Time_NotationDurationValue(duration, isDotted, true, 2, 3);
    } else if (reader.Take('(')) {
        Cmn_Int32 count = 0;
        Cmn_Int32 time = 0;
        const bool isTuplet =
            TakeCount(reader, count) && reader.Take(':') && TakeCount(reader, time) && reader.Take(')');
        if (!isTuplet) return "a tuplet such as (4:5) is expected";
        oValue = Time_NotationDurationValue(duration, isDotted, true, count, time);
    }
    return reader.IsAtEnd() ? nullptr : cForm;
}

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

std::string Time_NotationDurationValue::ToString() const
{
    char text[cTextBytes];
    return std::string(text, ToText(text));
}

std::size_t Time_NotationDurationValue::ToText(char* oText) const
{
    const bool isKnown = Cmn_ASSERT(GetDurationName(mDuration)[0] != '\0');
    const int halvings = (isKnown ? mDuration : Time_eNoteDuration_Quarter) - Time_eNoteDuration_Whole;
    char* at = oText;
    *at++ = '1';
    *at++ = '/';
    at = Time_WriteNumber(at, Cmn_UInt64{1} << halvings);
    if (mDotted) *at++ = '.';
    if (mTuplet && mTupletCount == 2 && mTupletTime == 3) {
        *at++ = 't';
    } else if (mTuplet) {
        *at++ = '(';
        at = Time_WriteInteger(at, mTupletCount);
        *at++ = ':';
        at = Time_WriteInteger(at, mTupletTime);
        *at++ = ')';
    }
    *at = '\0';
    return static_cast<std::size_t>(at - oText);
}

bool Time_NotationDurationValue::FromText(std::string_view iText, const char** oWhyNot)
{
    Time_NotationDurationValue read;
    const char* const whyNot = ReadNoteValue(iText, read);
    if (whyNot == nullptr)
        *this = read;
    else if (oWhyNot != nullptr)
        *oWhyNot = whyNot;
    return whyNot == nullptr;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_NotationDurationValue& iValue)
{
    char text[Time_NotationDurationValue::cTextBytes];
    iValue.ToText(text);
    return ioStream << text;
}

std::string Time_NotationDurationValue::Dump() const
{
    std::string text = IsDuration(mDuration) ? GetDurationName(mDuration) : std::to_string(mDuration);
    if (mDotted) text += " dotted";
    if (mTuplet) text += " " + std::to_string(mTupletCount) + ":" + std::to_string(mTupletTime);
    return text;
}
