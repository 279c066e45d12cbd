// Tool_Text: numbers in and out of text, without locales and without allocating per number.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <charconv>
#include <string>
#include <string_view>

// The whole text as a decimal integer, with or without "-"; false, with the out untouched, for anything else.
template <class Integer>
bool Tool_ParseInteger(std::string_view iText, Integer& oValue)
{
    Integer value = 0;
    const char* const end = iText.data() + iText.size();
    const auto [stop, error] = std::from_chars(iText.data(), end, value);
    if (error != std::errc() || stop != end) return false;
    oValue = value;
    return true;
}

inline void Tool_AppendInteger(Cmn_Int64 iValue, std::string& ioText)
{
    char digits[24];
    ioText.append(digits, std::to_chars(digits, digits + sizeof digits, iValue).ptr);
}

// At least iDigits digits, zeros in front. iValue is not negative.
inline void Tool_AppendPadded(Cmn_Int64 iValue, int iDigits, std::string& ioText)
{
    for (Cmn_Int64 digits = 1, power = 10; digits < iDigits; ++digits, power *= 10)
        if (iValue < power) ioText += '0';
    Tool_AppendInteger(iValue, ioText);
}
