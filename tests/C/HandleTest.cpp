#include "Bastel/Cmn/Cmn_Assert.h"
#include "C/CFixture.h"
#include "Kora/Kora_Version.h"

#include <cmath>
#include <functional>
#include <thread>
#include <vector>

namespace {

// A call with one handle in the first place, and everything else as it should be.
struct Call
{
    const char* mName;
    std::function<kora_status(void*)> mCall;
};

const std::vector<Call>& SongCalls()
{
    static kora_time time{};
    static kora_bar_position bars{};
    static kora_song_info info{sizeof(kora_song_info), 0, 0, 0, 0};
    static std::size_t size = 0;
    static std::int64_t count = cStart;
    static void* handle = nullptr;
    const auto song = [](void* iHandle) { return static_cast<kora_song*>(iHandle); };
    static const std::vector<Call> calls = {
        {"save", [=](void* h) { return kora_song_save(song(h), "/nowhere/song.kora"); }},
        {"write_midi", [=](void* h) { return kora_song_write_midi(song(h), nullptr, 0, &size); }},
        {"get_info", [=](void* h) { return kora_song_get_info(song(h), &info); }},
        {"set_listener", [=](void* h) { return kora_song_set_listener(song(h), nullptr, nullptr); }},
        {"get_tempo_map",
         [=](void* h) {
             return kora_song_get_tempo_map(song(h), reinterpret_cast<kora_tempo_map**>(&handle));
         }},
        {"get_meter_map",
         [=](void* h) {
             return kora_song_get_meter_map(song(h), reinterpret_cast<kora_meter_map**>(&handle));
         }},
        {"get_key_map",
         [=](void* h) { return kora_song_get_key_map(song(h), reinterpret_cast<kora_key_map**>(&handle)); }},
        {"convert", [=](void* h) { return kora_convert(song(h), time, KORA_TICKS, &time); }},
        {"to_bars", [=](void* h) { return kora_to_bars(song(h), time, &bars); }},
        {"from_bars", [=](void* h) { return kora_from_bars(song(h), bars, KORA_TICKS, &time); }},
        {"convert_all",
         [=](void* h) { return kora_convert_all(song(h), KORA_TICKS, &count, 8, KORA_TICKS, &count, 8, 1); }},
        {"to_bars_all",
         [=](void* h) { return kora_to_bars_all(song(h), KORA_TICKS, &count, 8, &bars, 16, 1); }},
        {"from_bars_all",
         [=](void* h) { return kora_from_bars_all(song(h), &bars, 16, KORA_TICKS, &count, 8, 1); }},
    };
    return calls;
}

// The calls that maps of a kind have in common, and its own.
template <class Map, class Entry>
std::vector<Call> MapCalls(kora_status (*iCount)(Map*, size_t*), kora_status (*iGet)(Map*, size_t, Entry*),
                           kora_status (*iFind)(Map*, int64_t, Entry*), kora_status (*iRemove)(Map*, int64_t),
                           kora_status (*iClear)(Map*, int64_t, int64_t))
{
    static std::size_t count = 0;
    static Entry entry{};
    const auto map = [](void* iHandle) { return static_cast<Map*>(iHandle); };
    return {
        {"count", [=](void* h) { return iCount(map(h), &count); }},
        {"get", [=](void* h) { return iGet(map(h), 0, &entry); }},
        {"find", [=](void* h) { return iFind(map(h), cStart, &entry); }},
        {"remove", [=](void* h) { return iRemove(map(h), cStart); }},
        {"clear", [=](void* h) { return iClear(map(h), cStart, cStart); }},
    };
}

class CHandles : public CFixture
{
protected:
    void ExpectRefused(const std::vector<Call>& iCalls, const std::vector<void*>& iOthers)
    {
        for (const Call& call : iCalls) {
            EXPECT_EQ(call.mCall(nullptr), KORA_NULL_ARGUMENT) << call.mName;
            for (void* other : iOthers)
                EXPECT_EQ(call.mCall(other), KORA_WRONG_HANDLE) << call.mName;
        }
    }

    Handle<kora_song> mSong = Made<kora_song>(kora_song_new);
    Handle<kora_tempo_map> mTempi = Made<kora_tempo_map>(kora_song_get_tempo_map, mSong.get());
    Handle<kora_meter_map> mMeters = Made<kora_meter_map>(kora_song_get_meter_map, mSong.get());
    Handle<kora_key_map> mKeys = Made<kora_key_map>(kora_song_get_key_map, mSong.get());
};

TEST_F(CHandles, NullAndHandlesOfAnotherKindAreRefusedByEveryCall)
{
    ExpectRefused(SongCalls(), {mTempi.get(), mMeters.get(), mKeys.get()});
    auto tempo = MapCalls(kora_tempo_map_count, kora_tempo_map_get, kora_tempo_map_find,
                          kora_tempo_map_remove, kora_tempo_map_clear);
    ExpectRefused(tempo, {mSong.get(), mMeters.get(), mKeys.get()});
    auto meter = MapCalls(kora_meter_map_count, kora_meter_map_get, kora_meter_map_find,
                          kora_meter_map_remove, kora_meter_map_clear);
    meter.push_back(
        {"set", [](void* h) { return kora_meter_map_set(static_cast<kora_meter_map*>(h), cStart, 4, 4); }});
    ExpectRefused(meter, {mSong.get(), mTempi.get(), mKeys.get()});
    auto key = MapCalls(kora_key_map_count, kora_key_map_get, kora_key_map_find, kora_key_map_remove,
                        kora_key_map_clear);
    const kora_key some{cStart, 1, 1, 0, {}};
    key.push_back({"set", [&](void* h) { return kora_key_map_set(static_cast<kora_key_map*>(h), &some); }});
    ExpectRefused(key, {mSong.get(), mTempi.get(), mMeters.get()});
    EXPECT_EQ(kora_retain(nullptr), KORA_NULL_ARGUMENT);
    EXPECT_EQ(kora_release(nullptr), KORA_NULL_ARGUMENT);
    std::uint64_t noHandle[4] = {};
    EXPECT_EQ(kora_release(noHandle), KORA_WRONG_HANDLE);
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
    kora_song* const song = mSong.get();
    EXPECT_EQ(kora_retain(song), KORA_OK);
    EXPECT_EQ(kora_release(song), KORA_OK);
    mSong.reset();
    mTempi.reset();
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
