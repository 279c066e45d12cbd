// Sys_OSErrorText: the system's own words for an error code of its files, "Permission denied".
//
// One line of UTF-8 without a full stop, never empty. Threads: any.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <string>

// The code: errno on Linux, GetLastError on Windows.
KORA_API std::string Sys_OSErrorText(Cmn_Int32 iError);
