// FF_TOCTexts: numbers in the message table of what a table of contents says (Bastel/I18N/Strings.def).
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

namespace FF_TOCTexts {

enum EText : Cmn_Int32 {
    eText_NoDisplayInfo = 2021,
    eText_Invalid = 2022,
    eText_Bytes = 2023,
    eText_TooLong = 2024
};

} // namespace FF_TOCTexts
