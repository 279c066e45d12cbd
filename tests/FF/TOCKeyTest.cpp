#include "Kora/FF/FF_Document_TOC.h"
#include "Support/StreamBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace {

using Context = FF_Document::Context;
using TOCKey = FF_Document::TOCKey;
using PlainKey = std::vector<std::pair<Cmn_Int16, Cmn_Int32>>;

// Parent positions and list marks are of no account, so that each key made gets others.
TOCKey KeyFrom(const PlainKey& iKey)
{
    static Cmn_UInt32 sMade = 0;
    TOCKey key;
    for (const auto& [type, item] : iKey) {
        ++sMade;
        key.GetContexts().emplace_back(type, 7 * sMade, sMade % 3 == 0, item);
    }
    return key;
}

// All keys of up to two levels of border types and items, in ascending order.
std::vector<PlainKey> SmallKeys()
{
    PlainKey levels;
    for (const Cmn_Int16 type : {-32768, -1, 0, 1, 32767})
        for (const Cmn_Int32 item : {std::numeric_limits<Cmn_Int32>::min(), -1, 0, 1, 0x7FFFFFFF})
            levels.emplace_back(type, item);
    std::vector<PlainKey> keys{{}};
    for (const auto& outer : levels) {
        keys.push_back({outer});
        for (const auto& inner : levels)
            keys.push_back({outer, inner});
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

TEST(TOCKey, KeysAscendByTypeThenItemFromTheOutermostAndTheShorterFirst)
{
    const std::vector<PlainKey> keys = SmallKeys();
    std::vector<TOCKey> made;
    for (const PlainKey& key : keys)
        made.push_back(KeyFrom(key));
    for (std::size_t a = 0; a < made.size(); ++a)
        for (std::size_t b = 0; b < made.size(); ++b)
            ASSERT_EQ(made[a] <=> made[b], a <=> b) << made[a].Dump() << " and " << made[b].Dump();
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
