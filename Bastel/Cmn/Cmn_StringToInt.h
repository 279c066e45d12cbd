// Cmn_StringToInt: decimal text to integer, whole or not at all.
//
// Accepts white space, then an optional sign, then digits, then white space. Anything else (no digit, other
// characters, a value outside the integer's range) throws Cmn_Exception.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <string_view>

KORA_API Cmn_Int64 Cmn_StringToInt64(std::string_view iText);
KORA_API Cmn_Int32 Cmn_StringToInt32(std::string_view iText);
