#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Time/Tempo/Time_TempoEdit.h"
#include "Support/UndoHistory.h"
#include "Time/Tempo/TempoMapTools.h"

#include <cmath>
#include <numbers>

namespace {

using Edit = Time_TempoEdit;
using Result = Time_TempoEditResult;

Time_Tick At(double iQuarters) { return Time_Tick(cStart + std::llround(iQuarters * cQuarter)); }
double Exact(const Time_TempoMap& iMap, Time_Tick iTick)
{
    return iMap.GetBasicTempoMap().FractionalSampleAtTick(iTick);
}
double TempoAt(const Time_TempoMap& iMap, Time_Tick iTick)
{
    double tempo;
    Time_TickLength beat;
    iMap.GetTempoAtTick(tempo, beat, iTick);
    return tempo;
}

struct TempoEditTest : testing::Test
{
    TempoEditTest()
    {
        mMap.SetSampleRate(48000);
        mMap.GetListenerList().Add(&mReceiver);
    }
    void OnChanged(const Mdl_SimpleValMessage_ValChanged&) { ++mTold; }
    AssertRecorder mRecorder;
    Time_TempoMap mMap;
    int mTold = 0;
    Cnn_Receiver<TempoEditTest, Mdl_SimpleValMessage, &TempoEditTest::OnChanged> mReceiver{*this};
};

} // namespace

// Minutes that a quarter lasts, summed finely over the ramp: what the steps have to last.
TEST_F(TempoEditTest, RampsEndOnTheTickAndTempoAndLastAsLongAsTheirCurve)
{
    const double cTempi[][2] = {{120, 60}, {60, 61}, {5, 500}, {500, 5}, {90, 90}};
    for (const auto curve : {Edit::eCurve_Bars, Edit::eCurve_Linear, Edit::eCurve_S})
        for (const auto& [a, b] : cTempi)
            for (const int step : {1, 7, 64, -48000, -960000}) {
                SCOPED_TRACE(testing::Message() << curve << " " << a << " " << b << " by " << step);
                const Time_Tick from = At(2.1), to = At(34.37);
                const auto tempo = [&, a = a, b = b](double x) { // at a part of the ticks
                    if (curve == Edit::eCurve_Linear) return std::sqrt(a * a + (b * b - a * a) * x);
                    return a +
                           (b - a) * (curve == Edit::eCurve_S ? (1 - std::cos(x * std::numbers::pi)) / 2 : x);
                };
                double minutes = 0;
                for (int i = 0; i < 200000; ++i)
                    minutes += (34.37 - 2.1) / 200000 / tempo((i + 0.5) / 200000);
                Time_TempoMap map;
                map.SetSampleRate(48000);
                Edit::SetTempo(map, to, {77});
                const Edit::Tempo start{a};
                const Result result =
                    step > 0 ? Edit::Ramp(map, from, to, start, b, curve, static_cast<std::size_t>(step))
                             : Edit::Ramp(map, from, to, start, b, curve,
                                          Time_TypedLength(-step, step == -48000 ? cSamples : cTicks));
                ASSERT_TRUE(result);
                EXPECT_NEAR(Exact(map, to) - Exact(map, from), minutes * 60 * 48000, 1);
                EXPECT_EQ(TempoAt(map, to), b);
                EXPECT_EQ((*(map.SegmentEnd() - 1))->GetStartTick(), to)
                    << "the tempo there before is replaced";
                if (a == b) {
                    EXPECT_EQ(map.GetNumberOfSegments(), 3U);
                }
            }
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

TEST_F(TempoEditTest, WhatCannotBeDoneIsRefusedWithTheNearest)
{
    const Time_TickLength eighth(cQuarter / 2);
    Edit::SetTempo(mMap, At(4), {400});
    Edit::LockToSample(mMap, At(8), Time_Sample(200000));
    Edit::SetTempo(mMap, At(12), {250});
    const Bytes before = Streamed(mMap);
    const Cmn_Int32 identifier = mMap.GetUniqueEditIdentifier();
    const auto near = [](Result iResult) { return std::pair(iResult.mReason, iResult.mNearest); };
    const auto start = static_cast<double>(cStart), locked = static_cast<double>(At(8).AsInt64());
    const struct
    {
        const char* mWhat;
        std::function<Result()> mEdit;
        Result::EReason mReason;
        double mNearest;
    } cRows[] = {
        {"too fast", [&] { return Edit::SetTempo(mMap, At(9), {501}); }, Result::eReason_OutOfLimits, 500},
        {"eighths",
         [&] {
             return Edit::SetTempo(mMap, At(9), {1000, eighth});
         },
         Result::eReason_OutOfLimits, 999},
        {"not a number", [&] { return Edit::SetTempo(mMap, At(9), {NAN}); }, Result::eReason_OutOfLimits, 5},
        {"before a lock", [&] { return Edit::SetTempo(mMap, At(4), {90}); }, Result::eReason_Locked, locked},
        {"before the song", [&] { return Edit::SetTempo(mMap, At(-1), {90}); },
         Result::eReason_BeforeSongStart, start},
        {"insertion there", [&] { return Edit::InsertTime(mMap, At(-1), eighth); },
         Result::eReason_BeforeSongStart, start},
        {"scaled beyond", [&] { return Edit::Scale(mMap, At(10), At(13), 3); }, Result::eReason_OutOfLimits,
         1.25},
        {"moved beyond", [&] { return Edit::Offset(mMap, At(12), At(13), -246); },
         Result::eReason_OutOfLimits, -245},
        {"fit too short", [&] { return Edit::FitToLength(mMap, At(12), At(14), Time_SampleLength(9)); },
         Result::eReason_OutOfLimits, 11520},
        {"fit to nothing", [&] { return Edit::FitToLength(mMap, At(12), At(14), Time_SampleLength(0)); },
         Result::eReason_EmptyRange, 0},
        {"empty", [&] { return Edit::Scale(mMap, At(12), At(12), 1); }, Result::eReason_EmptyRange, 0},
        {"a lock before its predecessor's",
         [&] { return Edit::LockToSample(mMap, At(9), Time_Sample(200000)); }, Result::eReason_LockOrder,
         205760},
        {"a lock too near", [&] { return Edit::LockToSample(mMap, At(9), Time_Sample(200001)); },
         Result::eReason_OutOfLimits, 205760},
        {"too far", [&] { return Edit::MoveLock(mMap, At(8), Time_Sample(9000000)); },
         Result::eReason_OutOfLimits, 4608000},
        {"too late for its successor", [&] { return Edit::LockToSample(mMap, At(4), Time_Sample(199999)); },
         Result::eReason_OutOfLimits, 176960},
        {"no lock to move", [&] { return Edit::MoveLock(mMap, At(9), Time_Sample(300000)); },
         Result::eReason_NoLock, 0},
        {"no lock to remove", [&] { return Edit::RemoveLock(mMap, At(12)); }, Result::eReason_NoLock, 0},
        {"the song start's", [&] { return Edit::RemoveLock(mMap, At(0)); }, Result::eReason_NoLock, 0},
        {"no points", [&] { return Edit::LockAll(mMap, {}); }, Result::eReason_EmptyRange, 0},
        {"steps of nothing", [&] { return Edit::Ramp(mMap, At(9), At(10), {60}, 90, Edit::eCurve_S, 0); },
         Result::eReason_EmptyRange, 0},
        {"steps without end",
         [&] {
             return Edit::Ramp(mMap, At(9), At(99), {60}, 90, Edit::eCurve_S, Time_TypedLength(1, cTicks));
         },
         Result::eReason_TooManySteps, 1000000},
    };
    for (const auto& row : cRows) {
        EXPECT_EQ(near(row.mEdit()), std::pair(row.mReason, row.mNearest)) << row.mWhat;
        EXPECT_EQ(Streamed(mMap), before) << row.mWhat;
        EXPECT_EQ(mMap.GetUniqueEditIdentifier(), identifier) << row.mWhat;
    }
    EXPECT_TRUE(Edit::FitToLength(mMap, At(12), At(14), Time_SampleLength(11520)));
    EXPECT_TRUE(Edit::LockToSample(mMap, At(9), Time_Sample(205760)));
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

// Beats of a recording that drifts: each beat within the tolerance of its sample, the locks on theirs.
TEST_F(TempoEditTest, BeatsBecomeAMapWithinTheirTolerance)
{
    for (const double tolerance : {0.0, 3.0, 200.0}) {
        std::mt19937 random(7);
        std::vector<Edit::Point> beats;
        for (Cmn_Int64 beat = 0, sample = 5000; beat < 2000; ++beat, sample += 24000 + random() % 9)
            beats.push_back({At(static_cast<double>(beat)), Time_Sample(sample)});
        Time_TempoMap map;
        ASSERT_TRUE(Edit::LockAll(map, beats, tolerance));
        for (const Edit::Point& beat : beats)
            ASSERT_NEAR(Exact(map, beat.mTick), static_cast<double>(beat.mSample.AsInt64()),
                        tolerance + 1e-5);
        EXPECT_EQ(map.TickToSample(beats.back().mTick), beats.back().mSample);
        EXPECT_LE(map.GetNumberOfSegments(), tolerance == 0 ? 2000U : tolerance == 3 ? 1500U : 60U);
        beats[1999].mSample = beats[1998].mSample;
        const Result refused = Edit::LockAll(map, beats, tolerance);
        EXPECT_EQ(refused.mReason, Result::eReason_LockOrder);
        EXPECT_EQ(refused.mIndex, 1999U);
    }
}

// Random edits: what an edit does not touch keeps its sample or its distance, each lock its sample, and every
// step is undone and redone to the byte. The model is where each quarter was and what is locked.
TEST_F(TempoEditTest, EditsTouchWhatTheySayAndNothingElse)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    int done[9] = {};
    for (int script = 0; script < 60; ++script) {
        Time_TempoMap map(Ndo_Object::kUndoable);
        map.SetSampleRate(48000);
        UndoHistory<Time_TempoMap> history(map);
        std::map<Cmn_Int64, Cmn_Int64> locks;
        for (int step = 0; step < 40; ++step) {
            const unsigned kind = random() % 9;
            const auto quarter = [&](unsigned iCount) { return At((random() % (4 * iCount)) / 4.0); };
            const Time_Tick from = quarter(48),
                            to = from + Time_TickLength(cQuarter / 4 * (1 + random() % 40));
            const double tempo = 40 + random() % 200;
            const auto now = static_cast<double>(map.TickToSample(from).AsInt64());
            const Time_Sample sample(static_cast<Cmn_Int64>(now) + static_cast<int>(random() % 9000) - 4500);
            const Time_SampleLength length(
                static_cast<Cmn_Int64>((Exact(map, to) - now) * (90 + random() % 20) / 100));
            std::map<Cmn_Int64, double> before;
            for (double q = 0; q < 80; q += 0.25)
                before[At(q).AsInt64()] = Exact(map, At(q));
            const double gap = before[from.AsInt64()] - Exact(map, to);
            const double inserted = Exact(map, from) - Exact(map, from - Time_TickLength(cQuarter / 4));
            const Bytes bytes = Streamed(map);
            const std::size_t count = map.GetNumberOfSegments();
            const double tempoBehind = TempoAt(map, to);
            Result result;
            Cmn_Int64 lock = 0;
            const std::string dumped = map.Dump();
            history.Record([&] {
                switch (kind) {
                case 0:
                    result = Edit::SetTempo(map, from, {tempo});
                    break;
                case 1:
                    result = Edit::ClearRange(map, from, to);
                    break;
                case 2:
                    result = Edit::Ramp(map, from, to, {tempo}, 100, Edit::eCurve_S, random() % 20);
                    break;
                case 3:
                    result = Edit::Scale(map, from, to, 0.9 + random() % 20 / 100.0);
                    break;
                case 4:
                    result = Edit::FitToLength(map, from, to, length);
                    break;
                case 5:
                    result = Edit::LockToSample(map, from, sample);
                    break;
                case 6:
                    if (!locks.empty()) lock = std::next(locks.begin(), random() % locks.size())->first;
                    result = Edit::RemoveLock(map, Time_Tick(lock));
                    break;
                case 7:
                    result = Edit::InsertTime(map, from, to - from);
                    break;
                default:
                    result = Edit::DeleteTime(map, from, to);
                    break;
                }
            });
            const std::string text = "script " + std::to_string(script) + " step " + std::to_string(step) +
                                     " kind " + std::to_string(kind) + "\n" + map.Dump();
            if (!result) {
                ASSERT_EQ(Streamed(map), bytes) << text;
                continue;
            }
            ++done[kind];
            if (kind == 4) {
                ASSERT_EQ(map.TickToSample(to), map.TickToSample(from) + length) << text;
            }
            if (kind == 5) locks[from.AsInt64()] = sample.AsInt64();
            if (kind == 6) locks.erase(lock);
            const bool isTime = kind > 6;
            const Time_TickLength moved = kind == 7 ? to - from : from - to;
            if (isTime) {
                std::map<Cmn_Int64, Cmn_Int64> after;
                for (const auto& [tick, at] : locks) {
                    const bool stays = tick < from.AsInt64() || tick == cStart;
                    if (stays) after[tick] = at;
                    if (stays || (kind == 8 && tick < to.AsInt64())) continue;
                    const Time_Tick place = Time_Tick(tick) + moved;
                    if (place.AsInt64() == cStart) continue;
                    const Cmn_Int64 by = map.TickToSample(place).AsInt64() - at;
                    const double expected = kind == 8 ? gap : inserted / (cQuarter / 4.0) * moved.AsFloat64();
                    if (from.AsInt64() > cStart) {
                        ASSERT_NEAR(static_cast<double>(by), expected, 0.51) << text;
                    }
                    after[place.AsInt64()] = at + by;
                }
                locks = after;
            }
            for (const auto& [tick, at] : locks)
                ASSERT_EQ(map.TickToSample(Time_Tick(tick), false), Time_Sample(at)) << text;
            if (kind == 5 || kind == 6) continue;
            const Time_Tick behind = kind == 0 ? from : kind == 7 ? from : to;
            const double wasBehind = before[behind.AsInt64()];
            for (const auto& [tick, at] : before) {
                if (tick <= from.AsInt64())
                    ASSERT_NEAR(Exact(map, Time_Tick(tick)), at, isTime ? 0.51 : 1e-4) << text;
                else if (kind != 0 && kind != 2 && tick > behind.AsInt64() && from.AsInt64() > cStart) {
                    const Time_TickLength by = isTime ? moved : Time_TickLength(0);
                    ASSERT_NEAR(Exact(map, Time_Tick(tick) + by) - Exact(map, behind + by), at - wasBehind,
                                isTime ? 0.51 : 1e-4)
                        << text;
                }
            }
            if (kind == 8) {
                ASSERT_NEAR(TempoAt(map, from), tempoBehind, 1) << text; // a computed one may round
            }
            if (kind == 7) {
                ASSERT_EQ(map.GetNumberOfSegments(), count) << text;
                history.Record([&] { result = Edit::DeleteTime(map, from, to); });
                ASSERT_EQ(Streamed(map), bytes) << "inserted and deleted\n" << dumped << text << map.Dump();
                for (auto& [tick, at] : std::map(locks))
                    locks.erase(tick);
                for (auto iter = map.SegmentBegin(); iter != map.SegmentEnd(); ++iter)
                    if ((*iter)->IsLockedToSample())
                        locks[(*iter)->GetStartTick().AsInt64()] = (*iter)->GetStartSample().AsInt64();
            }
        }
        history.ExpectEveryState();
        ASSERT_FALSE(HasFatalFailure());
    }
    for (const int count : done)
        EXPECT_GT(count, 20);
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

TEST_F(TempoEditTest, CopiedTempiArriveWithTheirOwn)
{
    Edit::SetTempo(mMap, At(4), {90});
    Edit::SetTempo(mMap, At(6), {240});
    Edit::LockToSample(mMap, At(12), Time_Sample(400000));
    Edit::SetTempo(mMap, At(13), {75});
    Edit::SetTempo(mMap, At(15), {150});
    const Edit::Copied copied = Edit::CopyRange(mMap, At(12.5), At(15.5));
    const double last = Exact(mMap, At(15.5)) - Exact(mMap, At(12.5)), end = Exact(mMap, At(12));
    const int before = mTold;
    ASSERT_TRUE(Edit::InsertCopied(mMap, At(8), copied));
    EXPECT_EQ(mTold, before + 1);
    EXPECT_NEAR(Exact(mMap, At(11)) - Exact(mMap, At(8)), last, 0.51);
    EXPECT_EQ(mMap.TickToSample(At(15)), Time_Sample(std::llround(end + last)))
        << "the lock behind moves along";
    EXPECT_EQ(TempoAt(mMap, At(10.2)), 75);
    EXPECT_EQ(mRecorder.Take(), Reports{});
}
