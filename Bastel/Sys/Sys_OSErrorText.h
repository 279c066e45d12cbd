// Sys_OSErrorText: the words for an error code: the system's own, "Permission denied", or the library's, "a
// name has 1 to 31 characters".
//
// One line of UTF-8 without a full stop, never empty. Threads: any.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <string>

// The code: errno on Linux, GetLastError on Windows; below 0 one of ESDSError or Sys_FileSystem::EError.
[[nodiscard]] KORA_API std::string Sys_OSErrorText(Cmn_Int32 iError);
