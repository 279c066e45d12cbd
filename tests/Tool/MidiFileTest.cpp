#include "Kora/SMF/SMF_TimeEvents.h"
#include "tests/Tool/ToolFixture.h"

namespace {

std::string ComplaintOf(const std::string& iBytes)
{
    return Complaint([&] { Tool_MidiFile::Parse(iBytes, "x.mid"); });
}

struct BadInput
{
    const char* mShows;
    const char* mBytes;
    const char* mMessage;
};

const BadInput cBadFiles[] = {
    {"nothing at all", "", "byte 0: not a MIDI file: it begins with \"\", expected \"MThd\""},
    {"another kind of file", "'RIFF 00000006",
     "byte 0: not a MIDI file: it begins with \"RIFF\", expected \"MThd\""},
    {"control bytes stay in one line", "0A00FF41",
     "byte 0: not a MIDI file: it begins with \"\\x0a\\x00\\xffA\", expected \"MThd\""},
    {"cut inside the header chunk's header", "'MThd 0000",
     "byte 0: the file is cut short: 6 bytes of a chunk header, expected 8"},
    {"cut inside the header", "'MThd 00000006 0000",
     "byte 4: the file is cut short: a chunk of 6 bytes, expected at most the 2 left in the file"},
    {"short header", "'MThd 00000005 0000 0001 01", "byte 4: a header of 5 bytes, expected 6 or more"},
    {"format 2", "'MThd 00000006 0002 0001 01E0", "byte 8: format 2, expected 0 or 1"},
    {"format 65535", "'MThd 00000006 FFFF 0001 01E0", "byte 8: format 65535, expected 0 or 1"},
    {"two tracks in format 0", "'MThd 00000006 0000 0002 01E0",
     "byte 10: 2 tracks, expected 1 in a file of format 0"},
    {"no track", "'MThd 00000006 0001 0000 01E0", "byte 10: 0 tracks, expected 1 or more"},
    {"SMPTE division", "'MThd 00000006 0000 0001 E728",
     "byte 12: a division in SMPTE frames (0xe7 0x28), expected ticks to a quarter note"},
    {"division 0", "'MThd 00000006 0000 0001 0000",
     "byte 12: a division of 0 ticks to a quarter note, expected 1 to 32767"},
    {"fewer tracks than counted", "'MThd 00000006 0001 0002 01E0 'MTrk 00000004 00FF2F00",
     "byte 26: the file ends after 1 of the 2 tracks that the header counts"},
};

// Behind a header of one track and "MTrk".
const BadInput cBadTracks[] = {
    {"more tracks than counted", "00000004 00FF2F00 'MTrk 00000004 00FF2F00",
     "byte 26: one more track than the 1 that the header counts"},
    {"crumbs after the last chunk", "00000004 00FF2F00 00",
     "byte 26: the file is cut short: 1 byte of a chunk header, expected 8"},
    {"chunk past the end", "FFFFFFFF 00FF2F00",
     "byte 18: the file is cut short: a chunk of 4294967295 bytes, expected at most the 4 left in the file"},
    {"empty track", "00000000", "byte 22: the track ends here, expected its end-of-track event"},
    {"no end of track", "00000004 00903C40", "byte 26: the track ends here, expected its end-of-track event"},
    {"events after the end of track", "00000008 00FF2F00 00903C40",
     "byte 26: 4 bytes after the end-of-track event, expected the track to end"},
    {"delta time of five bytes", "00000008 8180808000 FF2F00",
     "byte 22: a delta time of more than 4 bytes, expected at most 4"},
    {"delta time and nothing else", "00000001 00", "byte 23: the track ends here, expected an event"},
    {"delta time that does not end", "00000002 8181", "byte 24: the track ends here, expected a delta time"},
    {"note without its second byte", "00000003 00903C", "byte 25: the track ends here, expected a data byte"},
    {"status where data belongs", "00000008 0090 3C90 00FF2F00",
     "byte 25: byte 0x90 in an event 0x90, expected data below 0x80"},
    {"data without a status", "00000007 003C40 00FF2F00",
     "byte 23: data byte 0x3c, expected a status byte (0x80 or above)"},
    {"running status past a meta event", "0000000F 00903C40 00FF0100 003C00 00FF2F00",
     "byte 31: data byte 0x3c, expected a status byte (0x80 or above)"},
    {"running status past a sysex", "0000000F 00903C40 00F001F7 003C00 00FF2F00",
     "byte 31: data byte 0x3c, expected a status byte (0x80 or above)"},
    {"real-time message", "00000006 00F8 00FF2F00",
     "byte 23: system message 0xf8, expected an event that a file may hold"},
    {"sysex past the track", "00000007 00F005 00FF2F00",
     "byte 24: an event of 5 bytes, expected at most the 4 left in the track"},
    {"meta length of five bytes", "0000000B 00FF01 8080808000 FF2F00",
     "byte 25: an event length of more than 4 bytes, expected at most 4"},
    {"meta past the track", "00000008 00FF01 FFFFFF7F 00",
     "byte 25: an event of 268435455 bytes, expected at most the 1 left in the track"},
    {"end of track with content", "00000005 00FF2F0100",
     "byte 25: an end-of-track event of 1 byte, expected 0"},
    {"tempo of two bytes", "00000006 00FF51020001", "byte 25: a tempo event of 2 bytes, expected 3"},
    {"tempo 0", "00000007 00FF5103000000",
     "byte 26: a tempo of 0 microseconds to a quarter note, expected 1 to 16777215"},
    {"numerator 0", "00000008 00FF580400021808", "byte 26: a time signature of 0 beats, expected 1 to 255"},
    {"denominator 4096", "00000008 00FF5804040C1808",
     "byte 27: a denominator of 2 to the power 12, expected at most 11 (a denominator of 2048)"},
    {"time signature of three bytes", "00000007 00FF5803040218",
     "byte 25: a time-signature event of 3 bytes, expected 4"},
    {"eight sharps", "00000006 00FF59020800", "byte 26: a key of 8 sharps, expected -7 to 7"},
    {"eight flats", "00000006 00FF5902F800", "byte 26: a key of -8 sharps, expected -7 to 7"},
    {"mode 2", "00000006 00FF59020002", "byte 27: key mode 2, expected 0 (major) or 1 (minor)"},
    {"key of one byte", "00000005 00FF590100", "byte 25: a key-signature event of 1 byte, expected 2"},
};

// Tempo, meter and key on two tracks, running status, sysex in two packets, a chunk
// nobody knows, a long header.
std::string RichFile()
{
    return Bytes("'MThd 00000008 0001 0002 0060 BEEF") +
           Chunk("MTrk", Tempo(0, 500000) + Meter(96, 7, 3) + Key(0, -3, 1) + Text(200, "Verse") +
                             Tempo(0x0FFFFFFF, 16777215) + Bytes("00FF2F00")) +
           Chunk("Junk", "MTrk") +
           Chunk("MTrk", Bytes("00903C40 603C00 00C005 0006 00F003010203 05F702 04F7") + Key(1, 7, 0) +
                             Meter(0, 255, 11) + Bytes("0AFF7F0141 00FF2F00"));
}

} // namespace

TEST(MidiFile, SaysWhereAndWhatOfEveryBadFile)
{
    const std::string head = "'MThd 00000006 0000 0001 01E0 'MTrk ";
    for (const BadInput& row : cBadFiles)
        EXPECT_EQ(ComplaintOf(Bytes(row.mBytes)), std::string("x.mid: ") + row.mMessage) << row.mShows;
    for (const BadInput& row : cBadTracks)
        EXPECT_EQ(ComplaintOf(Bytes(head + row.mBytes)), std::string("x.mid: ") + row.mMessage) << row.mShows;
}

TEST(MidiFile, ReadsEventsOfAllTracksInFileOrder)
{
    const SMF_File file = SMF_File::Read(RichFile());
    const SMF_TimeEvents events(file);
    std::ostringstream text;
    for (const auto& tempo : events.mTempos)
        text << tempo.mPlace.mTick << ": " << tempo.mMicrosecondsPerQuarter << ", ";
    for (const auto& meter : events.mMeters)
        text << meter.mPlace.mTick << ": " << meter.mNumerator << '/' << meter.mDenominator << ", ";
    for (const auto& key : events.mKeys)
        text << key.mPlace.mTick << ": " << key.mSharps << (key.mIsMinor ? " minor, " : " major, ");
    text << "last " << events.mLastEvent.mTick << " of " << file.GetDivision();
    EXPECT_EQ(text.str(),
              "0: 500000, 268435751: 16777215, 96: 7/8, 102: 255/2048, 96: -3 minor, 102: 7 major, "
              "last 268435751 of 96");
}

TEST(MidiFile, EveryCutIsToldAndAnyByteMayBeAnythingWithoutHarm)
{
    const std::string whole = RichFile();
    int taken = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        EXPECT_NE(ComplaintOf(whole.substr(0, at)), "(taken)") << at << " of " << whole.size();
        for (int value = 0; value < 256; ++value) {
            std::string damaged = whole;
            damaged[at] = static_cast<char>(value);
            const std::string complaint = ComplaintOf(damaged);
            taken += complaint == "(taken)";
            EXPECT_EQ(complaint.find('\n'), std::string::npos) << complaint;
        }
    }
    EXPECT_GT(taken, static_cast<int>(whole.size())); // notes, texts and times may take many values
}
