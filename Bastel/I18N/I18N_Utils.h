// I18N_Utils: the library's localisable texts by identifier.
//
// One table, Strings.def, yields the string resources of the Windows DLL and the compiled table elsewhere.
// Texts are UTF-8. Threads: any; the table is read only.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <string>

class KORA_API I18N_Utils
{
public:
    // The text of an identifier; empty when the table has none.
    [[nodiscard]] static std::string GetString(Cmn_Int32 iID);
};
