#include "Kora/Time/Tempo/Time_TempoEdit.h"
#include "Tool/Tool_Plot.h"
#include "Tool/Tool_PlotScale.h"
#include "Tool/Tool_PlotText.h"
#include "Tool/Tool_SongRows.h"
#include "tests/Tool/ToolFixture.h"

#include <cstring>

namespace {

std::string Svg(const std::string& iMidiBytes, const std::string& iTitle = "x",
                const Tool_PlotOptions& iOptions = {})
{
    const Tool_Song song(Tool_MidiFile::Parse(iMidiBytes, "x.mid"), {});
    return Tool_Plot(song, iTitle, iOptions);
}

// What is wrong with the nesting, or with a place outside the page; empty when nothing is.
std::string FaultOf(const std::string& iSvg, double iWidth = 960)
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
                if (const double place = std::atof(&tag[i + 1]); place < 0 || place > iWidth) return tag;
        at = end;
    }
    return open.empty() ? "" : "open " + open.back();
}

// What is wrong with the places of the texts: empty when none leaves the page or runs into another.
std::string CollisionsIn(const std::string& iSvg, double iWidth = 960)
{
    struct Box
    {
        double mLeft;
        double mRight;
        double mLine;
        std::string mText;
    };
    std::vector<Box> boxes;
    std::string faults;
    for (std::size_t at = 0; (at = iSvg.find("<text ", at)) != std::string::npos; ++at) {
        const std::size_t start = iSvg.find('>', at) + 1;
        const std::string tag = iSvg.substr(at, start - at);
        const std::string text = iSvg.substr(start, iSvg.find("</text>", at) - start);
        const auto number = [&](const char* iName) {
            return std::atof(&tag[tag.find(iName) + std::strlen(iName)]);
        };
        const bool isTitle = tag.find("\"title\"") != std::string::npos;
        const double width = static_cast<double>(Tool_TextWidth(text, isTitle ? 20 : 12)) / 10;
        const double anchor = tag.find("\"end\"") != std::string::npos ? 1 : 0;
        const double left = number(" x=\"") - anchor * width;
        const Box box{left, left + width, number(" y=\""), text};
        if (box.mLeft < 0 || box.mRight > iWidth) faults += text + " leaves the page; ";
        for (const Box& other : boxes)
            if (std::abs(other.mLine - box.mLine) < 10 && other.mLeft < box.mRight &&
                box.mLeft < other.mRight)
                faults += text + " runs into " + other.mText + "; ";
        boxes.push_back(box);
    }
    return faults;
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
    // After twenty bars at 100 up to 150 within one bar, where thirty bars stay; sixty meters,
    // and what comes after them.
    const auto bpm = [](int iTempo) { return 60000000 / iTempo; };
    std::string ramp = Tempo(0, bpm(100)) + Meter(0, 2, 2) + Meter(1, 3, 2) + Tempo(38400, bpm(101));
    for (int tempo = 102; tempo <= 150; ++tempo)
        ramp += Tempo(9, bpm(tempo));
    ramp += Text(57600, "");
    std::string crowd = Key(0, 2, 0) + Meter(0, 4, 2);
    for (int i = 0; i < 60; ++i)
        crowd += Meter(i == 0 ? 28800 : 480, 2 + i % 5, 2);
    const std::string opening = Tempo(0, bpm(99)) + Tempo(1, bpm(77)) + Tempo(999, bpm(88));
    const std::string behind = Meter(480, 7, 3) + Text(48000, "");
    const std::tuple<const char*, std::string, const char*> rows[] = {
        {"the defaults", File(480, {""}), "0 bars · 0:00.000 · 120 bpm · 1 tempo, 1 meter, 0 keys"},
        {"one tick", File(32767, {Text(1, "")}), ">1 bar · 0:00.000 · 120 bpm"},
        {"all in one tick", File(480, {Tempo(0, 1) + Meter(0, 255, 0) + Key(0, -7, 1)}), "60000000 bpm"},
        {"slowest and fastest", File(1, {Tempo(0, 16777215) + Tempo(9, 1) + Text(9, "")}), "3.576 to "},
        {"eighteen days", File(1, {Text(1558230, ""), Key(9, 7, 0)}), ">96:00:00<"},
        {"bars of a thousandth", File(480, {Meter(0, 1, 11) + Text(480000, "")}), ">512000 bars"},
        {"six thousand changes", File(480, {many}), "· 2001 tempos, "},
        {"a bar cut short", File(480, {Meter(480, 3, 2) + Text(4800, "")}), ">3/4 cuts bar 1<"},
        {"a plateau has its own tempo, not the one before", File(480, {ramp}), ">150<"},
        {"the count of a ramp", File(480, {ramp}), ">36 tempos<"},
        {"a song in 3/4 after a tick of 2/4", File(480, {ramp}), ">3/4 cuts bar 1<"},
        {"a crowd and what comes after it", File(480, {crowd + behind}), ">60 meters<"},
        {"the opening meter", File(480, {crowd + Text(1, "")}), ">4/4<"},
        {"the opening key", File(480, {crowd + Key(1, 3, 0) + Text(1000000, "")}), ">D major<"},
        {"the opening tempo before a crowd", File(480, {opening + Text(1000000, "")}), ">77<"},
    };
    for (const auto& [shows, bytes, holds] : rows) {
        for (const Cmn_Int64 width : {420, 960, 1920}) {
            SCOPED_TRACE(std::string(shows) + " in " + std::to_string(width));
            Tool_PlotOptions options;
            options.mWidth = width;
            const std::string svg = Svg(bytes, "<&\">\x01\xFF", options);
            EXPECT_EQ(FaultOf(svg, static_cast<double>(std::max<Cmn_Int64>(width, 432))), "");
            EXPECT_EQ(CollisionsIn(svg, static_cast<double>(width)), "");
            EXPECT_LT(svg.size(), 1500000u);
            EXPECT_TRUE(width != 960 || svg.find(holds) != std::string::npos) << svg.substr(0, 3000);
        }
    }
}

namespace {

// What a text, or a group, of a picture says, from its bytes alone.
struct Shown
{
    std::string mTold;
    std::string mClass;
    std::string mText;
    double mX = 0;

    Cmn_Int64 CountOfChanges() const
    {
        const std::size_t last = mTold.find("the last of ");
        if (last != std::string::npos) return std::atoll(&mTold[last + 12]);
        return mTold.starts_with("bar ") ? 1 : std::atoll(mTold.c_str());
    }
    bool IsOne() const { return mTold.starts_with("bar "); }
};

std::vector<Shown> GroupsOf(const std::string& iSvg)
{
    std::vector<Shown> groups;
    const auto between = [](const std::string& iText, const std::string& iFrom, const std::string& iTo) {
        const std::size_t from = iText.find(iFrom);
        if (from == std::string::npos) return std::string();
        return iText.substr(from + iFrom.size(), iText.find(iTo, from + iFrom.size()) - from - iFrom.size());
    };
    for (std::size_t at = 0; (at = iSvg.find("<g>", at)) != std::string::npos; ++at) {
        const std::string group = iSvg.substr(at, iSvg.find("</g>", at) - at);
        const std::string text = between(group, "<text", "</text>");
        groups.push_back({between(group, "<title>", "</title>"), between(group, "class=\"", "\""),
                          text.substr(text.find('>') + 1), std::atof(between(text, " x=\"", "\"").c_str())});
    }
    return groups;
}

} // namespace

// Every label but the opening one, which may run on, stands where its state is in force, from end to end; labels and counts
// together are all changes.
TEST_F(PlotTest, LabelsSayWhatIsInForceAtTheirPlace)
{
    std::mt19937 random(17);
    for (int round = 0; round < 60; ++round) {
        std::string events = Meter(0, 4, 2) + Key(0, 0, 0) + Tempo(0, 500000);
        const unsigned apart = 1u << random() % 14;
        for (unsigned i = 0; i < 10 + random() % 60; ++i)
            events += Meter(random() % apart, 1 + static_cast<int>(random() % 9), 2) +
                      Key(random() % apart, static_cast<int>(random() % 15) - 7, 0) +
                      Tempo(random() % apart, 300000 + static_cast<int>(random() % 500000));
        const std::string bytes = File(480, {events + Text(480 * 9, "end")});
        const Tool_Song song(Tool_MidiFile::Parse(bytes, "x.mid"), {});
        const Tool_SongRows rows(song);
        Tool_PlotOptions options;
        options.mWidth = 420 + static_cast<Cmn_Int64>(random() % 1500);
        Cmn_Int64 from = 0;
        if (round % 3 == 0) {
            options.mFrom = Time_Tick((song.GetStartTick().AsInt64() + song.GetEndTick().AsInt64()) / 2);
            from = song.GetConverter().ToSample(*options.mFrom).AsInt64();
        }
        const auto span = static_cast<double>(rows.mEnd.mSample.AsInt64() - from);
        Cmn_Int64 meters = 0;
        Cmn_Int64 keys = 0;
        const std::string svg = Tool_Plot(song, "x", options);
        EXPECT_EQ(CollisionsIn(svg, static_cast<double>(options.mWidth)), "") << round;
        for (const Shown& shown : GroupsOf(svg)) {
            const bool isMeter = shown.mClass.find("meter") != std::string::npos;
            const bool isKey = shown.mClass.find("key") != std::string::npos;
            if (shown.mText.empty() || !(isMeter || isKey)) continue;
            const bool isOpening = (isMeter ? meters : keys) == 0;
            (isMeter ? meters : keys) += shown.CountOfChanges();
            if (!shown.IsOne() || isOpening) continue;
            const double width = static_cast<double>(Tool_TextWidth(shown.mText, 12)) / 10;
            for (const double x : {shown.mX, shown.mX + width - 1}) {
                const double place = (x - 92) / static_cast<double>(options.mWidth - 28 - 92) * span;
                const Time_Sample sample(from + static_cast<Cmn_Int64>(place));
                const Time_Tick tick = song.GetTempoMap().SampleToTick(sample);
                const std::string meter = song.GetMeterMap().GetMeterAtTick(tick).ToString();
                const auto key = std::find_if(rows.mKeys.rbegin(), rows.mKeys.rend(),
                                              [&](const auto& r) { return r.mPlace.mTick <= tick; });
                EXPECT_EQ(isMeter ? shown.mText.substr(0, shown.mText.find(' ')) : shown.mText,
                          isMeter ? meter : key->mKey.ToString())
                    << shown.mTold;
            }
        }
        const auto inRange = [&](const auto& iRows) {
            return std::count_if(iRows.begin(), iRows.end(), [&](const auto& r) {
                return !options.mFrom || r.mPlace.mTick > *options.mFrom;
            });
        };
        // Of a range the state in force where it begins counts too.
        EXPECT_EQ(meters, inRange(rows.mMeters) + (options.mFrom ? 1 : 0));
        EXPECT_EQ(keys, inRange(rows.mKeys) + (options.mFrom ? 1 : 0));
    }
}

TEST_F(PlotTest, LocksHaveALaneWhereThereAreAny)
{
    Tool_Song song(Tool_MidiFile::Parse(File(480, {Meter(0, 4, 2) + Text(480 * 32, "end")}), "x.mid"), {});
    EXPECT_EQ(Tool_Plot(song, "x").find(">lock<"), std::string::npos);
    const Time_Tick bar3 = song.GetMeterMap().BarBeatToTick({3, 1, Time_TickLength::cZero});
    ASSERT_TRUE(Time_TempoEdit::LockToSample(song.GetTempoMap(), bar3, Time_Sample(220500)));
    song.Edited(song.GetEndTick(), "lock");
    const std::string svg = Tool_Plot(song, "x");
    EXPECT_NE(svg.find(">lock<"), std::string::npos);
    EXPECT_NE(svg.find("<title>bar 3|1, 0:05.000: 0:05.000</title>"), std::string::npos);
    EXPECT_EQ(CollisionsIn(svg), "");
}

TEST_F(PlotTest, RangesAndSizesAreTakenOrRefused)
{
    static_cast<void>(Written("Plot.mid", File(480, {Meter(0, 4, 2) + Text(480 * 32, "end")})));
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{"--width", "420"}, "viewBox=\"0 0 420 432\""},
        {{"--width", "1920", "--height", "1000"}, "viewBox=\"0 0 1920 1000\""},
        {{"--from", "3|1", "--to", "5|1"}, ">from 3|1|0 · 2 bars · 0:04.000 · 120 bpm"},
        {{"--width", "319"}, "kora: --width \"319\", expected 320 to 16000 pixels"},
        {{"--height", "x"}, "kora: --height \"x\", expected 300 to 16000 pixels"},
        {{"--from", "5|1", "--to", "3|1"}, "kora: Plot.mid: the range from 5|1|0 to 3|1|0 is empty"},
    };
    for (auto [arguments, holds] : rows) {
        arguments.insert(arguments.begin(), {"plot", "Plot.mid"});
        const Outcome outcome = Run(arguments);
        EXPECT_NE((outcome.mOut + outcome.mErr).find(holds), std::string::npos) << outcome.mErr;
    }
}

TEST_F(PlotTest, ATitleIsShortenedBetweenWholeCharactersAsLittleAsNeeded)
{
    const std::string pieces[] = {"a",       "W",        "&",        "ä",    "光",
                                  "e\u0301", "👍🏽", "👩\u200D🎤", "\xFF", "\xE5"};
    std::mt19937 random(5);
    for (int round = 0; round < 3000; ++round) {
        std::vector<std::string> ends = {""};
        for (std::size_t i = random() % 60; i > 0; --i)
            ends.push_back(ends.back() + pieces[random() % std::size(pieces)]);
        const Cmn_Int64 room = 300 + static_cast<Cmn_Int64>(random() % 6000);
        const std::string shown = Tool_ShortenedText(ends.back(), 20, room);
        ASSERT_LE(Tool_TextWidth(shown, 20), room) << shown;
        if (shown == ends.back()) continue;
        const auto end =
            std::find_if(ends.begin(), ends.end(), [&](const std::string& e) { return e + "…" == shown; });
        ASSERT_NE(end, ends.end()) << shown;
        ASSERT_GT(Tool_TextWidth(end[1] + "…", 20), room - 1) << shown;
    }
    const std::string svg = Svg(File(480, {""}), std::string(300, '&'));
    const std::string title = svg.substr(svg.find("y=\"34\">"), 1000);
    EXPECT_EQ(title.find("…</text>") % 5, std::strlen("y=\"34\">") % 5) << title; // behind whole "&amp;"s
}

TEST(PlotScale, LabelsAreFewAndStandInsideTheRange)
{
    for (Cmn_Int64 size = 1; size < Cmn_Int64{1} << 45; size = size * 9 / 8 + 1) {
        if (size > 10000000000000) continue;
        const Tool_PlotScale tempo = Tool_PlotScale::OfTempo(size / 3, size, 3360, 1340);
        EXPECT_LE(tempo.GetFrom(), size / 3) << size;
        EXPECT_GT(tempo.GetTo(), size) << size;
        EXPECT_LE((tempo.GetTo() - tempo.GetFrom()) / tempo.GetStep(), 6) << size;
        EXPECT_EQ(tempo.GetFrom() % tempo.GetStep(), 0) << size;
        EXPECT_EQ(tempo.PlaceOf(tempo.GetTo()), 1340) << size;
    }
    EXPECT_EQ(Tool_TempoText(83500), "83.5");
    EXPECT_EQ(Tool_TempoText(120000), "120");
    EXPECT_EQ(Tool_TempoText(3), "0.003");
}
