#include "Kora/SMF/SMF_Exception.h"
#include "Kora/SMF/SMF_TrackBuilder.h"
#include "SMF/RandomFile.h"
#include "SMF/ShiftedTrack.h"
#include "Support/AssertRecorder.h"

namespace {

SMF_Track OneByOne(const SMF_Track& iTrack)
{
    SMF_TrackBuilder builder;
    for (const SMF_Event& event : iTrack)
        if (event.IsChannel())
            builder.AppendChannel(event.mTick, event.mStatus, event.DataByte(0),
                                  event.mData.size() > 1 ? event.DataByte(1) : Cmn_UInt8{0},
                                  event.mIsRunning);
        else if (event.mStatus == SMF_Event::cMeta)
            builder.AppendMeta(event.mTick, event.mMetaType, event.mData);
        else
            builder.AppendSysEx(event.mTick, event.mStatus, event.mData);
    return builder.Finish();
}

void Compare(const RandomFile& iPlain)
{
    const SMF_File file = SMF_File::Read(iPlain.mBytes);
    EXPECT_EQ(file.Write(), iPlain.mBytes);
    std::vector<std::string> others;
    for (const auto& other : file.GetOtherChunks())
        others.push_back(other.mBytes);
    EXPECT_EQ(others, iPlain.mOthers);
    ASSERT_EQ(file.GetTracks().size(), iPlain.mEvents.size());
    SMF_File canonical(file.GetDivision());
    for (std::size_t i = 0; i < file.GetTracks().size(); ++i) {
        const SMF_Track& track = file.GetTracks()[i];
        EXPECT_EQ(Texts(track), iPlain.mEvents[i]);
        EXPECT_EQ(track.GetEventCount(), static_cast<Cmn_Int64>(iPlain.mEvents[i].size()));
        EXPECT_EQ(
            iPlain.mBytes.substr(static_cast<std::size_t>(file.GetTrackOffset(i)), track.GetBytes().size()),
            track.GetBytes());
        EXPECT_EQ(ShiftedTrack(track, 0), track) << "copied without a change";
        EXPECT_EQ(Texts(ShiftedTrack(track, 77)), Texts(track, 77));
        canonical.AddTrack(OneByOne(track));
        EXPECT_EQ(Texts(canonical.GetTracks().back()), iPlain.mEvents[i]);
        EXPECT_EQ(canonical.GetTracks().back().GetEndTick(), track.GetEndTick());
    }
    EXPECT_EQ(SMF_File::Read(canonical.Write()).GetTracks(), canonical.GetTracks());
}

TEST(SMFFile, TenThousandRandomFilesComeBackAsTheSameEventsAndBytes)
{
    const AssertRecorder reports;
    for (unsigned seed = 0; seed < 10000 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Compare(RandomFile(seed));
    }
    EXPECT_EQ(reports.Take(), std::vector<std::string>());
}

TEST(SMFFile, ManyTracksAndLongSysexAreFine)
{
    SMF_File file(960);
    for (int i = 0; i < 250; ++i) {
        SMF_TrackBuilder builder;
        builder.AppendSysEx(i, SMF_Event::cSysEx, std::string(i == 7 ? 1 << 20 : 3, '\x7F') + '\xF7');
        file.AddTrack(builder.Finish(1000));
    }
    EXPECT_EQ(file.GetFormat(), 1);
    const SMF_File read = SMF_File::Read(file.Write());
    EXPECT_EQ(read.GetTracks(), file.GetTracks());
    EXPECT_EQ(read.GetTracks()[7].begin()->mData.size(), (1u << 20) + 1);
    EXPECT_EQ(read.GetTracks()[249].GetEndTick(), 1000);
}

// A track of few events, often of none, with delta times of 1 to 4 bytes.
std::string UnevenTrack(std::mt19937& ioRandom, std::size_t iMost)
{
    SMF_TrackBuilder builder;
    Cmn_Int64 tick = 0;
    for (std::size_t i = ioRandom() % iMost; i > 0; --i) {
        tick += static_cast<Cmn_Int64>(ioRandom() >> (ioRandom() % 8 == 0 ? 4 : 25 - ioRandom() % 2));
        if (ioRandom() % 12 == 0)
            builder.AppendSysEx(tick, SMF_Event::cSysEx, std::string(ioRandom() % 20, '\x11'));
        else
            builder.AppendChannel(tick, static_cast<Cmn_UInt8>(0x80 + ioRandom() % 0x70), 0x55, 0x2A);
        if (ioRandom() % 3 == 0) builder.AppendChannel(tick, 0x91, 0x33, 0x44, true);
    }
    return std::string(builder.Finish(tick + 3).GetBytes());
}

// What comes of reading the tracks as one file: the first fault, by its byte behind iStart, or the events.
std::string Outcome(const std::vector<std::string>& iTracks, std::size_t& ioStart)
{
    std::string file = MidiBytes::Bytes("'MThd 00000006 0001") +
                       MidiBytes::BigEndian(static_cast<Cmn_Int64>(iTracks.size()), 2) +
                       MidiBytes::Bytes("0060");
    for (const std::string& track : iTracks)
        file += MidiBytes::Chunk("MTrk", track);
    try {
        const SMF_File read = SMF_File::Read(file);
        std::string outcome;
        for (const SMF_Track& track : read.GetTracks())
            for (const std::string& event : Texts(track))
                outcome += event + ';';
        return outcome;
    } catch (const SMF_Exception& exception) {
        ioStart += static_cast<std::size_t>(exception.GetOffset());
        return exception.what();
    }
}

// Nothing of one track, its running status, its end or its fault, is another's.
TEST(SMFFile, EachOfManyTracksIsReadAsIfItStoodAlone)
{
    std::mt19937 random(5);
    std::vector<std::string> tracks;
    for (const std::size_t most : {30u, 1u, 45u, 2u, 35u, 1u, 20u, 5u, 40u, 15u, 1u})
        tracks.push_back(UnevenTrack(random, most));
    std::size_t faults = 0;
    for (std::size_t flipped = 0; flipped < tracks.size(); ++flipped)
        for (std::size_t i = 0; i < tracks[flipped].size(); ++i)
            for (const int bits : {0x80, 0x01, 0xFF}) {
                std::vector<std::string> damaged = tracks;
                damaged[flipped][i] = static_cast<char>(damaged[flipped][i] ^ bits);
                if (random() % 2 == 0) damaged.back()[0] = '\x81'; // one more fault behind it, or the same
                std::string expected;
                std::size_t start = 0, at = 0, expectedAt = 0;
                bool isSound = true;
                for (std::size_t track = 0; track < tracks.size() && isSound; ++track) {
                    std::size_t found = start;
                    const std::string alone = Outcome({damaged[track]}, found);
                    isSound = found == start;
                    if (!isSound) expectedAt = found;
                    expected = isSound ? expected + alone : alone;
                    start += 8 + damaged[track].size();
                }
                faults += !isSound;
                ASSERT_EQ(Outcome(damaged, at), expected) << flipped << ' ' << i;
                ASSERT_EQ(at, expectedAt) << flipped << ' ' << i;
            }
    EXPECT_GT(faults, 500u);
    const std::string underStatus = MidiBytes::Bytes("003C40 00FF2F00"); // that another track had left
    for (std::string& track : tracks) {
        std::string sound = std::exchange(track, underStatus);
        std::size_t at = 0, alone = 0;
        EXPECT_EQ(Outcome(tracks, at), Outcome({underStatus}, alone)) << at;
        track = std::move(sound);
    }
}

// Each row appends a note at tick 10 under running status, does its worst, and ends.
TEST(SMFTrackBuilder, WhatNoFileCanHoldIsReportedAndTheTrackStaysSound)
{
    using Builder = SMF_TrackBuilder;
    const SMF_Track source =
        SMF_File::Read(MidiBytes::File(96, {MidiBytes::Bytes("00903C40 603C00")})).GetTracks()[0];
    const auto second = [&] { return *++source.begin(); };
    struct Row
    {
        const char* mName;
        std::function<void(Builder&)> mWork;
        std::size_t mReports;
        std::string expected; // behind the first event
    };
    const Row rows[] = {
        {"nothing more", [](Builder&) {}, 0, "10: ff2f  ;"},
        {"a tick that goes back", [](Builder& b) { b.AppendChannel(9, 0x90, 1, 2); }, 1,
         "10: 90 0102 ;10: ff2f  ;"},
        {"a status in the data", [](Builder& b) { b.AppendChannel(11, 0x90, 0x80, 2); }, 1, "10: ff2f  ;"},
        {"no channel's status",
         [](Builder& b) { b.AppendChannel(11, 0xF0, 1, 2), b.AppendSysEx(11, 0x90, "a"); }, 2, "10: ff2f  ;"},
        {"a tempo of 0", [](Builder& b) { b.AppendMeta(11, 0x51, std::string(3, '\0')); }, 1, "10: ff2f  ;"},
        {"something behind the end",
         [](Builder& b) { b.AppendMeta(11, 0x2F, ""), b.AppendChannel(12, 0x90, 1, 2); }, 1, "11: ff2f  ;"},
        {"running status after another status",
         [&](Builder& b) { b.AppendChannel(11, 0xC0, 1), b.Append(second(), 12); }, 0,
         "11: c0 01 ;12: 90 3c00 ;12: ff2f  ;"},
        {"running status after a meta event",
         [&](Builder& b) { b.AppendMeta(11, 1, ""), b.Append(second(), 12); }, 0,
         "11: ff01  ;12: 90 3c00 ;12: ff2f  ;"},
        {"the longest delta time", [&](Builder& b) { b.Append(second(), 10 + SMF_Event::cMaxDelta); }, 0,
         "268435465: 90 3c00 ;268435465: ff2f  ;"},
        {"running status across a gap that is bridged",
         [&](Builder& b) { b.Append(second(), 11 + SMF_Event::cMaxDelta); }, 0,
         "268435465: ff01  ;268435466: 90 3c00 ;268435466: ff2f  ;"},
    };
    for (const auto& row : rows) {
        const AssertRecorder recorder;
        SMF_TrackBuilder builder;
        builder.AppendChannel(10, 0x90, 0x3C, 0x40);
        row.mWork(builder);
        SMF_File file(96);
        file.AddTrack(builder.Finish());
        EXPECT_EQ(recorder.Take().size(), row.mReports) << row.mName;
        std::string events;
        for (const std::string& event : Texts(SMF_File::Read(file.Write()).GetTracks()[0]))
            events += event + ';';
        EXPECT_EQ(events, "10: 90 3c40 ;" + row.expected) << row.mName;
    }
}

TEST(SMFException, TellsTheByteInItsDescription)
{
    try {
        SMF_File::Read(MidiBytes::Bytes("'MThd 00000006 0002 0001 01E0"));
        ADD_FAILURE() << "taken";
    } catch (Cmn_Exception& exception) {
        exception.SetFile("song.mid");
        EXPECT_EQ(exception.Describe(), "song.mid: format 2, expected 0 or 1 (byte 8)");
    }
}

} // namespace
