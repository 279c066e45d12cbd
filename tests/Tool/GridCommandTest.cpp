#include "tests/Tool/ToolFixture.h"

namespace {

// 4/4, a ritardando, and a change of meter that cuts bar 3 short.
std::string Song()
{
    return File(480, {Tempo(0, 480000) + Meter(0, 4, 2) + Meter(480 * 10 + 7, 7, 3) + Tempo(333, 1200001) +
                      Tempo(480 * 12, 90000) + Text(480 * 30, "end")});
}

class GridCommandTest : public ToolFixture
{
protected:
    GridCommandTest() { static_cast<void>(Written("Grid.mid", Song())); }

    std::string Get(const std::vector<std::string>& iArguments)
    {
        const Outcome outcome = Run(iArguments);
        return outcome.mOut + outcome.mErr;
    }
    struct Line
    {
        std::string mPosition;
        Cmn_Int64 mSample;
        std::string mKind;
    };
    std::vector<Line> Lines(std::vector<std::string> iArguments)
    {
        iArguments.insert(iArguments.begin(), {"grid", "Grid.mid"});
        std::istringstream text(Get(iArguments));
        std::vector<Line> lines;
        for (Line line; text >> line.mPosition >> line.mSample >> line.mKind;)
            lines.push_back(line);
        return lines;
    }
};

Cmn_UInt32 NumberAt(const std::string& iBytes, std::size_t iAt, int iSize)
{
    Cmn_UInt32 number = 0;
    for (int i = iSize; i-- > 0;)
        number = number << 8 | static_cast<unsigned char>(iBytes[iAt + static_cast<std::size_t>(i)]);
    return number;
}

} // namespace

TEST_F(GridCommandTest, LinesAreInTheRangeWithTheSamplesThatConvertGives)
{
    EXPECT_EQ(Get({"grid", "Grid.mid", "--by", "1/4", "--from", "3|1", "--to", "5|1"}),
              "3|1|0\t169344\tbar\n3|2|0\t190512\tbeat\n3|3|0\t211680\tbeat\n"
              "4|1|0\t211989\tbar\n4|3|0\t242881\tbeat\n4|5|0\t295801\tbeat\n4|7|0\t348721\tbeat\n");
    std::string positions;
    std::string samples;
    for (const Line& line : Lines({"--by", "1/8t"})) {
        positions += line.mPosition + '\n';
        samples += std::to_string(line.mSample) + '\n';
    }
    EXPECT_EQ(Run({"convert", "Grid.mid", "--from", "bars", "--to", "samples"}, positions).mOut, samples);
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{"--by", "1/3"}, "kora: --by \"1/3\" (note values are"},
        {{"--by", "quarters"}, "kora: --by \"quarters\" (bars, beats or a note value"},
        {{"--from", "2|1", "--to", "2|1|0"}, "kora: Grid.mid: the range from 2|1|0 to 2|1|0 is empty"},
        {{"--from", "0|1"}, "kora: Grid.mid: --from \"0|1\" lies before the song's start"},
        {{"--to", "later"}, "kora: --to \"later\", expected a position"},
    };
    for (auto [options, text] : rows) {
        options.insert(options.begin(), {"grid", "Grid.mid"});
        EXPECT_EQ(Get(options).substr(0, text.size()), text);
    }
}

// From the file's bytes alone: loud at the sample of each beat, silent before it, and louder on a bar's.
TEST_F(GridCommandTest, ClicksStandAtTheSamplesOfTheGrid)
{
    for (const std::vector<std::string>& range :
         {std::vector<std::string>{}, {"--from", "2|2", "--to", "4|3|480000"}})
    {
        std::vector<std::string> arguments = {"click", "Grid.mid", "-o", "-"};
        arguments.insert(arguments.end(), range.begin(), range.end());
        const std::string wav = Run(arguments).mOut;
        const std::vector<Line> lines = Lines(range);
        ASSERT_GT(wav.size(), 44u);
        EXPECT_EQ(wav.substr(0, 4) + wav.substr(8, 8) + wav.substr(36, 4), "RIFFWAVEfmt data");
        EXPECT_EQ(NumberAt(wav, 4, 4), wav.size() - 8);
        EXPECT_EQ(NumberAt(wav, 24, 4), 44100u);
        EXPECT_EQ(NumberAt(wav, 40, 4), wav.size() - 44);
        const Cmn_Int64 first = lines.front().mSample;
        const auto sample = [&](Cmn_Int64 iAt) {
            return static_cast<std::int16_t>(
                NumberAt(wav, 44 + 2 * static_cast<std::size_t>(iAt - first), 2));
        };
        std::size_t loud = 0;
        for (Cmn_Int64 at = first; at < first + static_cast<Cmn_Int64>(wav.size() - 44) / 2; ++at)
            loud += sample(at) != 0 && (at == first || sample(at - 1) == 0) && std::abs(sample(at)) > 9000
                        ? 1
                        : 0;
        EXPECT_EQ(loud, lines.size());
        for (const Line& line : lines) {
            EXPECT_EQ(sample(line.mSample), line.mKind == "bar" ? 26214 : 13107) << line.mPosition;
            if (line.mSample > first) {
                EXPECT_EQ(sample(line.mSample - 1), 0) << line.mPosition;
            }
        }
    }
    EXPECT_EQ(Get({"click", "Grid.mid", "-o", "Grid.wav", "--to", "2|1"}), "Grid.wav: 84672 samples\n");
    EXPECT_EQ(ReadFile("Grid.wav").size(), 44u + 2 * 84672);
    EXPECT_EQ(Get({"click", "Grid.mid", "--rate", "47952.5"}).substr(0, 32),
              "kora: Grid.mid: the sample rate ");
    EXPECT_EQ(Get({"click", "Grid.mid", "-o", "Grid.mid"}).substr(0, 46),
              "kora: the sound would take the place of \"Grid.");
}
