#include "C/CModel.h"
#include "Kora/Time/Convert/Time_Format.h"
#include "Kora/Time/Edit/Time_SongEdit.h"
#include "Kora/Time/Tempo/Time_TempoEdit.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace {

// Every tempo and meter of a song as one text, by the C interface.
std::string TextOf(kora_song* iSong)
{
    const auto tempi = Made<kora_tempo_map>(kora_song_get_tempo_map, iSong);
    const auto meters = Made<kora_meter_map>(kora_song_get_meter_map, iSong);
    std::string text;
    std::size_t count = 0, i = 0;
    kora_tempo tempo{}, tempoThere{};
    for (; kora_tempo_map_get(tempi.get(), i, &tempo) == KORA_OK; ++i) {
        text += std::to_string(tempo.tick) + ' ' + std::to_string(tempo.beats_per_minute) + ' ' +
                std::to_string(tempo.ticks_per_beat) + ' ' + std::to_string(tempo.locked_sample) + ' ' +
                std::to_string(tempo.flags) + '\n';
        for (const std::int64_t at : {tempo.tick, tempo.tick + 1}) {
            EXPECT_EQ(kora_tempo_map_find(tempi.get(), at, &tempoThere), KORA_OK);
            EXPECT_EQ(std::memcmp(&tempo, &tempoThere, sizeof tempo), 0) << at;
        }
    }
    EXPECT_EQ(kora_tempo_map_count(tempi.get(), &count), KORA_OK);
    EXPECT_EQ(count, i);
    kora_meter meter{}, meterThere{};
    for (i = 0; kora_meter_map_get(meters.get(), i, &meter) == KORA_OK; ++i) {
        text += std::to_string(meter.tick) + ' ' + std::to_string(meter.numerator) + '/' +
                std::to_string(meter.denominator) + ' ' + std::to_string(meter.bar) + '\n';
        for (const std::int64_t at : {meter.tick, meter.tick + 1}) {
            EXPECT_EQ(kora_meter_map_find(meters.get(), at, &meterThere), KORA_OK);
            EXPECT_EQ(std::memcmp(&meter, &meterThere, sizeof meter), 0) << at;
        }
    }
    EXPECT_EQ(kora_meter_map_count(meters.get(), &count), KORA_OK);
    EXPECT_EQ(count, i);
    return text;
}

class CEdits : public CFixture, protected CSongParts
{
protected:
    // The text of a call, and of the same by the classes.
    std::string ModelText()
    {
        std::string text;
        for (auto at = mModel.mTempi.SegmentBegin(); at != mModel.mTempi.SegmentEnd(); ++at) {
            double beats = 0;
            Time_TickLength beat;
            mModel.mTempi.GetTempoAtTick(beats, beat, (*at)->GetStartTick());
            const int flags = ((*at)->IsLockedToSample() ? KORA_TEMPO_LOCKED : 0) |
                              ((*at)->IsSongStart() ? KORA_TEMPO_SONG_START : 0) |
                              ((*at)->IsComputed() ? KORA_TEMPO_COMPUTED : 0);
            const std::int64_t sample = (*at)->IsLockedToSample() ? (*at)->GetStartSample().AsInt64() : 0;
            text += std::to_string((*at)->GetStartTick().AsInt64()) + ' ' + std::to_string(beats) + ' ' +
                    std::to_string(beat.AsInt64()) + ' ' + std::to_string(sample) + ' ' +
                    std::to_string(flags) + '\n';
        }
        for (auto at = mModel.mMeters.IterBegin(); at != mModel.mMeters.IterEnd(); ++at)
            text += std::to_string(at->GetTick().AsInt64()) + ' ' +
                    std::to_string(at->GetMeter().GetNumerator()) + '/' +
                    std::to_string(at->GetMeter().GetDenominator()) + ' ' +
                    std::to_string(at->GetBarNumber()) + '\n';
        return text;
    }

    // One edit by chance, by both: the status of the one and the result of the other.
    void EditBoth(int iKind, std::int64_t iFrom, std::int64_t iTo)
    {
        const Time_SongEdit::Song song{&mModel.mMeters, &mModel.mTempi, &mModel.mKeys, {}};
        const Time_Tick from(iFrom), to(iTo);
        kora_edit_result got{sizeof got, 0, 0};
        kora_status status = KORA_OK;
        Time_TempoEditResult expected;
        const auto both = [&](kora_status iStatus, const Time_TempoEditResult& iExpected) {
            status = iStatus;
            expected = iExpected;
        };
        kora_tempo_map* const map = mTempi.get();
        kora_song* const whole = mSong.get();
        const std::int64_t place = cStart + 8 * cQuarter, sample = (iFrom - cStart) / 40;
        using Tempo = Time_TempoEdit;
        using Edit = Time_SongEdit;
        if (iKind == 0)
            both(kora_tempo_map_set(map, iFrom, 97.5, cQuarter, &got),
                 Tempo::SetTempo(mModel.mTempi, from, {97.5}));
        if (iKind == 1)
            both(kora_tempo_map_ramp(map, iFrom, iTo, 90, 140, KORA_CURVE_LINEAR, 5, &got),
                 Tempo::Ramp(mModel.mTempi, from, to, {90}, 140, Tempo::eCurve_Linear, 5));
        if (iKind == 2)
            both(kora_tempo_map_scale(map, iFrom, iTo, 1.25, &got),
                 Tempo::Scale(mModel.mTempi, from, to, 1.25));
        if (iKind == 3)
            both(kora_tempo_map_offset(map, iFrom, iTo, -7, &got),
                 Tempo::Offset(mModel.mTempi, from, to, -7));
        if (iKind == 4)
            both(kora_tempo_map_lock(map, iFrom, sample, &got),
                 Tempo::LockToSample(mModel.mTempi, from, Time_Sample(sample)));
        if (iKind == 5) both(kora_tempo_map_unlock(map, iFrom, &got), Tempo::RemoveLock(mModel.mTempi, from));
        if (iKind == 6)
            both(kora_song_insert_time(whole, iFrom, iTo - iFrom, &got),
                 Edit::InsertTime(song, from, to - from));
        if (iKind == 7)
            both(kora_song_delete_time(whole, iFrom, iTo, &got), Edit::DeleteTime(song, from, to));
        if (iKind == 8)
            both(kora_song_repeat_time(whole, iFrom, iTo, 2, &got), Edit::RepeatTime(song, from, to, 2));
        if (iKind == 9)
            both(kora_song_move_time(whole, iFrom, iTo, place, &got),
                 Edit::MoveTime(song, from, to, Time_Tick(place)));
        if (iKind == 10)
            both(kora_tempo_map_fit(map, iFrom, iTo, 100000, &got),
                 Tempo::FitToLength(mModel.mTempi, from, to, Time_SampleLength(100000)));
        EXPECT_EQ(status, expected ? KORA_OK : KORA_REFUSED) << iKind;
        EXPECT_EQ(got.reason, static_cast<std::int32_t>(expected.mReason)) << iKind;
        if (!expected) {
            EXPECT_STREQ(kora_last_error_text(), expected.GetReasonText()) << iKind;
        }
        // Of what has no nearest the class leaves a number that means nothing.
        EXPECT_TRUE(expected.HasNearest() ? got.nearest == expected.mNearest : std::isnan(got.nearest))
            << iKind;
    }

    CModel mModel;
};

TEST_F(CEdits, ScriptsOfEditsGiveWhatTheClassesGiveAndUndoTakesAllBack)
{
    std::mt19937 random(815);
    std::vector<std::string> texts{TextOf(mSong.get())};
    for (int turn = 0; turn < 120; ++turn) {
        const std::int64_t from = cStart + static_cast<std::int64_t>(random() % 120) * cQuarter;
        const std::int64_t to = from + static_cast<std::int64_t>(random() % 8) * cQuarter;
        ASSERT_EQ(kora_history_begin(mHistory.get()), KORA_OK);
        EditBoth(static_cast<int>(random() % 11), from, to);
        ASSERT_EQ(kora_history_end(mHistory.get(), "an edit", 0), KORA_OK);
        const std::string text = TextOf(mSong.get());
        ASSERT_EQ(text, ModelText()) << "turn " << turn;
        if (text != texts.back()) texts.push_back(text);
        std::size_t steps = 0, position = 0;
        ASSERT_EQ(kora_history_count(mHistory.get(), &steps, &position), KORA_OK);
        while (texts.size() < steps + 1) // of the keys alone
            texts.push_back(text);
    }
    std::size_t steps = 0, position = 0;
    ASSERT_EQ(kora_history_count(mHistory.get(), &steps, &position), KORA_OK);
    ASSERT_EQ(texts.size(), steps + 1);
    ASSERT_GT(steps, 30u);
    for (std::size_t i = steps; i-- > 0;) {
        ASSERT_EQ(kora_history_undo(mHistory.get()), KORA_OK);
        ASSERT_EQ(TextOf(mSong.get()), texts[i]);
    }
    EXPECT_EQ(kora_history_undo(mHistory.get()), KORA_NOT_FOUND);
    for (std::size_t i = 1; i <= steps; ++i) {
        ASSERT_EQ(kora_history_redo(mHistory.get()), KORA_OK);
        ASSERT_EQ(TextOf(mSong.get()), texts[i]);
    }
    EXPECT_EQ(kora_history_redo(mHistory.get()), KORA_NOT_FOUND);
}

TEST_F(CEdits, OneHistoryRecordsAtATimeAndCancelTakesBack)
{
    const auto other = Made<kora_song>(kora_song_new);
    const auto otherHistory = Made<kora_history>(kora_history_new, other.get());
    const std::string before = TextOf(mSong.get());
    EXPECT_EQ(kora_history_end(mHistory.get(), "nothing", 0), KORA_BUSY);
    ASSERT_EQ(kora_history_begin(mHistory.get()), KORA_OK);
    EXPECT_EQ(kora_history_begin(mHistory.get()), KORA_BUSY);
    EXPECT_EQ(kora_history_begin(otherHistory.get()), KORA_BUSY);
    EXPECT_EQ(kora_history_undo(otherHistory.get()), KORA_BUSY);
    EXPECT_EQ(kora_song_insert_time(other.get(), cStart, cQuarter, nullptr), KORA_BUSY);
    EXPECT_EQ(kora_song_insert_time(mSong.get(), cStart + cQuarter, cQuarter, nullptr), KORA_OK);
    {
        const auto third = Open(); // songs come and go meanwhile, and are no part of the step
    }
    EXPECT_NE(TextOf(mSong.get()), before);
    EXPECT_EQ(kora_history_cancel(mHistory.get()), KORA_OK);
    EXPECT_EQ(TextOf(mSong.get()), before);
    std::int32_t isSaved = 0;
    EXPECT_EQ(kora_history_is_saved(mHistory.get(), &isSaved), KORA_OK);
    EXPECT_EQ(isSaved, 1);

    ASSERT_EQ(kora_history_begin(mHistory.get()), KORA_OK);
    ASSERT_EQ(kora_tempo_map_set(mTempi.get(), cStart, 77, cQuarter, nullptr), KORA_OK);
    ASSERT_EQ(kora_history_end(mHistory.get(), "Slower", 0), KORA_OK);
    char name[7];
    std::size_t size = 0;
    EXPECT_EQ(kora_history_step_name(mHistory.get(), 0, name, 6, &size), KORA_TOO_SMALL);
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(kora_history_step_name(mHistory.get(), 0, name, 7, &size), KORA_OK);
    EXPECT_STREQ(name, "Slower");
    EXPECT_EQ(kora_history_is_saved(mHistory.get(), &isSaved), KORA_OK);
    EXPECT_EQ(isSaved, 0);
}

TEST_F(CEdits, AHistoryThatIsReleasedWhileItRecordsTakesBackAndStops)
{
    const std::string before = TextOf(mSong.get());
    ASSERT_EQ(kora_history_begin(mHistory.get()), KORA_OK);
    ASSERT_EQ(kora_tempo_map_set(mTempi.get(), cStart, 77, cQuarter, nullptr), KORA_OK);
    mHistory.reset();
    EXPECT_EQ(TextOf(mSong.get()), before);
    EXPECT_EQ(kora_tempo_map_set(mTempi.get(), cStart, 77, cQuarter, nullptr), KORA_OK);
}

TEST_F(CEdits, TextsOfADayAndTheirMistakesAreReadAsByTheClass)
{
    constexpr std::int64_t cDay = std::int64_t{86400} * 44100, cSteps = 5000;
    const auto format = Made<kora_format>(kora_format_new, mSong.get(), KORA_FILM_16MM);
    Time_Format model(mModel.mConverter);
    model.SetFilmGauge(Time_eFilmGauge_16mm);
    std::mt19937 random(17);
    for (std::int32_t form = KORA_FORM_SAMPLES; form <= KORA_FORM_FEET; ++form)
        for (std::int64_t step = 0; step < cSteps; ++step) {
            const kora_time at{cDay / cSteps * step + static_cast<std::int64_t>(random() % 1000),
                               KORA_SAMPLES, 0};
            char text[48], small[48];
            std::size_t size = 0;
            ASSERT_EQ(kora_format_write(format.get(), form, at, text, sizeof text, &size), KORA_OK);
            ASSERT_EQ(text, model.ToString(static_cast<Time_EForm>(form), Time_Sample(at.count)));
            ASSERT_EQ(size, std::strlen(text));
            ASSERT_EQ(kora_format_write(format.get(), form, at, small, size, nullptr), KORA_TOO_SMALL);
            if (step % 2 != 0) text[random() % size] = "0123456789|:;.+- a"[random() % 18];
            kora_time read{7, 9, 0};
            Time_Typed expected;
            const char* reason = nullptr;
            const bool isTime = model.FromText(static_cast<Time_EForm>(form), text, expected, &reason);
            ASSERT_EQ(kora_format_read(format.get(), form, text, &read), isTime ? KORA_OK : KORA_REFUSED)
                << text;
            ASSERT_EQ(read.count, isTime ? expected.AsInt64() : 7) << text;
            ASSERT_EQ(read.unit, isTime ? static_cast<std::uint32_t>(expected.GetType()) : 9u) << text;
            ASSERT_STREQ(isTime ? nullptr : kora_last_error_text(), reason) << text;
        }
    kora_time kept{};
    EXPECT_EQ(kora_format_read(format.get(), 9, "1", &kept), KORA_BAD_ARGUMENT);
}

TEST_F(CEdits, WrongValuesAreRefusedAndChangeNothing)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    kora_edit_result small{sizeof small - 1, 0, 0};
    kora_tempo_map* const map = mTempi.get();
    const std::string before = TextOf(mSong.get());
    EXPECT_EQ(kora_tempo_map_set(map, cStart, nan, cQuarter, nullptr), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_tempo_map_set(map, cStart, 90, 0, nullptr), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_tempo_map_set(map, cStart, 90, cQuarter, &small), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_tempo_map_ramp(map, cStart, cStart + 1, 90, 90, 3, 1, nullptr), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_tempo_map_scale(map, cStart + 1, cStart, 2, nullptr), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_tempo_map_lock(map, cStart + 1, -1, nullptr), KORA_BAD_ARGUMENT);
    EXPECT_EQ(kora_song_move_time(mSong.get(), cStart, cStart + 1, INT64_MAX, nullptr), KORA_BAD_ARGUMENT);
    EXPECT_EQ(TextOf(mSong.get()), before);
}

} // namespace
