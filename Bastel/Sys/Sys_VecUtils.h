// Sys_VecUtils: arithmetic over whole arrays, in plain loops that compilers vectorise.
//
// Real time: no allocation, no call to the system.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <span>

class KORA_API Sys_VecUtils
{
public:
    // Exclusive or of each byte and the mask: done twice, it gives back what was there.
    static void XorConstant(std::span<Cmn_UInt8> ioBytes, Cmn_UInt8 iMask);
};
