#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Time/Tempo/Time_SampleTransform.h"
#include "Kora/Time/Tempo/Time_TempoEdit.h"
#include "Time/Tempo/TempoMapTools.h"

namespace {

Time_Tick At(Cmn_Int64 iQuarter) { return Time_Tick(cStart + iQuarter * cQuarter); }

struct Counter
{
    explicit Counter(Time_TempoMap& ioMap)
        : mMap(ioMap)
    {
        mMap.GetListenerList().Add(&mReceiver);
    }
    ~Counter() { mMap.GetListenerList().Remove(&mReceiver); }
    void OnChanged(const Mdl_SimpleValMessage_ValChanged&) { ++mTold; }
    Time_TempoMap& mMap;
    int mTold = 0;
    Cnn_Receiver<Counter, Mdl_SimpleValMessage, &Counter::OnChanged> mReceiver{*this};
};

// Segments of one to five quarters, with flags as they come; the plain model of the upkeep.
struct Rows
{
    explicit Rows(std::mt19937& ioRandom)
    {
        Cmn_Int64 quarter = 0;
        Cmn_Int64 lastLock = 0;
        for (int i = 0; i < 24; ++i, quarter += 1 + static_cast<Cmn_Int64>(ioRandom() % 5)) {
            const bool isLocked = i == 0 || ioRandom() % 4 == 0;
            if (isLocked) lastLock = i;
            mRows.push_back({.mTick = At(quarter).AsInt64(),
                             .mBpm = 121.0 + static_cast<double>(ioRandom() % 120),
                             .mLocked = isLocked,
                             .mComputed = ioRandom() % 3 == 0,
                             .mSongStart = i == 0,
                             .mSample = quarter * 24000});
        }
        for (auto row = mRows.begin() + lastLock; row != mRows.end(); ++row)
            row->mComputed = false; // nothing behind would say where it ends
    }
    void Fill(Time_TempoMap& ioMap) const
    {
        ioMap.BeginEdit();
        for (const SegmentRow& row : mRows)
            ioMap.AddSegment(row.Make());
        ioMap.EndEdit();
    }
    void Clear(Cmn_Int64 iStart, Cmn_Int64 iEnd)
    {
        for (SegmentRow& row : mRows)
            row.mComputed = row.mComputed && (row.mTick < iStart || row.mTick >= iEnd);
    }
    void LeaveOne(Cmn_Int64 iStart, Cmn_Int64 iEnd)
    {
        std::size_t kept = mRows.size();
        Cmn_Int64 most = 0;
        for (std::size_t i = mRows.size(); i-- > 0;) {
            if (mRows[i].mTick < iStart || mRows[i].mTick >= iEnd) continue;
            const Cmn_Int64 end = i + 1 < mRows.size() ? std::min(mRows[i + 1].mTick, iEnd) : iEnd;
            const bool isBetter = mRows[i].mComputed || (end - mRows[i].mTick >= most && most < cMost);
            if (isBetter) kept = i;
            if (isBetter) most = mRows[i].mComputed ? cMost : end - mRows[i].mTick;
        }
        Clear(iStart, iEnd);
        if (kept < mRows.size()) mRows[kept].mComputed = true;
    }
    void FixUp(Cmn_Int64 iTick)
    {
        Cmn_Int64 start = mRows[0].mTick;
        Cmn_Int64 end = cMost;
        for (const SegmentRow& row : mRows) {
            if (row.mLocked && row.mTick <= iTick) start = row.mTick;
            if (row.mLocked && row.mTick > iTick) end = std::min(end, row.mTick);
        }
        end == cMost ? Clear(start, end) : LeaveOne(start, end);
    }
    std::vector<bool> Flags() const
    {
        std::vector<bool> flags;
        for (const SegmentRow& row : mRows)
            flags.push_back(row.mComputed);
        return flags;
    }
    std::vector<SegmentRow> mRows;
};

std::vector<bool> FlagsOf(const Time_TempoMap& iMap)
{
    std::vector<bool> flags;
    for (auto iter = iMap.SegmentBegin(); iter != iMap.SegmentEnd(); ++iter)
        flags.push_back((*iter)->IsComputed());
    return flags;
}

} // namespace

TEST(TempoMapLocks, OneSegmentIsComputedBetweenTwoLocks)
{
    AssertRecorder recorder;
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int run = 0; run < 2000; ++run) {
        Rows rows(random);
        Time_TempoMap map;
        map.SetSampleRate(48000);
        rows.Fill(map);
        const Counter counter(map);
        const std::vector<bool> before = FlagsOf(map);
        Time_Tick from = At(static_cast<Cmn_Int64>(random() % 70)),
                  to = At(static_cast<Cmn_Int64>(random() % 70));
        const int kind = run % 4;
        if (kind == 0) map.ClearComputedFlagsInRange(from, to), rows.Clear(from.AsInt64(), to.AsInt64());
        if (kind == 1) map.FixUpComputedFlagsAroundTick(from), rows.FixUp(from.AsInt64());
        if (kind == 2) map.RecomputeBetweenIDBs(At(0), At(200));
        for (const SegmentRow& row : rows.mRows)
            if (kind == 2) rows.FixUp(row.mTick);
        if (kind == 3) {
            const auto isLocked = [](auto& iRow) { return iRow.mLocked; };
            const auto end = std::find_if(rows.mRows.begin() + 1, rows.mRows.end(), isLocked);
            if (end == rows.mRows.end()) continue;
            from = At(0), to = Time_Tick(end->mTick);
            map.EnsureExactlyOneComputedSegmentInRange(from, to), rows.LeaveOne(cStart, end->mTick);
        }
        ASSERT_EQ(FlagsOf(map), rows.Flags()) << "kind " << kind << "\n" << map.Dump();
        ASSERT_EQ(counter.mTold, FlagsOf(map) != before) << "kind " << kind;
        for (const SegmentRow& row :
             rows.mRows) // what is not computed keeps its tempo, and each lock its sample
            ASSERT_TRUE(!row.mLocked ||
                        map.TickToSample(Time_Tick(row.mTick), false).AsInt64() == row.mSample);
        static_cast<void>(recorder.Take()); // stretches as they came do not meet their locks
        ASSERT_TRUE(kind != 2 || map.ValidateBetweenIDBs()) << map.Dump();
    }
    EXPECT_EQ(recorder.Take(), Reports{});
    Time_TempoMap broken;
    Fill(broken, {{.mTick = cStart, .mLocked = true, .mSongStart = true},
                  {.mTick = cStart + 9, .mLocked = true, .mSample = 9}});
    static_cast<void>(recorder.Take());
    EXPECT_FALSE(broken.ValidateBetweenIDBs());
    EXPECT_EQ(recorder.Take(),
              Reports{"exactly one computed segment between two locks@$^$@Time/Time_TempoMapLocks"});
}

// A rate that doubles, an origin that moves: each place is where it was heard.
TEST(TempoMapLocks, AMapMovesAsAWhole)
{
    AssertRecorder recorder;
    std::mt19937 random(5);
    Time_TempoMap map;
    map.SetSampleRate(48000);
    Rows rows(random);
    rows.Clear(cStart, cMost);
    rows.Fill(map);
    map.RecomputeBetweenIDBs(At(0), At(200));
    static_cast<void>(recorder.Take());
    const Time_TempoMap old(map);
    const auto expectAt = [&](Cmn_Int64 iTicks, Cmn_Int64 iScale, Cmn_Int64 iOffset) {
        for (Cmn_Int64 tick = cStart; tick < At(90).AsInt64(); tick += cQuarter / 3)
            ASSERT_NEAR(map.GetBasicTempoMap().FractionalSampleAtTick(Time_Tick(tick + iTicks)),
                        old.GetBasicTempoMap().FractionalSampleAtTick(Time_Tick(tick)) *
                                static_cast<double>(iScale) +
                            static_cast<double>(iOffset),
                        1e-6);
    };
    {
        const Counter counter(map);
        map.TransformSamples({});
        map.Offset(Time_TickLength(0), Time_SampleLength(0));
        EXPECT_EQ(counter.mTold, 0);
        map.Offset(Time_TickLength(12345), Time_SampleLength(-777));
        EXPECT_EQ(counter.mTold, 1);
    }
    expectAt(12345, 1, -777);
    map.BeginEdit();
    map.SetSampleRate(96000);
    map.TransformSamples({.mScale = 2.0, .mOffset = Time_SampleLength(54)});
    map.EndEdit();
    expectAt(12345, 2, -1500);
    const Bytes before = Streamed(map);
    for (const double scale : {1e-9, 0.0, -1.0, static_cast<double>(NAN), static_cast<double>(INFINITY)})
        map.TransformSamples({.mScale = scale, .mOffset = Time_SampleLength(0)});
    EXPECT_EQ(Streamed(map), before) << "two locks would meet";
    EXPECT_EQ(recorder.Take().size(), 5U);
}

// A deletion from the song start up to a lock takes that lock's computed tempo with
// it, once wrongly for good.
TEST(TempoMapLocks, ADeletionUpToALockLeavesOneComputedTempoBehindTheSongStart)
{
    Time_TempoMap map;
    map.SetSampleRate(48000);
    Fill(map, {{.mTick = cStart, .mLocked = true, .mComputed = true, .mSongStart = true},
               {.mTick = At(4).AsInt64(), .mLocked = true, .mComputed = true, .mSample = 98000},
               {.mTick = At(8).AsInt64(), .mBpm = 110},
               {.mTick = At(12).AsInt64(), .mLocked = true, .mSample = 300000}});
    const Time_SampleLength behind = map.TickToSample(At(12)) - map.TickToSample(At(4));
    ASSERT_TRUE(Time_TempoEdit::DeleteTime(map, At(0), At(4)));
    EXPECT_TRUE(map.ValidateBetweenIDBs()) << map.Dump();
    EXPECT_EQ(map.TickToSample(At(8)) - map.TickToSample(At(0)), behind);
}

TEST(TempoMapLocks, ASplitTakesALockAndASongStartIsTheOnlyOne)
{
    AssertRecorder recorder;
    Time_TempoMap map;
    map.SetSampleRate(48000);
    Fill(map, {{.mTick = cStart, .mLocked = true, .mComputed = true, .mSongStart = true},
               {.mTick = At(8).AsInt64(), .mBpm = 77, .mLocked = true, .mSample = 200000},
               {.mTick = At(9).AsInt64(), .mBpm = 300}});
    std::unique_ptr<Time_TempoMapSegment> first;
    std::unique_ptr<Time_TempoMapSegment> second;
    (*map.SegmentBegin())->SplitForIDB(first, second, At(3));
    second->LockToSample(Time_Sample(80000));
    map.BeginEdit();
    map.AddSegment(std::move(first));
    map.AddSegment(std::move(second));
    map.EndEdit();
    EXPECT_TRUE(map.ValidateBetweenIDBs());
    for (const auto& [quarter, sample] : {std::pair(0, 0), {3, 80000}, {8, 200000}})
        EXPECT_EQ(map.TickToSample(At(quarter)), Time_Sample(sample));

    map.SongStartWasAdded(At(9));
    EXPECT_EQ((*map.FindSongStart())->GetStartTick(), At(9));
    EXPECT_EQ((*map.FindSongStart())->GetStartSample(), map.TickToSample(At(9)))
        << "a free one is locked where it is";
    EXPECT_FALSE((*map.SegmentBegin())->IsSongStart());
    EXPECT_EQ(recorder.Take(), Reports{});
    map.SongStartWasAdded(At(1));
    EXPECT_EQ(recorder.Take().size(), 1U) << "no segment starts there";

    double max;
    double min;
    map.GetMaxMinBPM(max, min, Time_TickLength(cQuarter / 2), At(8), At(9));
    EXPECT_EQ(std::pair(max, min), std::pair(154.0, 154.0)) << "in eighths";
    map.GetMaxMinBPM(max, min, Time_TickLength(cQuarter), At(8), At(9) + Time_TickLength(1));
    EXPECT_EQ(std::pair(max, min), std::pair(300.0, 77.0));
    map.GetLengthConstraintsForRange(min, max, At(8), At(10), Time_TempoEdit::GetTempoLimits());
    const double each = 2880000.0 / 77 + 2880000.0 / 300; // all by what 300 and what 77 may be scaled by
    EXPECT_NEAR(min, each * 300 / 500, 1e-6);
    EXPECT_NEAR(max, each * 77 / 5, 1e-6);
    EXPECT_EQ(map.GetMaxSample(), map.TickToSample(Time_Tick(576460752303423487)));
}
