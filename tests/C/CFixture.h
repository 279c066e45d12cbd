// CFixture: what tests of the C interface share: a started library, and handles that release themselves.
#pragma once

#include "Kora/C/Kora_C.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
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

// A song with handles of all that it has.
struct CSongParts
{
    explicit CSongParts(Handle<kora_song> iSong = Made<kora_song>(kora_song_open, cSongPath.c_str()))
        : mSong(std::move(iSong))
    {
    }
    kora_status SetTempo(std::int64_t iQuarter, double iTempo = 90)
    {
        return kora_tempo_map_set(mTempi.get(), cStart + iQuarter * cQuarter, iTempo, cQuarter, nullptr);
    }
    kora_status SetKey(std::int64_t iQuarter)
    {
        const kora_key key{cStart + iQuarter * cQuarter, 1, 1, 3, {}};
        return kora_key_map_set(mKeys.get(), &key);
    }

    Handle<kora_song> mSong;
    Handle<kora_tempo_map> mTempi = Made<kora_tempo_map>(kora_song_get_tempo_map, mSong.get());
    Handle<kora_meter_map> mMeters = Made<kora_meter_map>(kora_song_get_meter_map, mSong.get());
    Handle<kora_key_map> mKeys = Made<kora_key_map>(kora_song_get_key_map, mSong.get());
    Handle<kora_history> mHistory = Made<kora_history>(kora_history_new, mSong.get());
};

inline std::string BytesOf(const std::string& iPath)
{
    std::ifstream file(iPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::string BytesOf(kora_document* iDocument)
{
    std::size_t size = 0;
    EXPECT_EQ(kora_document_get_bytes(iDocument, nullptr, 0, &size), KORA_OK) << kora_last_error_text();
    std::string bytes(size, '\0');
    EXPECT_EQ(kora_document_get_bytes(iDocument, bytes.data(), size - 1, &size), KORA_TOO_SMALL);
    EXPECT_EQ(kora_document_get_bytes(iDocument, bytes.data(), size, &size), KORA_OK);
    return bytes;
}

// Of a document with nothing but the song.
inline std::string BytesOf(kora_song* iSong)
{
    const auto document = Made<kora_document>(kora_document_create_in_memory);
    EXPECT_EQ(kora_song_write_document(iSong, document.get()), KORA_OK);
    EXPECT_EQ(kora_document_commit(document.get()), KORA_OK);
    return BytesOf(document.get());
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
