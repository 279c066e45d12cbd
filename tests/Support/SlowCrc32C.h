// CRC-32C bit by bit, straight from its definition, to compare with.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <cstddef>

inline Cmn_UInt32 SlowCrc32C(Cmn_UInt32 iSumOfA, const Cmn_UInt8* iB, std::size_t iCount)
{
    Cmn_UInt32 remainder = ~iSumOfA;
    for (std::size_t i = 0; i < iCount; ++i) {
        remainder ^= iB[i];
        for (int bit = 0; bit < 8; ++bit)
            remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? 0x82F63B78 : 0);
    }
    return ~remainder;
}
