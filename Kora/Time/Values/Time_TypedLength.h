// Time_TypedLength: a distance that carries its unit.
//
// Units:      samples, internal ticks or frames, by GetType.
// Arithmetic: wraps in 64 bits; quotients and products with doubles truncate toward zero and saturate. Two
//             units in one operation are reported as "time_type_mismatch"; it then works on the raw counts
//             and keeps the left operand's unit. A divisor of 0 is reported and gives 0.
#pragma once

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Kora/Time/Values/Time_SampleLength.h"
#include "Kora/Time/Values/Time_TickLength.h"
#include "Kora/Time/Values/Time_TypedDefs.h"

#include <compare>
#include <concepts>

class [[nodiscard]] Time_TypedLength
{
public:
    static const Time_TypedLength cOneSample;  // 1 sample
    static const Time_TypedLength cOneTick;    // 1 tick
    static const Time_TypedLength cMinFadeGap; // 4 samples

    // 0 samples.
    constexpr Time_TypedLength() = default;
    constexpr Time_TypedLength(Cmn_Int64 iCount, Time_EType iType)
        : mCount(iCount)
        , mType(iType)
    {
    }
    constexpr Time_TypedLength(Time_SampleLength iLength)
        : mCount(iLength.AsInt64())
    {
    }
    // Internal ticks only: display ticks are reported, and their count taken as it stands.
    constexpr Time_TypedLength(const Time_TickLength& inTick)
        : mCount(inTick.AsInt64())
        , mType(Time_eType_Ticks)
    {
        Cmn_ASSERT_IN("time/Time_TypedLength", inTick.GetTickType() == Time_eTickType_Internal);
    }

    constexpr Time_EType GetType() const { return mType; }
    // Renames the unit; the count stays as it is. Time_Converter::ToType converts.
    constexpr void SetTimeType(Time_EType iType) { mType = iType; }
    // The unit stays.
    constexpr void SetLength(Cmn_Int64 iCount) { mCount = iCount; }
    constexpr Cmn_Int64 AsInt64() const { return mCount; }
    [[nodiscard]] constexpr double AsFloat64() const { return static_cast<double>(mCount); }
    // The low 32 bits of the count, unchecked.
    [[nodiscard]] constexpr Cmn_Int32 AsInt32X() const { return static_cast<Cmn_Int32>(mCount); }
    // The least count that there is stays as it is.
    constexpr Time_TypedLength AbsoluteValue() const { return mCount < 0 ? -*this : *this; }

    // The count as its unit's own class; another unit is reported.
    constexpr Time_SampleLength AsSample() const
    {
        Cmn_ASSERT_IN("time/Time_TypedLength", mType == Time_eType_Samples);
        return Time_SampleLength(mCount);
    }
    // As AsSample, of ticks.
    constexpr Time_TickLength AsTick() const
    {
        Cmn_ASSERT_IN("time/Time_TypedLength", mType == Time_eType_Ticks);
        return Time_TickLength(mCount);
    }

    // (a + b) / 2, truncated toward zero: of -3 and 0 it is -1.
    constexpr Time_TypedLength MidPointBetween(const Time_TypedLength& iOther) const
    {
        return (*this + iOther) / 2;
    }

    constexpr Time_TypedLength& operator++() { return Set(Cmn_WrapAdd<Cmn_Int64>(mCount, 1)); }
    constexpr Time_TypedLength& operator--() { return Set(Cmn_WrapSub<Cmn_Int64>(mCount, 1)); }
    constexpr Time_TypedLength operator++(int)
    {
        const Time_TypedLength old = *this;
        ++*this;
        return old;
    }
    constexpr Time_TypedLength operator--(int)
    {
        const Time_TypedLength old = *this;
        --*this;
        return old;
    }
    constexpr Time_TypedLength operator-() const { return With(Cmn_WrapNeg(mCount)); }

    constexpr Time_TypedLength& operator+=(const Time_TypedLength& iLength)
    {
        return *this = *this + iLength;
    }
    constexpr Time_TypedLength& operator-=(const Time_TypedLength& iLength)
    {
        return *this = *this - iLength;
    }
    template <class Factor>
    constexpr Time_TypedLength& operator*=(Factor iFactor)
    {
        return *this = *this * iFactor;
    }
    template <class Divisor>
    constexpr Time_TypedLength& operator/=(Divisor iDivisor)
    {
        return *this = *this / iDivisor;
    }

    friend constexpr Time_TypedLength operator+(const Time_TypedLength& iA, const Time_TypedLength& iB)
    {
        CheckSameType(iA, iB);
        return iA.With(Cmn_WrapAdd(iA.mCount, iB.mCount));
    }
    friend constexpr Time_TypedLength operator-(const Time_TypedLength& iA, const Time_TypedLength& iB)
    {
        CheckSameType(iA, iB);
        return iA.With(Cmn_WrapSub(iA.mCount, iB.mCount));
    }
    friend constexpr Time_TypedLength operator%(const Time_TypedLength& iA, const Time_TypedLength& iB)
    {
        CheckSameType(iA, iB);
        return iA % iB.mCount;
    }
    template <std::integral N>
    friend constexpr Time_TypedLength operator%(const Time_TypedLength& iA, N iDivisor)
    {
        return iA.With(Cmn_TruncMod(iA.mCount, static_cast<Cmn_Int64>(iDivisor)));
    }
    template <std::integral N>
    friend constexpr Time_TypedLength operator*(const Time_TypedLength& iA, N iFactor)
    {
        return iA.With(Cmn_WrapMul(iA.mCount, static_cast<Cmn_Int64>(iFactor)));
    }
    friend constexpr Time_TypedLength operator*(const Time_TypedLength& iA, double iFactor)
    {
        return iA.With(Cmn_Float64ToInt64(iA.AsFloat64() * iFactor));
    }
    template <std::integral N>
    friend constexpr Time_TypedLength operator*(N iFactor, const Time_TypedLength& iA)
    {
        return iA * iFactor;
    }
    friend constexpr Time_TypedLength operator*(double iFactor, const Time_TypedLength& iA)
    {
        return iA * iFactor;
    }
    template <std::integral N>
    friend constexpr Time_TypedLength operator/(const Time_TypedLength& iA, N iDivisor)
    {
        return iA.With(Cmn_TruncDiv(iA.mCount, static_cast<Cmn_Int64>(iDivisor)));
    }
    friend constexpr Time_TypedLength operator/(const Time_TypedLength& iA, double iDivisor)
    {
        return iA.With(Cmn_Float64ToInt64(Quotient(iA.AsFloat64(), iDivisor)));
    }
    // How many times the one length holds the other.
    friend constexpr double operator/(const Time_TypedLength& iA, const Time_TypedLength& iB)
    {
        CheckSameType(iA, iB);
        return Quotient(iA.AsFloat64(), iB.AsFloat64());
    }

    friend constexpr bool operator==(const Time_TypedLength& iA, const Time_TypedLength& iB)
    {
        CheckSameType(iA, iB);
        return iA.mCount == iB.mCount;
    }
    friend constexpr std::strong_ordering operator<=>(const Time_TypedLength& iA, const Time_TypedLength& iB)
    {
        CheckSameType(iA, iB);
        return iA.mCount <=> iB.mCount;
    }
    // Whether either, or both, are not zero. Both operands are always evaluated.
    friend constexpr bool operator||(const Time_TypedLength& iA, const Time_TypedLength& iB)
    {
        CheckSameType(iA, iB);
        return iA.mCount != 0 || iB.mCount != 0;
    }
    friend constexpr bool operator&&(const Time_TypedLength& iA, const Time_TypedLength& iB)
    {
        CheckSameType(iA, iB);
        return iA.mCount != 0 && iB.mCount != 0;
    }

    // The word that documents store; see Time_TypedDefs.
    constexpr Cmn_Int64 GetRawDataForSave() const { return Time_TypedDefs::GetRawDataForSave(mCount, mType); }
    // Takes unit and count from such a word.
    constexpr void SetFromRawSavedData(Cmn_Int64 iRaw)
    {
        Time_TypedDefs::SetFromRawSavedData(iRaw, &mCount, &mType);
    }

    // Time_TypedDefs::GetAsXML.
    Cmn_XMLNode GetAsXML(const std::string& iName) const
    {
        return Time_TypedDefs::GetAsXML(iName, mCount, mType);
    }
    // "960000 Ticks long"
    std::string Dump() const { return Time_TypedDefs::Dump(mCount, mType) + " long"; }
    // "960000 ticks", for texts that are kept and read back.
    [[nodiscard]] std::string ToString() const { return Time_TypedDefs::ToString(mCount, mType); }
    // Reads that, "960000 Ticks" and "1 tick". Anything else is false and changes nothing.
    [[nodiscard]] bool FromString(std::string_view iText)
    {
        return Time_TypedDefs::FromString(iText, &mCount, &mType);
    }
    // What Dump gives.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_TypedLength& iLength);

private:
    static constexpr void CheckSameType(const Time_TypedLength& iA, const Time_TypedLength& iB)
    {
        Cmn_ASSERT_AS(iA.mType == iB.mType, "time_type_mismatch", "time/Time_TypedLength");
    }
    static constexpr double Quotient(double iDividend, double iDivisor)
    {
        return Cmn_ASSERT_AS(iDivisor != 0, "divisor != 0", "time/Time_TypedLength") ? iDividend / iDivisor
                                                                                     : 0;
    }
    constexpr Time_TypedLength With(Cmn_Int64 iCount) const { return Time_TypedLength(iCount, mType); }
    constexpr Time_TypedLength& Set(Cmn_Int64 iCount)
    {
        mCount = iCount;
        return *this;
    }

    Cmn_Int64 mCount = 0;
    Time_EType mType = Time_eType_Samples;
};

inline constexpr Time_TypedLength Time_TypedLength::cOneSample{1, Time_eType_Samples};
inline constexpr Time_TypedLength Time_TypedLength::cOneTick{1, Time_eType_Ticks};
inline constexpr Time_TypedLength Time_TypedLength::cMinFadeGap{4, Time_eType_Samples};

// Times of two units that count the same have the same; they do not compare.
template <>
struct std::hash<Time_TypedLength>
{
    std::size_t operator()(const Time_TypedLength& iTime) const noexcept
    {
        return std::hash<Cmn_Int64>()(iTime.AsInt64());
    }
};
