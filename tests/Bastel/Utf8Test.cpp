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

// What Cmn_TakeUtf8 accepts is what Cmn_AppendUtf8 writes: every first byte of up to three with edges of each range.
TEST(Utf8, NothingElseIsRead)
{
    std::map<std::string, char32_t> known;
    for (char32_t c = 0; c < 0x10000; ++c)
        if (IsCharacter(c)) known[Encode(c)] = c;
    constexpr unsigned char cEdges[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xFF};
    for (int first = 0; first < 0xF0; ++first)
        for (const unsigned char second : cEdges)
            for (const unsigned char third : cEdges) {
                const std::string bytes = {static_cast<char>(first), static_cast<char>(second),
                                           static_cast<char>(third)};
                std::string_view rest = bytes;
                const char32_t taken = Cmn_TakeUtf8(rest);
                char32_t expected = cCmn_ReplacementCharacter;
                for (std::size_t length = 1; length <= 3; ++length)
                    if (const auto at = known.find(bytes.substr(0, length)); at != known.end()) {
                        expected = at->second;
                        ASSERT_EQ(rest, bytes.substr(length));
                    }
                ASSERT_EQ(taken, expected) << testing::PrintToString(bytes);
            }
}

TEST(Utf8, IllFormedBytesAreReplacedWithoutSwallowingTheNextCharacter)
{
    const struct
    {
        const char* what;
        std::string_view text;
        std::u32string_view characters;
    } cCases[] = {
        {"stray continuation",     "a\x80z",               U"a\ufffdz"                },
        {"overlong slash",         "\xC0\xAF",             U"\ufffd\ufffd"            },
        {"overlong in three",      "\xE0\x9F\xBF",         U"\ufffd\ufffd\ufffd"      },
        {"overlong in four",       "\xF0\x8F\xBF\xBF",     U"\ufffd\ufffd\ufffd\ufffd"},
        {"surrogate",              "\xED\xA0\x80",         U"\ufffd\ufffd\ufffd"      },
        {"above U+10FFFF",         "\xF4\x90\x80\x80",     U"\ufffd\ufffd\ufffd\ufffd"},
        {"no such first byte",     "\xF5\xFF",             U"\ufffd\ufffd"            },
        {"cut before a letter",    "\xE2\x99z",            U"\ufffdz"                 },
        {"cut before a character", "\xF0\x9D\x84\xC3\xA9", U"\ufffd\u00e9"            },
        {"cut at the end",         "\xF0\x9D\x84",         U"\ufffd"                  },
    };
    for (const auto& c : cCases)
        EXPECT_EQ(Decode(c.text), c.characters) << c.what;

    EXPECT_EQ(Cmn_Utf8FromUtf16(u"a\xD834"), "a\uFFFD") << "half a pair at the end";
    EXPECT_EQ(Cmn_Utf8FromUtf16(u"\xDD1E\xD834z"), "\uFFFD\uFFFDz") << "a pair the wrong way round";
    EXPECT_EQ(Cmn_Utf8FromUtf16(u"\xD834\xD834\xDD1E"), "\uFFFD𝄞") << "half a pair before a whole one";

    const AssertRecorder recorder;
    std::string_view empty;
    EXPECT_EQ(Cmn_TakeUtf8(empty), 0u);
    EXPECT_EQ(recorder.Take(), std::vector<std::string>{"!ioText.empty()@$^$@Cmn/Cmn_Utf8"});
}
