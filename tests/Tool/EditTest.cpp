#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Tool/Tool_Document.h"
#include "tests/Tool/ToolFixture.h"

namespace {

using JsonValue = nlohmann::ordered_json;

// Arguments between blanks; those with blanks of their own stand between apostrophes.
std::vector<std::string> Words(const std::string& iLine)
{
    std::vector<std::string> words;
    std::istringstream parts(iLine);
    std::string part;
    for (bool isQuoted = false; std::getline(parts, part, '\''); isQuoted = !isQuoted) {
        std::istringstream blanks(part);
        if (isQuoted) words.push_back(part);
        for (std::string word; !isQuoted && blanks >> word;)
            words.push_back(word);
    }
    return words;
}

// A 4/4 song of 8 bars at 120 with a note in bar 3, in a file of 96 ticks to a quarter note.
std::string PlainFile()
{
    return File(96, {MidiBytes::VariableLength(768) + MidiBytes::Bytes("903C40") +
                     MidiBytes::VariableLength(384) + MidiBytes::Bytes("803C40") + Text(1920, "end")});
}

class EditTest : public ToolFixture
{
protected:
    Outcome Edit(const std::string& iFile, const std::string& iArguments, const std::string& iInput = {})
    {
        std::vector<std::string> all = Words(iArguments);
        all.insert(all.begin(), {"edit", iFile});
        return Run(all, iInput);
    }
    // What a song is, in short: "t0=120 m0=4/4 k8=Eb major end 32", in quarters from its start.
    static std::string Short(const JsonValue& iSong)
    {
        const auto quarters = [](const JsonValue& iTick) {
            const double value = (iTick.get<double>() - 1e12) / 960000;
            std::ostringstream text;
            text << value;
            return text.str();
        };
        std::ostringstream text;
        for (const auto& row : iSong["tempo"])
            text << "t" << quarters(row["tick"]) << '=' << std::round(row["bpm"].get<double>() * 100) / 100
                 << ' ';
        for (const auto& row : iSong["meter"])
            text << "m" << quarters(row["tick"]) << '=' << row["numerator"] << '/' << row["denominator"]
                 << ' ';
        for (const auto& row : iSong["keys"])
            text << "k" << quarters(row["tick"]) << '=' << row["name"].get<std::string>() << ' ';
        text << "end " << quarters(iSong["end"]["tick"]);
        return text.str();
    }
    std::string SongOf(const std::string& iFile)
    {
        return Short(JsonValue::parse(Run({"song", iFile, "--json"}).mOut));
    }
};

// What is done to eight bars of 4/4 at 120, and what they are then.
const struct
{
    const char* mName;
    const char* mArguments;
    const char* mExpected;
} cDecisions[] = {
    {"no operation", "", "t0=120 m0=4/4 end 32"},
    {"a tempo replaces one at its tick", "--tempo 2|1 90 --tempo 2|1|0 80", "t0=120 t4=80 m0=4/4 end 32"},
    {"in the order given", "--tempo 2|1 90 --scale 50 --tempo 3|1 100", "t0=60 t4=45 t8=100 m0=4/4 end 32"},
    {"a scale scales the tempo at the start that is not written", "--scale 150", "t0=180 m0=4/4 end 32"},
    {"steps that a file tick is longer than are joined", "--ramp 2|1 2|1|30000 100 60 --steps 99",
     "t0=120 t4=93.17 t4.01042=79.81 t4.02083=66.44 t4.03125=60 m0=4/4 end 32"},
    {"steps", "--ramp 2|1 3|1 90 120 --steps 2", "t0=120 t4=97.31 t6=112.33 t8=120 m0=4/4 end 32"},
    {"a curve", "--ramp 2|1 3|1 90 120 --steps 2 --curve linear",
     "t0=120 t4=98.03 t6=113.03 t8=120 m0=4/4 end 32"},
    {"a fit", "--fit 2|1 3|1 4", "t0=120 t4=60 t8=120 m0=4/4 end 32"},
    {"every form of a position",
     "--tempo 1000023040000ticks 64 --tempo 00:00:10:00 63 --tempo 352800samples 62 --tempo 4.0 61 "
     "--tempo 0:02 60",
     "t0=120 t4=60 t8=61 t16=62 t20=63 t24=64 m0=4/4 end 32"},
    {"bars of the meter in force there", "--meter 3|1 3/4 --insert 4|1 2bars", "t0=120 m0=4/4 m8=3/4 end 38"},
    {"inserted seconds last that long in the tempo before", "--tempo 3|1 60 --insert 3|1 2.0",
     "t0=120 t12=60 m0=4/4 end 36"},
    {"nothing inserted, nothing repeated", "--insert 3|1 0ticks --repeat 1|1 2|1 0", "t0=120 m0=4/4 end 32"},
    {"the last inside takes effect at the end", "--tempo 2|2 90 --key 2|3 Eb --delete 2|1 3|1",
     "t0=120 t4=90 m0=4/4 k4=Eb major end 28"},
    {"a copy begins as its stretch did", "--tempo 2|3 90 --repeat 2|1 3|1 1",
     "t0=120 t6=90 t8=120 t10=90 m0=4/4 end 36"},
    {"meters move off a barline", "--meter 3|1 3/4 --insert 2|1 960000ticks", "t0=120 m0=4/4 m9=3/4 end 33"},
    {"keys by their names", "--key 1|1 'C# minor' --key 2|1 Ebm",
     "t0=120 m0=4/4 k0=C# minor k4=Eb minor end 32"},
    {"a lock, and the tempo that goes on", "--tempo 2|1 90 --lock 3|1 0:05", "t0=96 t8=90 m0=4/4 end 32"},
    {"locks come in any order", "--lock 3|1 8 --lock 2|1 2", "t0=120 t4=40 t8=120 m0=4/4 end 32"},
    {"an insertion releases the locks behind it", "--lock 3|1 8 --insert 2|1 1bar --scale 200",
     "t0=120 t12=240 m0=4/4 end 36"},
    {"beats, less the first one's time", "--beats beats", "t0=120 t1=80 t2=120 m0=4/4 end 32"},
    {"neighbours are joined while no beat moves by more", "--beats nearly --tolerance 2",
     "t0=120 t3=120 m0=4/4 end 32"},
};

TEST_F(EditTest, EachDecisionHolds)
{
    const std::string plain = Written("plain.mid", PlainFile());
    Written("beats", "0.25\n0.75\n1.5\n\n");
    Written("nearly", "0\n0.501\n1.0\n1.5\n");
    for (const auto& row : cDecisions) {
        SCOPED_TRACE(row.mName);
        const Outcome outcome = Edit(plain, std::string("-o out.mid ") + row.mArguments);
        EXPECT_EQ(outcome.mExit, 0) << outcome.mErr;
        EXPECT_EQ(SongOf("out.mid"), row.mExpected);
        // A document gives the same maps, and a dry run says the same and writes nothing.
        std::filesystem::remove("out.mid");
        EXPECT_EQ(Edit(plain, std::string("-o song.kora --json ") + row.mArguments).mExit, 0);
        const std::string dry =
            Edit(plain, std::string("-o out.mid --dry-run --json ") + row.mArguments).mOut;
        EXPECT_EQ(Short(JsonValue::parse(dry)["after"]), row.mExpected);
        EXPECT_FALSE(std::filesystem::exists("out.mid"));
        if (std::string(row.mArguments).find("--ramp 2|1 2|1|3") == std::string::npos) {
            EXPECT_EQ(SongOf("song.kora"), row.mExpected);
        }
        EXPECT_EQ(Edit(plain, std::string("--dry-run ") + row.mArguments).mOut.find('\t'), std::string::npos);
    }
    EXPECT_EQ(ReadFile(plain), PlainFile());
}

TEST_F(EditTest, RefusalsSayWhatWasMetAndWhatWasExpectedAndWriteNothing)
{
    const std::string plain = Written("plain.mid", PlainFile());
    const std::string out = Written("out.mid", "before");
    Written("beats", "0\n1:75\n");
    Written("late", "0\n1\n0.5\n");
    // clang-format off
    const struct { const char* arguments; int exit; const char* part; } rows[] = {
        {"--tempo 2|1 501", 2,
         "--tempo 2|1 501: \"501\", expected 5 to 500 quarter notes a minute; the nearest is 500"},
        {"--tempo 2|1 nan", 2, "\"nan\", expected 5 to 500"},
        {"--tempo 5 100", 2, "\"5\", expected a position"},
        {"--tempo 4bars 100", 2, "\"4bars\" is a length, expected a position"},
        {"--tempo 0|4|0 100", 1, "\"0|4|0\" lies before the song's start"},
        {"--tempo 1:75 100", 2, "\"1:75\", expected a position"},
        {"--insert 2|1 3|1|0", 2, "\"3|1|0\" is a position, expected a length"},
        {"--insert 2|1 -4bars", 2, "\"-4bars\", expected a length"},
        {"--insert 2|1 576460752303423487ticks", 1, "past the time line's end"},
        {"--delete 2|1 2|1", 1, "2|1|0 is not before 2|1|0"},
        {"--repeat 2|1 3|1 1000000", 1, "past the time line's end"},
        {"--repeat 2|1 3|1 x", 2, "\"x\", expected 0 to 1000000 copies"},
        {"--move 2|1 4|1 3|1", 1, "3|1|0 lies inside 2|1|0 to 4|1|0"},
        {"--scale 90 2|1", 2, "expected PERCENT alone, or PERCENT FROM TO"},
        {"--scale 1000", 1, "the nearest is 416.6666 percent"},
        {"--fit 2|1 3|1 4bars", 2, "\"4bars\", expected a time"},
        {"--fit 2|1 3|1 100", 1, "the nearest is 2116800samples (0:48.000)"},
        {"--lock 1|1 1", 1, "the song's start is at 0:00.000"},
        {"--lock 3|1 2 --lock 2|1 3", 1, "not in the order of the locks beside it"},
        {"--lock 3|1 3 --scale 50 1|1 2|1", 1, "the position locked at 3|1|0 would move"},
        {"--beats beats", 1, "beats: line 2: \"1:75\", expected a time"},
        {"--beats late", 1, "late: line 3: not in the order"},
        {"--beats none", 1, "none: no such file, expected a file with one time a line"},
        {"--meter 2|1 3/5", 2, "\"3/5\", expected 1 to 255 beats"},
        {"--key 2|1 H", 2, "\"H\", expected a key"},
        {"--curve s --ramp 2|1 3|1 90 80", 2, "--curve \"s\", expected it behind --ramp"},
        {"--ramp 2|1 3|1 90 80 --curve x", 2, "\"x\", expected bars, linear or s"},
        {"--as kora", 2, "--as \"kora\" for \"out.mid\""},
        {"--as wav", 2, "--as \"wav\", expected mid or kora"},
        {"--division 96", 2, "\"96\", expected none"},
    };
    // clang-format on
    for (const auto& row : rows) {
        // What goes before it is not done either.
        const Outcome outcome = Edit(plain, std::string("-o out.mid --tempo 8|1 77 ") + row.arguments);
        EXPECT_EQ(outcome.mExit, row.exit) << row.arguments << outcome.mErr;
        EXPECT_NE(outcome.mErr.find(row.part), std::string::npos) << outcome.mErr;
        EXPECT_EQ(std::count(outcome.mErr.begin(), outcome.mErr.end(), '\n'), 1) << outcome.mErr;
        EXPECT_EQ(outcome.mOut + ReadFile(out), "before") << row.arguments;
    }
    EXPECT_NE(Edit(plain, "-o out.txt").mErr.find("expected a name in .mid, .midi or .kora"),
              std::string::npos);
    EXPECT_NE(Edit(plain, "").mErr.find("nowhere to write to"), std::string::npos);
    EXPECT_NE(Edit("none.mid", "-o out.mid").mErr.find("none.mid: no such file"), std::string::npos);
    EXPECT_NE(Edit(Written("bad.mid", "MThd"), "-o -").mErr.find("bad.mid: byte 0: the file is cut short"),
              std::string::npos);
}

// Random edits at beats. An insertion and its deletion, in a run of its own, give the bytes of before.
TEST_F(EditTest, WhatIsWrittenIsReadAsTheSongThatTheEditsMade)
{
    std::mt19937 random(7);
    const auto any = [&](unsigned iBelow) { return random() % iBelow; };
    const auto position = [&] { return std::to_string(1 + any(20)) + '|' + std::to_string(1 + any(3)); };
    for (int run = 0; run < 60 && !HasFailure(); ++run) {
        std::string arguments;
        for (unsigned i = 1 + any(4); i > 0; --i) {
            const std::string from = std::to_string(2 + any(8)) + "|2 ",
                              to = std::to_string(10 + any(8)) + "|1 ";
            const std::string forms[] = {"--tempo " + position() + ' ' + std::to_string(40 + any(200)),
                                         "--ramp " + from + to + "60 140 --steps " +
                                             std::to_string(1 << any(4)),
                                         "--scale " + std::to_string(50 + any(90)) + ' ' + from + to,
                                         "--insert " + position() + ' ' + std::to_string(any(5)) + "bars",
                                         "--delete " + from + to,
                                         "--move " + from + to + "1|1",
                                         "--move " + from + to + "19|1",
                                         "--repeat " + from + to + std::to_string(any(3)),
                                         "--meter " + position() + ' ' + std::to_string(2 + any(6)) + "/4",
                                         "--key " + position() + " F#m"};
            arguments += forms[any(10)] + ' ';
        }
        SCOPED_TRACE(arguments);
        const Outcome outcome = Edit(cFirstLight, "-o out.mid --json " + arguments);
        ASSERT_EQ(outcome.mExit, 0) << outcome.mErr;
        EXPECT_EQ(SongOf("out.mid"), Short(JsonValue::parse(outcome.mOut)["after"]));
        const std::string place = position();
        const Outcome inserted = Edit("out.mid", "-o more.mid --json --insert " + place + " 3bars");
        const JsonValue operation = JsonValue::parse(inserted.mOut)["operations"][0];
        const auto ticks = [&](const char* iWhich) {
            return std::to_string(operation[iWhich].get<Cmn_Int64>()) + "ticks ";
        };
        EXPECT_EQ(Edit("more.mid", "-o more.mid --delete " + ticks("fromTick") + ticks("toTick")).mExit, 0);
        EXPECT_EQ(ReadFile("more.mid"), ReadFile("out.mid")) << place;
    }
}

TEST_F(EditTest, WhatADocumentHoldsBesideItsSongStays)
{
    Run({"save", cFirstLight, "song.kora", "--scramble", "3", "--rate", "48000"});
    const std::string alone = ReadFile("song.kora");
    EXPECT_EQ(Edit("song.kora", "-o same.kora").mExit, 0);
    EXPECT_EQ(ReadFile("same.kora"), alone);
    {
        FF_Document document(Sys_FileLoc("song.kora"), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
        document.Open(Sys_Store::eOpenFlag_ReadWrite);
        Sys_TypedOutStream out = document.MakeTypedOutStream();
        document.SeekToEnd(out);
        FF_Document::AddTOCEntry(&document, static_cast<Cmn_UInt64>(out.GetPosition()), 99, "notes");
        {
            const FF_StreamHeaderWriter header(&document, out, 99, 1);
            out.WriteInt64(4711);
        }
        document.Flush();
    }
    // Over itself, and through a pipe.
    const std::string before = ReadFile("song.kora");
    EXPECT_EQ(Edit("song.kora", "-o song.kora --tempo 5|1 100 --delete 1|1 2|1").mExit, 0);
    EXPECT_EQ(Edit("-", "-o - --tempo 5|1 100 --delete 1|1 2|1", before).mOut, ReadFile("song.kora"));
    EXPECT_EQ(Run({"check", "song.kora"}).mExit, 0);
    const std::string info = Run({"info", "song.kora"}).mOut;
    EXPECT_NE(info.find("notes"), std::string::npos) << info;
    Edit(cFirstLight, "-o edited.mid --tempo 5|1 100 --delete 1|1 2|1");
    Edit("song.kora", "-o edited2.mid --division 480");
    EXPECT_EQ(SongOf("song.kora"), SongOf("edited.mid"));
    EXPECT_EQ(SongOf("edited2.mid"), SongOf("edited.mid"));
    EXPECT_EQ(Edit("-", "-o - --as mid --division 480", ReadFile("song.kora")).mOut, ReadFile("edited2.mid"));
    EXPECT_EQ(JsonValue::parse(Run({"song", "song.kora", "--json"}).mOut)["sampleRate"], 48000.0);
}

} // namespace
