#include "Bastel/Cmn/Cmn_Utf8.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <map>

namespace {

constexpr bool IsCharacter(char32_t iValue) { return iValue <= 0x10FFFF && iValue >> 11 != 0x1B; }

std::string Encode(char32_t iCharacter)
{
    std::string text;
    Cmn_AppendUtf8(text, iCharacter);
    return text;
}

std::u16string EncodeWide(char32_t iCharacter)
{
    if (iCharacter <= 0xFFFF) return std::u16string(1, static_cast<char16_t>(iCharacter));
    return {static_cast<char16_t>(0xD7C0 + (iCharacter >> 10)),
            static_cast<char16_t>(0xDC00 + (iCharacter & 0x3FF))};
}

std::u32string Decode(std::string_view iText)
{
    std::u32string characters;
    while (!iText.empty())
        characters += Cmn_TakeUtf8(iText);
    return characters;
}

} // namespace

// Every character of up to three bytes, and those of four around each end and in between.
TEST(Utf8, EveryCharacterIsWrittenAndReadBack)
{
    for (char32_t c = 0; c < 0x110400; c += c < 0x10400 || c >= 0x10FC00 ? 1 : 61) {
        const char32_t expected = IsCharacter(c) ? c : cCmn_ReplacementCharacter;
        const std::string text = Encode(c);
        ASSERT_EQ(text.size(), expected < 0x80 ? 1u : expected < 0x800 ? 2u : expected < 0x10000 ? 3u : 4u);
        ASSERT_EQ(Decode(text), std::u32string(1, expected)) << static_cast<unsigned>(c);

        if (c <= 0x10FFFF) {
            ASSERT_EQ(Cmn_Utf8FromUtf16(EncodeWide(c)), text) << static_cast<unsigned>(c);
        }
    }
    EXPECT_EQ(Encode(U'\u00e9') + Encode(U'\u266d') + Encode(U'\U0001d11e'), "é♭𝄞");
}

// Every first byte with edges of each range behind it. What Cmn_AppendUtf8 writes is read whole; anything
// else is replaced up to where no character goes on like that, so that the next one is not swallowed.
TEST(Utf8, NothingElseIsRead)
{
    std::map<std::string, char32_t> known; // of four bytes, those whose last is an edge
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        const bool isEdge = c % 16 == 0 || c % 16 == 15;
        if (IsCharacter(c) && (c <= 0xFFFF || isEdge)) known[Encode(c)] = c;
    }
    const auto isBeginning = [&](const std::string& iBytes) {
        const auto at = known.lower_bound(iBytes);
        return at != known.end() && at->first.starts_with(iBytes);
    };
    constexpr unsigned char cEdges[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xFF};
    for (int first = 0; first <= 0xFF; ++first)
        for (int i = 0; i < 11 * 11 * 11; ++i) {
            if (first < 0xF0 && i % 11 != 0) continue; // the fourth byte says nothing new
            std::string bytes(1, static_cast<char>(first));
            for (const int edge : {i / 121, i / 11 % 11, i % 11})
                bytes += static_cast<char>(cEdges[edge]);
            std::size_t length = 1;
            while (!known.contains(bytes.substr(0, length)) && isBeginning(bytes.substr(0, length + 1)))
                ++length;
            const auto at = known.find(bytes.substr(0, length));
            std::string_view rest = bytes;
            ASSERT_EQ(Cmn_TakeUtf8(rest), at == known.end() ? cCmn_ReplacementCharacter : at->second)
                << testing::PrintToString(bytes);
            ASSERT_EQ(rest, bytes.substr(length)) << testing::PrintToString(bytes);
        }
}

TEST(Utf8, WhatIsCutOffOrHalvedIsReplaced)
{
    EXPECT_EQ(Decode("\xF0\x9D\x84"), U"\ufffd") << "at the end";
    EXPECT_EQ(Cmn_Utf8FromUtf16(u"a\xD834"), "a\uFFFD") << "half a pair at the end";
    EXPECT_EQ(Cmn_Utf8FromUtf16(u"\xDD1E\xD834z"), "\uFFFD\uFFFDz") << "a pair the wrong way round";
    EXPECT_EQ(Cmn_Utf8FromUtf16(u"\xD834\xD834\xDD1E"), "\uFFFD𝄞") << "half a pair before a whole one";

    const AssertRecorder recorder;
    std::string_view empty;
    EXPECT_EQ(Cmn_TakeUtf8(empty), 0u);
    EXPECT_EQ(recorder.Take(), std::vector<std::string>{"!ioText.empty()@$^$@Cmn/Cmn_Utf8"});
}
