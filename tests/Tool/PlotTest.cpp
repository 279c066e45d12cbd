#include "Tool/Tool_Plot.h"
#include "Tool/Tool_PlotScale.h"
#include "tests/Tool/ToolFixture.h"

#include <cstring>

namespace {
std::string Svg(const std::string& iMidiBytes, const std::string& iTitle = "x")
{
    const Tool_Song song(Tool_MidiFile::Parse(iMidiBytes, "x.mid"), {});
    return Tool_Plot(song, iTitle);
}

// What is wrong with the nesting, or with a place outside the page; empty when nothing is.
std::string FaultOf(const std::string& iSvg)
{
    std::vector<std::string> open;
    for (std::size_t at = iSvg.find('\n') + 1; at < iSvg.size(); at = iSvg.find('<', at)) {
        const std::size_t end = iSvg.find('>', at);
        const std::string tag = iSvg.substr(at + 1, end - at - 1); // "line x1="64" …/"
        const std::string name = tag.substr(0, tag.find_first_of(" /", 1));
        if (end > iSvg.find('<', at + 1) || std::count(tag.begin(), tag.end(), '"') % 2 != 0) return tag;
        if (name.front() == '/') {
            if (open.empty() || '/' + open.back() != name) return tag;
            open.pop_back();
        } else if (tag.back() != '/') {
            open.push_back(name);
        }
        for (std::size_t i = 0; name != "svg" && i < tag.size(); ++i)
            if (std::string(" \"MHV").find(tag[i]) != std::string::npos &&
                std::strchr("-0123456789", tag[i + 1]))
                if (const double place = std::atof(&tag[i + 1]); place < 0 || place > 960) return tag;
        at = end;
    }
    return open.empty() ? "" : "open " + open.back();
}

using PlotTest = ToolFixture;
} // namespace

TEST_F(PlotTest, AnySongGivesAWellFormedPictureOfBoundedSizeInsideThePage)
{
    std::mt19937 random(7);
    std::string many;
    for (int i = 0; i < 2000; ++i)
        many += Tempo(1 + random() % 400, 1 + static_cast<int>(random() % 16000000)) +
                Meter(random() % 9, 1 + static_cast<int>(random() % 9), static_cast<int>(random() % 6)) +
                Key(0, static_cast<int>(random() % 15) - 7, i % 2);
    // clang-format off
    const std::tuple<const char*, std::string, const char*> rows[] = {
        {"nothing but the defaults", File(480, {""}), "0 bars · 0:00.000 · 120 bpm · 1 tempo, 1 meter, 0 keys"},
        {"one tick", File(32767, {Text(1, "")}), ">1 bar · 0:00.000 · 120 bpm"},
        {"all in the first tick", File(480, {Tempo(0, 1) + Meter(0, 255, 0) + Key(0, -7, 1)}), "60000000 bpm"},
        {"the slowest and the fastest", File(1, {Tempo(0, 16777215) + Tempo(9, 1) + Text(9, "")}), "3.576 to "},
        {"eighteen days", File(1, {Text(1558230, ""), Key(9, 7, 0)}), ">216:00:00<"},
        {"bars of a thousandth", File(480, {Meter(0, 1, 11) + Text(480000, "")}), ">512000 bars"},
        {"six thousand changes", File(480, {many}), "· 2001 tempos, "},
        {"a bar cut short", File(480, {Meter(480, 3, 2) + Text(4800, "")}), ">3/4 cuts bar 1<"},
    };
    // clang-format on
    for (const auto& [shows, bytes, holds] : rows) {
        const std::string svg = Svg(bytes, "<&\">\x01\xFF");
        EXPECT_EQ(FaultOf(svg), "") << shows;
        EXPECT_LT(svg.size(), 1000000u) << shows;
        EXPECT_NE(svg.find(holds), std::string::npos) << shows << svg.substr(0, 3000);
    }
}

TEST(PlotScale, LabelsAreFewAndStandInsideTheRange)
{
    for (Cmn_Int64 size = 1; size < Cmn_Int64{1} << 45; size = size * 9 / 8 + 1) {
        const Tool_PlotScale time = Tool_PlotScale::OfTime(size, 640, 9320);
        EXPECT_LT(size / time.GetStep(), 12) << size;
        EXPECT_EQ(time.PlaceOf(0), 640) << size;
        EXPECT_EQ(time.PlaceOf(size), 9320) << size;
        if (size > 10000000000000) continue;
        const Tool_PlotScale tempo = Tool_PlotScale::OfTempo(size / 3, size, 3360, 1340);
        EXPECT_LE(tempo.GetFrom(), size / 3) << size;
        EXPECT_GT(tempo.GetTo(), size) << size;
        EXPECT_LE((tempo.GetTo() - tempo.GetFrom()) / tempo.GetStep(), 6) << size;
        EXPECT_EQ(tempo.GetFrom() % tempo.GetStep(), 0) << size;
        EXPECT_EQ(tempo.PlaceOf(tempo.GetTo()), 1340) << size;
    }
    EXPECT_EQ(Tool_ClockText(5000000, 5000000), "0:05");
    EXPECT_EQ(Tool_ClockText(1000000, 250000), "0:01.00");
    EXPECT_EQ(Tool_ClockText(3599900000, 100000), "59:59.9");
    EXPECT_EQ(Tool_ClockText(3600000000, 60000000), "1:00:00");
    EXPECT_EQ(Tool_TempoText(83500), "83.5");
    EXPECT_EQ(Tool_TempoText(120000), "120");
    EXPECT_EQ(Tool_TempoText(3), "0.003");
}
