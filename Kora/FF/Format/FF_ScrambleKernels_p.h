// FF_ScrambleKernels: the masks of scrambled streams, as pure functions of type, key and position.
//
//   types 1 to 4   byte at position p ^= p × key                     repeats every 256 bytes
//   type 5         byte at position p ^= (p ÷ 4096) × key            repeats every 256 blocks of 4096 bytes
//
// All arithmetic is modulo 256. Masking twice gives back what was there.
// Real time: nothing is allocated, nothing waits.
#pragma once

#include "Kora/FF/Format/FF_EncryptionType.h"

#include <cstddef>

// What the type multiplies the raw key byte by; 0 for a type that has no mask.
constexpr Cmn_UInt8 FF_ScrambleMultiplier(Cmn_UInt32 iType)
{
    switch (iType) {
    case eFF_EncryptionType_Byte29:
        return 29;
    case eFF_EncryptionType_Byte17:
        return 17;
    case eFF_EncryptionType_Byte93:
        return 93;
    case eFF_EncryptionType_Byte127:
        return 127;
    case eFF_EncryptionType_Block93:
        return 93;
    default:
        return 0;
    }
}

// Turns the raw key byte of a file into its key. False, and the byte stays, for a type that has no mask.
constexpr bool FF_ScrambleKey(Cmn_UInt32 iType, Cmn_UInt8& ioKey)
{
    const Cmn_UInt8 multiplier = FF_ScrambleMultiplier(iType);
    if (multiplier == 0) return false;
    ioKey = static_cast<Cmn_UInt8>(ioKey * multiplier);
    return true;
}

// Masks the bytes that stand at iPosition and after. Nothing for a type that has no mask.
void FF_Scramble(Cmn_UInt32 iType, Cmn_UInt8 iKey, void* ioBytes, std::size_t iCount, Cmn_Int64 iPosition);
