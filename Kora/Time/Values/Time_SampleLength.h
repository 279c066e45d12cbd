// Time_SampleLength: a distance in audio samples.
//
// Units:      samples; may be negative.
// Arithmetic: wraps in 64 bits and checks nothing.
#pragma once

#include "Bastel/Cmn/Cmn_IntMath.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>

class Cmn_XMLNode;

class [[nodiscard]] Time_SampleLength
{
public:
    constexpr Time_SampleLength() = default;
    // That many samples; a way back is negative.
    constexpr explicit Time_SampleLength(Cmn_Int64 iSamples)
        : mSamples(iSamples)
    {
    }

    constexpr Cmn_Int64 AsInt64() const { return mSamples; }

    constexpr Time_SampleLength operator-() const { return Time_SampleLength(Cmn_WrapNeg(mSamples)); }
    constexpr Time_SampleLength& operator+=(Time_SampleLength iLength) { return *this = *this + iLength; }
    constexpr Time_SampleLength& operator-=(Time_SampleLength iLength) { return *this = *this - iLength; }
    friend constexpr Time_SampleLength operator+(Time_SampleLength iA, Time_SampleLength iB)
    {
        return Time_SampleLength(Cmn_WrapAdd(iA.mSamples, iB.mSamples));
    }
    friend constexpr Time_SampleLength operator-(Time_SampleLength iA, Time_SampleLength iB)
    {
        return Time_SampleLength(Cmn_WrapSub(iA.mSamples, iB.mSamples));
    }
    friend constexpr auto operator<=>(Time_SampleLength, Time_SampleLength) = default;

    // Plain decimal, "-" in front when negative: "44100".
    [[nodiscard]] KORA_API std::string ToString() const;
    // Reads what fits 32 bits and keeps the old value for every other text.
    // Deliberate: positions read 64 bits, lengths 32. Test: LengthsReadOnly32BitsFromText
    KORA_API void FromString(std::string iText);
    // "44100 samples long"
    [[nodiscard]] KORA_API std::string Dump() const;

    // <iName unit="Samples">960000</iName>
    [[nodiscard]] KORA_API Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // The count alone, plain decimal.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, Time_SampleLength iLength);

private:
    Cmn_Int64 mSamples = 0;
};

template <>
struct std::hash<Time_SampleLength>
{
    std::size_t operator()(Time_SampleLength iTime) const noexcept
    {
        return std::hash<Cmn_Int64>()(iTime.AsInt64());
    }
};
