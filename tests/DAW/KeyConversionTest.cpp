#include "Kora/DAW/DAW_KeyConversionUtils.h"
#include "Kora/DAW/DAW_KeyboardState.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Utils = DAW_KeyConversionUtils;
constexpr int cFirst = -1;
constexpr int cLast = 200;

DAW_EKeyCode Key(int iCode) { return static_cast<DAW_EKeyCode>(iCode); }
std::string Text(int iCode) { return Utils::DAW_EKeyCodeToDescriptiveString(Key(iCode)); }
int Twin(int iCode) { return Utils::DAW_EKeyCodeToOtherNumpadKeyCode(Key(iCode)); }
int Mac(int iCode) { return Utils::DAW_EKeyCodeToMacKeyCode(Key(iCode)); }
int OfMac(int iMac) { return Utils::MacKeyCodeToDAW_EKeyCode(static_cast<Cmn_UInt16>(iMac)); }
// With the extended flag as 0x10000.
int Windows(int iCode)
{
    bool isExtended = true;
    const int code = Utils::DAW_EKeyCodeToWindowsKeyCode(Key(iCode), isExtended);
    EXPECT_EQ(isExtended, Utils::DAW_EKeyCodeIsWindowsExtendedCode(Key(iCode))) << iCode;
    return code + (isExtended ? 0x10000 : 0);
}
int OfWindows(int iCode)
{
    return Utils::WindowsKeyCodeToDAW_EKeyCode(static_cast<Cmn_UInt16>(iCode), iCode >= 0x10000);
}

// What is written on the keys from 2 on, in the order of their codes.
constexpr char cNames[] =
    "BackSpace Tab Clear Return Esc Space PageUp PageDown Home End LeftArrow RightArrow UpArrow "
    "DownArrow Select Execute SnapShot Insert Delete Help [ ] / \\ , . 0 ' ; Tilde 1 2 3 4 5 6 7 8 9 "
    "A B C D E F G H I J K L M N O P Q R S T U V W X Y Z - = 0 1 2 3 4 5 6 7 8 9 * + - . / = Enter "
    "F1 F2 F3 F4 F5 F6 F7 F8 F9 F10 F11 F12 F13 F14 F15 F16 F17 F18 F19 F20 F21 F22 F23 F24 "
    "NumLock ScrollLock Alt";

TEST(KeyTexts, EachCodeHasItsText)
{
    std::vector<std::string> texts = {"Undeclared", "Cancel"};
    std::istringstream names(cNames);
    for (std::string name; names >> name;)
        texts.push_back((texts.size() >= 69 && texts.size() <= 84 ? "Numpad '" : "'") + name + "'");
    ASSERT_EQ(texts.size(), 113u);
    for (int code = cFirst; code <= cLast; ++code)
        EXPECT_EQ(Text(code), code < 0 || code > 112 ? "unknown" : texts[static_cast<std::size_t>(code)])
            << code;
    EXPECT_EQ(Text(INT32_MIN), "unknown");
    EXPECT_EQ(Text(DAW_eKeyCode_0) + Text(DAW_eKeyCode_Numpad0), "'0'Numpad '0'");
}

TEST(KeyTexts, TheShortOnesAreDistinctAndUnquoted)
{
    std::set<std::string> texts;
    for (int code = cFirst; code <= cLast; ++code) {
        const std::string text = Utils::DAW_EKeyCodeToDisplayString(Key(code));
        const bool hasText = code > 0 && code < 113;
        EXPECT_EQ(!text.empty(), hasText) << code;
        EXPECT_LE(text.size(), 9u) << text;
        EXPECT_TRUE(!hasText || texts.insert(text).second) << text;
    }
    for (const char* text : {"A", "7", "PgUp", "F5", "Num 4", "Left", "'", "\\", "Cancel"})
        EXPECT_TRUE(texts.contains(text)) << text;
}

TEST(KeyCodes, EachPlatformCodeLeadsBack)
{
    std::map<int, int> ofMac;
    std::map<int, int> ofWindows;
    ofMac[0x3D] = DAW_eKeyCode_Alt; // the right option key
    int missing = 0;
    for (int code = cFirst; code <= cLast; ++code) {
        const bool hasWindows = Windows(code) != Utils::cNoWindowsKeyCode,
                   hasMac = Mac(code) != Utils::cNoMacKeyCode;
        EXPECT_TRUE(!hasWindows || ofWindows.emplace(Windows(code), code).second) << Text(code);
        EXPECT_TRUE(!hasMac || ofMac.emplace(Mac(code), code).second) << Text(code);
        EXPECT_EQ(hasWindows, code > 0 && code < 113) << code;
        missing += !hasMac;
    }
    EXPECT_EQ(missing, 11 + 2 + (cLast - 112)) << "those of the header, Undeclared and unknown ones";
    for (int code = 0; code <= 0xFFFF; ++code)
        EXPECT_EQ(OfMac(code), ofMac.contains(code) ? ofMac[code] : 0) << code;
    for (int code = 0; code <= 0x1FFFF; ++code) {
        const int other = code ^ 0x10000; // the other flag
        const int own = ofWindows.contains(code) ? code : other;
        EXPECT_EQ(OfWindows(code), ofWindows.contains(own) ? ofWindows[own] : 0) << code;
    }
}

// From the platforms' own lists: a key's place, its Windows code (65536 and more: extended), its Mac code.
TEST(KeyCodes, ThePlatformsAgreeOnWhatIsWrittenOnTheKeys)
{
    constexpr int cX = 0x10000;
    constexpr int cCases[] = {5,  13,       36,  6,  27,      53,  7,  32,      49,  8,   cX + 33, 116,
                              9,  cX + 34,  121, 10, cX + 36, 115, 11, cX + 35, 119, 12,  cX + 37, 123,
                              14, cX + 38,  126, 20, cX + 46, 117, 2,  8,       51,  31,  192,     50,
                              29, 222,      39,  30, 186,     41,  67, 189,     27,  68,  187,     24,
                              83, cX + 111, 75,  76, 103,     89,  77, 104,     91,  84,  146,     81,
                              85, cX + 13,  76,  90, 116,     96,  97, 123,     111, 105, 131,     90};
    for (const int* row = cCases; row != std::end(cCases); row += 3) {
        EXPECT_EQ(Windows(row[0]), row[1]) << Text(row[0]);
        EXPECT_EQ(Mac(row[0]), row[2]) << Text(row[0]);
    }
    int mac = 0;
    for (const char c : std::string("ASDFHGZXCV BQWERYT123465=97-80]O")) // 10, here a space, is no key
        EXPECT_EQ(c == ' ' ? 0 : Utils::CharToDAW_EKeyCode(c), OfMac(mac++)) << c;
    for (const char c : std::string("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"))
        EXPECT_EQ(Utils::CharToDAW_EKeyCode(c), OfWindows(c)) << c;
}

TEST(KeyChars, EachCharacterHasTheKeyThatTypesIt)
{
    const std::string plain = "abcdefghijklmnopqrstuvwxyz0123456789`-=[]\\;',./";
    const std::string shifted = "ABCDEFGHIJKLMNOPQRSTUVWXYZ)!@#$%^&*(~_+{}|:\"<>?";
    const std::string control = "\b\t\n\r\x1B\x7F ";
    for (int value = -128; value < 128; ++value) {
        const char c = static_cast<char>(value);
        const DAW_EKeyCode key = Utils::CharToDAW_EKeyCode(c);
        const std::size_t at = plain.find(c);
        const bool isTyped = (plain + shifted + control).find(c) != std::string::npos;
        EXPECT_EQ(key != DAW_eKeyCode_Undeclared, isTyped) << value;
        EXPECT_EQ(Utils::CharToShiftedChar(c), at != plain.npos ? shifted[at] : c) << value;
        EXPECT_EQ(Utils::CharToDAW_EKeyCode(Utils::CharToShiftedChar(c)), key) << value;
        EXPECT_TRUE(at == plain.npos || Utils::DAW_EKeyCodeToChar(key) == c) << value;
    }
    for (int code = cFirst; code <= cLast; ++code) {
        const char c = Utils::DAW_EKeyCodeToChar(Key(code));
        // What is typed leads back, or to the twin on the main keyboard, which types the same.
        const bool isAlone = code == DAW_eKeyCode_NumpadMultiply || code == DAW_eKeyCode_NumpadPlus;
        const int typed = Utils::CharToDAW_EKeyCode(c);
        const int twin = Twin(code);
        EXPECT_TRUE(c == 0 || typed == code || typed == twin || isAlone) << Text(code);
        EXPECT_TRUE(c != 0 || code <= 21 || code >= 86) << Text(code);
        const auto isPad = [](int iCode) {
            return iCode >= DAW_eKeyCode_Numpad0 && iCode <= DAW_eKeyCode_Enter;
        };
        EXPECT_TRUE(!isPad(code) || isAlone || twin != 0) << Text(code);
        EXPECT_TRUE(twin == 0 || (Twin(twin) == code && isPad(twin) != isPad(code))) << Text(code);
        EXPECT_TRUE(twin == 0 || Utils::DAW_EKeyCodeToChar(Key(twin)) == c) << Text(code);
    }
}

TEST(KeyboardState, EachFormatHasABitForEachOfItsKeys)
{
    const AssertRecorder asserts;
    for (int format = 0; format < 3; ++format)
        for (Cmn_UInt32 bit = 0; bit < 2 * DAW_KeyStateArray::cNumBits; ++bit) {
            DAW_KeyStateArray keys;
            keys.SetBit(bit, true);
            const auto state = DAW_KeyboardState::New(keys, static_cast<DAW_EKeyStateArrayFormat>(format));
            for (int code = 1; code <= cLast; ++code) {
                const int bitOfKey[] = {DAW_IsKeyCode(code) ? code : 0xFFFF, Windows(code) & 0xFFFF,
                                        Mac(code)};
                const bool isHere =
                    bit < 256 && bitOfKey[format] == static_cast<int>(bit) && DAW_IsKeyCode(code);
                ASSERT_EQ(state->KeyIsDown(Key(code)), isHere) << format << " " << bit << " " << code;
            }
            EXPECT_EQ(state->KeyIsDown(DAW_eKeyCode_Undeclared), format == 0 && bit == 0);
            EXPECT_FALSE(state->KeyIsDown(Key(-1)));
            keys.SetBit(bit, false);
            EXPECT_EQ(keys, DAW_KeyStateArray());
        }
    EXPECT_EQ(asserts.Take(), std::vector<std::string>());
    EXPECT_FALSE(
        DAW_KeyboardState::New({}, static_cast<DAW_EKeyStateArrayFormat>(3))->KeyIsDown(DAW_eKeyCode_A));
    EXPECT_EQ(asserts.Take(), std::vector<std::string>({"0@$^$@DAW/DAW_KeyboardState"}));
}

} // namespace
