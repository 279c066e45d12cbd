// Sys_Utils: small texts for values that are read by people.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <string>

// A four-character code as its characters, the highest byte first: 0x4D545220 is "MTR ". Bytes that are no
// printing ASCII characters become '.'.
[[nodiscard]] KORA_API std::string Sys_Utils_OSTypeToString(Cmn_Int32 iCode);
