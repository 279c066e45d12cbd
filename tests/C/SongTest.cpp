#include "C/CModel.h"

#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

namespace {

class CSong : public CFixture, protected CSongParts
{
protected:
    // Times in and around the song.
    std::vector<std::int64_t> Times(std::uint32_t iUnit, std::size_t iCount)
    {
        std::vector<std::int64_t> times(iCount);
        const bool isTicks = iUnit == KORA_TICKS;
        std::uniform_int_distribution<std::int64_t> any(0, isTicks ? 400 * cQuarter : 20000000);
        for (std::int64_t& time : times)
            time = any(mRandom) + (isTicks ? cStart - 20 * cQuarter : 0);
        return times;
    }

    std::mt19937_64 mRandom{4711};
    CModel mModel;
};

// Those of tempi and meters are held to the classes' after every edit: CEdits.
TEST_F(CSong, EveryKeyIsThatOfTheMap)
{
    std::size_t count = 0;
    EXPECT_EQ(kora_key_map_count(mKeys.get(), &count), KORA_OK);
    EXPECT_EQ(count, static_cast<std::size_t>(mModel.mKeys.size()));
    for (std::size_t i = 0; i < count; ++i) {
        kora_key key{};
        Time_Tick tick;
        Time_KeySignature expected;
        ASSERT_EQ(kora_key_map_get(mKeys.get(), i, &key), KORA_OK);
        ASSERT_TRUE(mModel.mKeys.GetKeysSignature(static_cast<long>(i), tick, expected));
        EXPECT_EQ(key.tick, tick.AsInt64());
        EXPECT_EQ(Time_KeySignature(key.is_major != 0, key.is_sharps != 0, key.accidentals), expected);
    }
    kora_song_info info{};
    info.size = sizeof info;
    ASSERT_EQ(kora_song_get_info(mSong.get(), &info), KORA_OK);
    EXPECT_EQ(info.end_tick, mModel.mEnd.AsInt64());
    EXPECT_EQ(info.start_tick, cStart);
}

// Columns with strides, and such as lie in one another, are the calls of one's: CColumn.
TEST_F(CSong, EveryUnitConvertsAsTheConverterDoesOneByOneAndInColumns)
{
    constexpr std::size_t cCount = 2500; // more than one block
    for (const std::uint32_t from : {KORA_SAMPLES, KORA_TICKS, KORA_FRAMES})
        for (const std::uint32_t to : {KORA_SAMPLES, KORA_TICKS, KORA_FRAMES}) {
            const std::vector<std::int64_t> times = Times(from, cCount);
            std::vector<std::int64_t> column(times);
            ASSERT_EQ(kora_convert_all(mSong.get(), from, column.data(), 8, to, column.data(), 8, cCount),
                      KORA_OK);
            for (std::size_t i = 0; i < cCount; ++i) {
                const Time_Typed expected = mModel.mConverter.ToType(
                    Time_Typed(times[i], static_cast<Time_EType>(from)), static_cast<Time_EType>(to));
                kora_time one{};
                ASSERT_EQ(kora_convert(mSong.get(), {times[i], from, 0}, to, &one), KORA_OK);
                ASSERT_EQ(one.unit, to);
                ASSERT_EQ(one.count, expected.AsInt64()) << from << " to " << to << ": " << times[i];
                ASSERT_EQ(column[i], expected.AsInt64()) << from << " to " << to << ": " << times[i];
            }
        }
    // Refused, and left as it was, the blocks before too.
    std::vector<std::int64_t> wrong = Times(KORA_TICKS, cCount);
    wrong.back() = std::int64_t{1} << 60;
    const std::vector<std::int64_t> before(wrong);
    EXPECT_EQ(
        kora_convert_all(mSong.get(), KORA_TICKS, wrong.data(), 8, KORA_SAMPLES, wrong.data(), 8, cCount),
        KORA_BAD_ARGUMENT);
    EXPECT_TRUE(wrong == before);
}

TEST_F(CSong, BarsComeAndGoAsInTheMeterMap)
{
    for (const std::int64_t tick : Times(KORA_TICKS, 500)) {
        const Time_BarBeatTick expected = mModel.mMeters.TickToBarBeat(Time_Tick(tick));
        kora_bar_position one{};
        kora_time back{};
        ASSERT_EQ(kora_to_bars(mSong.get(), {tick, KORA_TICKS, 0}, &one), KORA_OK);
        ASSERT_EQ(kora_from_bars(mSong.get(), one, KORA_TICKS, &back), KORA_OK);
        EXPECT_EQ(Time_BarBeatTick(one.bar, one.beat, Time_TickLength(one.ticks)), expected);
        EXPECT_EQ(back.count, tick);
    }
}

TEST_F(CSong, WhatCannotBeReadSaysWhereAndHandsOutNothing)
{
    kora_song* song = nullptr;
    kora_error error{};
    error.size = sizeof error;
    EXPECT_EQ(kora_song_open("no such folder/song.mid", &song), KORA_SYSTEM);
    EXPECT_EQ(kora_last_error(&error), KORA_OK);
    EXPECT_STREQ(error.file, "no such folder/song.mid");
    std::string bytes = BytesOf(cSongPath);
    for (std::size_t length = 0; length < bytes.size(); length += 97) {
        EXPECT_EQ(kora_song_read_bytes(bytes.data(), length, &song), KORA_BAD_FILE) << length;
        EXPECT_EQ(kora_last_error(&error), KORA_OK);
        EXPECT_EQ(error.status, KORA_BAD_FILE);
        EXPECT_LE(error.offset, static_cast<std::int64_t>(length));
        EXPECT_STRNE(error.text, "");
    }
    EXPECT_EQ(song, nullptr);
}

TEST_F(CSong, ASaveThatCouldNotBeOpenedAgainIsRefused)
{
    const std::string path = testing::TempDir() + "kora-far.kora";
    const kora_key early{cStart - 1, 1, 1, 0, {}}, last{cStart + cQuarter * 400000, 1, 1, 0, {}};
    EXPECT_EQ(kora_key_map_set(mKeys.get(), &early), KORA_REFUSED);
    ASSERT_EQ(kora_key_map_set(mKeys.get(), &last), KORA_OK);
    ASSERT_EQ(kora_song_save(mSong.get(), path.c_str()), KORA_OK) << kora_last_error_text();
    const std::string before = BytesOf(path);
    // At 5 quarters a minute the last key's sample is past all limits.
    ASSERT_EQ(kora_tempo_map_set(mTempi.get(), cStart + 1000 * cQuarter, 5, cQuarter, nullptr), KORA_OK);
    EXPECT_EQ(kora_song_save(mSong.get(), path.c_str()), KORA_BAD_FILE);
    EXPECT_NE(std::string(kora_last_error_text()).find("a key at tick 1384000000000"), std::string::npos)
        << kora_last_error_text();
    EXPECT_TRUE(BytesOf(path) == before);
    std::remove(path.c_str());
}

TEST_F(CSong, EditsOfTheMapsAreThoseOfTheClassesOrRefused)
{
    std::uint32_t told = 0;
    const auto tell = [](void* ioUser, kora_song*, std::uint32_t iWhat) {
        *static_cast<std::uint32_t*>(ioUser) |= iWhat;
    };
    ASSERT_EQ(kora_song_set_listener(mSong.get(), tell, &told), KORA_OK);
    EXPECT_EQ(kora_tempo_map_remove(mTempi.get(), cStart), KORA_REFUSED);
    EXPECT_EQ(kora_meter_map_remove(mMeters.get(), cStart), KORA_REFUSED);
    EXPECT_EQ(kora_meter_map_clear(mMeters.get(), cStart, cStart + 1), KORA_REFUSED);
    EXPECT_EQ(kora_meter_map_set(mMeters.get(), cStart - 1, 3, 4), KORA_REFUSED);
    EXPECT_EQ(kora_meter_map_remove(mMeters.get(), cStart + 1), KORA_NOT_FOUND);
    EXPECT_EQ(told, 0u);

    const std::int64_t at = cStart + 40 * cQuarter;
    ASSERT_EQ(kora_meter_map_set(mMeters.get(), at, 7, 8), KORA_OK);
    EXPECT_EQ(told, std::uint32_t{KORA_CHANGED_METERS});
    mModel.mMeters.AddMeterChange(Time_Tick(at), Time_Meter(7, 8));
    ASSERT_EQ(kora_tempo_map_clear(mTempi.get(), cStart + 1, at), KORA_OK);
    EXPECT_EQ(told, std::uint32_t{KORA_CHANGED_METERS} | KORA_CHANGED_TEMPI);
    mModel.mTempi.EraseSegments(Time_Tick(cStart + 1), Time_Tick(at));
    const kora_key key{at, 0, 0, 3, {}};
    const auto expectTold = [&](kora_status iStatus, std::uint32_t iWhat, const char* iEdit) {
        EXPECT_EQ(iStatus, KORA_OK) << iEdit;
        EXPECT_EQ(told, iWhat) << iEdit;
        told = 0;
    };
    told = 0;
    ASSERT_EQ(kora_history_begin(mHistory.get()), KORA_OK);
    expectTold(kora_key_map_set(mKeys.get(), &key), KORA_CHANGED_KEYS, "set");
    expectTold(kora_history_end(mHistory.get(), "Key", 0), 0, "end");
    expectTold(kora_history_undo(mHistory.get()), KORA_CHANGED_KEYS, "undo");
    expectTold(kora_history_redo(mHistory.get()), KORA_CHANGED_KEYS, "redo");
    expectTold(kora_key_map_clear(mKeys.get(), at + 1, at + 2), 0, "clear nothing");
    ASSERT_EQ(kora_history_begin(mHistory.get()), KORA_OK);
    expectTold(kora_key_map_remove(mKeys.get(), at), KORA_CHANGED_KEYS, "remove");
    expectTold(kora_history_cancel(mHistory.get()), KORA_CHANGED_KEYS, "cancel");
    kora_key found{};
    EXPECT_EQ(kora_key_map_find(mKeys.get(), cStart - 1, &found), KORA_NOT_FOUND);
    ASSERT_EQ(kora_key_map_find(mKeys.get(), at + 5, &found), KORA_OK);
    EXPECT_EQ(std::memcmp(&key, &found, sizeof key), 0);
    for (const std::int64_t tick : Times(KORA_TICKS, 200)) {
        kora_time sample{};
        kora_bar_position bars{};
        ASSERT_EQ(kora_convert(mSong.get(), {tick, KORA_TICKS, 0}, KORA_SAMPLES, &sample), KORA_OK);
        ASSERT_EQ(kora_to_bars(mSong.get(), {tick, KORA_TICKS, 0}, &bars), KORA_OK);
        EXPECT_EQ(sample.count, mModel.mConverter.ToSample(Time_Tick(tick)).AsInt64());
        EXPECT_EQ(bars.bar, mModel.mMeters.TickToBarBeat(Time_Tick(tick)).mBar);
    }
}

} // namespace
