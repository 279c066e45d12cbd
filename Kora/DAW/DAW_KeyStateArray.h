// DAW_KeyStateArray: which keys are down, a bit a key, numbered by key codes or as a
// platform numbers its keys.
//
//     format               key code k is at bit                         bits that are used
//     ByKeyCode            k                                            0 to 112
//     ByWindowsKeyCode     its virtual-key code, extended or not        1 to 255, as
//                          GetKeyboardState numbers its bytes
//     ByMacKeyCode         its virtual key code                         0 to 127, the
//                          layout of a Mac's KeyMap
//
// Layout:    bit n is bit n % 8, counted from the lowest, of byte n / 8; 32 bytes.
// Windows has one virtual-key code for Return and Enter, so that they share a bit there.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <array>

// How the bits are numbered.
enum DAW_EKeyStateArrayFormat : Cmn_Int32 {
    DAW_eKeyStateArrayFormat_ByKeyCode = 0,
    DAW_eKeyStateArrayFormat_ByWindowsKeyCode = 1,
    DAW_eKeyStateArrayFormat_ByMacKeyCode = 2
};

struct DAW_KeyStateArray
{
    // As many as any of the formats numbers.
    static constexpr Cmn_UInt32 cNumBits = 256;

    // False for a bit past the last one.
    [[nodiscard]] constexpr bool GetBit(Cmn_UInt32 iBit) const
    {
        return iBit < cNumBits && (mBytes[iBit / 8] & (1u << iBit % 8)) != 0;
    }
    // Nothing for a bit past the last one.
    constexpr void SetBit(Cmn_UInt32 iBit, bool iIsDown)
    {
        if (iBit >= cNumBits) return;
        const auto mask = static_cast<Cmn_UInt8>(1u << iBit % 8);
        if (iIsDown)
            mBytes[iBit / 8] |= mask;
        else
            mBytes[iBit / 8] &= static_cast<Cmn_UInt8>(~mask);
    }
    friend bool operator==(const DAW_KeyStateArray&, const DAW_KeyStateArray&) = default;

    std::array<Cmn_UInt8, cNumBits / 8> mBytes{};
};
