#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Kora/Kora_Init.h"
#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "SMF/RandomFile.h"
#include "Support/AssertRecorder.h"

namespace {

constexpr Cmn_Int64 cQuarter = SMF_TimeMaps::cTicksPerQuarter;
Time_Tick At(Cmn_Int64 iTicks) { return SMF_TimeMaps::cStartTick + Time_TickLength(iTicks); }

struct Maps
{
    // Of a whole file.
    explicit Maps(const SMF_File& iFile) { mEnd = SMF_TimeMaps::Read(iFile, mMeters, mTempi, mKeys); }
    // One tempo, from the start on.
    explicit Maps(double iTempo = 120) { AddTempo(0, iTempo); }
    void AddTempo(Cmn_Int64 iTicks, double iTempo, Cmn_Int64 iBeat = cQuarter)
    {
        mTempi.AddSegment(
            std::make_unique<Time_ConstantTempoSeg>(At(iTicks), iTempo, Time_TickLength(iBeat)));
    }
    SMF_TimeMaps::Report Write(SMF_File& ioFile,
                               SMF_TimeMaps::EDivision iDivision = SMF_TimeMaps::eDivision_Keep) const
    {
        return SMF_TimeMaps::Write(ioFile, {mMeters, mTempi, mKeys, SMF_TimeMaps::cStartTick, mEnd},
                                   iDivision);
    }
    std::string Text() const
    {
        return mMeters.GetAsXML().ToString() + mTempi.GetAsXML().ToString() + mKeys.GetAsXML().ToString() +
               std::to_string(mEnd.AsInt64());
    }

    Time_MeterMap mMeters;
    Time_TempoMap mTempi;
    Time_KeySignatureMap mKeys;
    Time_Tick mEnd = SMF_TimeMaps::cStartTick;
};

class SMFTimeMaps : public testing::Test
{
protected:
    SMFTimeMaps() { Kora_Init::Init(); }
    ~SMFTimeMaps() override
    {
        EXPECT_EQ(mReports.Take(), std::vector<std::string>());
        Kora_Init::Free();
    }
    AssertRecorder mReports;
};

// The events that are no tempo, meter or key, and no bridge across a gap.
std::vector<std::string> Others(const SMF_File& iFile)
{
    std::vector<std::string> texts;
    for (const SMF_Track& track : iFile.GetTracks())
        for (const SMF_Event& event : track)
            if (!(event.IsMeta(1) && event.mData.empty()) && !event.IsMeta(0x51) && !event.IsMeta(0x58) &&
                !event.IsMeta(0x59) && !event.IsEndOfTrack())
                texts.push_back(Text(event));
    return texts;
}

TEST_F(SMFTimeMaps, RandomFilesMapsGoBackAsNothingIntoTheirFileAndWholeIntoOthers)
{
    for (unsigned seed = 0; seed < 1000 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const SMF_File file = SMF_File::Read(RandomFile(seed).mBytes),
                       other = SMF_File::Read(RandomFile(seed + 1).mBytes);
        const Maps maps(file);
        SMF_File same = file;
        SMF_File target(other);
        SMF_File fresh(file.GetDivision());
        EXPECT_TRUE(maps.Write(same).mRoundedTicks.empty());
        EXPECT_EQ(same.Write(), file.Write());
        maps.Write(fresh);
        EXPECT_EQ(Maps(SMF_File::Read(fresh.Write())).Text(), maps.Text());
        // Into a file of another division and other maps: what is no map stays; on the same
        // division the maps are these.
        long replaced = 0;
        for (const auto& rounded : maps.Write(target).mRoundedTicks)
            replaced += rounded.mKind == SMF_TimeMaps::eKind_Key && rounded.mIsReplaced;
        EXPECT_EQ(Others(target), Others(other));
        Maps read(SMF_File::Read(target.Write()));
        read.mEnd = maps.mEnd;
        EXPECT_TRUE(target.GetDivision() != file.GetDivision() || read.Text() == maps.Text());
        EXPECT_EQ(read.mKeys.size() + replaced, maps.mKeys.size());
    }
}

TEST_F(SMFTimeMaps, WhatTheDivisionCannotSayIsRoundedHalfUpAndReportedOrTheDivisionIsRaised)
{
    struct Row
    {
        const char* mName;
        int mDivision;
        std::vector<Cmn_Int64> mTicks;
        bool mRaise;
        int mDivisionAfter;
        const char* mReport;
    };
    const Row rows[] = {
        {"on the grid", 480, {2000, 4000}, false, 480, ""},
        {"half a tick goes up", 480, {1000}, false, 480, "1+1000 "},
        {"just below half goes down", 480, {999}, false, 480, "0-999 "},
        {"two on one tick, the later holds", 480, {2001, 2002}, false, 480, "1-1! 1-2 "},
        {"an exact one replaced", 480, {2000, 2001}, false, 480, "1+0! 1-1 "},
        {"what a division rounds comes back", 333, {2883, 960000}, true, 333, ""},
        {"raised as little as need be", 480, {1000, 2000}, true, 960, ""},
        {"raised for the hardest", 480, {500, 1000}, true, 1920, ""},
        {"raised to thirds", 480, {320000 + 400}, true, 2400, ""},
        {"no division says one tick", 480, {1000, 1}, true, 480, "0-1 1+1000 "},
    };
    for (const auto& row : rows) {
        Maps maps;
        for (const Cmn_Int64 ticks : row.mTicks)
            maps.mKeys.SetKeySignature(At(ticks),
                                       Time_KeySignature(true, true, static_cast<Cmn_UInt8>(ticks % 7)));
        SMF_File file(row.mDivision);
        std::string text;
        for (const auto& rounded :
             maps.Write(file, row.mRaise ? SMF_TimeMaps::eDivision_Raise : SMF_TimeMaps::eDivision_Keep)
                 .mRoundedTicks)
            text += std::to_string(rounded.mFileTick) + (rounded.mError < 0 ? "" : "+") +
                    std::to_string(rounded.mError) + (rounded.mIsReplaced ? "! " : " ");
        EXPECT_EQ(text, row.mReport) << row.mName;
        EXPECT_EQ(file.GetDivision(), row.mDivisionAfter) << row.mName;
    }
}

TEST_F(SMFTimeMaps, ARaisedDivisionMovesEveryEventWithIt)
{
    const std::string track = MidiBytes::Bytes("0A903C40 0A3C00") + MidiBytes::Tempo(0x0FFFFFFF, 400000);
    SMF_File file = SMF_File::Read(MidiBytes::File(480, {track}));
    Maps maps(file);
    const Time_Tick end = maps.mEnd;
    maps.mKeys.SetKeySignature(At(1000), Time_KeySignature(true, true, 2));
    EXPECT_TRUE(maps.Write(file, SMF_TimeMaps::eDivision_Raise).mRoundedTicks.empty());
    const std::vector<std::string> expected = {
        "1: ff59 0200 ",           "20: 90 3c40 ",     "40: 90 3c00 ", "268435495: ff01  ",
        "536870950: ff51 061a80 ", "536870950: ff2f  "};
    EXPECT_EQ(Texts(file.GetTracks()[0]), expected);
    EXPECT_EQ(Maps(file).mEnd, end);
}

TEST_F(SMFTimeMaps, EachTempoIsTheNearestMicrosecondsAndWhatIsNotExactIsTold)
{
    // clang-format off
    const struct { double mTempo; Cmn_Int64 mBeat; const char* mContent; double mWritten; } rows[] = {
        {120,          cQuarter,     "07a120", 0},
        {60e6 / 454545, cQuarter,    "06ef91", 0},
        {140,          cQuarter,     "068a1b", 60e6 / 428571},
        {90,           3 * cQuarter / 2, "06c81c", 60e6 / 444444}, // dotted quarters
        {60e6,         cQuarter,     "000001", 0},
    };
    // clang-format on
    for (const auto& row : rows) {
        Maps maps;
        maps.mTempi.Clear();
        maps.AddTempo(0, row.mTempo, row.mBeat);
        SMF_File file(480);
        const auto inexact = maps.Write(file).mInexactTempi;
        EXPECT_EQ(Texts(file.GetTracks()[0])[0], std::string("0: ff51 ") + row.mContent + " ");
        ASSERT_EQ(inexact.size(), row.mWritten == 0 ? 0u : 1u) << row.mTempo;
        if (inexact.empty()) continue;
        EXPECT_EQ(inexact[0].mAsked, row.mTempo * static_cast<double>(row.mBeat) / cQuarter);
        EXPECT_EQ(inexact[0].mWritten, row.mWritten);
    }
}

TEST_F(SMFTimeMaps, WhatNoFileCanHoldIsRefusedAndTheFileStays)
{
    const SMF_File before = SMF_File::Read(MidiBytes::File(480, {MidiBytes::Key(5, 2, 0)}));
    const auto refusal = [&](const std::function<void(Maps&)>& iWork) {
        Maps maps;
        iWork(maps);
        SMF_File file = before;
        std::string text = "(taken)";
        try {
            maps.Write(file);
        } catch (const SMF_Exception& exception) {
            text = exception.what();
            EXPECT_EQ(file.Write(), before.Write());
        }
        return text;
    };
    const auto meter = [](int iNumerator, int iDenominator) {
        return [=](Maps& m) { m.mMeters.AddMeterChange(At(0), Time_Meter(iNumerator, iDenominator)); };
    };
    const std::string range =
        " at tick 1000000000000, expected 1 to 255 beats and a denominator that is a power of two up to 2048";
    EXPECT_EQ(refusal(meter(255, 2048)), "(taken)");
    EXPECT_EQ(refusal(meter(256, 4)), "a meter of 256/4" + range);
    EXPECT_EQ(refusal(meter(3, 12)), "a meter of 3/12" + range);
    EXPECT_EQ(refusal(meter(3, 4096)), "a meter of 3/4096" + range);
    EXPECT_EQ(refusal([](Maps& m) { m.mKeys.SetKeySignature(At(7), Time_KeySignature(true, true, 8)); }),
              "a key of 8 accidentals at tick 1000000000007, expected at most 7");
    EXPECT_EQ(
        refusal([](Maps& m) { m.AddTempo(9, 3.5); }),
        "a tempo of 17142857 microseconds to a quarter note at tick 1000000000009, expected 1 to 16777215");
}

TEST_F(SMFTimeMaps, WhatLiesBeforeTheStartCountsAsAtIt)
{
    Maps maps(100);
    maps.mMeters.AddInitialMeterChange(At(-8 * cQuarter), Time_Meter(3, 4), -1);
    for (const int quarter : {-5, -2, 1})
        maps.mKeys.SetKeySignature(At(quarter * cQuarter),
                                   Time_KeySignature(true, true, static_cast<Cmn_UInt8>(quarter + 5)));
    maps.mEnd = At(2 * cQuarter);
    SMF_File file(96);
    maps.Write(file);
    const std::vector<std::string> expected = {"0: ff51 0927c0 ", "0: ff58 03021808 ", "0: ff59 0300 ",
                                               "96: ff59 0600 ", "192: ff2f  "};
    EXPECT_EQ(Texts(file.GetTracks()[0]), expected);
}

} // namespace
