#include "Bastel/Cmn/Cmn_CountText.h"
#include "Kora/SMF/SMF_Event.h"
#include "Kora/SMF/SMF_EventRules_p.h"

namespace SMF_EventRules {
namespace {

using std::to_string;

Fault LengthFault(const char* iWhat, std::size_t iLength, std::size_t iExpected)
{
    return {std::string(iWhat) + " of " + Cmn_CountText(static_cast<Cmn_Int64>(iLength), "byte") +
                ", expected " + to_string(iExpected),
            Fault::cAtLength};
}

// The two bytes after the denominator set a click and the size of a quarter; they place no bar.
Fault TimeSignatureFault(std::string_view iContent)
{
    const Cmn_Int64 power = BigEndian(iContent.substr(1, 1));
    if (iContent[0] == 0) return {"a time signature of 0 beats, expected 1 to 255", 0};
    if (power > cMaxDenominatorPower)
        return {"a denominator of 2 to the power " + to_string(power) +
                    ", expected at most 11 (a denominator of 2048)",
                1};
    return {};
}

Fault KeySignatureFault(std::string_view iContent)
{
    const Cmn_Int32 sharps = static_cast<Cmn_Int8>(iContent[0]);
    const Cmn_Int64 mode = BigEndian(iContent.substr(1, 1));
    if (sharps < -cMaxSharps || sharps > cMaxSharps)
        return {"a key of " + to_string(sharps) + " sharps, expected -7 to 7", 0};
    if (mode > 1) return {"key mode " + to_string(mode) + ", expected 0 (major) or 1 (minor)", 1};
    return {};
}

} // namespace

Fault FaultOf(Cmn_UInt8 iMetaType, std::string_view iContent)
{
    const std::size_t length = iContent.size();
    switch (iMetaType) {
    case SMF_Event::cEndOfTrack:
        return length == 0 ? Fault() : LengthFault("an end-of-track event", length, 0);
    case SMF_Event::cTempo:
        if (length != 3) return LengthFault("a tempo event", length, 3);
        if (BigEndian(iContent) != 0) return {};
        return {"a tempo of 0 microseconds to a quarter note, expected 1 to 16777215", 0};
    case SMF_Event::cTimeSignature:
        return length == 4 ? TimeSignatureFault(iContent) : LengthFault("a time-signature event", length, 4);
    case SMF_Event::cKeySignature:
        return length == 2 ? KeySignatureFault(iContent) : LengthFault("a key-signature event", length, 2);
    default:
        return {};
    }
}

std::string Hex(Cmn_Int32 iByte)
{
    constexpr char cDigits[] = "0123456789abcdef";
    return {'0', 'x', cDigits[(iByte >> 4) & 15], cDigits[iByte & 15]};
}

void AppendBigEndian(std::string& ioBytes, Cmn_Int64 iValue, int iBytes)
{
    for (int i = iBytes - 1; i >= 0; --i)
        ioBytes += static_cast<char>(iValue >> (8 * i) & 0xFF);
}

Cmn_Int64 BigEndian(std::string_view iBytes)
{
    Cmn_Int64 value = 0;
    for (const char byte : iBytes)
        value = value << 8 | static_cast<Cmn_UInt8>(byte);
    return value;
}

} // namespace SMF_EventRules
