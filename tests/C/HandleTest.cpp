#include "Bastel/Cmn/Cmn_Assert.h"
#include "C/CFixture.h"
#include "Kora/Kora_Version.h"

#include <cmath>
#include <initializer_list>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

class CHandles : public CFixture, protected CSongParts
{
protected:
    CHandles()
        : CSongParts(Made<kora_song>(kora_song_new))
    {
    }
    // What a call says of no handle, and of each of another kind, in the place of its own, which comes first.
    template <class T, class... Taken>
    void ExpectRefused(const Handle<T>& iOwn, const char* iName, kora_status (*iCall)(T*, Taken...),
                       std::type_identity_t<Taken>... iGiven)
    {
        EXPECT_EQ(iCall(nullptr, iGiven...), KORA_NULL_ARGUMENT) << iName;
        for (void* const other : std::initializer_list<void*>{mSong.get(), mTempi.get(), mMeters.get(),
                                                              mKeys.get(), mHistory.get(), mFormat.get()})
            if (other != iOwn.get()) {
                EXPECT_EQ(iCall(static_cast<T*>(other), iGiven...), KORA_WRONG_HANDLE) << iName;
            }
    }
    // Of the calls that maps of a kind have in common.
    template <class Map, class Entry>
    void ExpectRefused(const Handle<Map>& iOwn, kora_status (*iCount)(Map*, size_t*),
                       kora_status (*iGet)(Map*, size_t, Entry*), kora_status (*iFind)(Map*, int64_t, Entry*),
                       kora_status (*iRemove)(Map*, int64_t), kora_status (*iClear)(Map*, int64_t, int64_t))
    {
        std::size_t count = 0;
        Entry entry{};
        ExpectRefused(iOwn, "count", iCount, &count);
        ExpectRefused(iOwn, "get", iGet, 0, &entry);
        ExpectRefused(iOwn, "find", iFind, cStart, &entry);
        ExpectRefused(iOwn, "remove", iRemove, cStart);
        ExpectRefused(iOwn, "clear", iClear, cStart, cStart);
    }

    Handle<kora_format> mFormat =
        Made<kora_format>(kora_format_new, mSong.get(), std::int32_t{KORA_FILM_35MM});
};

TEST_F(CHandles, NullAndHandlesOfAnotherKindAreRefusedByEveryCallOfASong)
{
    kora_time time{};
    kora_bar_position bars{};
    kora_song_info info{sizeof(kora_song_info), 0, 0, 0, 0};
    std::size_t size = 0;
    std::int64_t count = cStart;
    kora_tempo_map* tempi = nullptr;
    kora_meter_map* meters = nullptr;
    kora_key_map* keys = nullptr;
    kora_format* format = nullptr;
    ExpectRefused(mSong, "save", kora_song_save, "/nowhere/song.kora");
    ExpectRefused(mSong, "write_midi", kora_song_write_midi, nullptr, 0, &size);
    ExpectRefused(mSong, "get_info", kora_song_get_info, &info);
    ExpectRefused(mSong, "set_listener", kora_song_set_listener, nullptr, nullptr);
    ExpectRefused(mSong, "get_tempo_map", kora_song_get_tempo_map, &tempi);
    ExpectRefused(mSong, "get_meter_map", kora_song_get_meter_map, &meters);
    ExpectRefused(mSong, "get_key_map", kora_song_get_key_map, &keys);
    ExpectRefused(mSong, "convert", kora_convert, time, KORA_TICKS, &time);
    ExpectRefused(mSong, "to_bars", kora_to_bars, time, &bars);
    ExpectRefused(mSong, "from_bars", kora_from_bars, bars, KORA_TICKS, &time);
    ExpectRefused(mSong, "convert_all", kora_convert_all, KORA_TICKS, &count, 8, KORA_TICKS, &count, 8, 1);
    ExpectRefused(mSong, "to_bars_all", kora_to_bars_all, KORA_TICKS, &count, 8, &bars, 16, 1);
    ExpectRefused(mSong, "from_bars_all", kora_from_bars_all, &bars, 16, KORA_TICKS, &count, 8, 1);
    ExpectRefused(mSong, "format", kora_format_new, KORA_FILM_35MM, &format);
    ExpectRefused(mSong, "insert", kora_song_insert_time, cStart, 1, nullptr);
    ExpectRefused(mSong, "delete", kora_song_delete_time, cStart, cStart, nullptr);
    ExpectRefused(mSong, "repeat", kora_song_repeat_time, cStart, cStart, 1, nullptr);
    ExpectRefused(mSong, "move", kora_song_move_time, cStart, cStart, cStart, nullptr);
    EXPECT_EQ(kora_retain(nullptr), KORA_NULL_ARGUMENT);
    EXPECT_EQ(kora_release(nullptr), KORA_NULL_ARGUMENT);
    std::uint64_t noHandle[4] = {};
    EXPECT_EQ(kora_release(noHandle), KORA_WRONG_HANDLE);
}

TEST_F(CHandles, NullAndHandlesOfAnotherKindAreRefusedByEveryCallOfItsMapsHistoryAndFormat)
{
    ExpectRefused(mTempi, kora_tempo_map_count, kora_tempo_map_get, kora_tempo_map_find,
                  kora_tempo_map_remove, kora_tempo_map_clear);
    ExpectRefused(mTempi, "set", kora_tempo_map_set, cStart, 90, cQuarter, nullptr);
    ExpectRefused(mTempi, "ramp", kora_tempo_map_ramp, cStart, cStart, 90, 90, 0, 1, nullptr);
    ExpectRefused(mTempi, "scale", kora_tempo_map_scale, cStart, cStart, 1, nullptr);
    ExpectRefused(mTempi, "offset", kora_tempo_map_offset, cStart, cStart, 1, nullptr);
    ExpectRefused(mTempi, "fit", kora_tempo_map_fit, cStart, cStart, 1, nullptr);
    ExpectRefused(mTempi, "lock", kora_tempo_map_lock, cStart, 0, nullptr);
    ExpectRefused(mTempi, "unlock", kora_tempo_map_unlock, cStart, nullptr);
    ExpectRefused(mMeters, kora_meter_map_count, kora_meter_map_get, kora_meter_map_find,
                  kora_meter_map_remove, kora_meter_map_clear);
    ExpectRefused(mMeters, "set", kora_meter_map_set, cStart, 4, 4);
    ExpectRefused(mKeys, kora_key_map_count, kora_key_map_get, kora_key_map_find, kora_key_map_remove,
                  kora_key_map_clear);
    const kora_key some{cStart, 1, 1, 0, {}};
    ExpectRefused(mKeys, "set", kora_key_map_set, &some);
    std::size_t size = 0;
    std::int32_t flag = 0;
    kora_time time{};
    char text[48];
    ExpectRefused(mHistory, "begin", kora_history_begin);
    ExpectRefused(mHistory, "end", kora_history_end, "", 0);
    ExpectRefused(mHistory, "cancel", kora_history_cancel);
    ExpectRefused(mHistory, "undo", kora_history_undo);
    ExpectRefused(mHistory, "redo", kora_history_redo);
    ExpectRefused(mHistory, "count", kora_history_count, &size, &size);
    ExpectRefused(mHistory, "step_name", kora_history_step_name, 0, text, sizeof text, &size);
    ExpectRefused(mHistory, "mark_saved", kora_history_mark_saved);
    ExpectRefused(mHistory, "is_saved", kora_history_is_saved, &flag);
    ExpectRefused(mFormat, "write", kora_format_write, 0, time, text, sizeof text, &size);
    ExpectRefused(mFormat, "read", kora_format_read, 0, "1", &time);
}

TEST_F(CHandles, WrongValuesAreRefusedAndChangeNothing)
{
    kora_time out{7, 0, 0};
    std::int64_t counts[2] = {cStart, cStart};
    std::int64_t far[2] = {cStart, std::int64_t{1} << 62};
    const kora_bar_position farBars[2] = {{1, 1, 0}, {1, 1, far[1]}};
    kora_time away{far[1], KORA_SAMPLES, 0};
    const kora_key noKey{cStart, 1, 1, 8, {}};
    kora_song_info small{sizeof(kora_song_info) - 1, 0, 0, 0, 0};
    const struct
    {
        const char* mName;
        kora_status mExpected;
        kora_status mGot;
    } cases[] = {
        {"unit", KORA_BAD_ARGUMENT, kora_convert(mSong.get(), {0, 3, 0}, KORA_TICKS, &out)},
        {"unit to", KORA_BAD_ARGUMENT, kora_convert(mSong.get(), {0, 0, 0}, 3, &out)},
        {"count", KORA_BAD_ARGUMENT, kora_convert(mSong.get(), away, KORA_TICKS, &away)},
        {"a count of a column", KORA_BAD_ARGUMENT, kora_convert_all(mSong.get(), 1, far, 8, 0, far, 8, 2)},
        {"ticks of a column", KORA_BAD_ARGUMENT,
         kora_from_bars_all(mSong.get(), farBars, sizeof farBars[0], 0, far, 8, 2)},
        {"no result", KORA_NULL_ARGUMENT, kora_convert(mSong.get(), {0, 0, 0}, 0, nullptr)},
        {"no column", KORA_NULL_ARGUMENT, kora_convert_all(mSong.get(), 0, nullptr, 8, 1, counts, 8, 2)},
        {"no room", KORA_NULL_ARGUMENT, kora_convert_all(mSong.get(), 0, counts, 8, 1, nullptr, 8, 2)},
        {"stride", KORA_BAD_ARGUMENT, kora_convert_all(mSong.get(), 0, counts, 8, 1, counts, 7, 2)},
        {"nothing to do", KORA_OK, kora_convert_all(mSong.get(), 0, nullptr, 0, 1, nullptr, 0, 0)},
        {"numerator", KORA_BAD_ARGUMENT, kora_meter_map_set(mMeters.get(), cStart, 0, 4)},
        {"denominator", KORA_BAD_ARGUMENT, kora_meter_map_set(mMeters.get(), cStart, 4, 32768)},
        {"tick", KORA_BAD_ARGUMENT, kora_meter_map_set(mMeters.get(), -1, 4, 4)},
        {"backwards", KORA_BAD_ARGUMENT, kora_meter_map_clear(mMeters.get(), cStart + 1, cStart)},
        {"index", KORA_NOT_FOUND, kora_key_map_get(mKeys.get(), 0, std::vector<kora_key>(1).data())},
        {"key", KORA_BAD_ARGUMENT, kora_key_map_set(mKeys.get(), &noKey)},
        {"size", KORA_BAD_ARGUMENT, kora_song_get_info(mSong.get(), &small)},
        {"rate", KORA_BAD_ARGUMENT, kora_set_session(std::nan(""), KORA_TIMECODE_30)},
        {"format", KORA_BAD_ARGUMENT, kora_set_session(48000, 4)},
    };
    for (const auto& each : cases)
        EXPECT_EQ(each.mGot, each.mExpected) << each.mName;
    EXPECT_EQ(out.count, 7);
    EXPECT_EQ(counts[0], cStart);
    EXPECT_EQ(far[0], cStart); // nor is the column's first, which could be converted
    EXPECT_EQ(away.count, far[1]);
}

TEST_F(CHandles, AMapKeepsItsSongAlive)
{
    mSong.reset();
    mTempi.reset();
    mKeys.reset();
    mHistory.reset();
    mFormat.reset();
    kora_meter meter{};
    EXPECT_EQ(kora_meter_map_get(mMeters.get(), 0, &meter), KORA_OK);
    EXPECT_EQ(meter.tick, cStart);
}

TEST_F(CHandles, ReferencesCountOnManyThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int turn = 0; turn < 2000; ++turn) {
                EXPECT_EQ(kora_retain(mSong.get()), KORA_OK);
                EXPECT_EQ(kora_release(mSong.get()), KORA_OK);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    kora_song_info info{sizeof info, 0, 0, 0, 0};
    EXPECT_EQ(kora_song_get_info(mSong.get(), &info), KORA_OK);
}

TEST_F(CHandles, EachThreadHasItsOwnLastError)
{
    EXPECT_EQ(kora_song_new(nullptr), KORA_NULL_ARGUMENT);
    std::thread([] {
        kora_error error{sizeof error, KORA_INTERNAL, 0, nullptr, nullptr};
        EXPECT_EQ(kora_last_error(&error), KORA_OK);
        EXPECT_EQ(error.status, KORA_OK);
        EXPECT_STREQ(error.text, "");
    }).join();
    EXPECT_STREQ(kora_last_error_text(), "out is null");
}

TEST_F(CHandles, AssertionsReachTheCallbackWithItsPointer)
{
    std::vector<std::string> reports;
    const auto take = [](void* ioUser, const char* iText, int32_t) {
        static_cast<std::vector<std::string>*>(ioUser)->push_back(iText);
    };
    ASSERT_EQ(kora_set_assert_handler(take, &reports), KORA_OK);
    Cmn_Assert::HandleMagicAssert("a broken thing", 12);
    ASSERT_EQ(kora_set_assert_handler(nullptr, nullptr), KORA_OK);
    EXPECT_EQ(reports, std::vector<std::string>{"a broken thing"});
}

TEST(CStart, NothingWorksBeforeInitAndItSaysSo)
{
    kora_song* song = nullptr;
    EXPECT_EQ(kora_song_new(&song), KORA_NOT_STARTED);
    EXPECT_EQ(kora_free(), KORA_NOT_STARTED);
    EXPECT_EQ(song, nullptr);
    EXPECT_STREQ(kora_last_error_text(), "kora_init was not called");
    EXPECT_EQ(kora_c_version(), std::uint32_t{KORA_C_VERSION_MAJOR * 65536 + KORA_C_VERSION_MINOR});
    EXPECT_STREQ(kora_version(), KORA_VERSION_TEXT);
    EXPECT_STREQ(kora_status_name(KORA_NOT_STARTED), "not started");
    EXPECT_STREQ(kora_status_name(-1), "unknown status");
}

} // namespace
