#include "tests/Tool/ToolFixture.h"

namespace {

// Ticks are finer than samples, and samples finer than frames.
constexpr std::pair<Tool_EUnit, int> cUnitsAndSizes[] = {
    {Tool_eUnit_Ticks, 0},    {Tool_eUnit_Samples, 1}, {Tool_eUnit_Frames, 4},    {Tool_eUnit_Bars, 0},
    {Tool_eUnit_Timecode, 4}, {Tool_eUnit_Seconds, 1}, {Tool_eUnit_Subframes, 2}, {Tool_eUnit_MinSec, 3}};

// Two minutes with tempo changes and cut bars.
std::string Song()
{
    return File(480, {Tempo(0, 480000) + Meter(0, 4, 2) + Meter(480 * 6 + 7, 7, 3) + Tempo(333, 1200001) +
                          Meter(480 * 31, 5, 2) + Tempo(480 * 40, 300000) + Text(480 * 60, "end"),
                      Tempo(480 * 3 + 1, 654321)});
}

class ConvertTest : public ToolFixture
{
protected:
    static std::string Convert(const std::string& iInput, Tool_EUnit iFrom,
                               const std::vector<Tool_EUnit>& iTo, const Tool_Settings& iSettings = {})
    {
        const Tool_Song song(Tool_MidiFile::Parse(Song(), "x.mid"), iSettings);
        return Tool_Convert(song, iInput, "standard input", iFrom, iTo);
    }
};

} // namespace

// Whatever is lost on the way to a coarser unit, going back and there again must lose no more. From a coarse
// unit to a finer one and back nothing is lost at all.
TEST_F(ConvertTest, ThereAndBackAndThereAgainIsThere)
{
    for (const Tool_Settings settings : {Tool_Settings{44100, eTimeCodeFormat_2997Drop},
                                         {48000, eTimeCodeFormat_5994Drop},
                                         {192000, eTimeCodeFormat_24},
                                         {47952.5, eTimeCodeFormat_23976}})
    {
        std::mt19937_64 random(99);
        std::string samples;
        for (int i = 0; i < 2000; ++i)
            samples += std::to_string(random() % (i % 2 ? 10000000 : 2000000000)) + '\n';
        for (const auto& [from, fromSize] : cUnitsAndSizes) {
            const std::string start = Convert(samples, Tool_eUnit_Samples, {from}, settings);
            for (const auto& [to, toSize] : cUnitsAndSizes) {
                const std::string there = Convert(start, from, {to}, settings);
                const std::string back = Convert(there, to, {from}, settings);
                EXPECT_EQ(Convert(back, from, {to}, settings), there)
                    << Tool_UnitName(from) << " → " << Tool_UnitName(to);
                EXPECT_TRUE(toSize > fromSize || back == start)
                    << Tool_UnitName(from) << " → " << Tool_UnitName(to);
            }
        }
    }
}

TEST_F(ConvertTest, ColumnsComeInTheOrderAskedAndLinesMayEndAnyWay)
{
    const std::vector<Tool_EUnit> all = {Tool_eUnit_Bars,     Tool_eUnit_Samples, Tool_eUnit_Seconds,
                                         Tool_eUnit_Timecode, Tool_eUnit_Frames,  Tool_eUnit_Ticks,
                                         Tool_eUnit_Bars};
    EXPECT_EQ(Convert("1\r\n 1|3|480000\t\n3|4|466000", Tool_eUnit_Bars, all),
              "1|1|0\t0\t0.000000\t00:00:00:00\t0\t1000000000000\t1|1|0\n"
              "1|3|480000\t52920\t1.200000\t00:00:01:06\t36\t1000002400000\t1|3|480000\n"
              "3|4|466000\t238849\t5.416077\t00:00:05:12\t162\t1000007680000\t3|4|466000\n");
    EXPECT_EQ(Convert("", Tool_eUnit_Bars, all), "");
    EXPECT_EQ(Convert("0|4|959999\n-3|1|0\n", Tool_eUnit_Bars, {Tool_eUnit_Ticks, Tool_eUnit_Bars}),
              "999999999999\t0|4|959999\n999984640000\t-3|1|0\n");
    EXPECT_EQ(Convert("-0.5\n", Tool_eUnit_Seconds, {Tool_eUnit_Samples}), "-22050\n");
}

TEST_F(ConvertTest, SaysWhichLineIsBad)
{
    const std::string bars = "expected bar|beat|tick, such as 12|3|480000";
    const std::string whole = "expected a whole number";
    const std::string fromZero = "expected sample 0 to 34359738367";
    const std::string anywhere = "expected sample -34359738367 to 34359738367";
    const struct
    {
        std::string mInput;
        Tool_EUnit mFrom;
        Tool_EUnit mTo;
        int mLine;
        // outside the time line where samples are expected
        std::string mShown;
        std::string mExpected;
    } cRows[] = {
        {"1|1|0\n1|\n", Tool_eUnit_Bars, Tool_eUnit_Ticks, 2, "1|", bars},
        {"-0:00.001\n", Tool_eUnit_MinSec, Tool_eUnit_Feet, 1, "-0:00.001", fromZero},
        {"-0:00.001\n", Tool_eUnit_MinSec, Tool_eUnit_Subframes, 1, "-0:00.001", fromZero},
        {"1|1|0|0\n", Tool_eUnit_Bars, Tool_eUnit_Ticks, 1, "1|1|0|0", bars},
        {"5\n\n6\n", Tool_eUnit_Samples, Tool_eUnit_Ticks, 2, "", whole},
        {"1.5\n", Tool_eUnit_Ticks, Tool_eUnit_Ticks, 1, "1.5", whole},
        {"9223372036854775808", Tool_eUnit_Ticks, Tool_eUnit_Ticks, 1, "9223372036854775808", whole},
        {"\x01\xFF", Tool_eUnit_Frames, Tool_eUnit_Ticks, 1, "\\x01\\xff", whole},
        {"1,5", Tool_eUnit_Seconds, Tool_eUnit_Ticks, 1, "1,5", "expected decimal seconds, such as 12.5"},
        {"0\n34359738368\n", Tool_eUnit_Samples, Tool_eUnit_Samples, 2, "34359738368", anywhere},
        {"-34359738368\n", Tool_eUnit_Samples, Tool_eUnit_Samples, 1, "-34359738368", anywhere},
        {"-1\n", Tool_eUnit_Samples, Tool_eUnit_Timecode, 1, "-1", fromZero},
        {"-1\n", Tool_eUnit_Frames, Tool_eUnit_Ticks, 1, "-1", fromZero},
        {"9223372036854775807\n", Tool_eUnit_Frames, Tool_eUnit_Ticks, 1, "9223372036854775807", fromZero},
        {"9223372036854775807\n", Tool_eUnit_Ticks, Tool_eUnit_Bars, 1, "9223372036854775807", anywhere},
        {"-9223372036854775808\n", Tool_eUnit_Ticks, Tool_eUnit_Bars, 1, "-9223372036854775808", anywhere},
        {"2147483647|1|0", Tool_eUnit_Bars, Tool_eUnit_Ticks, 1, "2147483647|1|0", anywhere},
        {"999999999999\n", Tool_eUnit_Seconds, Tool_eUnit_Samples, 1, "999999999999", anywhere},
        {"-999999999999\n", Tool_eUnit_Seconds, Tool_eUnit_Ticks, 1, "-999999999999", anywhere},
        {"-0.1\n", Tool_eUnit_Seconds, Tool_eUnit_Timecode, 1, "-0.1", fromZero},
        {"0|4|1\n", Tool_eUnit_Bars, Tool_eUnit_Frames, 1, "0|4|1", fromZero},
        {"-2147483648|1|0", Tool_eUnit_Bars, Tool_eUnit_Ticks, 1, "-2147483648|1|0", anywhere},
        {"-9223372036854775808\n", Tool_eUnit_Frames, Tool_eUnit_Bars, 1, "-9223372036854775808", fromZero},
    };
    for (const auto& row : cRows) {
        const char* const where =
            row.mShown[0] != '-' && row.mShown[0] != '0' ? "lies past the time line's end"
            : row.mExpected == fromZero                  ? "lies before sample 0, the first that has a frame"
                                                         : "lies before the time line's beginning";
        const bool isOutside = row.mExpected == fromZero || row.mExpected == anywhere;
        const std::string notOne = "is not a position in " + std::string(Tool_UnitName(row.mFrom));
        const std::string start =
            "standard input: line " + std::to_string(row.mLine) + ": \"" + row.mShown + "\" ";
        EXPECT_EQ(Complaint([&] { Convert(row.mInput, row.mFrom, {row.mTo}); }),
                  start + (isOutside ? where : notOne) + ", " + row.mExpected);
    }
    EXPECT_EQ(Convert("34359738367\n", Tool_eUnit_Samples, {Tool_eUnit_Samples}), "34359738367\n");
}

TEST_F(ConvertTest, SaysWhyThereIsNoSuchLabel)
{
    const std::string bars = "bar|beat|tick, such as 12|3|480000";
    const std::tuple<const char*, Tool_EUnit, const char*, std::string> rows[] = {
        {"1|0|0", Tool_eUnit_Bars, "beats count from 1", bars},
        {"00:00:00:30", Tool_eUnit_Timecode, "a second has fewer frames", "a label hh:mm:ss:ff of 30 fps"},
        {"00:60:00:00.50", Tool_eUnit_Subframes, "minutes run from 0 to 59",
         "a label hh:mm:ss:ff.ss of 30 fps"},
        {"1:75", Tool_eUnit_MinSec, "seconds after minutes run from 0 to 59",
         "minutes:seconds, such as 3:25.040"},
        {"0+16", Tool_eUnit_Feet, "a foot of this film has frames 0 to 15", "feet+frames, such as 90+12"},
    };
    for (const auto& [text, unit, reason, form] : rows)
        EXPECT_EQ(Complaint([&, text = text, unit = unit] { Convert(text, unit, {Tool_eUnit_Ticks}); }),
                  std::string("standard input: line 1: \"") + text + "\" is not a position in " +
                      std::string(Tool_UnitName(unit)) + " (" + reason + "), expected " + form);
}

TEST_F(ConvertTest, FilmHasItsOwnRateOffsetAndGauge)
{
    const std::string song = Written("ConvertTest_film.mid", Song());
    const auto convert = [&](const std::vector<std::string>& iOptions) {
        std::vector<std::string> arguments = {"convert", "ConvertTest_film.mid", "--from", "minsec",
                                              "--to",    "feet,subframes"};
        arguments.insert(arguments.end(), iOptions.begin(), iOptions.end());
        const Outcome outcome = Run(arguments, "1:02\n");
        return outcome.mOut + outcome.mErr;
    };
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{}, "93+00\t00:01:02:00.00\n"},
        {{"--gauge", "16", "--film-rate", "25"}, "38+30\t00:01:02:00.00\n"},
        {{"--film-offset", "-1489", "--timecode", "29.97drop"}, "129599+15\t00:01:02;00.14\n"},
        {{"--gauge", "70"}, "kora: --gauge \"70\", expected 35 or 16 (try \"kora convert --help\")\n"},
        {{"--film-rate", "0"},
         "kora: --film-rate \"0\", expected 1 to 1000 frames a second (try \"kora convert --help\")\n"},
        {{"--film-offset", "x"},
         "kora: --film-offset \"x\", expected a whole number of frames (try \"kora convert --help\")\n"},
    };
    for (const auto& [options, text] : rows)
        EXPECT_EQ(convert(options), text);
    EXPECT_EQ(convert({}), rows[0].second); // a rate that was asked for once is not kept
}

// A pipe whose other end sends a line, or half of one, only once all whole lines before it are answered.
TEST_F(ConvertTest, APipeIsAnsweredLineByLineAndBlocksGiveWhatTheWholeGives)
{
    struct Pipe : std::streambuf
    {
        int underflow() override
        {
            const std::string answers = mOut.str();
            EXPECT_EQ(std::count(answers.begin(), answers.end(), '\n'), mLines);
            if (mNext == mParts.size()) return traits_type::eof();
            std::string& part = mParts[mNext++];
            mLines += std::count(part.begin(), part.end(), '\n');
            setg(part.data(), part.data(), part.data() + part.size());
            return traits_type::to_int_type(part.front());
        }
        std::vector<std::string> mParts = {"1\n", "2", "2\n", "3\n4", "4\n", "5"};
        std::size_t mNext = 0;
        std::ptrdiff_t mLines = 0;
        std::ostringstream mOut;
    } pipe;
    std::istream lines(&pipe);
    const Tool_Song song{Tool_Settings()};
    const std::vector<Tool_EUnit> to = {Tool_eUnit_Samples};
    Tool_ConvertStream(song, lines, "standard input", Tool_eUnit_Samples, to, pipe.mOut);
    EXPECT_EQ(pipe.mOut.str(), "1\n22\n3\n44\n5\n");

    std::string many;
    for (int i = 0; i < 30000; ++i)
        many += std::to_string(i * 7) + '\n';
    std::istringstream in(many + "x\n1\n");
    std::ostringstream out;
    EXPECT_EQ(Complaint([&] { Tool_ConvertStream(song, in, "standard input", Tool_eUnit_Samples, to, out); }),
              "standard input: line 30001: \"x\" is not a position in samples, expected a whole number");
    EXPECT_TRUE(out.str() == many);
}
