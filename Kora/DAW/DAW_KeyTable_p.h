// DAW_KeyRow: all that is known of a key, one row a key in the order of DAW_EKeyCode. Every conversion reads
// this table or one that the compiler turns round from it, so that no two of them can disagree.
//
// Characters are those of the US layout: what the key types alone and with shift. Windows codes are the
// virtual-key codes, with the extended-key flag that Windows gives beside them; Mac codes are the virtual
// key codes of key events.
#pragma once

#include "Kora/DAW/DAW_EKeyCode.h"

#include <algorithm>
#include <iterator>

struct DAW_KeyRow
{
    DAW_EKeyCode mKeyCode;
    const char* mDescriptiveText; // "": localized
    const char* mDisplayText;
    char mChar;        // 0: types none
    char mShiftedChar; // 0: types none other
    Cmn_UInt16 mWindowsKeyCode;
    bool mIsWindowsExtended;
    Cmn_UInt16 mMacKeyCode;
    DAW_EKeyCode mOtherNumpadKeyCode;
};

// None of the platform's: Windows leaves 0 unused, while 0 is the letter A on a Mac.
inline constexpr Cmn_UInt16 cDAW_NoWindows = 0;
inline constexpr Cmn_UInt16 cDAW_NoMac = 0xFFFF;
inline constexpr DAW_EKeyCode cDAW_NoTwin = DAW_eKeyCode_Undeclared;

inline constexpr DAW_KeyRow cDAW_KeyRows[] = {
    {DAW_eKeyCode_Undeclared, "", "", 0, 0, cDAW_NoWindows, false, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_Cancel, "", "", 0, 0, 0x03, true, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_BackSpace, "'BackSpace'", "Backspace", '\b', 0, 0x08, false, 0x33, cDAW_NoTwin},
    {DAW_eKeyCode_Tab, "'Tab'", "Tab", '\t', 0, 0x09, false, 0x30, cDAW_NoTwin},
    {DAW_eKeyCode_Clear, "'Clear'", "Clear", 0, 0, 0x0C, false, 0x47, cDAW_NoTwin},
    {DAW_eKeyCode_Return, "'Return'", "Return", '\r', 0, 0x0D, false, 0x24, DAW_eKeyCode_Enter},
    {DAW_eKeyCode_Esc, "'Esc'", "Esc", '\x1B', 0, 0x1B, false, 0x35, cDAW_NoTwin},
    {DAW_eKeyCode_Space, "'Space'", "Space", ' ', 0, 0x20, false, 0x31, cDAW_NoTwin},
    {DAW_eKeyCode_PageUp, "'PageUp'", "PgUp", 0, 0, 0x21, true, 0x74, cDAW_NoTwin},
    {DAW_eKeyCode_PageDown, "'PageDown'", "PgDn", 0, 0, 0x22, true, 0x79, cDAW_NoTwin},
    {DAW_eKeyCode_Home, "'Home'", "Home", 0, 0, 0x24, true, 0x73, cDAW_NoTwin},
    {DAW_eKeyCode_End, "'End'", "End", 0, 0, 0x23, true, 0x77, cDAW_NoTwin},
    {DAW_eKeyCode_LeftArrow, "'LeftArrow'", "Left", 0, 0, 0x25, true, 0x7B, cDAW_NoTwin},
    {DAW_eKeyCode_RightArrow, "'RightArrow'", "Right", 0, 0, 0x27, true, 0x7C, cDAW_NoTwin},
    {DAW_eKeyCode_UpArrow, "'UpArrow'", "Up", 0, 0, 0x26, true, 0x7E, cDAW_NoTwin},
    {DAW_eKeyCode_DownArrow, "'DownArrow'", "Down", 0, 0, 0x28, true, 0x7D, cDAW_NoTwin},
    {DAW_eKeyCode_Select, "'Select'", "Select", 0, 0, 0x29, false, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_Execute, "'Execute'", "Execute", 0, 0, 0x2B, false, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_SnapShot, "'SnapShot'", "PrtSc", 0, 0, 0x2C, true, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_Insert, "'Insert'", "Ins", 0, 0, 0x2D, true, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_Delete, "'Delete'", "Del", '\x7F', 0, 0x2E, true, 0x75, cDAW_NoTwin},
    {DAW_eKeyCode_Help, "'Help'", "Help", 0, 0, 0x2F, false, 0x72, cDAW_NoTwin},
    {DAW_eKeyCode_OpenBracket, "'['", "[", '[', '{', 0xDB, false, 0x21, cDAW_NoTwin},
    {DAW_eKeyCode_CloseBracket, "']'", "]", ']', '}', 0xDD, false, 0x1E, cDAW_NoTwin},
    {DAW_eKeyCode_Slash, "'/'", "/", '/', '?', 0xBF, false, 0x2C, DAW_eKeyCode_NumpadDivide},
    {DAW_eKeyCode_BackSlash, "'\\'", "\\", '\\', '|', 0xDC, false, 0x2A, cDAW_NoTwin},
    {DAW_eKeyCode_Comma, "','", ",", ',', '<', 0xBC, false, 0x2B, cDAW_NoTwin},
    {DAW_eKeyCode_Period, "'.'", ".", '.', '>', 0xBE, false, 0x2F, DAW_eKeyCode_NumpadPeriod},
    {DAW_eKeyCode_0, "'0'", "0", '0', ')', 0x30, false, 0x1D, DAW_eKeyCode_Numpad0},
    {DAW_eKeyCode_Quote, "'''", "'", '\'', '"', 0xDE, false, 0x27, cDAW_NoTwin},
    {DAW_eKeyCode_Semicolon, "';'", ";", ';', ':', 0xBA, false, 0x29, cDAW_NoTwin},
    {DAW_eKeyCode_Tilde, "'Tilde'", "~", '`', '~', 0xC0, false, 0x32, cDAW_NoTwin},
    {DAW_eKeyCode_1, "'1'", "1", '1', '!', 0x31, false, 0x12, DAW_eKeyCode_Numpad1},
    {DAW_eKeyCode_2, "'2'", "2", '2', '@', 0x32, false, 0x13, DAW_eKeyCode_Numpad2},
    {DAW_eKeyCode_3, "'3'", "3", '3', '#', 0x33, false, 0x14, DAW_eKeyCode_Numpad3},
    {DAW_eKeyCode_4, "'4'", "4", '4', '$', 0x34, false, 0x15, DAW_eKeyCode_Numpad4},
    {DAW_eKeyCode_5, "'5'", "5", '5', '%', 0x35, false, 0x17, DAW_eKeyCode_Numpad5},
    {DAW_eKeyCode_6, "'6'", "6", '6', '^', 0x36, false, 0x16, DAW_eKeyCode_Numpad6},
    {DAW_eKeyCode_7, "'7'", "7", '7', '&', 0x37, false, 0x1A, DAW_eKeyCode_Numpad7},
    {DAW_eKeyCode_8, "'8'", "8", '8', '*', 0x38, false, 0x1C, DAW_eKeyCode_Numpad8},
    {DAW_eKeyCode_9, "'9'", "9", '9', '(', 0x39, false, 0x19, DAW_eKeyCode_Numpad9},
    {DAW_eKeyCode_A, "'A'", "A", 'a', 'A', 0x41, false, 0x00, cDAW_NoTwin},
    {DAW_eKeyCode_B, "'B'", "B", 'b', 'B', 0x42, false, 0x0B, cDAW_NoTwin},
    {DAW_eKeyCode_C, "'C'", "C", 'c', 'C', 0x43, false, 0x08, cDAW_NoTwin},
    {DAW_eKeyCode_D, "'D'", "D", 'd', 'D', 0x44, false, 0x02, cDAW_NoTwin},
    {DAW_eKeyCode_E, "'E'", "E", 'e', 'E', 0x45, false, 0x0E, cDAW_NoTwin},
    {DAW_eKeyCode_F, "'F'", "F", 'f', 'F', 0x46, false, 0x03, cDAW_NoTwin},
    {DAW_eKeyCode_G, "'G'", "G", 'g', 'G', 0x47, false, 0x05, cDAW_NoTwin},
    {DAW_eKeyCode_H, "'H'", "H", 'h', 'H', 0x48, false, 0x04, cDAW_NoTwin},
    {DAW_eKeyCode_I, "'I'", "I", 'i', 'I', 0x49, false, 0x22, cDAW_NoTwin},
    {DAW_eKeyCode_J, "'J'", "J", 'j', 'J', 0x4A, false, 0x26, cDAW_NoTwin},
    {DAW_eKeyCode_K, "'K'", "K", 'k', 'K', 0x4B, false, 0x28, cDAW_NoTwin},
    {DAW_eKeyCode_L, "'L'", "L", 'l', 'L', 0x4C, false, 0x25, cDAW_NoTwin},
    {DAW_eKeyCode_M, "'M'", "M", 'm', 'M', 0x4D, false, 0x2E, cDAW_NoTwin},
    {DAW_eKeyCode_N, "'N'", "N", 'n', 'N', 0x4E, false, 0x2D, cDAW_NoTwin},
    {DAW_eKeyCode_O, "'O'", "O", 'o', 'O', 0x4F, false, 0x1F, cDAW_NoTwin},
    {DAW_eKeyCode_P, "'P'", "P", 'p', 'P', 0x50, false, 0x23, cDAW_NoTwin},
    {DAW_eKeyCode_Q, "'Q'", "Q", 'q', 'Q', 0x51, false, 0x0C, cDAW_NoTwin},
    {DAW_eKeyCode_R, "'R'", "R", 'r', 'R', 0x52, false, 0x0F, cDAW_NoTwin},
    {DAW_eKeyCode_S, "'S'", "S", 's', 'S', 0x53, false, 0x01, cDAW_NoTwin},
    {DAW_eKeyCode_T, "'T'", "T", 't', 'T', 0x54, false, 0x11, cDAW_NoTwin},
    {DAW_eKeyCode_U, "'U'", "U", 'u', 'U', 0x55, false, 0x20, cDAW_NoTwin},
    {DAW_eKeyCode_V, "'V'", "V", 'v', 'V', 0x56, false, 0x09, cDAW_NoTwin},
    {DAW_eKeyCode_W, "'W'", "W", 'w', 'W', 0x57, false, 0x0D, cDAW_NoTwin},
    {DAW_eKeyCode_X, "'X'", "X", 'x', 'X', 0x58, false, 0x07, cDAW_NoTwin},
    {DAW_eKeyCode_Y, "'Y'", "Y", 'y', 'Y', 0x59, false, 0x10, cDAW_NoTwin},
    {DAW_eKeyCode_Z, "'Z'", "Z", 'z', 'Z', 0x5A, false, 0x06, cDAW_NoTwin},
    {DAW_eKeyCode_Minus, "'-'", "-", '-', '_', 0xBD, false, 0x1B, DAW_eKeyCode_NumpadMinus},
    {DAW_eKeyCode_Equals, "'='", "=", '=', '+', 0xBB, false, 0x18, DAW_eKeyCode_NumpadEquals},
    {DAW_eKeyCode_Numpad0, "Numpad '0'", "Num 0", '0', 0, 0x60, false, 0x52, DAW_eKeyCode_0},
    {DAW_eKeyCode_Numpad1, "Numpad '1'", "Num 1", '1', 0, 0x61, false, 0x53, DAW_eKeyCode_1},
    {DAW_eKeyCode_Numpad2, "Numpad '2'", "Num 2", '2', 0, 0x62, false, 0x54, DAW_eKeyCode_2},
    {DAW_eKeyCode_Numpad3, "Numpad '3'", "Num 3", '3', 0, 0x63, false, 0x55, DAW_eKeyCode_3},
    {DAW_eKeyCode_Numpad4, "Numpad '4'", "Num 4", '4', 0, 0x64, false, 0x56, DAW_eKeyCode_4},
    {DAW_eKeyCode_Numpad5, "Numpad '5'", "Num 5", '5', 0, 0x65, false, 0x57, DAW_eKeyCode_5},
    {DAW_eKeyCode_Numpad6, "Numpad '6'", "Num 6", '6', 0, 0x66, false, 0x58, DAW_eKeyCode_6},
    {DAW_eKeyCode_Numpad7, "Numpad '7'", "Num 7", '7', 0, 0x67, false, 0x59, DAW_eKeyCode_7},
    {DAW_eKeyCode_Numpad8, "Numpad '8'", "Num 8", '8', 0, 0x68, false, 0x5B, DAW_eKeyCode_8},
    {DAW_eKeyCode_Numpad9, "Numpad '9'", "Num 9", '9', 0, 0x69, false, 0x5C, DAW_eKeyCode_9},
    {DAW_eKeyCode_NumpadMultiply, "Numpad '*'", "Num *", '*', 0, 0x6A, false, 0x43, cDAW_NoTwin},
    {DAW_eKeyCode_NumpadPlus, "Numpad '+'", "Num +", '+', 0, 0x6B, false, 0x45, cDAW_NoTwin},
    {DAW_eKeyCode_NumpadMinus, "Numpad '-'", "Num -", '-', 0, 0x6D, false, 0x4E, DAW_eKeyCode_Minus},
    {DAW_eKeyCode_NumpadPeriod, "Numpad '.'", "Num .", '.', 0, 0x6E, false, 0x41, DAW_eKeyCode_Period},
    {DAW_eKeyCode_NumpadDivide, "Numpad '/'", "Num /", '/', 0, 0x6F, true, 0x4B, DAW_eKeyCode_Slash},
    {DAW_eKeyCode_NumpadEquals, "Numpad '='", "Num =", '=', 0, 0x92, false, 0x51, DAW_eKeyCode_Equals},
    {DAW_eKeyCode_Enter, "'Enter'", "Enter", '\r', 0, 0x0D, true, 0x4C, DAW_eKeyCode_Return},
    {DAW_eKeyCode_F1, "'F1'", "F1", 0, 0, 0x70, false, 0x7A, cDAW_NoTwin},
    {DAW_eKeyCode_F2, "'F2'", "F2", 0, 0, 0x71, false, 0x78, cDAW_NoTwin},
    {DAW_eKeyCode_F3, "'F3'", "F3", 0, 0, 0x72, false, 0x63, cDAW_NoTwin},
    {DAW_eKeyCode_F4, "'F4'", "F4", 0, 0, 0x73, false, 0x76, cDAW_NoTwin},
    {DAW_eKeyCode_F5, "'F5'", "F5", 0, 0, 0x74, false, 0x60, cDAW_NoTwin},
    {DAW_eKeyCode_F6, "'F6'", "F6", 0, 0, 0x75, false, 0x61, cDAW_NoTwin},
    {DAW_eKeyCode_F7, "'F7'", "F7", 0, 0, 0x76, false, 0x62, cDAW_NoTwin},
    {DAW_eKeyCode_F8, "'F8'", "F8", 0, 0, 0x77, false, 0x64, cDAW_NoTwin},
    {DAW_eKeyCode_F9, "'F9'", "F9", 0, 0, 0x78, false, 0x65, cDAW_NoTwin},
    {DAW_eKeyCode_F10, "'F10'", "F10", 0, 0, 0x79, false, 0x6D, cDAW_NoTwin},
    {DAW_eKeyCode_F11, "'F11'", "F11", 0, 0, 0x7A, false, 0x67, cDAW_NoTwin},
    {DAW_eKeyCode_F12, "'F12'", "F12", 0, 0, 0x7B, false, 0x6F, cDAW_NoTwin},
    {DAW_eKeyCode_F13, "'F13'", "F13", 0, 0, 0x7C, false, 0x69, cDAW_NoTwin},
    {DAW_eKeyCode_F14, "'F14'", "F14", 0, 0, 0x7D, false, 0x6B, cDAW_NoTwin},
    {DAW_eKeyCode_F15, "'F15'", "F15", 0, 0, 0x7E, false, 0x71, cDAW_NoTwin},
    {DAW_eKeyCode_F16, "'F16'", "F16", 0, 0, 0x7F, false, 0x6A, cDAW_NoTwin},
    {DAW_eKeyCode_F17, "'F17'", "F17", 0, 0, 0x80, false, 0x40, cDAW_NoTwin},
    {DAW_eKeyCode_F18, "'F18'", "F18", 0, 0, 0x81, false, 0x4F, cDAW_NoTwin},
    {DAW_eKeyCode_F19, "'F19'", "F19", 0, 0, 0x82, false, 0x50, cDAW_NoTwin},
    {DAW_eKeyCode_F20, "'F20'", "F20", 0, 0, 0x83, false, 0x5A, cDAW_NoTwin},
    {DAW_eKeyCode_F21, "'F21'", "F21", 0, 0, 0x84, false, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_F22, "'F22'", "F22", 0, 0, 0x85, false, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_F23, "'F23'", "F23", 0, 0, 0x86, false, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_F24, "'F24'", "F24", 0, 0, 0x87, false, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_NumLock, "'NumLock'", "NumLock", 0, 0, 0x90, true, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_ScrollLock, "'ScrollLock'", "ScrLk", 0, 0, 0x91, false, cDAW_NoMac, cDAW_NoTwin},
    {DAW_eKeyCode_Alt, "'Alt'", "Alt", 0, 0, 0x12, false, 0x3A, cDAW_NoTwin},
};

static_assert(std::size(cDAW_KeyRows) == cDAW_NumKeyCodes);
static_assert(std::all_of(std::begin(cDAW_KeyRows), std::end(cDAW_KeyRows),
                          [](const DAW_KeyRow& iRow) { return iRow.mKeyCode == &iRow - cDAW_KeyRows; }));
