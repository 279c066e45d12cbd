// DAW_KeyConversionUtils: what a key is called, what it types, and which code the platforms have for it.
//
//     DAW_eKeyCode_PageUp → "'PageUp'" in preferences, "PgUp" beside a menu item,
//                           Windows 0x21 with the extended flag, Mac 0x74
//
// Values:    unknown codes are welcome everywhere and have no character, no platform code and no twin.
//            What a platform or a character does not have becomes DAW_eKeyCode_Undeclared,
//            cNoWindowsKeyCode, cNoMacKeyCode or 0.
// Threads:   any; nothing is kept.
// Real time: a table is read at an index; only the texts allocate.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/DAW/DAW_EKeyCode.h"

#include <string>

// Not in the exported class, so that every module has them as constants of its own.
struct DAW_NoKeyCodes
{
    static constexpr Cmn_UInt16 cNoWindowsKeyCode = 0;  // of a key that Windows does not have
    static constexpr Cmn_UInt16 cNoMacKeyCode = 0xFFFF; // 0 is the letter A
};

class KORA_API DAW_KeyConversionUtils : public DAW_NoKeyCodes
{
public:
    // For preferences: "'A'", "Numpad '4'", "'PageUp'". Undeclared, Cancel and unknown codes are localized.
    [[nodiscard]] static std::string DAW_EKeyCodeToDescriptiveString(DAW_EKeyCode iKeyCode);
    // The bare key, short, beside a menu item: "A", "7", "Num 4", "PgUp", "Left", "F5". Cancel is localized;
    // Undeclared and unknown codes are "", as beside an item without a key. No two keys share a text.
    [[nodiscard]] static std::string DAW_EKeyCodeToDisplayString(DAW_EKeyCode iKeyCode);

    // What the key types without shift on the US layout: 'a', '7', '`'; the keypad's keys type what is
    // written on them. BackSpace 8, Tab 9, Return and Enter 13, Esc 27, Delete 127. 0: types nothing.
    [[nodiscard]] static char DAW_EKeyCodeToChar(DAW_EKeyCode iKeyCode);
    // The main keyboard's key that types the character, with or without shift: 'a' and 'A' give A, '*' gives
    // 8. A line feed is Return as well.
    [[nodiscard]] static DAW_EKeyCode CharToDAW_EKeyCode(char iChar);
    // What the same key types with shift: 'a' → 'A', '1' → '!'. Characters that no key
    // types without shift stay.
    [[nodiscard]] static char CharToShiftedChar(char iChar);

    // Virtual-key codes; the flag is the key message's extended-key flag. A code that has one key only gives
    // it with either flag, so that the keypad's arrows without NumLock are arrows, and the right Alt is Alt;
    // Return and Enter are told apart by the flag.
    [[nodiscard]] static DAW_EKeyCode WindowsKeyCodeToDAW_EKeyCode(Cmn_UInt16 iWindowsKeyCode,
                                                                   bool iIsExtended);
    // oIsExtended: false for a key that Windows has no code for.
    [[nodiscard]] static Cmn_UInt16 DAW_EKeyCodeToWindowsKeyCode(DAW_EKeyCode iKeyCode, bool& oIsExtended);
    // The flag of DAW_EKeyCodeToWindowsKeyCode alone.
    [[nodiscard]] static bool DAW_EKeyCodeIsWindowsExtendedCode(DAW_EKeyCode iKeyCode);

    // Virtual key codes of key events. Either option key gives Alt, which gives the left one. Macs have no
    // Cancel, Select, Execute, SnapShot, Insert, F21 to F24, NumLock (Clear is in its place) and ScrollLock.
    [[nodiscard]] static DAW_EKeyCode MacKeyCodeToDAW_EKeyCode(Cmn_UInt16 iMacKeyCode);
    // cNoMacKeyCode for a key that Macs do not have.
    [[nodiscard]] static Cmn_UInt16 DAW_EKeyCodeToMacKeyCode(DAW_EKeyCode iKeyCode);

    // The key with the same writing on the other part of the keyboard, both ways: Numpad4 ↔ 4,
    // Enter ↔ Return, NumpadDivide ↔ Slash. NumpadMultiply and NumpadPlus have none: the main
    // keyboard needs shift for theirs.
    [[nodiscard]] static DAW_EKeyCode DAW_EKeyCodeToOtherNumpadKeyCode(DAW_EKeyCode iKeyCode);

private:
    DAW_KeyConversionUtils() = default;
};
