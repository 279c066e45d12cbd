// What callbacks do that they had better not: edit, undo, release what the call is at.
#include "CFixture.h"

#include <functional>
#include <string_view>
#include <vector>

namespace {

using CCallback = CFixture;

struct Host : CSongParts
{
    std::function<void(std::uint32_t)> mCall;
    int mCalls = 0;

    Host()
    {
        const auto tell = [](void* iUser, kora_song*, std::uint32_t iWhat) {
            Host& host = *static_cast<Host*>(iUser);
            ++host.mCalls;
            if (host.mCall) host.mCall(iWhat);
        };
        EXPECT_EQ(kora_song_set_listener(mSong.get(), tell, this), KORA_OK);
    }
    // All that changes a song.
    std::vector<kora_status> ChangeAll()
    {
        kora_song* const song = mSong.get();
        const std::int64_t from = cStart + 8 * cQuarter, to = cStart + 9 * cQuarter;
        return {SetTempo(4),
                SetKey(4),
                kora_tempo_map_ramp(mTempi.get(), from, to, 60, 90, KORA_CURVE_S, 5, nullptr),
                kora_tempo_map_clear(mTempi.get(), from, to),
                kora_meter_map_set(mMeters.get(), from, 3, 8),
                kora_meter_map_clear(mMeters.get(), from, to),
                kora_key_map_clear(mKeys.get(), from, to),
                kora_song_delete_time(song, from, to, nullptr),
                kora_song_insert_time(song, from, cQuarter, nullptr),
                kora_history_begin(mHistory.get()),
                kora_history_end(mHistory.get(), "inside", 0),
                kora_history_cancel(mHistory.get()),
                kora_history_undo(mHistory.get()),
                kora_history_redo(mHistory.get()),
                kora_history_mark_saved(mHistory.get())};
    }
};

// Everything that tells a listener, or calls back.
const std::vector<std::pair<const char*, std::function<kora_status(Host&)>>> cCalls{
    {"edit of a tempo", [](Host& h) { return h.SetTempo(5); }},
    {"edit of a meter",
     [](Host& h) { return kora_meter_map_set(h.mMeters.get(), cStart + 5 * cQuarter, 3, 8); }},
    {"edit of a key", [](Host& h) { return h.SetKey(5); }},
    {"edit of time",
     [](Host& h) {
         return kora_song_delete_time(h.mSong.get(), cStart + 15 * cQuarter, cStart + 19 * cQuarter, nullptr);
     }},
    {"cancel",
     [](Host& h) {
         EXPECT_EQ(kora_history_begin(h.mHistory.get()), KORA_OK);
         EXPECT_EQ(h.SetTempo(6), KORA_OK);
         return kora_history_cancel(h.mHistory.get());
     }},
    {"undo and redo",
     [](Host& h) {
         EXPECT_EQ(kora_history_begin(h.mHistory.get()), KORA_OK);
         EXPECT_EQ(h.SetTempo(6), KORA_OK);
         EXPECT_EQ(h.SetKey(6), KORA_OK);
         EXPECT_EQ(kora_history_end(h.mHistory.get(), "step", 0), KORA_OK);
         EXPECT_EQ(kora_history_undo(h.mHistory.get()), KORA_OK);
         return kora_history_redo(h.mHistory.get());
     }},
    {"ruler",
     [](Host& h) {
         const kora_ruler_options options{
             sizeof options, KORA_FORM_BARS, KORA_FILM_35MM, KORA_AXIS_BARS, 0, 0, 0};
         const kora_measure measure = [](void* iUser, const char*, std::size_t) {
             static_cast<Host*>(iUser)->mCall(0);
             return 7.0;
         };
         kora_ruler* ruler = nullptr;
         EXPECT_EQ(kora_ruler_new(h.mSong.get(), &options, {cStart + 90 * cQuarter, KORA_TICKS, 0}, measure,
                                  &h, &ruler),
                   KORA_OK);
         const kora_ruler_take take = [](void* iUser, const kora_ruler_line*) {
             static_cast<Host*>(iUser)->mCall(0);
         };
         const kora_status status = kora_ruler_draw(ruler, 800, take, &h);
         EXPECT_EQ(kora_release(ruler), KORA_OK);
         return status;
     }},
};

TEST_F(CCallback, TheSongIsNotEditedWithinOneOfItsOwn)
{
    for (const auto& [name, call] : cCalls) {
        SCOPED_TRACE(name);
        Host plain, editing;
        plain.mCall = [](std::uint32_t) {};
        EXPECT_EQ(call(plain), KORA_OK);
        int calls = 0;
        editing.mCall = [&](std::uint32_t) {
            ++calls;
            for (const kora_status status : editing.ChangeAll())
                EXPECT_EQ(status, KORA_BUSY) << kora_last_error_text();
        };
        EXPECT_EQ(call(editing), KORA_OK);
        EXPECT_GT(calls, 0);
        EXPECT_EQ(editing.mCalls, plain.mCalls);
        std::size_t tempi = 0, wanted = 0;
        EXPECT_EQ(kora_tempo_map_count(editing.mTempi.get(), &tempi), KORA_OK);
        EXPECT_EQ(kora_tempo_map_count(plain.mTempi.get(), &wanted), KORA_OK);
        EXPECT_EQ(tempi, wanted);
        editing.mCall = nullptr;
        EXPECT_EQ(editing.SetTempo(7), KORA_OK) << "afterwards it is edited again";
    }
}

TEST_F(CCallback, WhatIsReleasedWithinEndsBehindTheCall)
{
    for (const auto& each : cCalls) {
        const std::string_view name = each.first;
        SCOPED_TRACE(each.first);
        Handle<kora_song> other = Open(), third = Open();
        Handle<kora_history> history = Made<kora_history>(kora_history_new, other.get());
        Host host;
        host.mCall = [&](std::uint32_t) {
            history.reset();
            other.reset();
            third.reset();
            if (name == "edit of a key") host.mKeys.reset(); // which the call is of
        };
        EXPECT_EQ(each.second(host), KORA_OK);
        EXPECT_EQ(third, nullptr);
        host.mCall = nullptr;
        EXPECT_EQ(host.SetTempo(7), KORA_OK);
    }
    // All of a song within its listener, which is told for the last time.
    kora_song* song = nullptr;
    kora_history* history = nullptr;
    ASSERT_EQ(kora_song_new(&song), KORA_OK);
    ASSERT_EQ(kora_history_new(song, &history), KORA_OK);
    static kora_history* sHistory;
    sHistory = history;
    {
        const auto meters = Made<kora_meter_map>(kora_song_get_meter_map, song);
        ASSERT_EQ(kora_history_begin(history), KORA_OK);
        ASSERT_EQ(kora_meter_map_set(meters.get(), cStart, 3, 4), KORA_OK);
        ASSERT_EQ(kora_history_end(history, "3/4", 0), KORA_OK);
    }
    const kora_song_listener leave = [](void*, kora_song* ioSong, std::uint32_t) {
        EXPECT_EQ(kora_release(ioSong), KORA_OK);
        EXPECT_EQ(kora_release(sHistory), KORA_OK);
    };
    ASSERT_EQ(kora_song_set_listener(song, leave, nullptr), KORA_OK);
    EXPECT_EQ(kora_history_undo(history), KORA_OK);
}

TEST_F(CCallback, AListenerBehindUndoSeesTheHistoryAsItIs)
{
    Host host;
    kora_history* const history = host.mHistory.get();
    EXPECT_EQ(kora_history_begin(history), KORA_OK);
    EXPECT_EQ(host.SetTempo(6), KORA_OK);
    EXPECT_EQ(host.SetKey(6), KORA_OK);
    EXPECT_EQ(kora_history_end(history, "step", 0), KORA_OK);
    std::uint32_t told = 0;
    std::vector<std::string> seen;
    host.mCall = [&](std::uint32_t iWhat) {
        std::size_t steps = 0, position = 9;
        std::int32_t isSaved = -1;
        told = iWhat;
        EXPECT_EQ(kora_history_count(history, &steps, &position), KORA_OK);
        EXPECT_EQ(kora_history_is_saved(history, &isSaved), KORA_OK);
        seen.push_back(std::to_string(position) + (isSaved == 1 ? " saved" : ""));
    };
    EXPECT_EQ(kora_history_undo(history), KORA_OK);
    EXPECT_EQ(told, std::uint32_t{KORA_CHANGED_TEMPI | KORA_CHANGED_KEYS});
    EXPECT_EQ(kora_history_redo(history), KORA_OK);
    EXPECT_EQ(seen, (std::vector<std::string>{"0 saved", "1"}));
}

TEST_F(CCallback, AHandlerMayReleaseItsListenerItsReceiverAndItsName)
{
    struct All
    {
        kora_name* mName = nullptr;
        kora_receiver* mReceiver = nullptr;
        kora_listener* mListener = nullptr;
        int mCalls = 0;
    } all;
    ASSERT_EQ(kora_name_new("Callback", &all.mName), KORA_OK);
    ASSERT_EQ(kora_receiver_new(KORA_RECEIVER_WAITS, &all.mReceiver), KORA_OK);
    const kora_token_handler leave = [](void* iUser, const kora_token*) {
        All& of = *static_cast<All*>(iUser);
        ++of.mCalls;
        EXPECT_EQ(kora_release(of.mReceiver), KORA_OK);
        EXPECT_EQ(kora_release(of.mName), KORA_OK);
        EXPECT_EQ(kora_release(of.mListener), KORA_OK);
    };
    ASSERT_EQ(kora_listener_new(all.mReceiver, all.mName, 1, 0, KORA_LISTEN_ALL, leave, &all, &all.mListener),
              KORA_OK);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(kora_send(all.mName, 1, 0, &i, sizeof i), KORA_OK);
    EXPECT_EQ(kora_receiver_process(all.mReceiver, 0, nullptr), KORA_OK);
    EXPECT_EQ(all.mCalls, 1);
}

} // namespace
