// Whether a song is as it was saved, whoever changes it; and steps that are begun, ended and left in any order.
#include "CFixture.h"

#include <random>
#include <vector>

namespace {

using CHistory = CFixture;

using Song = CSongParts;

bool IsSaved(const Handle<kora_history>& iHistory)
{
    std::int32_t isSaved = -1;
    EXPECT_EQ(kora_history_is_saved(iHistory.get(), &isSaved), KORA_OK);
    return isSaved == 1;
}

// Two histories of one song and edits outside of both, at random: who says that the song is as it was marked is right.
TEST_F(CHistory, NobodySaysThatASongIsSavedWhichIsNot)
{
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        Song song;
        const Handle<kora_history> histories[2] = {Made<kora_history>(kora_history_new, song.mSong.get()),
                                                   Made<kora_history>(kora_history_new, song.mSong.get())};
        std::string marked[2] = {BytesOf(song.mSong.get()), BytesOf(song.mSong.get())};
        int saved = 0;
        for (int step = 0; step < 60; ++step) {
            const std::size_t which = random() % 2;
            kora_history* const history = histories[which].get();
            const auto edit = [&] {
                const auto quarter = static_cast<std::int64_t>(random() % 60);
                if (random() % 2 == 0)
                    EXPECT_EQ(song.SetTempo(quarter, 60 + random() % 90), KORA_OK);
                else
                    static_cast<void>(kora_song_delete_time(song.mSong.get(), cStart + quarter * cQuarter,
                                                            cStart + (quarter + 1) * cQuarter, nullptr));
            };
            const unsigned choice = random() % 8;
            if (choice == 0) edit();
            if (choice == 1)
                static_cast<void>(kora_key_map_clear(song.mKeys.get(), cStart + cQuarter, cStart * 2));
            if (choice == 2 || choice == 3) {
                ASSERT_EQ(kora_history_begin(history), KORA_OK);
                EXPECT_EQ(kora_history_mark_saved(history), KORA_BUSY) << "in the midst of a step";
                edit();
                if (random() % 4 == 0)
                    EXPECT_EQ(kora_history_cancel(history), KORA_OK);
                else
                    EXPECT_EQ(kora_history_end(history, "step", random() % 2), KORA_OK);
            }
            if (choice == 4 || choice == 5) static_cast<void>(kora_history_undo(history));
            if (choice == 6) static_cast<void>(kora_history_redo(history));
            if (choice == 7) {
                ASSERT_EQ(kora_history_mark_saved(history), KORA_OK);
                marked[which] = BytesOf(song.mSong.get());
                EXPECT_TRUE(IsSaved(histories[which]));
            }
            for (std::size_t each = 0; each < 2; ++each)
                if (IsSaved(histories[each])) {
                    ++saved;
                    ASSERT_TRUE(BytesOf(song.mSong.get()) == marked[each])
                        << "seed " << seed << ", step " << step;
                }
        }
        EXPECT_GT(saved, 0);
    }
}

TEST_F(CHistory, UndoBackToWhatWasMarkedIsSavedWhereNobodyElseEdits)
{
    Song song;
    const auto history = Made<kora_history>(kora_history_new, song.mSong.get());
    const auto step = [&](double iTempo) {
        ASSERT_EQ(kora_history_begin(history.get()), KORA_OK);
        EXPECT_TRUE(iTempo > 90 || IsSaved(history)) << "nothing is edited yet";
        ASSERT_EQ(song.SetTempo(30, iTempo), KORA_OK);
        EXPECT_FALSE(IsSaved(history)) << "within the step";
        ASSERT_EQ(kora_history_end(history.get(), "step", 0), KORA_OK);
    };
    step(90);
    step(91);
    ASSERT_EQ(kora_history_undo(history.get()), KORA_OK);
    EXPECT_FALSE(IsSaved(history));
    ASSERT_EQ(kora_history_undo(history.get()), KORA_OK);
    EXPECT_TRUE(IsSaved(history));
    ASSERT_EQ(kora_history_begin(history.get()), KORA_OK);
    ASSERT_EQ(song.SetTempo(31, 60), KORA_OK);
    ASSERT_EQ(kora_history_cancel(history.get()), KORA_OK);
    EXPECT_TRUE(IsSaved(history)) << "what was begun is taken back";
    EXPECT_EQ(song.SetTempo(30, 100000), KORA_REFUSED);
    EXPECT_TRUE(IsSaved(history)) << "a refused edit changes nothing";
}

// A song is marked while a step of another one is open.
TEST_F(CHistory, SavingOneSongDoesNotWaitForTheStepOfAnother)
{
    Song song, other;
    const auto history = Made<kora_history>(kora_history_new, song.mSong.get());
    const auto others = Made<kora_history>(kora_history_new, other.mSong.get());
    ASSERT_EQ(song.SetTempo(30, 90), KORA_OK);
    ASSERT_EQ(kora_history_begin(others.get()), KORA_OK);
    EXPECT_FALSE(IsSaved(history));
    EXPECT_EQ(kora_history_mark_saved(history.get()), KORA_OK);
    EXPECT_TRUE(IsSaved(history));
    EXPECT_EQ(kora_history_cancel(others.get()), KORA_OK);
}

} // namespace
