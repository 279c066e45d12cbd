// Time_TickLength: a distance in ticks, internal or display.
//
// Units:      internal ticks, 960000 to a quarter note, or display ticks, 960 to a quarter note; 1 display
//             tick is 1000 internal ticks, a whole note 3840000 internal ticks.
// Arithmetic: wraps in 64 bits. Two lengths of different tick types are reported; the operation then works on
//             the raw counts and the left-hand type stays.
#pragma once

#include "Bastel/Cmn/Cmn_IntMath.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>

class Cmn_XMLNode;

// How fine the ticks are: 960000 or 960 to a quarter note.
enum Time_ETickType : Cmn_UInt32 {
    Time_eTickType_Internal = 0,
    Time_eTickType_Display = 1,
};

class [[nodiscard]] Time_TickLength
{
public:
    static const Time_TickLength cZero;           // 0, internal
    static const Time_TickLength cQuarter;        // 960000, internal
    static const Time_TickLength cDisplayZero;    // 0, display
    static const Time_TickLength cDisplayQuarter; // 960, display

    static constexpr Cmn_Int64 cInternalPerDisplay = 1000;   // internal ticks to a display tick
    static constexpr Cmn_Int64 cInternalPerQuarter = 960000; // to a quarter note
    static constexpr Cmn_Int64 cInternalPerWhole = 3840000;  // to a whole note

    constexpr Time_TickLength() = default;
    // That many ticks of a type; a way back is negative.
    constexpr explicit Time_TickLength(Cmn_Int64 iTicks, Time_ETickType iType = Time_eTickType_Internal)
        : mLength(iTicks)
        , mTickType(iType)
    {
    }

    // The count alone; the tick type stays.
    constexpr void SetLength(Cmn_Int64 iTicks) { mLength = iTicks; }
    constexpr Time_ETickType GetTickType() const { return mTickType; }
    // The count, whatever the type.
    constexpr Cmn_Int64 AsInt64() const { return mLength; }
    [[nodiscard]] constexpr double AsFloat64() const { return static_cast<double>(mLength); }
    // The low 32 bits of the count. Asserts that the ticks are display ticks, which fit.
    [[nodiscard]] constexpr Cmn_Int32 AsInt32X() const
    {
        Cmn_ASSERT_IN("time/Time_TickLength", mTickType == Time_eTickType_Display);
        return static_cast<Cmn_Int32>(mLength);
    }
    // The least count that there is stays as it is.
    constexpr Time_TickLength AbsoluteValue() const { return mLength < 0 ? -*this : *this; }

    // Display ticks: (count + 500) / 1000, truncated toward zero. 1499 → 1, 1500 → 2, -1400 → 0, -1600 → -1.
    // Deliberate: the type is not looked at, display ticks are divided again. Test:
    // DisplayTicksRoundAsRulersShow
    constexpr Time_TickLength ToDisplayTicks() const
    {
        return Time_TickLength(Cmn_WrapAdd(mLength, cInternalPerDisplay / 2) / cInternalPerDisplay,
                               Time_eTickType_Display);
    }
    // Internal ticks: count × 1000, whatever the type.
    constexpr Time_TickLength ToInternalTicks() const
    {
        return Time_TickLength(Cmn_WrapMul(mLength, cInternalPerDisplay));
    }

    // By one internal tick, or by one display tick where it counts those.
    constexpr Time_TickLength& operator++() { return Add(1); }
    constexpr Time_TickLength& operator--() { return Add(-1); }
    constexpr Time_TickLength operator++(int)
    {
        const Time_TickLength old = *this;
        ++*this;
        return old;
    }
    constexpr Time_TickLength operator--(int)
    {
        const Time_TickLength old = *this;
        --*this;
        return old;
    }

    constexpr Time_TickLength operator-() const { return Time_TickLength(Cmn_WrapNeg(mLength), mTickType); }
    constexpr Time_TickLength& operator+=(const Time_TickLength& rightHandValue)
    {
        Cmn_ASSERT_IN("time/Time_TickLength", mTickType == rightHandValue.mTickType);
        return Add(rightHandValue.mLength);
    }
    constexpr Time_TickLength& operator-=(const Time_TickLength& rightHandValue)
    {
        Cmn_ASSERT_IN("time/Time_TickLength", mTickType == rightHandValue.mTickType);
        return Add(Cmn_WrapNeg(rightHandValue.mLength));
    }
    // Truncates toward zero; a divisor of 0 is reported and gives 0.
    constexpr Time_TickLength& operator/=(Cmn_Int64 iDivisor)
    {
        mLength = Cmn_TruncDiv(mLength, iDivisor);
        return *this;
    }
    constexpr Time_TickLength operator*(Cmn_Int64 iFactor) const
    {
        return Time_TickLength(Cmn_WrapMul(mLength, iFactor), mTickType);
    }

    friend constexpr Time_TickLength operator+(const Time_TickLength& leftHandValue,
                                               const Time_TickLength& rightHandValue)
    {
        CheckSameType(leftHandValue, rightHandValue);
        return Time_TickLength(leftHandValue).Add(rightHandValue.mLength);
    }
    friend constexpr Time_TickLength operator-(const Time_TickLength& leftHandValue,
                                               const Time_TickLength& rightHandValue)
    {
        CheckSameType(leftHandValue, rightHandValue);
        return Time_TickLength(leftHandValue).Add(Cmn_WrapNeg(rightHandValue.mLength));
    }
    friend constexpr bool operator==(const Time_TickLength& leftHandValue,
                                     const Time_TickLength& rightHandValue)
    {
        CheckSameType(leftHandValue, rightHandValue);
        return leftHandValue.mLength == rightHandValue.mLength;
    }
    friend constexpr std::strong_ordering operator<=>(const Time_TickLength& leftHandValue,
                                                      const Time_TickLength& rightHandValue)
    {
        CheckSameType(leftHandValue, rightHandValue);
        return leftHandValue.mLength <=> rightHandValue.mLength;
    }

    // <iName tickType="Internal">960000</iName>
    [[nodiscard]] KORA_API Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // "960000 ticks long", "960 display ticks long"
    [[nodiscard]] KORA_API std::string Dump() const;
    // What Dump gives.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_TickLength& iLength);

private:
    static constexpr void CheckSameType(const Time_TickLength& leftHandValue,
                                        const Time_TickLength& rightHandValue)
    {
        Cmn_ASSERT_IN("time/Time_TickLength", leftHandValue.mTickType == rightHandValue.mTickType);
    }
    constexpr Time_TickLength& Add(Cmn_Int64 iTicks)
    {
        mLength = Cmn_WrapAdd(mLength, iTicks);
        return *this;
    }

    Cmn_Int64 mLength = 0;
    Time_ETickType mTickType = Time_eTickType_Internal;
};

inline constexpr Time_TickLength Time_TickLength::cZero{0};
inline constexpr Time_TickLength Time_TickLength::cQuarter{cInternalPerQuarter};
inline constexpr Time_TickLength Time_TickLength::cDisplayZero{0, Time_eTickType_Display};
inline constexpr Time_TickLength Time_TickLength::cDisplayQuarter{960, Time_eTickType_Display};

// Lengths of two tick types that count the same have the same; they do not compare.
template <>
struct std::hash<Time_TickLength>
{
    std::size_t operator()(const Time_TickLength& iLength) const noexcept
    {
        return std::hash<Cmn_Int64>()(iLength.AsInt64());
    }
};
