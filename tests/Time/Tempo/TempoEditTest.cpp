#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Time/Tempo/Time_TempoEdit.h"
#include "Support/UndoHistory.h"
#include "Time/Tempo/TempoMapTools.h"

#include <cmath>
#include <map>
#include <numbers>
#include <set>
#include <string>

namespace {

using Edit = Time_TempoEdit;
using Result = Time_TempoEditResult;
using enum Result::EReason;

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
                const Time_Tick from = At(2.1);
                const Time_Tick to = At(34.37);
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

const Time_TickLength cEighth(cQuarter / 2);
const auto cSongStart = static_cast<double>(cStart);
const auto cLocked = static_cast<double>(At(8).AsInt64());
constexpr double cLastTick = 576460752303423487.0;
const Edit::Copied cNoTempo{Time_TickLength(9), {{Time_TickLength(0), {0}}}};
const Edit::Copied cUnordered{Time_TickLength(9), {{Time_TickLength(0), {90}}, {Time_TickLength(0), {90}}}};
const std::vector<Edit::Point> cPoints{{At(9), Time_Sample(205760)}};

#define EDIT(...) [&] { return Edit::__VA_ARGS__; }

// 400 bpm from the fifth quarter on, a lock at the ninth, 250 from the thirteenth on; and a map that is slow.
class TempoRefusals : public TempoEditTest
{
protected:
    struct Row
    {
        const char* mWhat;
        std::function<Result()> mEdit;
        Result::EReason mReason;
        double mNearest;
    };

    TempoRefusals()
    {
        Edit::SetTempo(mMap, At(4), {400});
        Edit::LockToSample(mMap, At(8), Time_Sample(200000));
        Edit::SetTempo(mMap, At(12), {250});
        mSlow.SetSampleRate(mMap.GetSampleRate());
        Edit::LockToSample(mSlow, At(8), Time_Sample(4531200));
    }
    void Expect(const std::vector<Row>& iRows)
    {
        const Bytes before = Streamed(mMap);
        const Bytes beforeSlow = Streamed(mSlow);
        const Cmn_Int32 identifier = mMap.GetUniqueEditIdentifier();
        for (const Row& row : iRows) {
            const Result result = row.mEdit();
            EXPECT_EQ(result.mReason, row.mReason) << row.mWhat;
            EXPECT_EQ(result.mNearest, row.mNearest) << row.mWhat;
            EXPECT_EQ(result.HasNearest(), row.mNearest != 0) << row.mWhat;
            mTexts[result.GetReasonText()].insert(result.mReason);
            EXPECT_EQ(Streamed(mMap), before) << row.mWhat;
            EXPECT_EQ(Streamed(mSlow), beforeSlow) << row.mWhat;
            EXPECT_EQ(mMap.GetUniqueEditIdentifier(), identifier) << row.mWhat;
        }
        EXPECT_EQ(mRecorder.Take(), Reports{});
    }

    // Each reason has a text of its own.
    void TearDown() override
    {
        for (const auto& [text, reasons] : mTexts)
            EXPECT_TRUE(!text.empty() && reasons.size() == 1) << text;
    }

    Time_TempoMap mSlow;
    std::map<std::string, std::set<Result::EReason>> mTexts;
};

TEST_F(TempoRefusals, TempiThatCannotBeHaveTheNearest)
{
    Expect(
        {{"too fast", EDIT(SetTempo(mMap, At(9), {501})), eReason_OutOfLimits, 500},
         {"eighths", EDIT(SetTempo(mMap, At(9), {1000, cEighth})), eReason_OutOfLimits, 999},
         {"not a number", EDIT(SetTempo(mMap, At(9), {NAN})), eReason_OutOfLimits, 5},
         {"before the song", EDIT(SetTempo(mMap, At(-1), {90})), eReason_BeforeSongStart, cSongStart},
         {"scaled beyond", EDIT(Scale(mMap, At(10), At(13), 3)), eReason_OutOfLimits, 1.25},
         {"moved beyond", EDIT(Offset(mMap, At(12), At(13), -246)), eReason_OutOfLimits, -245},
         {"fit too short", EDIT(FitToLength(mMap, At(12), At(14), Time_SampleLength(9))), eReason_OutOfLimits,
          11520},
         {"fit to nothing", EDIT(FitToLength(mMap, At(12), At(14), Time_SampleLength(0))), eReason_EmptyRange,
          0},
         {"empty", EDIT(Scale(mMap, At(12), At(12), 1)), eReason_EmptyRange, 0},
         {"steps of nothing", EDIT(Ramp(mMap, At(9), At(10), {60}, 90, Edit::eCurve_S, 0)),
          eReason_EmptyRange, 0},
         {"no factor at all", EDIT(Scale(mMap, At(12), At(13), NAN)), eReason_OutOfLimits, 0.02},
         {"an offset without end", EDIT(Offset(mMap, At(12), At(13), INFINITY)), eReason_OutOfLimits, 250},
         {"a ramp to nowhere", EDIT(Ramp(mMap, At(9), At(10), {60}, NAN, Edit::eCurve_S, 2)),
          eReason_OutOfLimits, 5},
         {"a beat too short for any tempo", EDIT(SetTempo(mMap, At(9), {500, Time_TickLength(1)})),
          eReason_NoSuchBeat, 4805},
         {"a beat too long", EDIT(SetTempo(mMap, At(9), {5, Time_TickLength(cMost)})), eReason_NoSuchBeat,
          96e6},
         {"behind all ticks", EDIT(SetTempo(mMap, Time_Tick(cMost), {90})), eReason_OutOfLimits, cLastTick},
         {"up to behind all ticks", EDIT(ClearRange(mMap, At(9), Time_Tick(cMost))), eReason_OutOfLimits,
          cLastTick},
         {"steps without end",
          EDIT(Ramp(mMap, At(9), At(99), {60}, 90, Edit::eCurve_S, Time_TypedLength(1, cTicks))),
          eReason_TooManySteps, 1000000}});
    EXPECT_TRUE(Edit::FitToLength(mMap, At(12), At(14), Time_SampleLength(11520)));
}

TEST_F(TempoRefusals, LocksThatCannotBeHaveTheNearest)
{
    Expect({{"before a lock", EDIT(SetTempo(mMap, At(4), {90})), eReason_Locked, cLocked},
            {"a lock before its predecessor's", EDIT(LockToSample(mMap, At(9), Time_Sample(200000))),
             eReason_LockOrder, 205760},
            {"a lock too near", EDIT(LockToSample(mMap, At(9), Time_Sample(200001))), eReason_OutOfLimits,
             205760},
            {"too far", EDIT(MoveLock(mMap, At(8), Time_Sample(9000000))), eReason_OutOfLimits, 4608000},
            {"too late for its successor", EDIT(LockToSample(mMap, At(4), Time_Sample(199999))),
             eReason_OutOfLimits, 176960},
            {"no lock to move", EDIT(MoveLock(mMap, At(9), Time_Sample(300000))), eReason_NoLock, 0},
            {"no lock to remove", EDIT(RemoveLock(mMap, At(12))), eReason_NoLock, 0},
            {"the song start's", EDIT(RemoveLock(mMap, At(0))), eReason_NoLock, 0},
            {"no cPoints", EDIT(LockAll(mMap, {})), eReason_EmptyRange, 0},
            {"a lock behind all ticks", EDIT(LockToSample(mMap, Time_Tick(cMost), Time_Sample(cMost))),
             eReason_OutOfLimits, cLastTick},
            {"no tolerance at all", EDIT(LockAll(mMap, cPoints, NAN)), eReason_EmptyRange, 0}});
    EXPECT_TRUE(Edit::LockToSample(mMap, At(9), Time_Sample(205760)));
}

TEST_F(TempoRefusals, TimeThatCannotComeOrGoHasTheNearest)
{
    Expect({{"insertion there", EDIT(InsertTime(mMap, At(-1), cEighth)), eReason_BeforeSongStart, cSongStart},
            {"reversed", EDIT(DeleteTime(mMap, At(13), At(12))), eReason_EmptyRange, 0},
            {"reversed around the ends", EDIT(DeleteTime(mMap, Time_Tick(cMost), Time_Tick(cLeast))),
             eReason_EmptyRange, 0},
            {"more time than there is", EDIT(InsertTime(mMap, At(9), Time_TickLength(cMost))),
             eReason_OutOfLimits, cLastTick - static_cast<double>(At(12).AsInt64())},
            {"into itself", EDIT(MoveTime(mMap, At(9), At(12), At(11))), eReason_InsideRange,
             static_cast<double>(At(12).AsInt64())},
            {"a copy of no tempo", EDIT(InsertCopied(mMap, At(9), cNoTempo)), eReason_OutOfLimits, 5},
            {"a copy out of order", EDIT(InsertCopied(mMap, At(9), cUnordered)), eReason_EmptyRange, 0},
            {"what is left would be too slow", EDIT(DeleteTime(mSlow, At(0) + Time_TickLength(6), At(8))),
             eReason_OutOfLimits, 3}});
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
        EXPECT_EQ(refused.mReason, eReason_LockOrder);
        EXPECT_EQ(refused.mIndex, 1999U);
    }
}

// Random edits of one map, each undone and redone to the byte. The model is where each
// quarter was and what is locked.
class TempoScript
{
public:
    enum EKind { eSet, eClear, eRamp, eScale, eFit, eLock, eRemoveLock, eInsert, eDelete, eKinds };

    explicit TempoScript(std::mt19937& ioRandom)
        : mRandom(ioRandom)
    {
        mMap.SetSampleRate(48000);
        mHistory.emplace(mMap);
    }
    // What was done, or eKinds for what was refused.
    EKind Step()
    {
        mKind = static_cast<EKind>(Below(eKinds));
        mFrom = At(Below(4 * 48) / 4.0);
        mTo = mFrom + Time_TickLength(cQuarter / 4 * (1 + Below(40)));
        mBefore = Places();
        mBytes = Streamed(mMap);
        mTempoBehind = TempoAt(mMap, mTo);
        mGap = Exact(mMap, mFrom) - Exact(mMap, mTo);
        mEach = Exact(mMap, mFrom) - Exact(mMap, mFrom - Time_TickLength(cQuarter / 4));
        Result result;
        mText = "kind " + std::to_string(mKind) + "\n" + mMap.Dump();
        mHistory->Record([&] { result = Edit(); });
        mText += "became\n" + mMap.Dump();
        if (result) return mKind;
        EXPECT_EQ(Streamed(mMap), mBytes) << mText;
        return eKinds;
    }
    void ExpectLocksWhereTheyWereOrMovedBySamples();
    void ExpectTheRestKeepsItsDistances() const;
    void ExpectDeletingWhatWasInsertedIsTheIdentity();
    void ExpectEveryState() { mHistory->ExpectEveryState(); }

private:
    unsigned Below(unsigned iCount) { return static_cast<unsigned>(mRandom() % iCount); }
    std::map<Time_Tick, double> Places() const
    {
        std::map<Time_Tick, double> places;
        for (double q = 0; q < 80; q += 0.25)
            places[At(q)] = Exact(mMap, At(q));
        return places;
    }
    Result Edit()
    {
        const Cmn_Int64 now = mMap.TickToSample(mFrom).AsInt64();
        const double tempo = 40 + Below(200),
                     length = (Exact(mMap, mTo) - mBefore[mFrom]) * (90 + Below(20)) / 100;
        if (mKind == eSet) return ::Edit::SetTempo(mMap, mFrom, {tempo});
        if (mKind == eClear) return ::Edit::ClearRange(mMap, mFrom, mTo);
        if (mKind == eRamp) return ::Edit::Ramp(mMap, mFrom, mTo, {tempo}, 100, ::Edit::eCurve_S, Below(20));
        if (mKind == eScale) return ::Edit::Scale(mMap, mFrom, mTo, 0.9 + Below(20) / 100.0);
        if (mKind == eFit) {
            const Time_SampleLength asked(static_cast<Cmn_Int64>(length));
            const Result result = ::Edit::FitToLength(mMap, mFrom, mTo, asked);
            if (result) {
                EXPECT_EQ(mMap.TickToSample(mTo), mMap.TickToSample(mFrom) + asked) << mText;
            }
            return result;
        }
        if (mKind == eLock) {
            mSample = Time_Sample(now + Below(9000) - 4500);
            return ::Edit::LockToSample(mMap, mFrom, mSample);
        }
        if (mKind == eRemoveLock) {
            mLock = mLocks.empty()
                        ? mFrom
                        : std::next(mLocks.begin(), Below(static_cast<unsigned>(mLocks.size())))->first;
            return ::Edit::RemoveLock(mMap, mLock);
        }
        if (mKind == eInsert) return ::Edit::InsertTime(mMap, mFrom, mTo - mFrom);
        return ::Edit::DeleteTime(mMap, mFrom, mTo);
    }

    std::mt19937& mRandom;
    Time_TempoMap mMap{Ndo_Object::kUndoable};
    std::optional<UndoHistory<Time_TempoMap>> mHistory;
    std::map<Time_Tick, Time_Sample> mLocks;
    EKind mKind = eKinds;
    Time_Tick mFrom;
    Time_Tick mTo;
    Time_Tick mLock;
    Time_Sample mSample;
    std::map<Time_Tick, double> mBefore;
    double mTempoBehind = 0;
    double mGap = 0;
    double mEach = 0;
    Bytes mBytes;
    std::string mText;
};

void TempoScript::ExpectLocksWhereTheyWereOrMovedBySamples()
{
    if (mKind == eLock) mLocks[mFrom] = mSample;
    if (mKind == eRemoveLock) mLocks.erase(mLock);
    std::map<Time_Tick, Time_Sample> after;
    for (const auto& [tick, at] : mLocks) {
        const bool stays = mKind < eInsert || tick < mFrom || tick == At(0);
        const Time_Tick place = stays ? tick : mKind == eInsert ? tick + (mTo - mFrom) : tick - (mTo - mFrom);
        if (!stays && ((mKind == eDelete && tick < mTo) || place == At(0))) continue;
        const Cmn_Int64 by = mMap.TickToSample(place, false).AsInt64() - at.AsInt64();
        const double expected = stays              ? 0
                                : mKind == eDelete ? mGap
                                                   : mEach / (cQuarter / 4.0) * (mTo - mFrom).AsFloat64();
        if (stays || mFrom > At(0)) {
            ASSERT_NEAR(static_cast<double>(by), expected, stays ? 0 : 0.51) << mText;
        }
        after[place] = Time_Sample(at.AsInt64() + by);
    }
    mLocks = after;
    ASSERT_TRUE(mMap.ValidateBetweenIDBs()) << mText;
}

void TempoScript::ExpectTheRestKeepsItsDistances() const
{
    if (mKind == eLock || mKind == eRemoveLock) return;
    const bool isTime = mKind >= eInsert;
    const Time_TickLength by(mKind == eInsert   ? mTo - mFrom
                             : mKind == eDelete ? mFrom - mTo
                                                : Time_TickLength(0));
    const Time_Tick behind = mKind == eInsert ? mFrom : mTo;
    for (const auto& [tick, at] : mBefore) {
        const bool isMoved = mKind != eSet && mKind != eRamp && tick > behind && mFrom > At(0);
        const Time_Tick place = tick <= mFrom ? tick : tick + by;
        const double was = tick <= mFrom ? at : at - mBefore.at(behind) + Exact(mMap, behind + by);
        if (tick <= mFrom || isMoved) {
            ASSERT_NEAR(Exact(mMap, place), was, isTime ? 0.51 : 1e-4) << mText;
        }
    }
    if (mKind == eDelete) {
        ASSERT_NEAR(TempoAt(mMap, mFrom), mTempoBehind, 1) << mText;
    } // a computed one may round
}

void TempoScript::ExpectDeletingWhatWasInsertedIsTheIdentity()
{
    if (mKind != eInsert) return;
    mHistory->Record([&] { EXPECT_TRUE(::Edit::DeleteTime(mMap, mFrom, mTo)); });
    ASSERT_EQ(Streamed(mMap), mBytes) << mText << mMap.Dump();
    mLocks.clear();
    for (auto iter = mMap.SegmentBegin(); iter != mMap.SegmentEnd(); ++iter)
        if ((*iter)->IsLockedToSample()) mLocks[(*iter)->GetStartTick()] = (*iter)->GetStartSample();
}

TEST_F(TempoEditTest, EditsTouchWhatTheySayAndNothingElse)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::map<TempoScript::EKind, int> done;
    for (int script = 0; script < 60; ++script) {
        TempoScript edits(random);
        for (int step = 0; step < 40; ++step) {
            const TempoScript::EKind kind = edits.Step();
            ++done[kind];
            if (kind == TempoScript::eKinds) continue;
            edits.ExpectLocksWhereTheyWereOrMovedBySamples();
            edits.ExpectTheRestKeepsItsDistances();
            edits.ExpectDeletingWhatWasInsertedIsTheIdentity();
            ASSERT_FALSE(HasFatalFailure());
        }
        edits.ExpectEveryState();
    }
    for (int kind = 0; kind < TempoScript::eKinds; ++kind)
        EXPECT_GT(done[static_cast<TempoScript::EKind>(kind)], 20);
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
    const double last = Exact(mMap, At(15.5)) - Exact(mMap, At(12.5));
    const double end = Exact(mMap, At(12));
    const int before = mTold;
    ASSERT_TRUE(Edit::InsertCopied(mMap, At(8), copied));
    EXPECT_EQ(mTold, before + 1);
    EXPECT_NEAR(Exact(mMap, At(11)) - Exact(mMap, At(8)), last, 0.51);
    EXPECT_EQ(mMap.TickToSample(At(15)), Time_Sample(std::llround(end + last)))
        << "the lock behind moves along";
    EXPECT_EQ(TempoAt(mMap, At(10.2)), 75);
    EXPECT_EQ(mRecorder.Take(), Reports{});
}

// Half a sample came as one and went as none, where the tempo there was not the one
// that takes up the rounding.
TEST_F(TempoEditTest, HalfASampleComesAndGoes)
{
    const Time_TickLength half(20);
    Edit::LockToSample(mMap, At(8), Time_Sample(200000));
    Edit::InsertCopied(mMap, At(2), {Time_TickLength(cQuarter), {{Time_TickLength(0), {120}}}});
    const Bytes before = Streamed(mMap);
    ASSERT_TRUE(Edit::InsertTime(mMap, At(2.5), half));
    EXPECT_EQ(mMap.TickToSample(At(9) + half), Time_Sample(224001));
    ASSERT_TRUE(Edit::DeleteTime(mMap, At(2.5), At(2.5) + half));
    EXPECT_EQ(Streamed(mMap), before);
}

// A map that is so already gets no edit, and nobody is told.
TEST_F(TempoEditTest, WhatChangesNothingTellsNobody)
{
    Edit::SetTempo(mMap, At(4), {90});
    Edit::Ramp(mMap, At(8), At(12), {60}, 120, Edit::eCurve_Bars, 4);
    const Cmn_Int32 identifier = mMap.GetUniqueEditIdentifier();
    const int told = mTold;
    EXPECT_TRUE(Edit::SetTempo(mMap, At(4), {90}));
    EXPECT_TRUE(Edit::Ramp(mMap, At(8), At(12), {60}, 120, Edit::eCurve_Bars, 4));
    EXPECT_TRUE(Edit::Scale(mMap, At(1), At(2), 1));
    EXPECT_TRUE(Edit::ClearRange(mMap, At(20), At(30)));
    EXPECT_TRUE(Edit::InsertTime(mMap, At(40), Time_TickLength(1)));
    EXPECT_TRUE(Edit::DeleteTime(mMap, At(40), At(41)));
    EXPECT_EQ(mMap.GetUniqueEditIdentifier(), identifier);
    EXPECT_EQ(mTold, told);
}
