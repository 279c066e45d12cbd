// DAW_EKeyCode: the keys of a keyboard, the same on every platform.
//
// Fixed:     saved key bindings hold these values; no key is ever renumbered. DAW_KeyConversionUtils has
//            their texts and the platforms' own codes.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

enum DAW_EKeyCode : Cmn_Int32 {
    DAW_eKeyCode_Undeclared = 0, // no key
    DAW_eKeyCode_Cancel = 1,     // Ctrl+Break
    // Editing and travel.
    DAW_eKeyCode_BackSpace = 2,
    DAW_eKeyCode_Tab = 3,
    DAW_eKeyCode_Clear = 4,
    DAW_eKeyCode_Return = 5,
    DAW_eKeyCode_Esc = 6,
    DAW_eKeyCode_Space = 7,
    DAW_eKeyCode_PageUp = 8,
    DAW_eKeyCode_PageDown = 9,
    DAW_eKeyCode_Home = 10,
    DAW_eKeyCode_End = 11,
    DAW_eKeyCode_LeftArrow = 12,
    DAW_eKeyCode_RightArrow = 13,
    DAW_eKeyCode_UpArrow = 14,
    DAW_eKeyCode_DownArrow = 15,
    DAW_eKeyCode_Select = 16,
    DAW_eKeyCode_Execute = 17,
    DAW_eKeyCode_SnapShot = 18, // print screen
    DAW_eKeyCode_Insert = 19,
    DAW_eKeyCode_Delete = 20,
    DAW_eKeyCode_Help = 21,
    // The main keyboard.
    DAW_eKeyCode_OpenBracket = 22,
    DAW_eKeyCode_CloseBracket = 23,
    DAW_eKeyCode_Slash = 24,
    DAW_eKeyCode_BackSlash = 25,
    DAW_eKeyCode_Comma = 26,
    DAW_eKeyCode_Period = 27,
    // Deliberate: 0 stands here, and not before 1. Test: KeyTexts.EachCodeHasItsText
    DAW_eKeyCode_0 = 28,
    DAW_eKeyCode_Quote = 29,
    DAW_eKeyCode_Semicolon = 30,
    DAW_eKeyCode_Tilde = 31, // types ` without shift
    DAW_eKeyCode_1 = 32,
    DAW_eKeyCode_2 = 33,
    DAW_eKeyCode_3 = 34,
    DAW_eKeyCode_4 = 35,
    DAW_eKeyCode_5 = 36,
    DAW_eKeyCode_6 = 37,
    DAW_eKeyCode_7 = 38,
    DAW_eKeyCode_8 = 39,
    DAW_eKeyCode_9 = 40,
    DAW_eKeyCode_A = 41,
    DAW_eKeyCode_B = 42,
    DAW_eKeyCode_C = 43,
    DAW_eKeyCode_D = 44,
    DAW_eKeyCode_E = 45,
    DAW_eKeyCode_F = 46,
    DAW_eKeyCode_G = 47,
    DAW_eKeyCode_H = 48,
    DAW_eKeyCode_I = 49,
    DAW_eKeyCode_J = 50,
    DAW_eKeyCode_K = 51,
    DAW_eKeyCode_L = 52,
    DAW_eKeyCode_M = 53,
    DAW_eKeyCode_N = 54,
    DAW_eKeyCode_O = 55,
    DAW_eKeyCode_P = 56,
    DAW_eKeyCode_Q = 57,
    DAW_eKeyCode_R = 58,
    DAW_eKeyCode_S = 59,
    DAW_eKeyCode_T = 60,
    DAW_eKeyCode_U = 61,
    DAW_eKeyCode_V = 62,
    DAW_eKeyCode_W = 63,
    DAW_eKeyCode_X = 64,
    DAW_eKeyCode_Y = 65,
    DAW_eKeyCode_Z = 66,
    DAW_eKeyCode_Minus = 67,
    DAW_eKeyCode_Equals = 68,
    // The numeric keypad.
    DAW_eKeyCode_Numpad0 = 69,
    DAW_eKeyCode_Numpad1 = 70,
    DAW_eKeyCode_Numpad2 = 71,
    DAW_eKeyCode_Numpad3 = 72,
    DAW_eKeyCode_Numpad4 = 73,
    DAW_eKeyCode_Numpad5 = 74,
    DAW_eKeyCode_Numpad6 = 75,
    DAW_eKeyCode_Numpad7 = 76,
    DAW_eKeyCode_Numpad8 = 77,
    DAW_eKeyCode_Numpad9 = 78,
    DAW_eKeyCode_NumpadMultiply = 79,
    DAW_eKeyCode_NumpadPlus = 80,
    DAW_eKeyCode_NumpadMinus = 81,
    DAW_eKeyCode_NumpadPeriod = 82,
    DAW_eKeyCode_NumpadDivide = 83,
    DAW_eKeyCode_NumpadEquals = 84,
    DAW_eKeyCode_Enter = 85, // the keypad's
    // Function and lock keys.
    DAW_eKeyCode_F1 = 86,
    DAW_eKeyCode_F2 = 87,
    DAW_eKeyCode_F3 = 88,
    DAW_eKeyCode_F4 = 89,
    DAW_eKeyCode_F5 = 90,
    DAW_eKeyCode_F6 = 91,
    DAW_eKeyCode_F7 = 92,
    DAW_eKeyCode_F8 = 93,
    DAW_eKeyCode_F9 = 94,
    DAW_eKeyCode_F10 = 95,
    DAW_eKeyCode_F11 = 96,
    DAW_eKeyCode_F12 = 97,
    DAW_eKeyCode_F13 = 98,
    DAW_eKeyCode_F14 = 99,
    DAW_eKeyCode_F15 = 100,
    DAW_eKeyCode_F16 = 101,
    DAW_eKeyCode_F17 = 102,
    DAW_eKeyCode_F18 = 103,
    DAW_eKeyCode_F19 = 104,
    DAW_eKeyCode_F20 = 105,
    DAW_eKeyCode_F21 = 106,
    DAW_eKeyCode_F22 = 107,
    DAW_eKeyCode_F23 = 108,
    DAW_eKeyCode_F24 = 109,
    DAW_eKeyCode_NumLock = 110,
    DAW_eKeyCode_ScrollLock = 111,
    DAW_eKeyCode_Alt = 112 // the Mac's option key
};

// The codes run from 0 to cDAW_NumKeyCodes - 1; every other value is an unknown key.
inline constexpr Cmn_Int32 cDAW_NumKeyCodes = DAW_eKeyCode_Alt + 1;

// Whether a number is a key's code.
[[nodiscard]] constexpr bool DAW_IsKeyCode(Cmn_Int32 iValue)
{
    return iValue >= 0 && iValue < cDAW_NumKeyCodes;
}
