// Threads that know nothing of one another, each with songs of its own: plug-ins of one host, or a script's workers.
#include "CFixture.h"

#include <atomic>
#include <thread>
#include <vector>

namespace {

// What a thread sees of a song that it makes, edits, undoes and puts away. A step is left out while another thread
// records.
std::string UseASong(bool iMayWait)
{
    std::string seen;
    const auto song = Made<kora_song>(kora_song_open, cSongPath.c_str());
    const auto tempi = Made<kora_tempo_map>(kora_song_get_tempo_map, song.get());
    const auto keys = Made<kora_key_map>(kora_song_get_key_map, song.get());
    const auto format = Made<kora_format>(kora_format_new, song.get(), std::int32_t{KORA_FILM_35MM});
    const auto grid = Made<kora_grid>(kora_grid_new, song.get(), "1/8", 0);
    std::uint32_t told = 0;
    const auto listen = [](void* ioTold, kora_song*, std::uint32_t iWhat) {
        *static_cast<std::uint32_t*>(ioTold) |= iWhat;
    };
    EXPECT_EQ(kora_song_set_listener(song.get(), listen, &told), KORA_OK);
    const auto look = [&] {
        char text[48];
        const kora_time at{cStart + 40 * cQuarter, KORA_TICKS, 0};
        kora_grid_line line{};
        kora_time sample{};
        EXPECT_EQ(kora_format_write(format.get(), KORA_FORM_TIMECODE, at, text, sizeof text, nullptr),
                  KORA_OK);
        EXPECT_EQ(kora_convert(song.get(), at, KORA_SAMPLES, &sample), KORA_OK);
        EXPECT_EQ(kora_grid_find(grid.get(), at, KORA_SEARCH_AFTER, &line), KORA_OK);
        seen +=
            std::string(text) + ' ' + std::to_string(sample.count) + ' ' + std::to_string(line.sample) + '\n';
    };
    const auto wait = [&](const auto& iCall) {
        kora_status status = iCall();
        while (iMayWait && status == KORA_BUSY) {
            std::this_thread::yield();
            status = iCall();
        }
        EXPECT_EQ(status, KORA_OK) << kora_last_error_text();
    };
    const auto history = Made<kora_history>(kora_history_new, song.get());
    look();
    wait([&] { return kora_history_begin(history.get()); });
    const std::int64_t bar = cStart + 8 * cQuarter;
    EXPECT_EQ(kora_tempo_map_ramp(tempi.get(), bar, bar + 16 * cQuarter, 60, 90, KORA_CURVE_S, 50, nullptr),
              KORA_OK);
    EXPECT_EQ(kora_history_end(history.get(), "ramp", 0), KORA_OK);
    look();
    wait([&] { return kora_history_undo(history.get()); });
    look();
    const kora_key key{bar, 1, 1, 3, {}};
    wait([&] { return kora_key_map_set(keys.get(), &key); });
    wait([&] { return kora_song_delete_time(song.get(), bar, bar + cQuarter, nullptr); });
    look();
    const std::string bytes = BytesOf(song.get());
    const auto again = Made<kora_song>(kora_song_read_bytes, bytes.data(), bytes.size());
    return seen + std::to_string(told) + ' ' + std::to_string(bytes.size());
}

TEST(CThreads, EachHasSongsOfItsOwn)
{
    ASSERT_EQ(kora_init(), KORA_OK);
    const std::string alone = UseASong(false);
    ASSERT_EQ(kora_free(), KORA_OK);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 6; ++thread)
        threads.emplace_back([&] {
            for (int round = 0; round < 10; ++round) {
                // Each may be the first or the last that uses the library at any moment.
                EXPECT_EQ(kora_init(), KORA_OK);
                EXPECT_EQ(UseASong(true), alone);
                EXPECT_EQ(kora_free(), KORA_OK);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(kora_free(), KORA_NOT_STARTED);
}

// A song goes from thread to thread, as through a queue.
TEST_F(CFixture, ASongMayBeMadeEditedAskedAndReleasedByDifferentThreads)
{
    kora_song* song = nullptr;
    const auto on = [](const auto& iBody) { std::thread(iBody).join(); };
    on([&] { ASSERT_EQ(kora_song_new(&song), KORA_OK); });
    on([&] {
        const auto tempi = Made<kora_tempo_map>(kora_song_get_tempo_map, song);
        ASSERT_EQ(kora_tempo_map_set(tempi.get(), cStart + cQuarter, 60, cQuarter, nullptr), KORA_OK);
    });
    kora_time sample{};
    on([&] {
        ASSERT_EQ(kora_convert(song, {cStart + 2 * cQuarter, KORA_TICKS, 0}, KORA_SAMPLES, &sample), KORA_OK);
    });
    EXPECT_EQ(sample.count, 22050 + 44100);
    on([&] { ASSERT_EQ(kora_release(song), KORA_OK); });
}

} // namespace
