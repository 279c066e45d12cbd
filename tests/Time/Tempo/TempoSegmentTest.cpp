#include "Kora/Time/Tempo/Time_NewTempoEvents.h"
#include "Time/Tempo/TempoMapTools.h"

#include <cmath>
#include <cstdint>

namespace {

__extension__ typedef unsigned __int128 Wide;

std::string InBasicMap(const std::string& iText) { return iText + "@$^$@Time/Time_BasicTempoMap"; }
std::string InTempoMap(const std::string& iText) { return iText + "@$^$@Time/Time_TempoMap"; }

Time_BasicTempoMapSegment Tempo(Cmn_Int64 iTick, double iSample, double iBpm, Cmn_Int64 iBeat = cQuarter)
{
    Time_BasicTempoMapSegment segment;
    segment.SetTempo(Time_Tick(iTick), iSample, 48000, iBpm, Time_TickLength(iBeat));
    return segment;
}

Time_BasicTempoMap BasicMap(std::initializer_list<Time_BasicTempoMapSegment> iSegments)
{
    Time_BasicTempoMap map(48000);
    for (const auto& segment : iSegments)
        map.InsertSegment(segment);
    return map;
}

constexpr SegmentRow cEverything = {5, 77, 480000, true, true, false, true, 9};

} // namespace

TEST(BasicTempoMapSegment, NoSamplePassesTheLastOneUnlessAskedTo)
{
    const Time_BasicTempoMapSegment segment = Tempo(cQuarter, 0, 120); // 40 ticks a sample
    const Time_Sample last(34359738367);
    const Time_Tick after(cQuarter + 40 * last.AsInt64() + 40);
    EXPECT_EQ(segment.TickToSample(after, true), last);
    EXPECT_EQ(segment.TickToSample(after, false).AsInt64(), last.AsInt64() + 1);
    EXPECT_EQ(segment.TickToFirstSample(Time_Tick(40 * last.AsInt64() * 2)), last);
    EXPECT_EQ(segment.TickToSample(Time_Tick(-40), true), Time_Sample(-24001)) << "no limit below";
}

// A tick is first reached at the sample before which all fall on earlier ticks; and the other way round.
TEST(BasicTempoMapSegment, FirstOnesAreTheFirst)
{
    for (const double bpm : {120.0, 3.001, 3.0, 2.3, 0.1, 0.0007})
        for (const double start : {0.0, 100.25, 7.5, -3.999}) {
            const Time_BasicTempoMapSegment segment = Tempo(1000, start, bpm);
            for (Cmn_Int64 at = 900; at < 1300; ++at) {
                const Time_Sample first = segment.TickToFirstSample(Time_Tick(at));
                ASSERT_GE(segment.SampleToTick(first).AsInt64(), at) << bpm << " " << start;
                ASSERT_LT(segment.SampleToTick(first - Time_SampleLength(1)).AsInt64(), at)
                    << bpm << " " << start;
                const Time_Tick tick = segment.SampleToFirstTick(Time_Sample(at));
                ASSERT_GE(segment.TickToSample(tick, true).AsInt64(), at) << bpm << " " << start;
                ASSERT_LT(segment.TickToSample(Time_Tick(tick.AsInt64() - 1), true).AsInt64(), at) << bpm;
            }
        }
}

TEST(BasicTempoMapSegment, TheStartTickIsFirstReachedAtItsWholeStartSample)
{
    EXPECT_EQ(Tempo(1000, 24000, 120).TickToFirstSample(Time_Tick(1000)), Time_Sample(24000));
    EXPECT_EQ(Tempo(1000, 7.5, 120).TickToFirstSample(Time_Tick(1000)), Time_Sample(8));
    // Deliberate: of a fraction below one half, the sample that rounds to it is not yet there.
    EXPECT_EQ(Tempo(1000, 7.25, 120).TickToFirstSample(Time_Tick(1000)), Time_Sample(8));
}

TEST(BasicTempoMapSegment, StretchesWithoutALengthAreReported)
{
    const AssertRecorder asserts;
    Time_BasicTempoMapSegment segment;
    segment.SetBackTempo(Time_Tick(0), Time_Tick(1), 5, 0, 90, Time_TickLength(cQuarter));
    EXPECT_EQ(segment.GetFractionalStartSample(), 5);
    segment.SetEndSample(Time_Tick(7), Time_Tick(7), 3, 3);
    EXPECT_EQ(asserts.Take(), Reports({InBasicMap("iSampleRate != 0"), InBasicMap("iEndTick > iStartTick"),
                                       InBasicMap("iFractionalEndSample > iFractionalStartSample")}));
}

// 48000 × 60 × ticks / (beat × bpm) samples, exactly, against what doubles make of it over a day.
TEST(BasicTempoMapSegment, RoundsAsExactArithmeticDoesButForTiesWithinAMillionth)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i) {
        const Cmn_UInt64 bpm = 5 + random() % 495, beat = cQuarter / (1 + random() % 4),
                         divisor = 2 * bpm * beat;
        const Cmn_UInt64 ticks = random() % (Cmn_UInt64{34359738367} * divisor / (2 * 48000 * 60));
        const Wide exact = Wide{ticks} * (2 * 48000 * 60) + divisor / 2;
        const auto segment = Tempo(cStart, 0, static_cast<double>(bpm), static_cast<Cmn_Int64>(beat));
        const Cmn_Int64 sample =
            segment.TickToSample(Time_Tick(cStart + static_cast<Cmn_Int64>(ticks)), false).AsInt64();
        const Cmn_Int64 off = sample - static_cast<Cmn_Int64>(exact / divisor);
        // Distance from the tie, in parts of the divisor.
        const auto rest = static_cast<Cmn_UInt64>(exact % divisor),
                   distance = off < 0 ? rest : divisor - rest;
        ASSERT_TRUE(off == 0 || ((off == 1 || off == -1) && distance < divisor / 100000 + 1))
            << ticks << " ticks at " << bpm << " per " << beat;
    }
}

TEST(BasicTempoMap, SegmentsAreInsertedByTickAndValidated)
{
    const AssertRecorder asserts;
    Time_BasicTempoMap map =
        BasicMap({Tempo(0, 0, 120), Tempo(2 * cQuarter, 48000, 60), Tempo(cQuarter, 24000.3, 120)});
    EXPECT_EQ(map.GetSegment(1).GetStartTick(), Time_Tick(cQuarter));
    EXPECT_EQ(map.FractionalSampleAtTick(Time_Tick(cQuarter / 2)), 12000);
    EXPECT_EQ(map.FractionalSampleAtTick(Time_Tick(-cQuarter)), -24000)
        << "the first one goes on before its start";
    EXPECT_FALSE(map.Validate());
    EXPECT_EQ(asserts.Take(), Reports{"DoublesAreEqual(iter->mFractionalStartSample, fractionalSample) || "
                                      "DoublesAreEqual(iter->mFractionalStartSample, wholeSample)"
                                      "@$^$@Time/Time_BasicTempoMap"});
    EXPECT_FALSE(BasicMap({Tempo(5, 0, 120), Tempo(5, 1, 120)}).Validate());
    EXPECT_FALSE(BasicMap({Tempo(5, 0, 120), Tempo(6, 0, 120)}).Validate());
    EXPECT_EQ(asserts.Take(),
              Reports({InBasicMap("iter->mStartTick > prevIter->mStartTick"),
                       InBasicMap("iter->mFractionalStartSample > prevIter->mFractionalStartSample")}));
    EXPECT_TRUE(BasicMap({Tempo(0, 0, 120), Tempo(21, 1, 60)}).Validate()) << "joined at the whole sample";
    EXPECT_EQ(Time_BasicTempoMap(48000).TickToSample(Time_Tick(5), true), Time_Sample(0));
}

TEST(ConstantTempoSeg, BrokenPreconditionsAreReported)
{
    const AssertRecorder asserts;
    Time_BasicTempoMap map(48000);
    const auto computed = SegmentRow{.mTick = 0, .mLocked = true, .mComputed = true}.Make();
    const auto locked = SegmentRow{.mTick = 0, .mLocked = true}.Make();
    computed->GenerateForward(map, nullptr, nullptr);
    locked->GenerateBackward(map, 48000, Time_Tick(cQuarter));
    auto& constant = dynamic_cast<Time_ConstantTempoSeg&>(*computed);
    EXPECT_FALSE(constant.CanSetTempo());
    constant.SetTempo(90, Time_TickLength(0)); // neither is taken
    EXPECT_EQ(constant.GetBeatsPerMinute(), 120);
    EXPECT_EQ(asserts.Take(), Reports({InTempoMap("!this->IsComputed()"), InTempoMap("this->IsComputed()"),
                                       InTempoMap("this->CanSetTempo()"),
                                       InTempoMap("iTicksPerBeat != Time_TickLength(0)")}));
    EXPECT_EQ(map.GetNumberOfSegments(), 2u) << "both go on";
}

TEST(ConstantTempoSeg, WhatIsNoTempoIsTakenNowhere)
{
    struct Foreign : Time_ConstantTempoSeg
    {
        using Time_ConstantTempoSeg::Time_ConstantTempoSeg;
        bool GetTempo(double& oBeatsPerMinute, Time_TickLength&) const override
        {
            oBeatsPerMinute = mTempo;
            return true;
        }
        double mTempo = 0;
    };
    constexpr double cInfinity = std::numeric_limits<double>::infinity();
    const Time_TickLength beat(480000);
    for (const double tempo : {0.0, -120.0, cInfinity, -cInfinity, std::nan("")}) {
        SCOPED_TRACE(tempo);
        const AssertRecorder asserts;
        Time_TempoMap map;
        EXPECT_EQ(Time_ConstantTempoSeg(Time_Tick(5), tempo, beat).Dump(),
                  "tick 5: 120 bpm per 960000 ticks");
        Time_ConstantTempoSeg segment(Time_Tick(5), 90, beat);
        segment.SetTempo(tempo, Time_TickLength(cQuarter));
        EXPECT_EQ(segment.Dump(), "tick 5: 90 bpm per 480000 ticks");
        auto foreign = std::make_unique<Foreign>(Time_Tick(5));
        foreign->mTempo = tempo;
        map.AddSegment(std::move(foreign));
        EXPECT_EQ(map.GetNumberOfSegments(), 0u);
        EXPECT_EQ(asserts.Take(), Reports(3, InTempoMap("iBeatsPerMinute > 0")));
        Time_BasicTempoMapSegment line = Tempo(5, 7, 90);
        line.SetTempo(Time_Tick(5), 7, 48000, tempo, beat);
        line.SetBackTempo(Time_Tick(5), Time_Tick(5), 7, 48000, 90, Time_TickLength(-1));
        EXPECT_EQ(line.Dump(), Tempo(5, 7, 90).Dump());
        EXPECT_EQ(asserts.Take(), Reports(2, InBasicMap("iBeatsPerMinute > 0")));
        Time_NewTempoEvents events(48000);
        events.AddTempoEvent({Time_Tick(5), static_cast<float>(tempo), beat});
        EXPECT_TRUE(events.empty() && asserts.Take().size() == 1);
    }
}

TEST(ConstantTempoSeg, SplittingKeepsTheTempoAndDropsTheFlags)
{
    const auto segment = cEverything.Make();
    std::unique_ptr<Time_TempoMapSegment> first;
    std::unique_ptr<Time_TempoMapSegment> second;
    segment->Split(first, second, Time_Tick(100));
    EXPECT_EQ(first->Dump(), "tick 5, locked to sample 9, song start: 77 bpm per 480000 ticks");
    EXPECT_EQ(second->Dump(), "tick 100: 77 bpm per 480000 ticks");
}

// Each kind has its memory from elsewhere, and goes by a pointer to the base class all the same.
TEST(ConstantTempoSeg, SegmentsAndThoseOfDerivedClassesComeAndGoMixed)
{
    struct Bigger : Time_ConstantTempoSeg
    {
        using Time_ConstantTempoSeg::Time_ConstantTempoSeg;
        Cmn_Int64 mOwn[3] = {1, 2, 3};
    };
    struct alignas(64) Aligned : Time_ConstantTempoSeg
    {
        using Time_ConstantTempoSeg::Time_ConstantTempoSeg;
    };
    std::vector<std::unique_ptr<Time_TempoMapSegment>> segments;
    for (int i = 0; i < 3000; ++i) {
        const Time_Tick tick(i);
        if (i % 3 == 0) segments.push_back(std::make_unique<Time_ConstantTempoSeg>(tick));
        if (i % 3 == 1) segments.push_back(std::make_unique<Bigger>(tick));
        if (i % 3 == 2) segments.push_back(std::make_unique<Aligned>(tick));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(segments.back().get()) % (i % 3 == 2 ? 64 : 8), 0U);
        if (i % 7 == 0) segments.erase(segments.begin() + i / 2);
    }
    Cmn_Int64 last = -1;
    for (const auto& segment : segments) {
        EXPECT_GT(segment->GetStartTick().AsInt64(), last);
        EXPECT_TRUE(segment->CheckIsValid());
        last = segment->GetStartTick().AsInt64();
    }
}

TEST(ConstantTempoSeg, StreamsBothLayouts)
{
    SegmentRow row = cEverything;
    row.mUnspecified = true;
    const auto segment = row.Make();
    Sys_MemOutStream bytes;
    Sys_TypedOutStream out(bytes);
    segment->StreamOut(out);
    {
        Sys_StdStreamHeaderWriter previous(out, "Tempo", 1);
        out.WriteInt64(77);
        out.WriteFloat64(88.0);
        out.WriteInt64(480000);
    }
    Sys_MemInStream memory(bytes.GetBytes());
    Sys_TypedInStream in(memory);
    const Time_ConstantTempoSeg read(in);
    EXPECT_EQ(read.Dump(), segment->Dump());
    EXPECT_EQ(read.GetAsXML().ToString(), segment->GetAsXML().ToString());
    EXPECT_EQ(read.GetBeatsPerMinute(), 77);
    const Time_ConstantTempoSeg older(in, Time_ConstantTempoSeg::ReadPrevSeg);
    EXPECT_EQ(older.Dump(), "tick 77: 88 bpm per 480000 ticks");
    EXPECT_EQ(in.GetBytesLeft(), 0);
    EXPECT_NE(read.GetAsXML().FindChild("ConstantTempoMapSegment"), nullptr);
}
