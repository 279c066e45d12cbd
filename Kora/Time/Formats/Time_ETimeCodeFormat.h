// Time_ETimeCodeFormat: the timecode formats, by frame rate and way of counting.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

enum ETimeCodeFormat : Cmn_Int32 {
    eTimeCodeFormat_UseGlobal = 0, // whatever Time_Globals::GetGlobalTimeCodeFormat says at that moment
    eTimeCodeFormat_24 = 1,
    eTimeCodeFormat_25 = 2,
    eTimeCodeFormat_2997 = 3,
    eTimeCodeFormat_2997OMF = 4, // a name only: no arithmetic
    eTimeCodeFormat_2997Drop = 5,
    eTimeCodeFormat_2997DropOMF = 6, // a name only: no arithmetic, and not counted among the drop formats
    eTimeCodeFormat_30 = 7,
    eTimeCodeFormat_30Drop = 8,
    eTimeCodeFormat_23976 = 9,
    eTimeCodeFormat_50 = 10,
    eTimeCodeFormat_5994 = 11,
    eTimeCodeFormat_5994Drop = 12,
    eTimeCodeFormat_60 = 13,
    eTimeCodeFormat_60Drop = 14,
};
