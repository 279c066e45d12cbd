// Memory that runs out: each allocation of a call is refused once, and the call does all that it is for, or nothing.
#include "CFixture.h"
#include "Support/AllocationCounter.h"

#include <functional>

namespace {

// A song with a lock, a history of two steps of which one is undone, and all that may be asked of them.
struct Subject : CSongParts
{
    Subject()
    {
        EXPECT_EQ(kora_history_begin(mHistory.get()), KORA_OK);
        Edit(40, 90);
        Edit(41, 100);
        EXPECT_EQ(kora_history_end(mHistory.get(), "first", 7), KORA_OK);
        EXPECT_EQ(kora_history_begin(mHistory.get()), KORA_OK);
        Edit(44, 80);
        EXPECT_EQ(kora_history_end(mHistory.get(), "second, with a name that no short text holds", 0),
                  KORA_OK);
        EXPECT_EQ(kora_history_undo(mHistory.get()), KORA_OK);
        EXPECT_EQ(kora_history_mark_saved(mHistory.get()), KORA_OK);
    }
    void Edit(std::int64_t iQuarter, double iTempo)
    {
        EXPECT_EQ(SetTempo(iQuarter, iTempo), KORA_OK);
        EXPECT_EQ(kora_meter_map_set(mMeters.get(), At(iQuarter), 5, 8), KORA_OK);
        EXPECT_EQ(SetKey(iQuarter), KORA_OK);
    }
    static std::int64_t At(std::int64_t iQuarter) { return cStart + iQuarter * cQuarter; }

    std::string Shown() const
    {
        std::string text = BytesOf(mSong.get());
        const auto add = [&](auto... iNumbers) {
            ((text += std::to_string(iNumbers) + ' '), ...);
            text += '\n';
        };
        for (std::int64_t quarter = 0; quarter < 90; quarter += 7) {
            kora_time sample{};
            kora_bar_position bars{};
            EXPECT_EQ(kora_convert(mSong.get(), {At(quarter), KORA_TICKS, 0}, KORA_SAMPLES, &sample),
                      KORA_OK);
            EXPECT_EQ(kora_to_bars(mSong.get(), {At(quarter), KORA_TICKS, 0}, &bars), KORA_OK);
            add(sample.count, bars.bar, bars.beat, bars.ticks);
        }
        std::size_t steps = 0, position = 0;
        std::int32_t isSaved = 0;
        EXPECT_EQ(kora_history_count(mHistory.get(), &steps, &position), KORA_OK);
        EXPECT_EQ(kora_history_is_saved(mHistory.get(), &isSaved), KORA_OK);
        add(steps, position, isSaved);
        char name[64];
        std::size_t size = 0;
        for (std::size_t i = 0; i < steps; ++i)
            if (kora_history_step_name(mHistory.get(), i, name, sizeof name, &size) == KORA_OK) text += name;
        return text;
    }
};

using Call = std::function<kora_status(Subject&)>;
// Of one of the subject's handles.
template <class T, class Api, class... Given>
Call On(Handle<T> CSongParts::*iPart, Api iApi, Given... iGiven)
{
    return [=](Subject& s) { return iApi((s.*iPart).get(), iGiven...); };
}
kora_status Nothing(Subject&) { return KORA_OK; }
struct Case
{
    const char* mName;
    Call mCall;
    Call mBefore = &Nothing;
};
constexpr auto At = &Subject::At;

const kora_key cKey{At(30), 0, 1, 4, {}};

const Case cEdits[] = {
    {"set", On(&Subject::mTempi, kora_tempo_map_set, At(30), 77, cQuarter, nullptr)},
    {"ramp", On(&Subject::mTempi, kora_tempo_map_ramp, At(30), At(38), 60, 90, KORA_CURVE_S, 9, nullptr)},
    {"scale", On(&Subject::mTempi, kora_tempo_map_scale, At(30), At(43), 0.9, nullptr)},
    {"offset", On(&Subject::mTempi, kora_tempo_map_offset, At(30), At(43), 3, nullptr)},
    {"fit", On(&Subject::mTempi, kora_tempo_map_fit, At(30), At(38), 180000, nullptr)},
    {"lock", On(&Subject::mTempi, kora_tempo_map_lock, At(60), 1600000, nullptr)},
    {"unlock", On(&Subject::mTempi, kora_tempo_map_unlock, At(60), nullptr),
     On(&Subject::mTempi, kora_tempo_map_lock, At(60), 1600000, nullptr)},
    {"remove tempo", On(&Subject::mTempi, kora_tempo_map_remove, At(40))},
    {"clear tempi", On(&Subject::mTempi, kora_tempo_map_clear, At(30), At(43))},
    {"set meter", On(&Subject::mMeters, kora_meter_map_set, At(30), 7, 4)},
    {"remove meter", On(&Subject::mMeters, kora_meter_map_remove, At(40))},
    {"clear meters", On(&Subject::mMeters, kora_meter_map_clear, At(30), At(43))},
    {"set key", On(&Subject::mKeys, kora_key_map_set, &cKey)},
    {"remove key", On(&Subject::mKeys, kora_key_map_remove, At(40))},
    {"clear keys", On(&Subject::mKeys, kora_key_map_clear, At(30), At(43))},
    {"insert", On(&Subject::mSong, kora_song_insert_time, At(33), 3 * cQuarter, nullptr)},
    {"delete", On(&Subject::mSong, kora_song_delete_time, At(33), At(42), nullptr)},
    {"repeat", On(&Subject::mSong, kora_song_repeat_time, At(33), At(42), 2, nullptr)},
    {"move", On(&Subject::mSong, kora_song_move_time, At(33), At(42), At(50), nullptr)},
};

kora_status Begin(Subject& s) { return kora_history_begin(s.mHistory.get()); }
kora_status BeginAndEdit(Subject& s)
{
    const kora_status status = Begin(s);
    s.Edit(30, 70);
    return status;
}

const Case cSteps[] = {
    {"begin", Begin},
    {"end", On(&Subject::mHistory, kora_history_end, "a name that no short text holds", 0), BeginAndEdit},
    {"end, joined", On(&Subject::mHistory, kora_history_end, "a name that no short text holds", 9),
     [](Subject& s) {
         BeginAndEdit(s);
         EXPECT_EQ(kora_history_end(s.mHistory.get(), "drag", 9), KORA_OK);
         Begin(s);
         s.Edit(31, 71);
         return kora_song_delete_time(s.mSong.get(), At(33), At(42), nullptr);
     }},
    {"cancel", On(&Subject::mHistory, kora_history_cancel), BeginAndEdit},
    {"undo", On(&Subject::mHistory, kora_history_undo)},
    {"redo", On(&Subject::mHistory, kora_history_redo)},
    {"mark", On(&Subject::mHistory, kora_history_mark_saved)},
};

void Refuse(const Case& iCase, bool iIsStep)
{
    const auto prepare = [&](Subject& ioSubject) {
        const Call begin = iIsStep ? &Begin : &Nothing;
        EXPECT_EQ(begin(ioSubject), KORA_OK);
        EXPECT_EQ(iCase.mBefore(ioSubject), KORA_OK) << kora_last_error_text();
    };
    std::string wanted;
    {
        Subject subject;
        prepare(subject);
        ASSERT_EQ(iCase.mCall(subject), KORA_OK) << iCase.mName << kora_last_error_text();
        wanted = subject.Shown();
    }
    bool hasCome = true;
    for (long long nth = 1; hasCome && nth < 2000 && !testing::Test::HasFailure(); ++nth) {
        SCOPED_TRACE(std::string(iCase.mName) + ", allocation " + std::to_string(nth));
        Subject subject;
        const std::string first = subject.Shown();
        prepare(subject);
        const std::string before = subject.Shown();
        kora_status status;
        {
            const StRefusedAllocation refused(nth);
            status = iCase.mCall(subject);
            hasCome = refused.HasCome();
        }
        const std::string after = subject.Shown();
        EXPECT_TRUE(status == KORA_OK || status == KORA_NO_MEMORY) << status << kora_last_error_text();
        EXPECT_EQ(after, status == KORA_OK ? wanted : before) << status;
        if (status != KORA_OK) {
            EXPECT_EQ(iCase.mCall(subject), KORA_OK) << kora_last_error_text();
            EXPECT_EQ(subject.Shown(), wanted);
        }
        if (iIsStep) {
            EXPECT_EQ(kora_history_cancel(subject.mHistory.get()), KORA_OK);
            EXPECT_EQ(subject.Shown(), first);
        }
    }
}

using CMemory = CFixture;

TEST_F(CMemory, AnEditIsDoneOrIsNot)
{
    for (const Case& each : cEdits)
        Refuse(each, false);
}
TEST_F(CMemory, AnEditOfAStepIsDoneOrIsNot)
{
    for (const Case& each : cEdits)
        Refuse(each, true);
}
TEST_F(CMemory, AStepIsDoneOrIsNot)
{
    for (const Case& each : cSteps)
        Refuse(each, false);
}

} // namespace
