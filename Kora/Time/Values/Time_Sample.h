// Time_Sample: a position in audio samples from the session's origin.
//
// Units:      samples; valid positions run from 0 to the Samples limit of Time_Typed.
// Arithmetic: wraps in 64 bits and checks nothing; only PinToValidRange enforces the limits.
#pragma once

#include "Kora/Time/Values/Time_SampleLength.h"

class [[nodiscard]] Time_Sample
{
public:
    constexpr Time_Sample() = default;
    // That many samples from the session's start; negative before it.
    constexpr explicit Time_Sample(Cmn_Int64 iSamples)
        : mSamples(iSamples)
    {
    }

    constexpr Cmn_Int64 AsInt64() const { return mSamples; }

    constexpr Time_Sample& operator+=(Time_SampleLength iLength) { return *this = *this + iLength; }
    constexpr Time_Sample& operator-=(Time_SampleLength iLength) { return *this = *this - iLength; }
    friend constexpr Time_Sample operator+(Time_Sample iAt, Time_SampleLength iLength)
    {
        return Time_Sample(Cmn_WrapAdd(iAt.mSamples, iLength.AsInt64()));
    }
    friend constexpr Time_Sample operator-(Time_Sample iAt, Time_SampleLength iLength)
    {
        return Time_Sample(Cmn_WrapSub(iAt.mSamples, iLength.AsInt64()));
    }
    friend constexpr Time_SampleLength operator-(Time_Sample iA, Time_Sample iB)
    {
        return Time_SampleLength(Cmn_WrapSub(iA.mSamples, iB.mSamples));
    }
    friend constexpr auto operator<=>(Time_Sample, Time_Sample) = default;

    // At or above the maximum becomes the maximum, at or below the minimum (0) the minimum.
    KORA_API void PinToValidRange();

    // Plain decimal, "-" in front when negative: "3000000000".
    [[nodiscard]] KORA_API std::string ToString() const;
    // Reads 64 bits; a text that is no integer gives 0.
    KORA_API void FromString(const std::string& iText);
    // "sample 44100"
    [[nodiscard]] KORA_API std::string Dump() const;

    // <iName unit="Samples">960000</iName>
    [[nodiscard]] KORA_API Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // The count alone, plain decimal.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, Time_Sample iTime);

private:
    Cmn_Int64 mSamples = 0;
};

template <>
struct std::hash<Time_Sample>
{
    std::size_t operator()(Time_Sample iTime) const noexcept
    {
        return std::hash<Cmn_Int64>()(iTime.AsInt64());
    }
};
