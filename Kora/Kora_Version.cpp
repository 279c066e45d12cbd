#include "Kora/Kora_Version.h"

const char* Kora_Version::GetText() { return KORA_VERSION_TEXT; }

Kora_VersionNumber Kora_Version::Get() { return GetOfHeaders(); }
