#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Time/Edit/Time_SongEdit.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Support/UndoHistory.h"
#include "Time/Tempo/TempoMapTools.h"

#include <cmath>
#include <cstdlib>

namespace {

using Edit = Time_SongEdit;
using Result = Time_TempoEditResult;
using enum Result::EReason;

constexpr Cmn_Int64 cCell = cQuarter / 2;
Time_Tick At(std::size_t iCell) { return Time_Tick(cStart + static_cast<Cmn_Int64>(iCell) * cCell); }
std::size_t IndexOf(Time_Tick iTick) { return static_cast<std::size_t>((iTick.AsInt64() - cStart) / cCell); }

struct Maps
{
    explicit Maps(Ndo_Object::EUndoFlag iFlag)
        : mMeters(iFlag)
        , mTempi(iFlag)
        , mKeys(iFlag)
    {
        mTempi.SetSampleRate(48000);
    }
    void StreamOut(Sys_TypedOutStream& ioStream) const
    {
        mMeters.StreamOut(ioStream);
        mTempi.StreamOut(ioStream);
        mKeys.StreamOut(ioStream);
    }
    void StreamIn(Sys_TypedInStream& ioStream)
    {
        mMeters.StreamIn(ioStream);
        mTempi.StreamIn(ioStream);
        mKeys.StreamIn(ioStream);
    }
    double TempoAt(Time_Tick iTick) const
    {
        double tempo;
        Time_TickLength beat;
        mTempi.GetTempoAtTick(tempo, beat, iTick);
        return tempo;
    }
    std::string Dump() const { return mMeters.Dump() + mTempi.Dump() + mKeys.Dump(); }

    Time_MeterMap mMeters;
    Time_TempoMap mTempi;
    Time_KeySignatureMap mKeys;
};

// An eighth of the song, by what is in force there and what a host has there. Time that is edited is cells
// that come, go and are copied: the model knows no seams.
struct Cell
{
    int mMark = 0;
    Time_Meter mMeter;
    double mTempo = 120;
    Time_KeySignature mKey;
};
using CellList = std::vector<Cell>;

// A song, its model, and what an edit of both is checked by.
class Script
{
public:
    explicit Script(unsigned iSeed)
        : mRandom(iSeed)
    {
        const unsigned first =
            Below(3) * 6; // where no meter is set up, bars are counted from the first change on
        if (first < 12)
            mMaps.mMeters.AddMeterChange(At(first), Time_Meter(first == 0 ? 4 : 3, 4), 1 + first / 6);
        mMaps.mMeters.GetListenerList().Add(&mMetersTold);
        mMaps.mTempi.GetListenerList().Add(&mTempiTold);
        mHistory.emplace(mMaps);
        Grow(300);
    }
    ~Script()
    {
        mMaps.mTempi.GetListenerList().Remove(&mTempiTold),
            mMaps.mMeters.GetListenerList().Remove(&mMetersTold);
    }

    void Step()
    {
        Grow(300);
        mFrom = Below(100), mTo = mFrom + 1 + Below(mCells.size() > 400 ? 90 : 20), mPosition = Below(130);
        mExpected = mCells;
        mTold = mCalled = 0;
        mIsTempoOnly = false;
        const Bytes before = Streamed(mMaps);
        const std::vector<Time_BarBeatTick> bars = Bars();
        const unsigned kind = Below(18);
        mWasFirstBehind = !mMaps.mMeters.IsDefault() && mMaps.mMeters.IterBegin()->GetTick() >= At(mFrom);
        Result result;
        mText = "kind " + std::to_string(kind) + " cells " + std::to_string(mFrom) + " " +
                std::to_string(mTo) + " " + std::to_string(mPosition) + "\n" + mMaps.Dump();
        mHistory->Record([&] {
            result = kind < 9 ? EditTime(kind) : kind < 16 ? EditTempi(kind) : Change(kind);
        });
        SCOPED_TRACE(mText + "became\n" + mMaps.Dump());
        const bool isSame = Streamed(mMaps) == before;
        ASSERT_LE(mTold, isSame && kind < 16 ? 0 : kind < 9 ? 2 : 1);
        if (!result) {
            ASSERT_TRUE(isSame);
            ASSERT_EQ(mCalled, 0);
            return;
        }
        ExpectCells();
        mCells = mExpected;
        const std::size_t untouched = kind == 6  ? std::min(mFrom, mPosition)
                                      : kind < 9 ? mFrom
                                                 : mCells.size();
        for (std::size_t i = 0; i < untouched && kind < 16; ++i)
            ASSERT_EQ(mMaps.mMeters.TickToBarBeat(At(i)), bars[i]) << "cell " << i;
        ExpectReadAgain();
        if (kind == 1) ExpectIdentity(before, bars);
    }
    void ExpectEveryState() { mHistory->ExpectEveryState(); }

private:
    unsigned Below(std::size_t iCount) { return static_cast<unsigned>(mRandom() % iCount); }
    void Grow(std::size_t iCount)
    {
        while (mCells.size() < iCount) {
            mCells.push_back(mCells.empty() ? Cell{} : mCells.back());
            if (mCells.size() == 1) mCells[0].mMeter = mMaps.mMeters.GetMeterAtTick(At(0));
        }
        for (std::size_t i = 0; i < mCells.size(); ++i)
            mCells[i].mMark = static_cast<int>(i) + 1;
    }
    std::vector<Time_BarBeatTick> Bars() const
    {
        std::vector<Time_BarBeatTick> bars;
        for (std::size_t i = 0; i < mCells.size(); ++i)
            bars.push_back(mMaps.mMeters.TickToBarBeat(At(i)));
        return bars;
    }

    // What a host keeps goes where the pieces say.
    void OnMoved(const Time_TickPieces& iPieces)
    {
        ++mCalled;
        CellList marks(mExpected.size() + 1);
        for (const Time_TickPieces::Piece& piece : iPieces.Get())
            for (std::size_t i = 0; i < mCells.size(); ++i)
                if (At(i) >= piece.mOldStart && At(i) < piece.mOldEnd)
                    marks[std::min(IndexOf(piece.mNewStart + (At(i) - piece.mOldStart)), mExpected.size())]
                        .mMark = mCells[i].mMark;
        for (std::size_t i = 0; i < mExpected.size(); ++i)
            ASSERT_EQ(marks[i].mMark, mExpected[i].mMark) << "cell " << i << "\n" << iPieces.Dump();
        for (std::size_t i = 0; i < mCells.size(); ++i)
            if (const auto place = iPieces.OldToNew(At(i)))
                ASSERT_EQ(mExpected.at(IndexOf(*place)).mMark, mCells[i].mMark) << "cell " << i;
            else
                ASSERT_TRUE(std::ranges::none_of(
                    mExpected, [&](auto& iCell) { return iCell.mMark == mCells[i].mMark; }));
        ExpectCells(); // the maps are as they will be, and nobody has been told
        ASSERT_EQ(mTold, 0);
    }

    CellList Part() const { return {mCells.begin() + Offset(mFrom), mCells.begin() + Offset(mTo)}; }
    static std::ptrdiff_t Offset(std::size_t iCell) { return static_cast<std::ptrdiff_t>(iCell); }
    void ExpectInserted(std::size_t iAt, const CellList& iCells)
    {
        mExpected.insert(mExpected.begin() + Offset(iAt), iCells.begin(), iCells.end());
    }
    void ExpectErased()
    {
        mExpected.erase(mExpected.begin() + Offset(mFrom), mExpected.begin() + Offset(mTo));
    }
    static CellList Unmarked(CellList iCells)
    {
        for (Cell& cell : iCells)
            cell.mMark = 0;
        return iCells;
    }

    Result EditTime(unsigned iKind)
    {
        const Edit::Song song{&mMaps.mMeters, &mMaps.mTempi, &mMaps.mKeys,
                              [&](auto& iPieces) { OnMoved(iPieces); }};
        const Time_Tick from = At(mFrom);
        const Time_Tick to = At(mTo);
        if (iKind == 0) {
            ExpectErased();
            return Edit::DeleteTime(song, from, to);
        }
        if (iKind == 1) {
            ExpectInserted(mFrom, Unmarked(CellList(mTo - mFrom, mCells[mFrom > 0 ? mFrom - 1 : 0])));
            return Edit::InsertTime(song, from, to - from);
        }
        if (iKind == 2) {
            mClipCells = Unmarked(Part());
            return Edit::Copy(song, from, to, mClip);
        }
        if (iKind == 3) {
            ExpectErased();
            const Result result = Edit::Cut(song, from, to, mClip);
            if (result) mClipCells = Unmarked(Part());
            return result;
        }
        if (iKind == 4) {
            const std::size_t count = Below(4);
            for (std::size_t i = 0; i < count; ++i)
                ExpectInserted(mTo, Part());
            return Edit::RepeatTime(song, from, to, count);
        }
        if (iKind == 5 || iKind == 6) {
            const bool isInside = mPosition > mFrom && mPosition < mTo;
            ExpectErased();
            if (!isInside) ExpectInserted(mPosition >= mTo ? mPosition - (mTo - mFrom) : mPosition, Part());
            const Result result = Edit::MoveTime(song, from, to, At(mPosition));
            EXPECT_EQ(result.mReason == eReason_InsideRange, isInside);
            mFrom = std::min(mFrom, mPosition);
            return result;
        }
        ExpectInserted(mFrom, mClipCells);
        return Edit::Paste(song, from, mClip);
    }

    Result EditTempi(unsigned iKind)
    {
        Time_TempoMap& map = mMaps.mTempi;
        const Time_Tick from = At(mFrom);
        const Time_Tick to = At(mTo);
        const double tempo = 60 + Below(120);
        const Time_Sample near =
            map.TickToSample(from) + Time_SampleLength(static_cast<Cmn_Int64>(Below(9000)) - 4500);
        mIsTempoOnly = true;
        if (iKind == 9) return Time_TempoEdit::SetTempo(map, from, {tempo});
        if (iKind == 10) return Time_TempoEdit::ClearRange(map, from, to);
        if (iKind == 11)
            return Time_TempoEdit::Ramp(map, from, to, {tempo}, 90, Time_TempoEdit::eCurve_Linear,
                                        mTo - mFrom);
        if (iKind == 12) return Time_TempoEdit::Scale(map, from, to, 0.8 + Below(40) / 100.0);
        if (iKind == 13)
            return Time_TempoEdit::FitToLength(map, from, to,
                                               map.TickToSample(to) - map.TickToSample(from) +
                                                   Time_SampleLength(Below(2000)));
        if (iKind == 14)
            return Below(3) > 0 ? Result{.mReason = eReason_NoLock}
                                : Time_TempoEdit::LockToSample(map, from, near);
        const auto lock = std::find_if(map.SegmentBegin(), map.SegmentEnd(), [&](auto& iSegment) {
            return iSegment->IsLockedToSample() && !iSegment->IsSongStart();
        });
        return Time_TempoEdit::RemoveLock(map, lock == map.SegmentEnd() ? from : (*lock)->GetStartTick());
    }

    Result Change(unsigned iKind)
    {
        const Time_Meter meter(2 + static_cast<int>(Below(5)), Below(2) > 0 ? 4 : 8);
        const Time_KeySignature key(Below(2) > 0, true, static_cast<Cmn_UInt8>(Below(8)));
        const bool isFirst = mMaps.mMeters.IsDefault() || At(mFrom) <= mMaps.mMeters.IterBegin()->GetTick();
        if (iKind == 16 && isFirst) return {.mReason = eReason_NoLock}; // and would hold backwards
        if (iKind == 16) mMaps.mMeters.AddMeterChange(At(mFrom), meter);
        if (iKind == 17) mMaps.mKeys.SetKeySignature(At(mFrom), key);
        for (std::size_t i = 0; i < mExpected.size(); ++i)
            if (iKind == 16)
                mExpected[i].mMeter = mMaps.mMeters.GetMeterAtTick(At(i));
            else
                mExpected[i].mKey = mMaps.mKeys.GetKeySignatureAtTime(At(i));
        return {};
    }

    // Where more than the song start is locked, one tempo of each stretch takes up
    // what is rounded to samples.
    void ExpectCells()
    {
        const bool isRounded = !mMaps.mTempi.IsNumberOfLockedSegmentsLessThan(2);
        for (std::size_t i = 0; i < mExpected.size(); ++i) {
            Cell& cell = mExpected[i];
            ASSERT_EQ(mMaps.mMeters.GetMeterAtTick(At(i)), cell.mMeter) << "cell " << i;
            ASSERT_EQ(mMaps.mKeys.GetKeySignatureAtTime(At(i)), cell.mKey) << "cell " << i;
            const double tempo = mMaps.TempoAt(At(i));
            if (!mIsTempoOnly) {
                ASSERT_NEAR(tempo, cell.mTempo, isRounded ? cell.mTempo / 1000 : 0) << "cell " << i;
            }
            cell.mTempo = tempo;
        }
        ASSERT_EQ(mMaps.mMeters.FindBrokenInvariant(), "");
        ASSERT_TRUE(mMaps.mTempi.ValidateBetweenIDBs());
    }

    void ExpectReadAgain() const
    {
        Maps read(Ndo_Object::kNoUndo);
        const Bytes bytes = Streamed(mMaps);
        ReadBack(read, bytes);
        ASSERT_EQ(Streamed(read), bytes);
        for (std::size_t i = 0; i < mCells.size(); i += 7)
            ASSERT_EQ(read.mTempi.TickToSample(At(i)), mMaps.mTempi.TickToSample(At(i)));
    }

    // Bars before a first change that moved against them are held by one more change, which changes nothing.
    void ExpectIdentity(const Bytes& iBefore, const std::vector<Time_BarBeatTick>& iBars)
    {
        Result result;
        mExpected = mCells;
        mTold = mCalled = 0;
        ExpectErased();
        const Edit::Song song{&mMaps.mMeters, &mMaps.mTempi, &mMaps.mKeys, {}};
        mHistory->Record([&] { result = Edit::DeleteTime(song, At(mFrom), At(mTo)); });
        ASSERT_TRUE(result);
        ExpectCells();
        mCells = mExpected;
        const bool isHeld = mWasFirstBehind && Streamed(mMaps).size() > iBefore.size();
        ASSERT_TRUE(isHeld || Streamed(mMaps) == iBefore) << mMaps.Dump();
        ASSERT_EQ(Bars(), std::vector(iBars.begin(), iBars.begin() + Offset(mCells.size())));
    }

    void OnChanged(const Mdl_SimpleValMessage_ValChanged&) { ++mTold; }
    using Told = Cnn_Receiver<Script, Mdl_SimpleValMessage, &Script::OnChanged>;

    std::mt19937 mRandom;
    Maps mMaps{Ndo_Object::kUndoable};
    std::optional<UndoHistory<Maps>> mHistory;
    CellList mCells;
    CellList mExpected;
    CellList mClipCells;
    Edit::Clip mClip;
    std::size_t mFrom = 0;
    std::size_t mTo = 0;
    std::size_t mPosition = 0;
    int mTold = 0;
    int mCalled = 0;
    bool mIsTempoOnly = false;
    bool mWasFirstBehind = false;
    std::string mText;
    Told mMetersTold{*this};
    Told mTempiTold{*this};
};

} // namespace

// KORA_SONG_STEPS=100000 for a long run.
TEST(SongEdit, RandomEditsGiveWhatAListOfTicksGives)
{
    AssertRecorder recorder;
    const char* const wanted = std::getenv("KORA_SONG_STEPS");
    const unsigned seed = std::random_device()();
    for (long done = 0, steps = wanted != nullptr ? std::atol(wanted) : 2000; done < steps;) {
        SCOPED_TRACE("seed " + std::to_string(seed + done));
        Script script(static_cast<unsigned>(seed + done));
        for (int i = 0; i < 50; ++i, ++done) {
            script.Step();
            ASSERT_FALSE(testing::Test::HasFatalFailure());
        }
        script.ExpectEveryState();
        ASSERT_FALSE(testing::Test::HasFatalFailure());
        ASSERT_EQ(recorder.Take(), Reports{});
    }
}

#define EDIT(...) [&] { return Edit::__VA_ARGS__; }

constexpr double cSongStart = cStart;
constexpr double cLastTick = 576460752303423487.0;

struct Refusal
{
    const char* mWhat;
    std::function<Result()> mEdit;
    Result::EReason mReason;
    double mNearest;
};

TEST(SongEdit, WhatCannotBeDoneIsRefusedWithTheNearest)
{
    AssertRecorder recorder;
    Maps maps(Ndo_Object::kNoUndo);
    maps.mMeters.AddMeterChange(At(0), Time_Meter(4, 4), 1);
    Time_TempoEdit::SetTempo(maps.mTempi, At(8), {90});
    maps.mKeys.SetKeySignature(At(16), Time_KeySignature(true, true, 1));
    int called = 0;
    const Edit::Song song{&maps.mMeters, &maps.mTempi, &maps.mKeys, [&](auto&) { ++called; }};
    const double room = cLastTick - static_cast<double>(At(16).AsInt64());
    Edit::Clip clip;
    EXPECT_TRUE(Edit::Copy(song, At(2), At(6), clip));
    Edit::Clip unordered = clip;
    unordered.mKeys.push_back({Time_TickLength(0), {}});
    Edit::Clip longer = clip;
    longer.mLength = longer.mLength + Time_TickLength(1);
    const Time_Tick before = At(0) - Time_TickLength(1);
    const Time_Tick behind(cMost);
    const Refusal cRows[] = {
        {"nothing deleted", EDIT(DeleteTime(song, At(4), At(4))), eReason_EmptyRange, 0},
        {"reversed", EDIT(RepeatTime(song, At(4), At(3), 1)), eReason_EmptyRange, 0},
        {"before the song", EDIT(InsertTime(song, before, clip.mLength)), eReason_BeforeSongStart,
         cSongStart},
        {"cut before the song", EDIT(Cut(song, before, At(4), clip)), eReason_BeforeSongStart, cSongStart},
        {"moved before it", EDIT(MoveTime(song, At(4), At(6), before)), eReason_BeforeSongStart, cSongStart},
        {"moved inside", EDIT(MoveTime(song, At(4), At(8), At(5))), eReason_InsideRange,
         static_cast<double>(At(4).AsInt64())},
        {"behind all ticks", EDIT(DeleteTime(song, At(4), behind)), eReason_OutOfLimits, cLastTick},
        {"less than nothing", EDIT(InsertTime(song, At(4), Time_TickLength(-1))), eReason_EmptyRange, 0},
        {"pushed out", EDIT(InsertTime(song, At(4), behind - At(16))), eReason_OutOfLimits, room},
        {"too often", EDIT(RepeatTime(song, At(0), At(16), 1000000)), eReason_TooManySteps, 500000},
        {"too long", EDIT(RepeatTime(song, At(0), At(0) + Time_TickLength(cMost / 64), 9)),
         eReason_OutOfLimits, 2},
        {"nothing pasted", EDIT(Paste(song, At(4), {})), eReason_EmptyRange, 0},
        {"out of order", EDIT(Paste(song, At(4), unordered)), eReason_EmptyRange, 0},
        {"two lengths", EDIT(Paste(song, At(4), longer)), eReason_EmptyRange, 0},
    };
    const Bytes bytes = Streamed(maps);
    const Time_TickLength length = clip.mLength;
    for (const auto& row : cRows) {
        const Result result = row.mEdit();
        EXPECT_EQ(std::pair(result.mReason, result.mNearest), std::pair(row.mReason, row.mNearest))
            << row.mWhat;
        EXPECT_EQ(Streamed(maps), bytes) << row.mWhat;
    }
    EXPECT_EQ(clip.mLength, length) << "what was copied stays";
    for (const Result& nothing :
         {Edit::InsertTime(song, At(4), Time_TickLength(0)), Edit::RepeatTime(song, At(4), At(8), 0),
          Edit::MoveTime(song, At(4), At(8), At(8)), Edit::MoveTime(song, At(4), At(8), At(4))})
        EXPECT_TRUE(nothing);
    EXPECT_EQ(Streamed(maps), bytes);
    EXPECT_EQ(called, 0);
    EXPECT_EQ(recorder.Take(), Reports{});
}

// In the tempo just before; at the song's first tick in the one set up there, which stays.
TEST(SongEdit, InsertedTimeLastsAsLongAsAsked)
{
    Maps maps(Ndo_Object::kNoUndo);
    Time_TempoEdit::SetTempo(maps.mTempi, At(0), {100});
    Time_TempoEdit::SetTempo(maps.mTempi, At(7), {33});
    Time_TempoEdit::SetTempo(maps.mTempi, At(9), {250});
    const Edit::Song song{nullptr, &maps.mTempi, nullptr, {}};
    for (const std::size_t at : {0, 3, 7, 8, 9, 20})
        for (const double samples : {1.0, 48000.0, 44100.5, 1234567.0}) {
            const Time_TickLength length = Edit::LengthOfSamples(song, At(at), samples);
            const auto placeOf = [&](Time_Tick iTick) {
                return maps.mTempi.GetBasicTempoMap().FractionalSampleAtTick(iTick);
            };
            const double behind = placeOf(At(30));
            ASSERT_TRUE(Edit::InsertTime(song, At(at), length));
            EXPECT_NEAR(placeOf(At(at) + length) - placeOf(At(at)), samples, 0.05) << at;
            EXPECT_NEAR(placeOf(At(30) + length) - behind, samples, 0.05) << at;
            ASSERT_TRUE(Edit::DeleteTime(song, At(at), At(at) + length));
        }
}

TEST(TickPieces, WhatEndsAtASeamEndsThere)
{
    using Pieces = Time_TickPieces;
    const auto tick = [](Cmn_Int64 iTick) { return Time_Tick(iTick); };
    const struct
    {
        const char* mWhat;
        Pieces mPieces;
        Cmn_Int64 mOldEnd;
        Cmn_Int64 mNewEnd;
    } cRows[] = {
        {"before a deletion", Pieces::Delete(tick(10), tick(20)), 10, 10},
        {"inside it", Pieces::Delete(tick(10), tick(20)), 15, 10},
        {"at its end", Pieces::Delete(tick(10), tick(20)), 20, 10},
        {"behind it", Pieces::Delete(tick(10), tick(20)), 21, 11},
        {"where time comes", Pieces::Insert(tick(10), Time_TickLength(5)), 10, 10},
        {"behind what comes", Pieces::Insert(tick(10), Time_TickLength(5)), 11, 16},
        {"at the end of what is repeated", Pieces::Repeat(tick(10), tick(20), 2), 20, 20},
        {"across it", Pieces::Repeat(tick(10), tick(20), 2), 21, 41},
        {"where a move goes", Pieces::Move(tick(10), tick(20), tick(30)), 30, 20},
        {"with what is moved", Pieces::Move(tick(10), tick(20), tick(30)), 20, 30},
        {"with what is moved back", Pieces::Move(tick(10), tick(20), tick(5)), 20, 15},
        {"of what is moved nowhere", Pieces::Move(tick(10), tick(20), tick(20)), 20, 20},
    };
    for (const auto& row : cRows)
        EXPECT_EQ(row.mPieces.OldEndToNew(tick(row.mOldEnd)), tick(row.mNewEnd)) << row.mWhat << "\n"
                                                                                 << row.mPieces.Dump();
}
