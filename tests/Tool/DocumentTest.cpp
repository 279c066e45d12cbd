// The commands for documents, over documents that they made and over such as only others make.
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_FileSystem.h"
#include "Bastel/Sys/Sys_OSErrorText.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/FF/Document/FF_StreamList.h"
#include "Kora/FF/Song/FF_TimeMaps.h"
#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"
#include "tests/Tool/ToolFixture.h"

namespace {

const std::string cUnreadable = "an error occurred while reading the document";
const std::string cTooOld = "the document was written by a version of the library that is too old";
const std::string cTooNew = "the document was written by a version of the library that is too new";

void WriteStream(FF_Document& ioDocument, Sys_TypedOutStream& ioOut, Cmn_Int16 iType,
                 const char* iDescription)
{
    FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(ioOut.GetPosition()), iType, iDescription);
    const FF_StreamHeaderWriter header(&ioDocument, ioOut, iType, 7);
    ioOut.WriteInt32(4711);
}

// A tempo map with one tempo, locked to a sample, and a meter map with one meter.
void WriteMaps(FF_Document& ioDocument, Cmn_Int64 iTempoTick, Cmn_Int64 iSample, Cmn_Int64 iMeterTick,
               bool iIsComputed = false)
{
    const AssertRecorder asserts;
    Time_MeterMap meters;
    meters.AddMeterChange(Time_Tick(iMeterTick), Time_Meter(4, 4), 1);
    Time_TempoMap tempos;
    auto segment = std::make_unique<Time_ConstantTempoSeg>(Time_Tick(iTempoTick));
    segment->SetTempo(100.0, Time_TickLength::cQuarter);
    segment->SetIsSongStart(true);
    segment->SetIsComputed(iIsComputed);
    segment->LockToSample(Time_Sample(iSample));
    tempos.AddSegment(std::move(segment));
    FF_TimeMaps::Write(ioDocument, meters, tempos, Time_KeySignatureMap());
    EXPECT_EQ(asserts.Take().empty(), !iIsComputed) << "nothing ends a computed tempo";
}

class DocumentTest : public ToolFixture
{
protected:
    // The output of a command that must be good.
    static std::string Good(const std::vector<std::string>& iArguments)
    {
        const Outcome outcome = Run(iArguments);
        EXPECT_EQ(outcome.mExit, 0) << iArguments[0];
        EXPECT_EQ(outcome.mErr, "") << iArguments[0];
        return outcome.mOut;
    }
    static std::string SongOf(const std::string& iFile, const std::vector<std::string>& iOptions = {})
    {
        std::vector<std::string> arguments = {"song", iFile, "--json"};
        arguments.insert(arguments.end(), iOptions.begin(), iOptions.end());
        nlohmann::ordered_json json = nlohmann::ordered_json::parse(Good(arguments));
        json.erase("file");
        return json.dump(1);
    }
    static std::string Saved(const std::string& iMidiBytes, const std::string& iType = "0")
    {
        const std::string midi = Written("DocumentTest_in.mid", iMidiBytes);
        const std::string document = Written("DocumentTest_saved.kora");
        Good({"save", midi, document, "--scramble", iType});
        return ReadFile(document);
    }
    static std::string SmallDocument(const std::string& iType = "0")
    {
        return Saved(File(480, {Tempo(0, 600000) + Meter(0, 3, 2) + Key(0, 1, 0) + Text(4800, "")}), iType);
    }
    static std::string Made(const std::function<void(FF_Document&)>& iWrite)
    {
        const std::string file = Written("DocumentTest_made.kora");
        Make(file, iWrite);
        return ReadFile(file);
    }
    static void Make(const std::string& iName, const std::function<void(FF_Document&)>& iWrite)
    {
        FF_Document document(Sys_FileLoc(iName), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
        document.Open(Sys_Store::eOpenFlag_New);
        iWrite(document);
        document.Flush();
    }

    struct BadInput
    {
        std::string mCommand;
        std::string mBytes;
        std::string mError;
    };
    // And a file that is there where the command would write stays as it was.
    static void ExpectComplaint(const BadInput& iInput)
    {
        std::vector<std::string> arguments = {iInput.mCommand, Written("x.kora", iInput.mBytes)};
        const std::string out = Written("DocumentTest_out.kora", "old");
        if (iInput.mCommand == "save" || iInput.mCommand == "repair") arguments.push_back(out);
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.mErr, "kora: x.kora: " + iInput.mError + '\n');
        EXPECT_EQ(outcome.mExit, 1);
        EXPECT_TRUE(iInput.mCommand == "repair" || outcome.mOut.empty()) << outcome.mOut;
        EXPECT_EQ(ReadFile(out), "old");
    }
    static std::string WithMaps(Cmn_Int64 iTempoTick, Cmn_Int64 iSample, Cmn_Int64 iMeterTick,
                                bool iIsComputed = false)
    {
        return Made([=](FF_Document& ioDocument) {
            WriteMaps(ioDocument, iTempoTick, iSample, iMeterTick, iIsComputed);
        });
    }
    static std::string SongAndMore()
    {
        return Made([](FF_Document& ioDocument) {
            WriteMaps(ioDocument, Tool_Song::cStartTick, 0, Tool_Song::cStartTick);
            Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
            WriteStream(ioDocument, out, 5, "not a song's");
        });
    }
    static std::string WithSongInfo(Cmn_Int16 iVersion, Cmn_Int64 iEnd, double iRate, Cmn_Int32 iFormat)
    {
        return Made([=](FF_Document& ioDocument) {
            Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
            FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(out.GetPosition()), 32, "");
            const FF_StreamHeaderWriter header(&ioDocument, out, 32, iVersion);
            out.WriteInt64(iEnd);
            out.WriteFloat64(iRate);
            out.WriteInt32(iFormat);
        });
    }
};

} // namespace

TEST_F(DocumentTest, InfoShowsEveryStreamAndEveryEntry)
{
    const std::string file = Written("DocumentTest_info.kora");
    Make(file, [](FF_Document& ioDocument) {
        Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
        const auto start = static_cast<Cmn_UInt64>(out.GetPosition());
        FF_Document::AddTOCEntry(&ioDocument, start, 4, "a\nlist");
        {
            const FF_StreamHeaderWriter header(&ioDocument, out, 4, 1);
            FF_StreamListWriter list(&ioDocument, out, 2);
            list.AddListEntry(0, "first");
            WriteStream(ioDocument, out, 5, "Früh");
            list.AddListEntry(1, "second, without a header");
            out.WriteInt16(1);
        }
        {
            const FF_StreamHeaderWriter unregistered(&ioDocument, out, 99, -1);
        }
        const auto piece = static_cast<Cmn_UInt64>(out.GetPosition());
        WriteStream(ioDocument, out, 6, "in two pieces");
        ioDocument.AddTOCEntry(FF_Document::TOCKey(Cmn_Int16{6}), 0, piece, "");
        ioDocument.AddTOCEntry(FF_Document::TOCKey(Cmn_Int16{7}), 0, piece, "gone");
        static_cast<void>(ioDocument.InvalidateKey(FF_Document::TOCKey(Cmn_Int16{7}), 0));
    });
    EXPECT_EQ(Good({"info", file}),
              "DocumentTest_info.kora\n"
              "format version 3, little-endian, not scrambled, 463 bytes, table of contents at byte 175\n"
              "\n"
              "position  size  version  stream            key                description\n"
              "      49    66        1  type 4, a list    4                  a\\x0alist\n"
              "      81    32        7    item 0: type 5  4, item 0; 4[1]/5  first; Früh\n"
              "     115    28       -1  type 99           -\n"
              "     143    32        7  type 6            6; 6, piece 1      in two pieces\n"
              "\n"
              "position  entry without a stream  location  description\n"
              "     113  4, item 1               [113]     second, without a header\n"
              "       -  7                       Invalid   gone\n");
    const std::string text = Good({"info", file, "--json"});
    const auto json = nlohmann::ordered_json::parse(text);
    EXPECT_EQ(json.dump(2) + '\n', text);
    EXPECT_EQ(json["size"], ReadFile(file).size());
    EXPECT_EQ(json["streams"].size(), 4u);
    EXPECT_EQ(json["streams"][3]["entries"][1]["piece"], 1);
    EXPECT_EQ(json["entriesWithoutStream"][1]["position"], nullptr);
}

TEST_F(DocumentTest, XmlIsWhatTheMapsTellOfThemselves)
{
    const Tool_Song song(Tool_MidiFile::Parse(ReadFile(cFirstLight), "song"), {48000, eTimeCodeFormat_25});
    Cmn_XMLNode root("Song");
    root.AddValue("nEndTick", song.GetEndTick().AsInt64());
    root.AddValue("nSampleRate", 48000.0);
    root.AddValue("TimeCodeFormat", Time_Globals::GetTimeCodeFormatString(eTimeCodeFormat_25));
    root.AddChild(song.GetMeterMap().GetAsXML());
    root.AddChild(song.GetTempoMap().GetAsXML());
    root.AddChild(song.GetKeyMap().GetAsXML());
    EXPECT_EQ(Good({"xml", cFirstLight, "--rate", "48000", "--timecode", "25"}), root.ToString(true));
}

TEST_F(DocumentTest, DamageGivesOneLineThatSaysWhereAndWhat)
{
    const std::string good = SmallDocument();
    const auto with = [&](std::size_t iByte, int iValue) {
        std::string bytes = good;
        bytes[iByte] = static_cast<char>(iValue);
        return bytes;
    };
    const std::string midi = File(480, {""});
    const std::string signature = "byte 1: no document, expected the signature 0010111100101011";
    const std::string isMidi = "a MIDI file, expected a document, which \"kora save\" makes of it";
    const std::string neither = 'N' + midi.substr(1);
    const BadInput rows[] = {
        {"info", "", signature},
        {"info", neither, signature},
        {"info", midi, isMidi},
        {"export", midi, isMidi},
        {"check", midi, isMidi},
        {"repair", midi, isMidi},
        {"song", good.substr(0, 16),
         "byte 0: not a MIDI file: it begins with \"\\x03001\", expected \"MThd\""},
        {"song", good.substr(0, 17), cUnreadable + " (byte 17)"},
        {"song", good.substr(0, 60), "unable to find document TOC (byte 45)"},
        {"song", good.substr(0, good.size() - 1), cUnreadable + " (byte 460)"},
        {"xml", with(0, 2), cTooOld + " (byte 0)"},
        {"info", with(0, 4), cTooNew + " (byte 0)"},
        {"plot", with(0, 200), cTooOld + " (byte 0)"},
        {"info", with(17, 1), cUnreadable + " (byte 19)"},
        {"save", with(18, 6), "an unknown stream type was encountered (byte 18)"},
        {"save", with(200, 0x55), cUnreadable + " (byte 197)"},
        {"check", neither, "byte 0: expected format version 3, found 78; and 2 more faults (--all)"},
        {"check", with(200, 0x55), "byte 197: expected body sum of stream 17 082E0BB6, found D1789B7D"},
        {"check", good.substr(0, 300),
         "byte 45: expected a TOC offset from 49 to 299, found 460; and 1 more fault (--all)"},
        {"repair", neither, "no stream was found, nothing was written"},
    };
    for (const BadInput& row : rows)
        ExpectComplaint(row);
}

TEST_F(DocumentTest, ASongThatNoMidiFileHoldsGivesOneLineThatSaysWhat)
{
    constexpr Cmn_Int64 cStart = Tool_Song::cStartTick;
    constexpr Cmn_Int64 cPastTheLastTick = Cmn_Int64{1} << 60;
    constexpr Cmn_Int64 cPastTheLastSample = Cmn_Int64{1} << 35;
    const std::string none = Made([](FF_Document& ioDocument) {
        Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
        WriteStream(ioDocument, out, 5, "");
    });
    const std::string atStart = "a meter at tick 1000000000000";
    const BadInput rows[] = {
        {"song", none, "no song in this document, expected a meter, tempo or key map"},
        {"save", WithMaps(cStart, 0, cStart - 1),
         "a meter at tick 999999999999, expected tick 1000000000000 to 576460752303423487"},
        {"save", WithMaps(cStart, -1, cStart), atStart + " and sample -1, expected sample 0 to 34359738367"},
        {"plot", WithMaps(cStart, cPastTheLastSample, cStart),
         atStart + " and sample 34359738368, expected sample 0 to 34359738367"},
        {"song", WithMaps(cPastTheLastTick, 0, cStart),
         atStart + ", expected tick 1152921504606846976 to 576460752303423487"},
        {"song", WithMaps(cStart, 0, cStart, true),
         cUnreadable + ": a tempo at tick 1000000000000, locked to sample 0, computed, song start: 100 bpm "
                       "per 960000 ticks, expected a tempo locked to a sample behind it (byte 236)"},
        {"song", WithSongInfo(1, cPastTheLastTick, 44100, 5), cUnreadable + " (byte 77)"},
        {"song", WithSongInfo(1, cStart, 999, 5), cUnreadable + " (byte 77)"},
        {"song", WithSongInfo(1, cStart, 44100, 6), cUnreadable + " (byte 77)"},
        {"song", WithSongInfo(2, cStart, 44100, 5), cTooNew + " (byte 49)"},
    };
    for (const BadInput& row : rows)
        ExpectComplaint(row);
}

TEST_F(DocumentTest, AFileThatCannotBeReadOrWrittenGivesOneLineThatSaysWhy)
{
    for (const std::string command : {"song", "plot", "xml", "info", "check"})
        EXPECT_EQ(Run({command, "none.kora"}).mErr, "kora: none.kora: no such file\n") << command;
    const std::string beneath = Written("x.kora") + "/y.kora"; // which no file has
    Sys_FileSystem::Handle none = 0;
    const Cmn_Int32 why = Sys_FileSystem::Get().Open(beneath, Sys_FileSystem::eAccess_Read, none);
    const std::string out = Written("DocumentTest_out.kora", "old");
    std::filesystem::permissions(out, std::filesystem::perms::owner_read);
    const std::string isProtected = ": the file is write-protected";
    const std::string hasNoFolder = ": the folder that it belongs in does not exist";
    const std::pair<std::vector<std::string>, std::string> refused[] = {
        {{"song", beneath}, beneath + ": " + Sys_OSErrorText(why)},
        {{"save", cFirstLight, "."}, ".: no plain file, expected a name for one"},
        {{"save", cFirstLight, "none/x.kora"}, "none/x.kora" + hasNoFolder},
        {{"save", cFirstLight, out}, out + isProtected},
        {{"plot", cFirstLight, "-o", out}, out + isProtected},
        {{"plot", cFirstLight, "-o", "none/x.svg"}, "none/x.svg" + hasNoFolder},
    };
    for (const auto& [arguments, line] : refused)
        EXPECT_EQ(Run(arguments).mErr, "kora: " + line + '\n');
    std::filesystem::permissions(out, std::filesystem::perms::owner_all);
    EXPECT_EQ(ReadFile(out), "old");
}

TEST_F(DocumentTest, NoFileIsLostToACommandThatWrites)
{
    const std::string midi = Written("DocumentTest.mid", File(480, {""}));
    const std::string other = Written("DocumentTest.kora", SongAndMore());
    // clang-format off
    const std::vector<std::string> cRows[] = {
        {"save", midi, "./" + midi}, {"save", other, other},
        {"repair", other, other},    {"plot", midi, "-o", midi},
    };
    // clang-format on
    const std::string before = ReadFile(midi) + ReadFile(other);
    for (const auto& arguments : cRows) {
        const Outcome outcome = Run(arguments);
        EXPECT_EQ(outcome.mExit, 2) << arguments[0] << outcome.mErr;
        EXPECT_EQ(ReadFile(midi) + ReadFile(other), before) << arguments[0];
    }
    const std::string copy = Written("DocumentTest_copy.kora");
    EXPECT_NE(Good({"save", other, copy}).find("; left out of it: 1 entry that is"), std::string::npos);
    EXPECT_EQ(SongOf(copy), SongOf(other));
}

TEST_F(DocumentTest, WhatHasNotesOrOtherStreamsIsNotReplacedByWhatHasNeither)
{
    const std::string midi = Written("DocumentTest.mid", File(480, {""}));
    const std::string notes = File(480, {MidiBytes::Bytes("00903C40") + MidiBytes::Bytes("10803C40")});
    const std::string song = Written("song.kora", SmallDocument());
    const std::vector<std::string> cWriters[] = {
        {"save", midi, "out.kora"},       {"export", song, "-o", "out.mid"},
        {"plot", midi, "-o", "out.svg"},  {"click", song, "-o", "out.wav"},
        {"edit", song, "-o", "out.midi"}, {"edit", midi, "-o", "out2.kora"},
    };
    for (const auto& arguments : cWriters) {
        const auto over = [&](const std::string& iBytes) {
            Written(arguments.back(), iBytes);
            const Outcome outcome = Run(arguments);
            return std::to_string(outcome.mExit) +
                   (ReadFile(arguments.back()) == iBytes ? " kept" : " replaced") +
                   outcome.mErr.substr(0, outcome.mErr.find(", expected"));
        };
        const std::string refused = "2 keptkora: ", name = "\"" + arguments.back() + "\", which has ";
        EXPECT_TRUE(over(notes).ends_with(" would take the place of " + name + "notes")) << arguments[0];
        EXPECT_TRUE(over(SongAndMore()).ends_with(name + "more than a song")) << arguments[0];
        EXPECT_TRUE(over(notes).starts_with(refused)) << arguments[0];
        for (const std::string& bytes :
             {ReadFile(midi), ReadFile(song) + ' ', std::string("MThd"), std::string()})
            EXPECT_EQ(over(bytes), "0 replaced") << arguments[0];
    }
    // An edit in its own kind has notes of its own, and may be done again.
    const std::vector<std::string> again = {"edit", Written("notes.mid", notes), "-o", "edited.mid"};
    EXPECT_EQ(Good(again), Good(again));
}

TEST_F(DocumentTest, ExportWritesASongThatReadsAsTheDocumentAndTellsWhatItRounded)
{
    const std::string song = Written("song.kora", Saved(ReadFile(cFirstLight)));
    Good({"export", song, "-o", "out.mid"});
    EXPECT_EQ(SongOf("out.mid", {"--rate", "44100"}), SongOf(song));
    EXPECT_EQ(Good({"export", song}), ReadFile("out.mid"));
    Make("fine.kora", [](FF_Document& ioDocument) {
        Time_MeterMap meters;
        Time_TempoMap tempi;
        Time_KeySignatureMap keys;
        for (const Cmn_Int64 tick : {0, 1, 2500})
            keys.SetKeySignature(Time_Tick(Tool_Song::cStartTick + tick), {});
        tempi.AddSegment(std::make_unique<Time_ConstantTempoSeg>(Time_Tick(Tool_Song::cStartTick), 140.0));
        FF_TimeMaps::Write(ioDocument, meters, tempi, keys);
    });
    const std::string tempo = "1 tempo rounded, by 0.00014 quarter notes a minute at most\n";
    EXPECT_EQ(Good({"export", "fine.kora", "-o", "fine.mid"}),
              "fine.mid: 53 bytes, 960 ticks to a quarter note; 2 changes moved, by 500 ticks at most; "
              "1 change gave way to the next at the same MIDI tick; " +
                  tempo);
    EXPECT_EQ(Run({"export", "fine.kora", "--division", "1"}).mErr.substr(0, 16), "standard output:");
    EXPECT_EQ(Run({"export", "fine.kora", "-o", "./fine.kora"}).mExit, 2);
    EXPECT_EQ(Run({"export", cFirstLight, "-o", "x.mid"}).mExit, 1);
    for (const char* division : {"0", "32768", "x", ""})
        EXPECT_EQ(Run({"export", "fine.kora", "--division", division}).mErr,
                  "kora: --division \"" + std::string(division) +
                      "\", expected 1 to 32767 (try \"kora export --help\")\n");
}
