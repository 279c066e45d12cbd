// Time_TypedBase: what a global and a local typed position have in common; T is the derived class.
//
// Units:      samples, internal ticks or frames, by GetType.
// Arithmetic: wraps in 64 bits. Two units in one operation are reported as "time_type_mismatch"; it then
//             works on the raw counts and keeps the left operand's unit: 5 samples + 3 ticks are 8 samples.
#pragma once

#include "Kora/Time/Values/Time_Sample.h"
#include "Kora/Time/Values/Time_Tick.h"
#include "Kora/Time/Values/Time_TypedLength.h"

template <class T>
class Time_TypedBase
{
public:
    constexpr Time_EType GetType() const { return mType; }
    // Renames the unit; the count stays as it is. Time_Converter::ToType converts.
    constexpr void SetTimeType(Time_EType iType) { mType = iType; }
    // The unit stays.
    constexpr void SetTime(Cmn_Int64 iCount) { mCount = iCount; }
    constexpr Cmn_Int64 AsInt64() const { return mCount; }
    [[nodiscard]] constexpr double AsFloat64() const { return static_cast<double>(mCount); }
    // The low 32 bits of the count, unchecked.
    [[nodiscard]] constexpr Cmn_Int32 AsInt32X() const { return static_cast<Cmn_Int32>(mCount); }
    // The least count that there is stays as it is.
    [[nodiscard]] constexpr T AbsoluteValue() const
    {
        return T(mCount < 0 ? Cmn_WrapNeg(mCount) : mCount, mType);
    }

    // The count as its unit's own class; another unit is reported.
    constexpr Time_Sample AsSample() const
    {
        Cmn_ASSERT_IN("time/Time_TypedBase", mType == Time_eType_Samples);
        return Time_Sample(mCount);
    }
    // As AsSample, of ticks.
    constexpr Time_Tick AsTick() const
    {
        Cmn_ASSERT_IN("time/Time_TypedBase", mType == Time_eType_Ticks);
        return Time_Tick(mCount);
    }

    // (a + b) / 2, truncated toward zero: of -3 and 0 it is -1.
    [[nodiscard]] constexpr T MidPointBetween(const T& iOther) const
    {
        CheckSameType(*this, iOther);
        return T(Cmn_WrapAdd(mCount, iOther.AsInt64()) / 2, mType);
    }

    constexpr T& operator++() { return Set(Cmn_WrapAdd<Cmn_Int64>(mCount, 1)); }
    constexpr T& operator--() { return Set(Cmn_WrapSub<Cmn_Int64>(mCount, 1)); }
    constexpr T operator++(int)
    {
        const T old(mCount, mType);
        ++*this;
        return old;
    }
    constexpr T operator--(int)
    {
        const T old(mCount, mType);
        --*this;
        return old;
    }
    constexpr T operator-() const { return T(Cmn_WrapNeg(mCount), mType); }

    constexpr T& operator+=(const Time_TypedLength& iLength)
    {
        CheckSameType(*this, iLength);
        return Set(Cmn_WrapAdd(mCount, iLength.AsInt64()));
    }
    constexpr T& operator-=(const Time_TypedLength& iLength)
    {
        CheckSameType(*this, iLength);
        return Set(Cmn_WrapSub(mCount, iLength.AsInt64()));
    }
    friend constexpr T operator+(const T& iAt, const Time_TypedLength& iLength) { return T(iAt) += iLength; }
    friend constexpr T operator-(const T& iAt, const Time_TypedLength& iLength) { return T(iAt) -= iLength; }
    // A position in the length's unit.
    friend constexpr T operator+(const Time_TypedLength& iLength, const T& iAt)
    {
        CheckSameType(iLength, iAt);
        return T(Cmn_WrapAdd(iLength.AsInt64(), iAt.AsInt64()), iLength.GetType());
    }
    friend constexpr T operator-(const Time_TypedLength& iLength, const T& iAt)
    {
        CheckSameType(iLength, iAt);
        return T(Cmn_WrapSub(iLength.AsInt64(), iAt.AsInt64()), iLength.GetType());
    }
    friend constexpr Time_TypedLength operator-(const T& iA, const T& iB)
    {
        CheckSameType(iA, iB);
        return Time_TypedLength(Cmn_WrapSub(iA.AsInt64(), iB.AsInt64()), iA.GetType());
    }

    friend constexpr bool operator==(const T& iA, const T& iB)
    {
        CheckSameType(iA, iB);
        return iA.AsInt64() == iB.AsInt64();
    }
    friend constexpr std::strong_ordering operator<=>(const T& iA, const T& iB)
    {
        CheckSameType(iA, iB);
        return iA.AsInt64() <=> iB.AsInt64();
    }
    // Whether either, or both, are not zero. Both operands are always evaluated.
    friend constexpr bool operator||(const T& iA, const T& iB)
    {
        CheckSameType(iA, iB);
        return iA.AsInt64() != 0 || iB.AsInt64() != 0;
    }
    friend constexpr bool operator&&(const T& iA, const T& iB)
    {
        CheckSameType(iA, iB);
        return iA.AsInt64() != 0 && iB.AsInt64() != 0;
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
    // "960000 Ticks"
    std::string Dump() const { return Time_TypedDefs::Dump(mCount, mType); }
    // "960000 ticks", for texts that are kept and read back.
    [[nodiscard]] std::string ToString() const { return Time_TypedDefs::ToString(mCount, mType); }
    // Reads that, "960000 Ticks" and "1 tick". Anything else is false and changes nothing.
    [[nodiscard]] bool FromString(std::string_view iText)
    {
        return Time_TypedDefs::FromString(iText, &mCount, &mType);
    }
    // What Dump gives. Ask for <ostream> yourself, as for every stream.
    friend std::ostream& operator<<(std::ostream& ioStream, const T& iTime)
    {
        return ioStream << iTime.Dump();
    }

protected:
    // 0 samples.
    constexpr Time_TypedBase() = default;
    constexpr Time_TypedBase(Cmn_Int64 iCount, Time_EType iType)
        : mCount(iCount)
        , mType(iType)
    {
    }

private:
    template <class A, class B>
    static constexpr void CheckSameType(const A& iA, const B& iB)
    {
        Cmn_ASSERT_AS(iA.GetType() == iB.GetType(), "time_type_mismatch", "time/Time_TypedBase");
    }
    constexpr T& Set(Cmn_Int64 iCount)
    {
        mCount = iCount;
        return static_cast<T&>(*this);
    }

    Cmn_Int64 mCount = 0;
    Time_EType mType = Time_eType_Samples;
};
