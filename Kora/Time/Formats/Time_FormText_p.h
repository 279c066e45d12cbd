// Time_FormText: what the forms of time share: digits into a caller's buffer, and a text read part by part.
//
// Threads: plain functions and a plain value; nothing allocates.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>

// Two decimal digits of all numbers below 100.
inline constexpr std::array<std::array<char, 2>, 100> Time_cTwoDigits = [] {
    std::array<std::array<char, 2>, 100> digits = {};
    for (std::size_t i = 0; i < digits.size(); ++i)
        digits[i] = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
    return digits;
}();

// Exactly two digits of a number below 100; returns where they end.
inline char* Time_WriteTwoDigits(char* oText, Cmn_UInt32 iNumber)
{
    oText[0] = Time_cTwoDigits[iNumber][0];
    oText[1] = Time_cTwoDigits[iNumber][1];
    return oText + 2;
}

// As many digits as the number has; returns where they end.
inline char* Time_WriteNumber(char* oText, Cmn_UInt64 iNumber)
{
    std::size_t count = 1;
    for (Cmn_UInt64 left = iNumber; left >= 10; left /= 100)
        count += left >= 100 ? 2 : 1;
    char* const end = oText + count;
    char* at = end;
    for (; iNumber >= 100; iNumber /= 100)
        Time_WriteTwoDigits(at -= 2, static_cast<Cmn_UInt32>(iNumber % 100));
    if (iNumber >= 10)
        Time_WriteTwoDigits(at - 2, static_cast<Cmn_UInt32>(iNumber));
    else
        *(at - 1) = static_cast<char>('0' + iNumber);
    return end;
}

// The same with a "-" in front of what is below 0.
inline char* Time_WriteInteger(char* oText, Cmn_Int64 iNumber)
{
    if (iNumber >= 0) return Time_WriteNumber(oText, static_cast<Cmn_UInt64>(iNumber));
    *oText = '-';
    return Time_WriteNumber(oText + 1, 0 - static_cast<Cmn_UInt64>(iNumber));
}

// A text that is taken from the front.
class Time_FormReader
{
public:
    enum EInteger { eInteger_None, eInteger_TooLarge, eInteger_Taken };

    // Numbers above it are read as it: every form refuses them.
    static constexpr Cmn_Int64 cTooMuch = 1000000000000000;

    explicit Time_FormReader(std::string_view iText)
        : mRest(iText)
    {
    }

    bool IsAtEnd() const { return mRest.empty(); }
    std::string_view GetRest() const { return mRest; }

    bool Take(char iCharacter)
    {
        if (mRest.empty() || mRest.front() != iCharacter) return false;
        mRest.remove_prefix(1);
        return true;
    }

    // Digits, as many as there are; their count. The number is 0 without one.
    std::size_t TakeNumber(Cmn_Int64& oNumber)
    {
        std::size_t count = CountSafeDigits(oNumber);
        if (count == cSafeDigits) {
            for (; count < mRest.size() && IsDigit(mRest[count]); ++count)
                oNumber = (std::min)(oNumber * 10 + (mRest[count] - '0'), cTooMuch);
        }
        mRest.remove_prefix(count);
        return count;
    }

    // A whole number of 64 bits with a sign or none, between blanks or none.
    EInteger TakeInteger(Cmn_Int64& oNumber)
    {
        // Most texts are plain digits.
        if (const std::size_t count = CountSafeDigits(oNumber);
            count != 0 && count < cSafeDigits && (count == mRest.size() || mRest[count] > '9'))
        {
            mRest.remove_prefix(count);
            return eInteger_Taken;
        }
        TakeBlanks();
        if (mRest.size() > 1 && mRest[0] == '+' && mRest[1] != '-') mRest.remove_prefix(1);
        const auto [end, error] = std::from_chars(mRest.data(), mRest.data() + mRest.size(), oNumber);
        if (error == std::errc::invalid_argument) return eInteger_None;
        mRest.remove_prefix(static_cast<std::size_t>(end - mRest.data()));
        TakeBlanks();
        return error == std::errc() ? eInteger_Taken : eInteger_TooLarge;
    }

    void TakeBlanks()
    {
        while (!mRest.empty() && (mRest.front() == ' ' || (mRest.front() >= '\t' && mRest.front() <= '\r')))
            mRest.remove_prefix(1);
    }

private:
    static constexpr std::size_t cSafeDigits = 15; // of a number below cTooMuch

    static bool IsDigit(char iCharacter) { return iCharacter >= '0' && iCharacter <= '9'; }

    // Digits at the front, 15 at most, and the number that they are.
    std::size_t CountSafeDigits(Cmn_Int64& oNumber) const
    {
        const std::size_t most = (std::min)(mRest.size(), cSafeDigits);
        std::size_t count = 0;
        oNumber = 0;
        for (; count < most && IsDigit(mRest[count]); ++count)
            oNumber = oNumber * 10 + (mRest[count] - '0');
        return count;
    }

    std::string_view mRest;
};
