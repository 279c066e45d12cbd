// Cmn_StringToInt: decimal text to integer, whole or not at all.
//
// Accepts white space, then an optional sign, then digits, then white space (blank, \t, \n, \v, \f, \r,
// whatever the locale). Throws Cmn_Exception: Cmn_eMessage_NotAnInteger for any other text,
// Cmn_eMessage_IntegerOutOfRange for a value that the integer does not hold.
//
//   Cmn_StringToInt32(" +42\n") is 42; "", "- 1", "4 2", "0x10" and "1.0" are refused.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <string_view>

// The 64-bit integer that the text is.
[[nodiscard]] KORA_API Cmn_Int64 Cmn_StringToInt64(std::string_view iText);
// The 32-bit integer that the text is.
[[nodiscard]] KORA_API Cmn_Int32 Cmn_StringToInt32(std::string_view iText);
