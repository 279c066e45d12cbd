#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Support/StreamBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace {

using Context = FF_Document::Context;
using TOCKey = FF_Document::TOCKey;

TEST(TOCKey, KeysAscendByTypeThenItemFromTheOutermostAndTheShorterFirst)
{
    constexpr Cmn_Int16 cTypes[] = {-32768, -1, 0, 1, 32767};
    constexpr Cmn_Int32 cItems[] = {std::numeric_limits<Cmn_Int32>::min(), -1, 0, 1, 0x7FFFFFFF};
    std::vector<TOCKey> keys(1);
    std::vector<TOCKey> same(1); // parent positions and list marks are of no account
    for (int outer = 0; outer < 25; ++outer) {
        const TOCKey around({Context(cTypes[outer / 5], 1, false, cItems[outer % 5])});
        keys.push_back(around);
        same.push_back(TOCKey({Context(cTypes[outer / 5], 2, true, cItems[outer % 5])}));
        for (int inner = 0; inner < 25; ++inner) {
            keys.push_back(around.Inside(Context(cTypes[inner / 5], 3, true, cItems[inner % 5])));
            same.push_back(around.Inside(Context(cTypes[inner / 5], 4, false, cItems[inner % 5])));
        }
    }
    for (std::size_t a = 0; a < keys.size(); ++a)
        for (std::size_t b = 0; b < keys.size(); ++b)
            ASSERT_EQ(keys[a] <=> same[b], a <=> b) << keys[a].Dump() << " and " << keys[b].Dump();
}

TEST(TOCKey, StreamIsAsTheFormatSays)
{
    const TOCKey key = TOCKey({Context(4, 0x01020304, true, 3)}).Inside(Context(-2));
    const Bytes expected = FromHex("02000000  0400 04030201 01 03000000  FEFF FFFFFFFF 00 00000000");
    EXPECT_EQ(Streamed(key), expected);
    EXPECT_EQ(key.Dump(), "4[3]/-2");
    TOCKey back(9);
    ReadBack(back, expected);
    EXPECT_EQ(Streamed(back), expected);
    for (const Cmn_UInt8 count : {3, 0xFF}) { // more than is there; with the top byte, negative
        Bytes damaged = expected;
        damaged[count == 3 ? 0 : 3] = count;
        EXPECT_THROW(ReadBack(back, damaged), Sys_StreamReadException);
        EXPECT_EQ(back, key);
    }
}

} // namespace
