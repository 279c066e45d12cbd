// SDS_PathHash: the hash of a path from the root, CRC-32C's remainder over its bytes, so that it goes on from node to
// node and is that of the whole path's text at once.
//
//   root   ─ "" ──────────── cStart
//   Mixer  ─ "Mixer" ─────── Of(cStart, …)             its children begin at WithSlash of it: "Mixer/"
//   Bus 1  ─ "Mixer/Bus 1" ─ Of(that, …)
#pragma once

#include "Bastel/Sys/Sys_Crc32C_p.h"

namespace SDS_PathHash {

constexpr Cmn_UInt32 cStart = 0xFFFFFFFF;

inline Cmn_UInt32 Of(Cmn_UInt32 iBefore, const char* iBytes, std::size_t iCount)
{
    return Sys_Crc32CBestKernel.load(std::memory_order_relaxed)(
        iBefore, reinterpret_cast<const Cmn_UInt8*>(iBytes), iCount);
}

// What a byte does to the remainder, bit by bit, and back.
constexpr Cmn_UInt32 WithSlash(Cmn_UInt32 iHash)
{
    Cmn_UInt32 remainder = iHash ^ '/';
    for (int bit = 0; bit < 8; ++bit)
        remainder = Sys_Crc32CField::TimesX(remainder);
    return remainder;
}
constexpr Cmn_UInt32 WithoutSlash(Cmn_UInt32 iHash)
{
    Cmn_UInt32 remainder = iHash;
    for (int bit = 0; bit < 8; ++bit)
        remainder = Sys_Crc32CField::OverX(remainder);
    return remainder ^ '/';
}
static_assert(WithoutSlash(WithSlash(0x12345678)) == 0x12345678);

} // namespace SDS_PathHash
