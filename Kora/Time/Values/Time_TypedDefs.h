// Time_TypedDefs: the saved word and the XML form that all typed times share.
//
// The saved word is what documents store for every typed time, bit for bit:
//
//   bit   63     62 61 60                        59 … 0
//        sign    the unit                        the count
//                samples  000, or 011 when negative
//                ticks    100, or 111 when negative
//                frames   001
//
// Counts of a magnitude of 2^60 or more do not survive it; the limits of Time_Typed lie far below.
#pragma once

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Time/Values/Time_EType.h"

#include <string>
#include <string_view>

class Time_TypedDefs
{
public:
    Time_TypedDefs() = delete;

    // An invalid unit asserts "0" and gives the word 0.
    [[nodiscard]] static constexpr Cmn_Int64 GetRawDataForSave(Cmn_Int64 iCount, Time_EType iType);
    // A word with an unknown tag asserts "0", sets the count and leaves the unit.
    static constexpr void SetFromRawSavedData(Cmn_Int64 iRaw, Cmn_Int64* oCount, Time_EType* ioType);

    // <iName unit="Ticks">960000</iName>; an invalid unit is written as its number.
    [[nodiscard]] KORA_API static Cmn_XMLNode GetAsXML(const std::string& iName, Cmn_Int64 iCount,
                                                       Time_EType iType);
    // "960000 Ticks"
    [[nodiscard]] KORA_API static std::string Dump(Cmn_Int64 iCount, Time_EType iType);
    // "960000 ticks", "1 sample": never translated. An invalid unit is written as its number.
    [[nodiscard]] KORA_API static std::string ToString(Cmn_Int64 iCount, Time_EType iType);
    // Reads a whole number of 64 bits and a unit, one or many, in small letters or capitals, with blanks
    // around them: what ToString and Dump write. Anything else is false and changes nothing.
    [[nodiscard]] KORA_API static bool FromString(std::string_view iText, Cmn_Int64* oCount,
                                                  Time_EType* oType);

private:
    static constexpr Cmn_UInt64 cTagMask = Cmn_UInt64{7} << 60;
    static constexpr Cmn_UInt64 cSamplesTag = Cmn_UInt64{0} << 60;
    static constexpr Cmn_UInt64 cNegativeSamplesTag = Cmn_UInt64{3} << 60;
    static constexpr Cmn_UInt64 cTicksTag = Cmn_UInt64{4} << 60;
    static constexpr Cmn_UInt64 cNegativeTicksTag = Cmn_UInt64{7} << 60;
    static constexpr Cmn_UInt64 cFramesTag = Cmn_UInt64{1} << 60;
};

constexpr Cmn_Int64 Time_TypedDefs::GetRawDataForSave(Cmn_Int64 iCount, Time_EType iType)
{
    Cmn_UInt64 tag = 0;
    switch (iType) {
    case Time_eType_Samples:
        tag = iCount < 0 ? cNegativeSamplesTag : cSamplesTag;
        break;
    case Time_eType_Ticks:
        tag = iCount < 0 ? cNegativeTicksTag : cTicksTag;
        break;
    case Time_eType_Frames:
        tag = cFramesTag;
        break;
    default:
        Cmn_ASSERT_AS(false, "0", "Time/Time_TypedDefs");
        return 0;
    }
    return static_cast<Cmn_Int64>((static_cast<Cmn_UInt64>(iCount) & ~cTagMask) | tag);
}

constexpr void Time_TypedDefs::SetFromRawSavedData(Cmn_Int64 iRaw, Cmn_Int64* oCount, Time_EType* ioType)
{
    const Cmn_UInt64 word = static_cast<Cmn_UInt64>(iRaw);
    switch (word & cTagMask) {
    case cTicksTag:
    case cNegativeTicksTag:
        *ioType = Time_eType_Ticks;
        break;
    case cSamplesTag:
    case cNegativeSamplesTag:
        *ioType = Time_eType_Samples;
        break;
    case cFramesTag:
        *ioType = Time_eType_Frames;
        break;
    default:
        Cmn_ASSERT_AS(false, "0", "Time/Time_TypedDefs");
        break;
    }
    // The sign is extended over the tag.
    *oCount = static_cast<Cmn_Int64>(iRaw < 0 ? word | cTagMask : word & ~cTagMask);
}
