#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Time/Tempo/Time_TempoMap_StEditOptimizer.h"
#include "Time/Tempo/TempoMapTools.h"

#include <atomic>
#include <cstring>
#include <future>
#include <thread>

namespace {

using Ticks = std::vector<Cmn_Int64>;

// A map at 48000 Hz that counts its broadcasts. Reports that a test does not take are failures.
class TempoMap : public testing::Test
{
protected:
    TempoMap()
    {
        mMap.SetSampleRate(48000);
        mMap.GetListenerList().Add(&mReceiver);
    }
    ~TempoMap() override { EXPECT_EQ(mAsserts.Take(), Reports{}); }

    int TakeBroadcasts() { return std::exchange(mBroadcasts, 0); }
    bool OthersGetTheLock() const
    {
        const auto tryTo = [&] { return mMap.TryToAcquireReadLock() && (mMap.ReleaseReadLock(), true); };
        return std::async(std::launch::async, tryTo).get();
    }
    Cmn_Int64 SampleAt(Cmn_Int64 iTick) const { return mMap.TickToSample(Time_Tick(iTick)).AsInt64(); }
    Ticks Starts() const
    {
        Ticks ticks;
        for (auto iter = mMap.SegmentBegin(); iter != mMap.SegmentEnd(); ++iter)
            ticks.push_back((*iter)->GetStartTick().AsInt64());
        return ticks;
    }
    void OnChanged(const Mdl_SimpleValMessage_ValChanged&) { ++mBroadcasts; }

    AssertRecorder mAsserts;
    int mBroadcasts = 0;
    Cnn_Receiver<TempoMap, Mdl_SimpleValMessage, &TempoMap::OnChanged> mReceiver{*this};
    Time_TempoMap mMap;
};

// Segments as tests write them: Locked(At(2, 60), 48000) is 60 bpm from two quarters behind
// cStart, at sample 48000.
constexpr Cmn_Int64 cAt(int iQuarter) { return cStart + iQuarter * cQuarter; }
SegmentRow At(int iQuarter, double iBpm = 120) { return {.mTick = cAt(iQuarter), .mBpm = iBpm}; }
SegmentRow Locked(const SegmentRow& iRow, Cmn_Int64 iSample = 0)
{
    return {.mTick = iRow.mTick,
            .mBpm = iRow.mBpm,
            .mLocked = true,
            .mComputed = iRow.mComputed,
            .mSample = iSample};
}
SegmentRow Computed(int iQuarter) { return {.mTick = cAt(iQuarter), .mComputed = true}; }

std::string Report(const std::string& iText) { return iText + "@$^$@Time/Time_TempoMap"; }

} // namespace

TEST_F(TempoMap, LockedPointsAreHonoured)
{
    // The first quarter fills 48000 samples; the free third one keeps its tempo and ends at the second lock.
    Fill(mMap, {Locked(Computed(0)), Locked(Computed(1), 48000), At(2, 60), Locked(At(3), 144000)});
    double beatsPerMinute = 0;
    Time_TickLength ticksPerBeat;
    mMap.GetTempoAtTick(beatsPerMinute, ticksPerBeat, Time_Tick(cStart));
    EXPECT_EQ(beatsPerMinute * ticksPerBeat.AsFloat64(), 60 * cQuarter);
    EXPECT_EQ(SampleAt(cAt(2)), 144000 - 48000);
    EXPECT_FALSE(mMap.IsAllIDB());
    EXPECT_FALSE(mMap.IsAllChanges());
    EXPECT_TRUE(mMap.IsNumberOfLockedSegmentsLessThan(4));
    EXPECT_FALSE(mMap.IsNumberOfLockedSegmentsLessThan(3));
    EXPECT_TRUE(mMap.FindSegmentBySample(Time_Sample(96000)) == mMap.SegmentBegin() + 2);
    EXPECT_TRUE(mMap.FindSegmentBySample(Time_Sample(96001)) == mMap.SegmentEnd());
    EXPECT_EQ(mMap.GetMinTicksPerSample(), 20);
    EXPECT_EQ(mMap.GetMaxTicksPerSample(), 40);
}

TEST_F(TempoMap, ATickIsGovernedByTheSegmentAtOrBeforeIt)
{
    EXPECT_TRUE(mMap.FindControllingSegment(Time_Tick(0)) == mMap.SegmentEnd()) << "none in an empty map";
    Fill(mMap, {Locked(At(0)), At(4, 60)});
    for (const Cmn_Int64 tick : {cStart - 1, cStart, cAt(4) - 1, cAt(4)})
        EXPECT_TRUE(mMap.FindControllingSegment(Time_Tick(tick)) == mMap.SegmentBegin() + (tick == cAt(4)));
    EXPECT_EQ(SampleAt(cAt(5)), 4 * 24000 + 48000);
    // As if the tempo at the reference held everywhere.
    const Time_Tick fifth =
        mMap.SampleToTickBasedOnReferenceTempoAtSample(Time_Sample(120000), Time_Sample(95999));
    EXPECT_EQ(fifth, Time_Tick(cAt(5)));
    EXPECT_EQ(mMap.TickToSampleBasedOnReferenceTempoAtTick(fifth, Time_Tick(cStart)), Time_Sample(120000));
    EXPECT_EQ(mMap.SampleToTickBasedOnReferenceTempoAtTick(Time_Sample(0), Time_Tick(cAt(4))).AsInt64(),
              cAt(2));
    EXPECT_TRUE(mMap.FindSegment(Time_Tick(cAt(4))) == mMap.SegmentBegin() + 1);
    EXPECT_TRUE(mMap.FindSegment(Time_Tick(cAt(3))) == mMap.SegmentEnd());
}

TEST_F(TempoMap, TheSongStartIsCached)
{
    EXPECT_EQ(mMap.GetSessionStartTick().AsInt64(), cStart);
    EXPECT_EQ(Time_TempoMap().GetSampleRate(), Time_Globals::GetPullSampleRate());
    SegmentRow start = Locked(At(2), 24000);
    start.mSongStart = true;
    Fill(mMap, {start});
    EXPECT_EQ(mMap.GetSongStartTick().AsInt64(), cAt(2));
    EXPECT_EQ(mMap.GetSongStartSample().AsInt64(), 24000);
    EXPECT_EQ(mMap.GetSessionStartTick().AsInt64(), cAt(1));
    start.mLocked = false;
    start.mSample = 5;
    Fill(mMap, {start});
    EXPECT_EQ(mAsserts.Take(), Reports{Report("mIsLockedToSample")});
    EXPECT_EQ(mMap.GetSongStartSample().AsInt64(), 5) << "the stored sample, locked or not";
    EXPECT_TRUE(mMap.FindSongStart() == mMap.SegmentBegin());
}

TEST_F(TempoMap, NestedEditsRebuildAndTellOnce)
{
    Cmn_Int32 identifier = mMap.GetUniqueEditIdentifier();
    const auto isNew = [&] {
        const Cmn_Int32 before = std::exchange(identifier, mMap.GetUniqueEditIdentifier());
        return identifier > before;
    };
    TakeBroadcasts();
    {
        const Time_TempoMap_StEditOptimizer outer(mMap);
        {
            const Time_TempoMap_StEditOptimizer inner(mMap);
            mMap.AddSegment(Locked(At(0)).Make());
            EXPECT_TRUE(isNew());
            EXPECT_EQ(mMap.GetEditCount(), 2);
        }
        EXPECT_TRUE(isNew());
        EXPECT_FALSE(OthersGetTheLock());
        EXPECT_FALSE(mMap.TryToAcquireReadLock()) << "the editing thread neither";
        EXPECT_EQ(SampleAt(cAt(1)), 24000) << "a query inside the edit rebuilds";
        EXPECT_TRUE(OthersGetTheLock());
        mMap.AddSegment(At(1, 60).Make());
        EXPECT_FALSE(OthersGetTheLock());
        EXPECT_EQ(TakeBroadcasts(), 0);
    }
    EXPECT_TRUE(isNew());
    EXPECT_EQ(TakeBroadcasts(), 1);
    EXPECT_TRUE(OthersGetTheLock());
    mMap.EndEdit();
    EXPECT_EQ(mAsserts.Take(), Reports{Report("mEditCount > 0")});
}

TEST_F(TempoMap, EachEditTellsOnceAndEditsOfNothingTellNobody)
{
    Time_TempoMap other;
    Fill(other, {Locked(At(0, 77))});
    const struct
    {
        const char* mWhat;
        std::function<void()> mEdit;
        Ticks mStarts;
        int mBroadcasts = 1;
    } cRows[] = {
        {"add", [&] { mMap.AddSegment(At(1).Make()); }, {cAt(1)}},
        {"replace", [&] { mMap.AddSegment(At(1, 50).Make()); }, {cAt(1)}},
        {"replace all", [&] { mMap.ReplaceWith(other); }, {cStart}},
        {"assign", [&] { mMap = other; }, {cStart}},
        {"read", [&] { ReadBack(mMap, Streamed(other)); }, {cStart}},
        {"sample rate", [&] { mMap.SetSampleRate(96000); }, {cStart}},
        {"itself", [&] { mMap.ReplaceWith(mMap); }, {cStart}, 0},
        {"an empty range", [&] { mMap.EraseSegments(Time_Tick(cAt(1)), Time_Tick(cAt(9))); }, {cStart}, 0},
        {"the end of a range", [&] { mMap.EraseSegments(Time_Tick(0), Time_Tick(cStart)); }, {cStart}, 0},
        {"no lock there",
         [&] { mMap.EraseLockedSegmentsBySample(Time_Sample(1), Time_Sample(9)); },
         {cStart},
         0},
        {"a copy", [&] { Time_TempoMap(mMap).Clear(); }, {cStart}, 0},
        {"erase", [&] { mMap.EraseSegments(Time_Tick(cStart), Time_Tick(cStart + 1)); }, {}},
        {"clear", [&] { mMap.Clear(); }, {}},
    };
    for (const auto& row : cRows) {
        TakeBroadcasts();
        row.mEdit();
        EXPECT_EQ(TakeBroadcasts(), row.mBroadcasts) << row.mWhat;
        EXPECT_EQ(Starts(), row.mStarts) << row.mWhat;
        EXPECT_TRUE(OthersGetTheLock()) << row.mWhat;
    }
    mMap.AddSegment(nullptr);
    mMap.DeleteSegment(mMap.SegmentEnd());
    EXPECT_EQ(mAsserts.Take(), Reports({Report("0 != iSegmentP.get()"), Report("iter != mSegments.end()")}));
    EXPECT_EQ(TakeBroadcasts(), 0);
}

// At the same rate what the other map had computed comes along, at another one it is computed anew; an edit that follows
// builds on it.
TEST_F(TempoMap, AMapThatIsGivenAwayLeavesWhatACopyWouldAndIsEmpty)
{
    for (const double rate : {48000.0, 96000.0}) {
        SCOPED_TRACE(rate);
        Time_TempoMap given;
        given.SetSampleRate(rate);
        Fill(given, {{.mTick = cStart, .mLocked = true, .mSongStart = true},
                     {.mTick = cStart + 4 * cQuarter, .mComputed = true},
                     {.mTick = cStart + 9 * cQuarter, .mBpm = 75, .mLocked = true, .mSample = 400000}});
        static_cast<void>(given.TickToSample(Time_Tick(cStart)));
        Time_TempoMap copy;
        copy.SetSampleRate(48000);
        copy.ReplaceWith(given);
        TakeBroadcasts();
        mMap.ReplaceWith(std::move(given));
        EXPECT_EQ(TakeBroadcasts(), 1);
        EXPECT_EQ(given.GetNumberOfSegments(), 0u);
        EXPECT_EQ(given.TickToSample(Time_Tick(cStart + cQuarter)),
                  Time_TempoMap(given).TickToSample(Time_Tick(cStart + cQuarter)));
        for (Time_TempoMap* const map : {&mMap, &copy})
            map->AddSegment(SegmentRow{.mTick = cStart + 12 * cQuarter, .mBpm = 90}.Make());
        TakeBroadcasts();
        for (Cmn_Int64 tick = cStart - cQuarter; tick < cStart + 20 * cQuarter; tick += cQuarter / 7)
            ASSERT_EQ(SampleAt(tick), copy.TickToSample(Time_Tick(tick)).AsInt64()) << tick;
        EXPECT_EQ(Streamed(mMap), Streamed(copy));
    }
}

TEST_F(TempoMap, TypedTimesConvertAndFramesAreReported)
{
    const Time_Typed tick(cAt(1), cTicks);
    const Time_Typed sample(24000, cSamples);
    const Time_Typed frame(1, cFrames);
    EXPECT_EQ(mMap.TimeTypedToSample(tick), Time_Sample(24000));
    EXPECT_EQ(mMap.TimeTypedToTick(sample), Time_Tick(cAt(1)));
    EXPECT_EQ(mMap.TimeTypedToSpecifiedType(tick, cSamples), sample);
    EXPECT_EQ(mMap.SampleToSpecifiedType(Time_Sample(24000), cTicks), tick);
    EXPECT_EQ(mMap.TickToSpecifiedType(Time_Tick(cAt(1)), cTicks), tick);
    EXPECT_EQ(mAsserts.Take(), Reports{});
    EXPECT_EQ(mMap.TimeTypedToSample(frame), Time_Sample(0));
    EXPECT_EQ(mMap.TimeTypedToTick(frame), Time_Tick(0));
    EXPECT_EQ(mMap.TimeTypedToSpecifiedType(frame, cTicks), frame);
    EXPECT_EQ(mMap.TickToSpecifiedType(Time_Tick(cAt(1)), cFrames), tick);
    EXPECT_EQ(mAsserts.Take(), Reports(4, Report("time_type_mismatch")));

    Time_TypedVector times(cTicks, Time_eContext_LocalPosition, {cAt(1)});
    mMap.TimesToType(&times, cSamples); // reported, and converted all the same
    mMap.TimesToType(nullptr, cSamples);
    times.SetContext(Time_eContext_GlobalPosition);
    mMap.TimesToType(&times, cFrames);
    EXPECT_EQ(times, Time_TypedVector(cSamples, Time_eContext_GlobalPosition, {24000}));
    EXPECT_EQ(mAsserts.Take(),
              Reports({"ioTimes->GetContext() == Time_eContext_GlobalPosition@$^$@Time/Time_BasicTempoMap",
                       "ioTimes != 0@$^$@Time/Time_BasicTempoMap",
                       "time_type_mismatch@$^$@Time/Time_BasicTempoMap"}));
}

TEST_F(TempoMap, WhatDoesNotStandInAFinishedMapIsReported)
{
    struct Previous : Time_ConstantTempoSeg
    {
        using Time_ConstantTempoSeg::Time_ConstantTempoSeg;
        ETypeID GetTypeID() const override { return ePreviousTempoSeg; }
    };
    mMap.AddSegment(std::make_unique<Previous>(Time_Tick(cStart)));
    mAsserts.Take(); // debug builds have looked already
    EXPECT_FALSE(mMap.ValidateSegs());
    EXPECT_EQ(mAsserts.Take(),
              Reports{Report("(*iter)->GetTypeID() != Time_TempoMapSegment::ePreviousTempoSeg")});
    mMap.Clear();
    Fill(mMap, {Locked(At(0)), Computed(1), At(2, 60)});
    EXPECT_EQ(mAsserts.Take(), Reports{Report("0")}) << "a computed stretch that nothing ends";
    EXPECT_EQ(SampleAt(cAt(3)), 2 * 24000 + 48000) << "the tempo before goes on";
}

TEST_F(TempoMap, ImpossibleContentIsRefused)
{
    // A tempo of 0 or below is written over the one of the last row, which takes none.
    const auto bytesOf = [](Cmn_Int32 iCount, std::initializer_list<SegmentRow> iRows, double iTempo = 1) {
        Sys_MemOutStream bytes;
        Sys_TypedOutStream stream(bytes);
        Sys_StdStreamHeaderWriter header(stream, "TempoMap", 1);
        stream.WriteInt32(iCount);
        for (const SegmentRow& row : iRows)
            row.Make()->StreamOut(stream);
        header.PatchSize();
        Bytes result = bytes.TakeBytes();
        if (!(iTempo > 0)) std::memcpy(result.data() + result.size() - 17, &iTempo, sizeof iTempo);
        return result;
    };
    const double cNan = std::numeric_limits<double>::quiet_NaN();
    for (const Bytes& bytes :
         {bytesOf(-1, {}), bytesOf(0x7FFFFFFF, {At(0)}), bytesOf(2, {At(0), At(0)}), bytesOf(1, {At(0)}, 0),
          bytesOf(1, {At(0)}, cNan), bytesOf(2, {At(0), At(1)}, -1),
          bytesOf(2, {Locked(At(0)), Locked(Computed(1), 24000)}), bytesOf(1, {Computed(0)}),
          bytesOf(2, {Locked(Computed(0), 5), Locked(At(1), 5)}), bytesOf(1, {{.mSongStart = true}})})
        EXPECT_THROW(ReadBack(mMap, bytes), Sys_StreamReadException) << testing::PrintToString(bytes);
    // Locked at 0 and 48000, the free one between takes half of that; at twice the
    // rate nothing would be left.
    const Bytes half = bytesOf(3, {Locked(Computed(0)), At(1), Locked(At(2), 48000)});
    mMap.SetSampleRate(96000);
    EXPECT_THROW(ReadBack(mMap, half), Sys_StreamReadException);
    mMap.SetSampleRate(48000);
    EXPECT_NO_THROW(ReadBack(mMap, half));
    EXPECT_NO_THROW(ReadBack(mMap, bytesOf(1, {At(0, 50)})));
    EXPECT_EQ(Starts(), Ticks{cStart});
    EXPECT_EQ(mMap.GetSerialSize(), static_cast<Cmn_Int64>(Streamed(mMap).size()));
    const std::string xml = mMap.GetAsXML().ToString();
    EXPECT_NE(xml.find("<nSegmentCount>1</nSegmentCount>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<mBeatsPerMinute>50</mBeatsPerMinute>"), std::string::npos) << xml;
    const Time_TempoMap* const shared = Time_TempoMap::GetDefaultTempoMap();
    EXPECT_TRUE(shared == Time_TempoMap::GetDefaultTempoMap() && shared->TryToAcquireReadLock());
    shared->ReleaseReadLock();
}

// Whatever tempo stands amid, one quarter and the two halves of it add up; a half-built
// cache would show otherwise.
TEST_F(TempoMap, ReadersNeverSeeAHalfBuiltCache)
{
    const auto fill = [&](int iTempo) {
        const Time_TempoMap_StEditOptimizer edit(mMap);
        for (int i = 0; i < 40; ++i)
            mMap.AddSegment((i == 0 ? Locked(At(0, 60.0 + iTempo)) : At(i, 60.0 + iTempo)).Make());
    };
    fill(0);
    std::atomic<bool> isDone{false};
    std::atomic<int> reads{0};
    std::atomic<int> wrong{0};
    const auto read = [&] {
        for (; !isDone; std::this_thread::yield()) {
            if (!mMap.TryToAcquireReadLock()) continue;
            const Time_BasicTempoMap& basic = mMap.GetBasicTempoMap();
            const Cmn_Int64 quarter = basic.TickToSample(Time_Tick(cAt(1)), true).AsInt64();
            for (int i = 2; i < 60; ++i) {
                const Time_Sample sample = mMap.TickToSample(Time_Tick(cAt(i)));
                wrong += std::abs(sample.AsInt64() - i * quarter) > i;
                wrong += basic.TickToSample(basic.SampleToTick(sample), true) != sample;
            }
            mMap.ReleaseReadLock();
            ++reads;
        }
    };
    std::vector<std::thread> readers;
    for (int i = 0; i < 5; ++i)
        readers.emplace_back(read);
    for (int tempo = 1; tempo < 100 || (reads < 200 && tempo < 20000); ++tempo) {
        fill(tempo % 300);
        std::this_thread::yield();
    }
    isDone = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(reads, 0);
}
