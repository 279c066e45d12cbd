#include "Kora/Kora_Version.h"
#include "Tool/Tool_Commands.h"
#include "tests/Tool/ToolFixture.h"

using CommandTest = ToolFixture;

TEST_F(CommandTest, TheExampleSongIsWhatWasCheckedByHand)
{
    const Tool_Song song(Tool_MidiFile::Parse(ReadFile(cFirstLight), "first-light.mid"),
                         {48000, eTimeCodeFormat_2997Drop});
    const Tool_SongReport report(song, "first-light.mid");
    EXPECT_EQ(report.Json(), ReadFile(cSource + "/tests/Tool/data/first-light.json"));
    EXPECT_EQ(report.Table(), ReadFile(cSource + "/tests/Tool/data/first-light.txt"));
    EXPECT_EQ(Run({"plot", cFirstLight}).mOut, ReadFile(cSource + "/docs/pictures/first-light.svg"));
}

TEST_F(CommandTest, BadInputGivesOneLineBehindWhatWasAnswered)
{
    const std::string cut = Written("CommandTest_cut.mid", "MThd");
    const std::string good = Written("CommandTest_good.mid", File(480, {Text(480, "end")}));
    const std::string cut8 = "byte 0: the file is cut short: 4 bytes of a chunk header, expected 8\n";
    const std::string notANumber =
        "kora: standard input: line 1001: \"x\" is not a position in samples, expected a whole number\n";
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{"song", "CommandTest_cut.mid"}, "kora: CommandTest_cut.mid: " + cut8},
        {{"song", "CommandTest_none.mid"}, "kora: CommandTest_none.mid: no such file\n"},
        {{"song", "."}, "kora: .: a folder, expected a MIDI file or a document\n"},
        {{"convert", "CommandTest_cut.mid", "--from", "ticks", "--to", "bars"},
         "kora: CommandTest_cut.mid: " + cut8},
        {{"convert", "CommandTest_good.mid", "--from", "samples", "--to", "bars"}, notANumber},
        {{"convert", "-", "--from", "samples", "--to", "samples"}, notANumber},
    };
    std::string input;
    for (int i = 0; i < 1000; ++i)
        input += "44100\n";
    for (const auto& [arguments, error] : rows) {
        const Outcome outcome = Run(arguments, input + "x\n44100\n");
        EXPECT_EQ(outcome.mExit, 1);
        // Lines before a bad one are answered.
        EXPECT_EQ(std::count(outcome.mOut.begin(), outcome.mOut.end(), '\n'), error == notANumber ? 1000 : 0);
        EXPECT_EQ(outcome.mErr, error);
    }
    const Outcome outcome =
        Run({"convert", "CommandTest_good.mid", "--to=samples,bars", "--from", "samples"}, "44100\n");
    EXPECT_EQ(outcome.mExit, 0);
    EXPECT_EQ(outcome.mOut, "44100\t1|3|0\n");
    EXPECT_EQ(outcome.mErr, "");
}

TEST_F(CommandTest, StandardInputGivesWhatAFileGives)
{
    const std::string midi = ReadFile(cFirstLight);
    const std::string document = Run({"save", cFirstLight, "-"}).mOut;
    const std::string file = Written("CommandTest.kora", document),
                      bad = Written("CommandTest_bad.kora", "x");
    const auto renamed = [](std::string iText, const std::string& iFrom) {
        for (std::size_t at = 0; (at = iText.find(iFrom, at)) != std::string::npos; at += 14)
            iText.replace(at, iFrom.size(), "standard input");
        return iText;
    };
    for (const std::string command : {"song", "plot", "xml", "info", "check"}) {
        const Outcome piped = Run({command, "-"}, document);
        EXPECT_EQ(piped.mOut, renamed(Run({command, file}).mOut, file)) << command << piped.mErr;
        EXPECT_EQ(Run({command, "-"}, "").mErr,
                  "kora: standard input: no data, expected a MIDI file or a document\n");
    }
    EXPECT_EQ(Run({"plot", "-", "-o", "-"}, midi).mOut, Run({"plot", "-"}, midi).mOut);
    Run({"save", "-", "CommandTest_2.kora"}, midi);
    EXPECT_TRUE(Run({"save", "-", "-"}, midi).mOut == document && ReadFile("CommandTest_2.kora") == document);
    EXPECT_EQ(Run({"xml", "-"}, Run({"save", file, "-", "--scramble", "4"}).mOut).mOut,
              Run({"xml", file}).mOut);
    EXPECT_NE(Run({"repair", "-", bad}, document).mOut.find(": 4 streams recovered, with an"),
              std::string::npos);
    EXPECT_EQ(Run({"check", bad}).mExit, 0);
    EXPECT_EQ(Run({"info", "-"}, "x").mErr.substr(0, 28), "kora: standard input: byte 1");

    // Of several files each says which it is, and none is left out for another's sake.
    std::ofstream(bad) << "x";
    const Outcome several = Run({"check", "none", bad, "-", ".", file, "--all"}, document.substr(0, 60));
    EXPECT_EQ(several.mExit, 1);
    std::istringstream lines(several.mOut + several.mErr);
    std::string names;
    for (std::string line; std::getline(lines, line);)
        names += (line.starts_with("kora: ") ? line.substr(6) : line).substr(0, 15) + '\n';
    EXPECT_EQ(names, "CommandTest_bad\nCommandTest_bad\nstandard input:\nstandard input:\nCommandTest.kor\n"
                     "none: no such f\nCommandTest_bad\nstandard input:\n.: a folder, ex\n");
}

TEST_F(CommandTest, WrongUsageIsExitTwoOnOneLine)
{
    std::istringstream lines(
        "; sing; song; song a.mid b.mid; song a.mid --loud; song a.mid --rate; song a.mid --rate 0;"
        " song a.mid --rate -44100; song a.mid --rate nan; song a.mid --rate inf; song a.mid --rate 44100Hz;"
        " song a.mid --rate 768001; song a.mid --rate=; song a.mid --timecode 29; song a.mid --timecode ?;"
        " song a.mid --timecode line\nbreak; convert -; convert - --from samples; convert - --to samples;"
        " convert - --from sample --to bars; convert - --from samples --to bars,; convert - --from samples "
        "--to=;"
        " convert - --from samples --to bars --json; convert - --from samples --to bars --rate 999;"
        " convert - --from samples --to bars extra; plot; plot a.mid -o; save; save a.mid; save a.mid b c;"
        " save a.mid b --scramble 6; save a.mid b --scramble -1; save a.mid b --scramble 1x; info; info a "
        "--all;"
        " check; check a --json; repair; repair a; repair a b c; repair a -; xml; xml a b; xml a --rate 0;"
        " export; export a --division 0; export a b; export a --rate 48000");
    for (std::string line; std::getline(lines, line, ';');) {
        std::istringstream words(line);
        std::vector<std::string> arguments;
        for (std::string word; std::getline(words, word, ' ');)
            if (!word.empty()) arguments.push_back(word);
        const Outcome outcome = Run(arguments, "1\n");
        const std::string shown = line + ": " + outcome.mErr;
        EXPECT_EQ(outcome.mExit, 2) << shown;
        EXPECT_EQ(outcome.mOut, "") << shown;
        EXPECT_EQ(std::count(outcome.mErr.begin(), outcome.mErr.end(), '\n'), 1) << shown;
        const bool isCommand = !arguments.empty() && arguments[0] != "sing";
        EXPECT_TRUE(
            outcome.mErr.ends_with(" (try \"kora " + (isCommand ? arguments[0] + " " : "") + "--help\")\n"))
            << shown;
    }
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{}, "no command, expected song, "},
        {{"sing"}, "\"sing\" is no command, expected song, "},
        {{"song"}, "FILE is missing"},
        {{"convert", "-", "--to", "bars"}, "--from UNIT is missing"},
        {{"song", "a", "b"}, "\"b\" is one argument too many"},
        {{"song", "a", "--loud"}, "\"--loud\" is no option of kora song"},
        {{"song", "a", "--rate"}, "--rate without a value, expected HZ"},
        {{"song", "a", "--rate", "1", "--rate", "2"}, "--rate more than once, expected one HZ"},
        {{"edit", "a", "--ramp", "1", "2"}, "--ramp with 2 values, expected FROM TO BPM BPM"},
        {{"edit", "--tempo", "3|1", "90", "a.mid", "-o", "b.mid"},
         "--tempo with 3 values, expected POS BPM; FILE stands before it"},
        {{"plot", "a", "-o", "b.PDF"}, "-o \"b.PDF\", expected a name in .svg or .png"},
        {{"click", "a", "-o", "b.mp3"}, "-o \"b.mp3\", expected a name in .wav"},
        {{"edit", "a", "--curve", "s"}, "--curve \"s\", expected it behind --ramp"},
        {{"save", "a", "b.MID"},
         "OUT.kora \"b.MID\", expected the name of a document; \"kora export\" writes"},
        {{"help", "sing"}, "\"sing\", expected a command: song, "},
    };
    for (const auto& [arguments, start] : rows)
        EXPECT_TRUE(Run(arguments).mErr.starts_with("kora: " + start)) << Run(arguments).mErr;
}

TEST_F(CommandTest, HelpIsThereForEachAndFitsATerminal)
{
    EXPECT_EQ(Run({"--version"}).mOut, "kora " KORA_VERSION_TEXT "\n");
    EXPECT_EQ(Run({"-V"}).mOut, Run({"--version"}).mOut);
    EXPECT_EQ(Run({"help"}).mOut, Run({"--help"}).mOut);
    EXPECT_EQ(Run({"help", "kora"}).mOut, Run({"-h"}).mOut);
    std::vector<std::string> pages = {Run({"--help"}).mOut};
    for (const Tool_CommandEntry& command : Tool_Commands()) {
        pages.push_back(Run({"help", command.mName}).mOut);
        EXPECT_EQ(Run({command.mName, "x", "--help"}).mOut, pages.back());
        EXPECT_NE(pages.back().find(std::string("\nUsage: kora ") + command.mName), std::string::npos);
        EXPECT_NE(pages.front().find(std::string("\n  ") + command.mName + ' '), std::string::npos);
    }
    for (const std::string& page : pages) {
        std::istringstream lines(page);
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), 100u) << line;
    }
}

// Whatever a text has in it, the pages' source is ASCII in short lines, none of which is a request by accident.
TEST_F(CommandTest, ManualPagesHoldNothingThatTheirReadersMistake)
{
    EXPECT_EQ(Run({"man", "--into", "."}).mExit, 0);
    std::size_t count = 0;
    for (const auto& file : std::filesystem::directory_iterator(".")) {
        ++count;
        std::istringstream lines(ReadFile(file.path().string()));
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 90u) << line; // words are not broken, and escapes count
            EXPECT_TRUE(!line.empty() && line.back() != ' ') << line;
            EXPECT_FALSE(line[0] == '\'' || (line[0] == '.' && (line[1] < 'A' || line[1] > 'z'))) << line;
            EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c < 0x7F; }))
                << line;
        }
    }
    EXPECT_EQ(count, Tool_Commands().size() + 1);
    EXPECT_EQ(Run({"man", "song"}).mOut, ReadFile("kora-song.1"));
    EXPECT_EQ(Run({"man", "song", "--into", "."}).mExit, 2);
    EXPECT_EQ(Run({"man", "--into", "none"}).mExit, 1);
}

TEST_F(CommandTest, EveryFormatNameOfTheLibraryIsTakenLongAndShort)
{
    for (int value = 1; value <= 14; ++value) {
        const std::string name = Time_Globals::GetTimeCodeFormatString(static_cast<ETimeCodeFormat>(value));
        std::string shortName;
        for (const char c : name.substr(0, name.find(" fps")) + name.substr(name.find("fps") + 3))
            if (c != ' ') shortName += c;
        const bool isOMF = value == eTimeCodeFormat_2997OMF || value == eTimeCodeFormat_2997DropOMF;
        for (const std::string& spelled : {name, shortName}) {
            const Outcome outcome =
                Run({"convert", "-", "--from=seconds", "--to=frames", "--timecode", spelled}, "1001\n");
            ASSERT_EQ(outcome.mExit, isOMF ? 2 : 0) << spelled << outcome.mErr;
            if (isOMF) continue;
            // 1001 seconds of 24000/1001, 30000/1001 and 60000/1001 frames are whole thousands.
            const int whole = std::stoi(shortName);
            const int rate = shortName.find('.') != std::string::npos ? (whole + 1) * 1000 : whole * 1001;
            EXPECT_EQ(outcome.mOut, std::to_string(rate) + '\n') << spelled;
        }
    }
}
