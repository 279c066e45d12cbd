// CFixture: what tests of the C interface share: a started library, and handles that release themselves.
#pragma once

#include "Kora/C/Kora_C.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

constexpr std::int64_t cStart = KORA_SONG_START_TICK;
constexpr std::int64_t cQuarter = KORA_TICKS_PER_QUARTER;
inline const std::string cSongPath = std::string(KORA_SOURCE_DIR) + "/examples/songs/first-light.mid";

struct Released
{
    void operator()(void* iHandle) const { EXPECT_EQ(kora_release(iHandle), KORA_OK); }
};
template <class T>
using Handle = std::unique_ptr<T, Released>;

// What a call hands out: Made<kora_song>(kora_song_new), Made<kora_tempo_map>(kora_song_get_tempo_map, song).
template <class T, class Call, class... Arguments>
Handle<T> Made(Call iCall, Arguments... iArguments)
{
    T* handle = nullptr;
    EXPECT_EQ(iCall(iArguments..., &handle), KORA_OK) << kora_last_error_text();
    return Handle<T>(handle);
}

class CFixture : public testing::Test
{
protected:
    // What is wrong in a call is refused before the library would assert.
    CFixture()
    {
        EXPECT_EQ(kora_init(), KORA_OK);
        const auto fail = [](void*, const char* iText, std::int32_t) { ADD_FAILURE() << iText; };
        EXPECT_EQ(kora_set_assert_handler(+fail, nullptr), KORA_OK);
    }
    ~CFixture() override
    {
        EXPECT_EQ(kora_set_assert_handler(nullptr, nullptr), KORA_OK);
        EXPECT_EQ(kora_free(), KORA_OK);
    }

    static Handle<kora_song> Open() { return Made<kora_song>(kora_song_open, cSongPath.c_str()); }
};
