#include "Kora/DAW/DAW_KeyConversionUtils.h"
#include "Kora/DAW/DAW_KeyboardState.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using Utils = DAW_KeyConversionUtils;
constexpr int cFirst = -1;
constexpr int cLast = 200;

DAW_EKeyCode Key(int iCode) { return static_cast<DAW_EKeyCode>(iCode); }
std::string Text(int iCode) { return Utils::DAW_EKeyCodeToDescriptiveString(Key(iCode)); }

// The texts of 0 to 112, written down one by one where no rule makes them.
std::vector<std::string> AllTexts()
{
    std::vector<std::string> texts = {"Undeclared", "Cancel"};
    const auto quoted = [&](const std::vector<std::string>& iNames, const std::string& iBefore) {
        for (const std::string& name : iNames)
            texts.push_back(iBefore + "'" + name + "'");
    };
    const auto counted = [](const std::string& iName, int iFrom, int iTo) {
        std::vector<std::string> names;
        for (int n = iFrom; n <= iTo; ++n)
            names.push_back(iName + std::to_string(n));
        return names;
    };
    quoted({"BackSpace", "Tab",     "Clear",    "Return",    "Esc",        "Space",   "PageUp",
            "PageDown",  "Home",    "End",      "LeftArrow", "RightArrow", "UpArrow", "DownArrow",
            "Select",    "Execute", "SnapShot", "Insert",    "Delete",     "Help"},
           "");
    quoted({"[", "]", "/", "\\", ",", ".", "0", "'", ";", "Tilde"}, "");
    quoted(counted("", 1, 9), "");
    for (char letter = 'A'; letter <= 'Z'; ++letter)
        quoted({std::string(1, letter)}, "");
    quoted({"-", "="}, "");
    quoted(counted("", 0, 9), "Numpad ");
    quoted({"*", "+", "-", ".", "/", "="}, "Numpad ");
    quoted({"Enter"}, "");
    quoted(counted("F", 1, 24), "");
    quoted({"NumLock", "ScrollLock", "Alt"}, "");
    return texts;
}

TEST(KeyTexts, EachCodeHasItsText)
{
    const std::vector<std::string> texts = AllTexts();
    ASSERT_EQ(texts.size(), 113u);
    for (int code = cFirst; code <= cLast; ++code) {
        const bool isKey = code >= 0 && code < 113;
        EXPECT_EQ(Text(code), isKey ? texts[static_cast<std::size_t>(code)] : "unknown") << code;
    }
    EXPECT_EQ(Text(INT32_MIN), "unknown");
    EXPECT_EQ(Text(DAW_eKeyCode_0), "'0'");
    EXPECT_EQ(Text(DAW_eKeyCode_Numpad0), "Numpad '0'");
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

TEST(KeyCodes, EachWindowsCodeLeadsBack)
{
    std::map<std::pair<int, bool>, int> keys;
    for (int code = cFirst; code <= cLast; ++code) {
        bool isExtended = true;
        const Cmn_UInt16 windows = Utils::DAW_EKeyCodeToWindowsKeyCode(Key(code), isExtended);
        EXPECT_EQ(windows != Utils::cNoWindowsKeyCode, code > 0 && code < 113) << code;
        EXPECT_EQ(isExtended, Utils::DAW_EKeyCodeIsWindowsExtendedCode(Key(code))) << code;
        EXPECT_TRUE(windows != 0 || !isExtended);
        if (windows == 0) continue;
        EXPECT_TRUE((keys.emplace(std::pair(windows, isExtended), code).second)) << Text(code);
    }
    for (int windows = 0; windows <= 0xFFFF; ++windows)
        for (const bool isExtended : {false, true}) {
            const auto own = keys.find({windows, isExtended});
            const auto other = keys.find({windows, !isExtended});
            const int expected = own != keys.end() ? own->second : other != keys.end() ? other->second : 0;
            EXPECT_EQ(Utils::WindowsKeyCodeToDAW_EKeyCode(static_cast<Cmn_UInt16>(windows), isExtended),
                      expected)
                << windows << isExtended;
        }
}

TEST(KeyCodes, EachMacCodeLeadsBack)
{
    std::map<int, int> keys = {
        {0x3D, DAW_eKeyCode_Alt}
    };
    std::set<int> missing;
    for (int code = 1; code <= cLast; ++code) {
        const Cmn_UInt16 mac = Utils::DAW_EKeyCodeToMacKeyCode(Key(code));
        if (mac == Utils::cNoMacKeyCode)
            missing.insert(code);
        else
            EXPECT_TRUE(keys.emplace(mac, code).second) << Text(code);
    }
    EXPECT_EQ(Utils::DAW_EKeyCodeToMacKeyCode(DAW_eKeyCode_Undeclared), Utils::cNoMacKeyCode);
    EXPECT_EQ(Utils::DAW_EKeyCodeToMacKeyCode(Key(-1)), Utils::cNoMacKeyCode);
    EXPECT_EQ(missing.size(), 11u + cLast - 112);
    for (int mac = 0; mac <= 0xFFFF; ++mac)
        EXPECT_EQ(Utils::MacKeyCodeToDAW_EKeyCode(static_cast<Cmn_UInt16>(mac)),
                  keys.contains(mac) ? keys[mac] : 0)
            << mac;
}

// Written from the platforms' own lists, where a rule or a neighbour tells nothing.
TEST(KeyCodes, ThePlatformsAgreeOnWhatIsWrittenOnTheKeys)
{
    struct Case
    {
        DAW_EKeyCode key;
        int windows, mac;
    };
    constexpr Case cCases[] = {
        {DAW_eKeyCode_Return,       0x0D,  36 },
        {DAW_eKeyCode_Enter,        0x10D, 76 },
        {DAW_eKeyCode_Esc,          0x1B,  53 },
        {DAW_eKeyCode_Space,        0x20,  49 },
        {DAW_eKeyCode_PageUp,       0x121, 116},
        {DAW_eKeyCode_PageDown,     0x122, 121},
        {DAW_eKeyCode_End,          0x123, 119},
        {DAW_eKeyCode_Home,         0x124, 115},
        {DAW_eKeyCode_LeftArrow,    0x125, 123},
        {DAW_eKeyCode_UpArrow,      0x126, 126},
        {DAW_eKeyCode_DownArrow,    0x128, 125},
        {DAW_eKeyCode_Delete,       0x12E, 117},
        {DAW_eKeyCode_BackSpace,    8,     51 },
        {DAW_eKeyCode_Tilde,        0xC0,  50 },
        {DAW_eKeyCode_Quote,        0xDE,  39 },
        {DAW_eKeyCode_Semicolon,    0xBA,  41 },
        {DAW_eKeyCode_Minus,        0xBD,  27 },
        {DAW_eKeyCode_Equals,       0xBB,  24 },
        {DAW_eKeyCode_NumpadDivide, 0x16F, 75 },
        {DAW_eKeyCode_Numpad7,      0x67,  89 },
        {DAW_eKeyCode_Numpad8,      0x68,  91 },
        {DAW_eKeyCode_F5,           0x74,  96 },
        {DAW_eKeyCode_F12,          0x7B,  111},
        {DAW_eKeyCode_F20,          0x83,  90 },
    };
    for (const Case& row : cCases) {
        bool isExtended = false;
        const int windows = Utils::DAW_EKeyCodeToWindowsKeyCode(row.key, isExtended);
        EXPECT_EQ(windows + (isExtended ? 0x100 : 0), row.windows) << Text(row.key);
        EXPECT_EQ(Utils::DAW_EKeyCodeToMacKeyCode(row.key), row.mac) << Text(row.key);
    }
    const std::string cMacRows = "ASDFHGZXCV?BQWERYT123465=97-80]O";
    for (std::size_t mac = 0; mac < cMacRows.size(); ++mac)
        if (mac != 10) {
            EXPECT_EQ(Utils::CharToDAW_EKeyCode(cMacRows[mac]),
                      Utils::MacKeyCodeToDAW_EKeyCode(static_cast<Cmn_UInt16>(mac)));
        }
    for (char c = '0'; c <= 'Z'; c = c == '9' ? 'A' : static_cast<char>(c + 1))
        EXPECT_EQ(Utils::CharToDAW_EKeyCode(c),
                  Utils::WindowsKeyCodeToDAW_EKeyCode(static_cast<Cmn_UInt16>(c), false));
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
        const bool isTyped =
            at != plain.npos || shifted.find(c) != shifted.npos || control.find(c) != control.npos;
        EXPECT_EQ(key != DAW_eKeyCode_Undeclared, isTyped) << value;
        EXPECT_EQ(Utils::CharToShiftedChar(c), at != plain.npos ? shifted[at] : c) << value;
        EXPECT_EQ(Utils::CharToDAW_EKeyCode(Utils::CharToShiftedChar(c)), key) << value;
        EXPECT_TRUE(at == plain.npos || Utils::DAW_EKeyCodeToChar(key) == c) << value;
    }
    for (int code = cFirst; code <= cLast; ++code) {
        const char c = Utils::DAW_EKeyCodeToChar(Key(code));
        const DAW_EKeyCode twin = Utils::DAW_EKeyCodeToOtherNumpadKeyCode(Key(code));
        // What is typed leads back, or to the twin on the main keyboard, which types the same.
        const bool isPadOnly = code == DAW_eKeyCode_NumpadMultiply || code == DAW_eKeyCode_NumpadPlus;
        const DAW_EKeyCode typed = Utils::CharToDAW_EKeyCode(c);
        EXPECT_TRUE(c == 0 || typed == code || typed == twin || isPadOnly) << Text(code);
        EXPECT_EQ(c == 0 && code > 21 && code < 86, false) << Text(code);
        if (twin == DAW_eKeyCode_Undeclared) continue;
        EXPECT_EQ(Utils::DAW_EKeyCodeToOtherNumpadKeyCode(twin), code);
        EXPECT_EQ(Utils::DAW_EKeyCodeToChar(twin), c);
        const bool isPad = code >= DAW_eKeyCode_Numpad0 && code <= DAW_eKeyCode_Enter;
        EXPECT_NE(isPad, twin >= DAW_eKeyCode_Numpad0 && twin <= DAW_eKeyCode_Enter) << Text(code);
    }
}

TEST(KeyTwins, EveryPadKeyButTwoHasOne)
{
    for (int code = DAW_eKeyCode_Numpad0; code <= DAW_eKeyCode_Enter; ++code) {
        const bool hasTwin = code != DAW_eKeyCode_NumpadMultiply && code != DAW_eKeyCode_NumpadPlus;
        EXPECT_EQ(Utils::DAW_EKeyCodeToOtherNumpadKeyCode(Key(code)) != DAW_eKeyCode_Undeclared, hasTwin)
            << Text(code);
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
            const auto windows = static_cast<Cmn_UInt16>(bit);
            for (int code = cFirst; code <= cLast; ++code) {
                bool isExtended = false;
                const int bitOfKey = format == 0 ? (DAW_IsKeyCode(code) ? code : 0xFFFF)
                                     : format == 1
                                         ? Utils::DAW_EKeyCodeToWindowsKeyCode(Key(code), isExtended)
                                         : Utils::DAW_EKeyCodeToMacKeyCode(Key(code));
                const bool isHere = bit < 256 && bitOfKey == windows && (format != 1 || bit != 0);
                ASSERT_EQ(state->KeyIsDown(Key(code)), isHere) << format << " " << bit << " " << code;
            }
            keys.SetBit(bit, false);
            EXPECT_EQ(keys, DAW_KeyStateArray());
        }
    EXPECT_EQ(asserts.Take(), std::vector<std::string>());
    EXPECT_FALSE(
        DAW_KeyboardState::New({}, static_cast<DAW_EKeyStateArrayFormat>(3))->KeyIsDown(DAW_eKeyCode_A));
    EXPECT_EQ(asserts.Take(), std::vector<std::string>({"0@$^$@DAW/DAW_KeyboardState"}));
}

} // namespace
