#include "Tool/Tool_Plot.h"

#include "Bastel/Cmn/Cmn_CountText.h"
#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Tool/Tool_PlotLabels.h"
#include "Tool/Tool_PlotScale.h"
#include "Tool/Tool_PlotText.h"
#include "Tool/Tool_Seconds.h"
#include "Tool/Tool_SongRows.h"
#include "Tool/Tool_Text.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

namespace {

constexpr Cmn_Int64 cMicroseconds = 1000000;

// The page in pixels, from its top left corner.
constexpr Cmn_Int64 cWidth = 960;
constexpr Cmn_Int64 cHeight = 432;
constexpr Cmn_Int64 cLeft = 80;
constexpr Cmn_Int64 cNames = 16; // of lanes and axes
constexpr Cmn_Int64 cNamesEnd = 48;
constexpr Cmn_Int64 cRight = cWidth - 28;
constexpr Cmn_Int64 cTitleLine = 34;
constexpr Cmn_Int64 cSubtitleLine = 56;
constexpr Cmn_Int64 cKeyLane = 76;
constexpr Cmn_Int64 cMeterLane = 98;
constexpr Cmn_Int64 cLaneHeight = 18;
constexpr Cmn_Int64 cCurveTop = 144;
constexpr Cmn_Int64 cCurveBottom = 346;
constexpr Cmn_Int64 cTimeAxis = 388;
constexpr Cmn_Int64 cFoot = 4;       // of a mark in a lane, below the labels
constexpr Cmn_Int64 cMark = 6;       // of an axis
constexpr Cmn_Int64 cLabelDrop = 20; // from an axis to its labels' line
constexpr Cmn_Int64 cTitleSize = 20;
constexpr Cmn_Int64 cPageEdge = cWidth * 10;

constexpr char cStyle[] =
    "text { font: 12px system-ui, 'Segoe UI', 'DejaVu Sans', sans-serif; fill: #57606a } "
    ".page { fill: #ffffff } .title { font-size: 20px; font-weight: 600; fill: #1f2328 } "
    ".grid { stroke: #d8dee4 } .axis { stroke: #8c959f } .end { text-anchor: end } .mid { text-anchor: "
    "middle } "
    ".curve { stroke: #0969da; stroke-width: 2; fill: none } .area { fill: #0969da; fill-opacity: 0.1 } "
    ".tempo { fill: #0550ae; font-weight: 600 } "
    ".mark { stroke-dasharray: 3 5 } .meter { stroke: #1a7f37 } .key { stroke: #8250df; stroke-dashoffset: "
    "-2 } "
    ".cut { stroke: #bc4c00 } text.meter { fill: #116329; stroke: none } text.key { fill: #6639ba; stroke: "
    "none } "
    "text.cut { fill: #953800; stroke: none } "
    "@media (prefers-color-scheme: dark) { text { fill: #9198a1 } .page { fill: #0d1117 } "
    ".title { fill: #f0f6fc } .grid { stroke: #2a313c } .axis { stroke: #656c76 } .curve { stroke: #4493f8 } "
    ".area { fill: #4493f8; fill-opacity: 0.16 } .tempo { fill: #79c0ff } .meter { stroke: #3fb950 } "
    ".key { stroke: #ab7df8 } .cut { stroke: #f0883e } text.meter { fill: #56d364 } text.key { fill: #d2a8ff "
    "} "
    "text.cut { fill: #ffa657 } }";

// "64", "64.5"
std::string Pixels(Cmn_Int64 iTenths)
{
    std::string text = std::to_string(iTenths / 10);
    if (iTenths % 10 != 0) text.append(1, '.').append(std::to_string(iTenths % 10));
    return text;
}

Cmn_Int64 WidthOf(const std::string& iText) { return Tool_TextWidth(iText, Tool_cLabelSize); }

class Plot
{
public:
    Plot(const Tool_Song& iSong, const std::string& iTitle)
        : mSong(iSong)
        , mRows(iSong)
        , mSeconds(iSong.GetSettings().mSampleRate)
        , mTime(Tool_PlotScale::OfTime(Micros(mRows.mEnd.mSample), cLeft * 10, cRight * 10))
        , mTempo(TempoScale())
        , mSvg("svg")
        , mTitle(iTitle)
    {
    }

    std::string Draw()
    {
        AddFrame();
        AddTempoGrid();
        AddBarAxis();
        AddTimeAxis();
        AddCurve();
        AddMeters();
        AddKeys();
        AddTempoLabels();
        return mSvg.ToString(true);
    }

private:
    using Attributes = std::initializer_list<std::pair<const char*, std::string>>;

    static Cmn_XMLNode& Add(Cmn_XMLNode& ioParent, const char* iName, const char* iClass,
                            Attributes iAttributes)
    {
        Cmn_XMLNode node(iName);
        if (*iClass != '\0') node.AddAttribute("class", iClass);
        for (const auto& [name, value] : iAttributes)
            node.AddAttribute(name, value);
        return ioParent.AddChild(std::move(node));
    }
    // Places in tenths.
    static void AddLine(Cmn_XMLNode& ioParent, const char* iClass, Cmn_Int64 iX1, Cmn_Int64 iY1,
                        Cmn_Int64 iX2, Cmn_Int64 iY2)
    {
        Add(ioParent, "line", iClass,
            {{"x1", Pixels(iX1)}, {"y1", Pixels(iY1)}, {"x2", Pixels(iX2)}, {"y2", Pixels(iY2)}});
    }
    static void AddText(Cmn_XMLNode& ioParent, const char* iClass, Cmn_Int64 iX, Cmn_Int64 iY,
                        const std::string& iText)
    {
        Add(ioParent, "text", iClass, {{"x", Pixels(iX)}, {"y", Pixels(iY)}}).SetText(iText);
    }

    Cmn_Int64 Micros(Time_Sample iSample) const { return mSeconds.ToUnits(iSample.AsInt64(), cMicroseconds); }
    Cmn_Int64 XOf(Time_Sample iSample) const { return mTime.PlaceOf(Micros(iSample)); }
    Cmn_Int64 XOf(const Tool_SongRows::Place& iPlace) const { return XOf(iPlace.mSample); }
    Cmn_Int64 XOfBar(Cmn_Int64 iBar) const
    {
        const Time_BarBeatTick start(static_cast<Cmn_Int32>(iBar), 1, Time_TickLength::cZero);
        return XOf(mSong.GetConverter().ToSample(mSong.GetMeterMap().BarBeatToTick(start)));
    }

    // In quarter notes, whatever the beat is, so that the curve compares.
    static Cmn_Int64 Thousandths(const Tool_SongRows::Tempo& iTempo)
    {
        constexpr double cMost = 1e13;
        const double quarters = iTempo.mBeatsPerMinute * (static_cast<double>(iTempo.mTicksPerBeat) /
                                                          static_cast<double>(Tool_Song::cTicksPerQuarter));
        return Cmn_RoundHalfUp(std::clamp(quarters * 1000.0, 0.0, cMost));
    }
    std::pair<Cmn_Int64, Cmn_Int64> TempoRange() const
    {
        std::pair<Cmn_Int64, Cmn_Int64> range(Thousandths(mRows.mTempos.front()), 0);
        for (const Tool_SongRows::Tempo& tempo : mRows.mTempos)
            range = {std::min(range.first, Thousandths(tempo)), std::max(range.second, Thousandths(tempo))};
        return range;
    }
    Tool_PlotScale TempoScale() const
    {
        const auto [min, max] = TempoRange();
        return Tool_PlotScale::OfTempo(min, max, cCurveBottom * 10, cCurveTop * 10);
    }

    Cmn_Int64 FirstBar() const { return mRows.mMeters.front().mPlace.mPosition.mBar; }
    Cmn_Int64 CountOfBars() const
    {
        const Time_BarBeatTick& end = mRows.mEnd.mPosition;
        return end.mBar - FirstBar() + (end.IsOnBarline() ? 0 : 1);
    }

    void AddFrame()
    {
        const std::string width = std::to_string(cWidth);
        const std::string height = std::to_string(cHeight);
        mSvg.AddAttribute("xmlns", "http://www.w3.org/2000/svg");
        mSvg.AddAttribute("viewBox", "0 0 " + width + ' ' + height);
        mSvg.AddAttribute("width", width);
        mSvg.AddAttribute("height", height);
        mSvg.AddAttribute("role", "img");
        mSvg.AddValue("title", mTitle);
        mSvg.AddValue("style", cStyle);
        Add(mSvg, "rect", "page", {{"width", width}, {"height", height}});
        AddText(mSvg, "title", cLeft * 10, cTitleLine * 10,
                Tool_ShortenedText(mTitle, cTitleSize, (cRight - cLeft) * 10));
        AddText(mSvg, "", cLeft * 10, cSubtitleLine * 10, Subtitle());
    }

    // "21 bars · 0:44.719 · 60 to 138 bpm · 8 tempos, 5 meters, 3 keys"
    std::string Subtitle() const
    {
        const auto size = [](const auto& iRows) { return static_cast<Cmn_Int64>(iRows.size()); };
        const auto [min, max] = TempoRange();
        const std::string range = min == max ? "" : Tool_TempoText(min) + " to ";
        return Cmn_CountText(CountOfBars(), "bar") + " · " +
               mSeconds.MinutesAndSeconds(mRows.mEnd.mSample.AsInt64()) + " · " + range +
               Tool_TempoText(max) + " bpm · " + Cmn_CountText(size(mRows.mTempos), "tempo") + ", " +
               Cmn_CountText(size(mRows.mMeters), "meter") + ", " + Cmn_CountText(size(mRows.mKeys), "key");
    }

    void AddTempoGrid()
    {
        AddText(mSvg, "", cNames * 10, (cCurveTop - 12) * 10, "bpm");
        for (Cmn_Int64 tempo = mTempo.GetFrom(); tempo <= mTempo.GetTo(); tempo += mTempo.GetStep()) {
            const Cmn_Int64 y = mTempo.PlaceOf(tempo);
            AddLine(mSvg, tempo == mTempo.GetFrom() ? "axis" : "grid", cLeft * 10, y, cRight * 10, y);
            AddText(mSvg, "end", cLeft * 10 - 80, y + 40, Tool_TempoText(tempo));
        }
    }

    // Bars 1, 1 + iStep, … that begin inside the song, with their places.
    std::vector<std::pair<Cmn_Int64, Cmn_Int64>> BarsBy(Cmn_Int64 iStep) const
    {
        std::vector<std::pair<Cmn_Int64, Cmn_Int64>> bars;
        const Cmn_Int64 end = FirstBar() + CountOfBars();
        for (Cmn_Int64 bar = FirstBar() + (iStep - (FirstBar() - 1) % iStep) % iStep; bar < end; bar += iStep)
            bars.emplace_back(bar, XOfBar(bar));
        return bars;
    }

    // Bars have different lengths, so the labels' step is the first power of two at which
    // all of them stand clear.
    void AddBarAxis()
    {
        constexpr Cmn_Int64 cMostMarks = 128;
        constexpr Cmn_Int64 cGap = 40;
        const auto standClear = [](const auto& iBars) {
            for (std::size_t i = 1; i < iBars.size(); ++i)
                if (iBars[i].second - iBars[i - 1].second < WidthOf(std::to_string(iBars[i].first)) + cGap)
                    return false;
            return true;
        };
        AddText(mSvg, "", cNames * 10, (cCurveBottom + cLabelDrop) * 10, "bar");
        Cmn_Int64 step = 1;
        while (CountOfBars() / step > cMostMarks)
            step *= 2;
        const auto marks = BarsBy(step);
        for (const auto& [bar, x] : marks)
            AddLine(mSvg, "axis", x, cCurveBottom * 10, x, (cCurveBottom + cMark) * 10);
        auto labels = marks;
        while (!standClear(labels))
            labels = BarsBy(step *= 2);
        for (const auto& [bar, x] : labels)
            AddAxisLabel(x, cCurveBottom, std::to_string(bar));
    }

    // Centred on its mark, but between the axis's name and the page's edge.
    static Cmn_Int64 CentreOf(Cmn_Int64 iX, const std::string& iText)
    {
        const Cmn_Int64 half = (WidthOf(iText) + 1) / 2;
        return std::clamp(iX, cNamesEnd * 10 + half, cPageEdge - half);
    }
    void AddAxisLabel(Cmn_Int64 iX, Cmn_Int64 iAxis, const std::string& iText)
    {
        AddText(mSvg, "mid", CentreOf(iX, iText), (iAxis + cLabelDrop) * 10, iText);
    }

    void AddTimeAxis()
    {
        AddText(mSvg, "", cNames * 10, (cTimeAxis + cLabelDrop) * 10, "time");
        AddLine(mSvg, "axis", cLeft * 10, cTimeAxis * 10, cRight * 10, cTimeAxis * 10);
        Cmn_Int64 free = 0;
        for (Cmn_Int64 time = 0; time <= mTime.GetTo(); time += mTime.GetStep()) {
            const Cmn_Int64 x = mTime.PlaceOf(time);
            const std::string label = Tool_ClockText(time, mTime.GetStep());
            AddLine(mSvg, "axis", x, cTimeAxis * 10, x, (cTimeAxis + cMark) * 10);
            const Cmn_Int64 centre = CentreOf(x, label);
            if (centre - WidthOf(label) / 2 < free) continue; // "9000:00:00" at the lowest rates
            AddAxisLabel(x, cTimeAxis, label);
            free = centre + WidthOf(label) / 2;
        }
    }

    // A step at each change. Changes of one place give one stroke through all of them that ends at the last.
    void AddCurve()
    {
        std::string path =
            "M" + Pixels(cLeft * 10) + ' ' + Pixels(mTempo.PlaceOf(Thousandths(mRows.mTempos[0])));
        for (auto row = mRows.mTempos.begin(); row != mRows.mTempos.end();) {
            const Cmn_Int64 x = XOf(row->mPlace);
            const auto next =
                std::find_if(row, mRows.mTempos.end(), [&](const auto& r) { return XOf(r.mPlace) != x; });
            path += " H" + Pixels(x);
            if (std::distance(row, next) > 1) {
                const auto [min, max] = std::minmax_element(
                    row, next, [](const auto& a, const auto& b) { return Thousandths(a) < Thousandths(b); });
                path += " V" + Pixels(mTempo.PlaceOf(Thousandths(*min))) + " V" +
                        Pixels(mTempo.PlaceOf(Thousandths(*max)));
            }
            path += " V" + Pixels(mTempo.PlaceOf(Thousandths(*std::prev(next))));
            row = next;
        }
        path += " H" + Pixels(cRight * 10);
        const std::string bottom = Pixels(cCurveBottom * 10);
        Add(mSvg, "path", "area", {{"d", path + " V" + bottom + " H" + Pixels(cLeft * 10) + " Z"}});
        Add(mSvg, "path", "curve", {{"d", path}});
    }

    // Changes less than a pixel apart are one mark, which shows what holds from the last of them on.
    template <class Row, class Texts>
    std::vector<Tool_PlotMark> MarksOf(const std::vector<Row>& iRows, Texts iTexts) const
    {
        constexpr Cmn_Int64 cApart = 10;
        std::vector<Tool_PlotMark> marks;
        for (auto row = iRows.begin(); row != iRows.end();) {
            const Cmn_Int64 x = XOf(row->mPlace);
            const auto next =
                std::find_if(row, iRows.end(), [&](const Row& r) { return XOf(r.mPlace) >= x + cApart; });
            const auto last = std::prev(next);
            marks.push_back({x, XOf(last->mPlace), static_cast<std::size_t>(last - iRows.begin()), next - row,
                             iTexts(*last)});
            row = next;
        }
        return marks;
    }

    // The marks of one kind of change with their labels. A mark without a label of its own is a foot below
    // the text, so that a crowd of them covers neither its label nor the curve.
    template <class Row, class Class, class Texts>
    void AddLane(Cmn_Int64 iLane, const char* iNoun, const std::vector<Row>& iRows, Class iClass,
                 Texts iTexts)
    {
        const Cmn_Int64 line = (iLane + cLaneHeight - 5) * 10;
        AddText(mSvg, "", cNames * 10, line, iNoun);
        const std::vector<Tool_PlotMark> marks = MarksOf(iRows, iTexts);
        Cmn_Int64 free = 0;
        for (const Tool_PlotLabel& label : Tool_PlaceLabels(marks, iNoun, cPageEdge)) {
            const bool isOne = label.mChanges == 0;
            for (std::size_t i = label.mFirstMark; i < label.mFirstMark + label.mMarks; ++i) {
                const Row& row = iRows[marks[i].mLast];
                Cmn_XMLNode& group = AddMark(marks[i], row.mPlace);
                const Cmn_Int64 foot = iLane + cLaneHeight - cFoot;
                AddLine(group, (std::string("mark ") + iClass(row)).c_str(), marks[i].mX,
                        (isOne && marks[i].mX >= free ? iLane : foot) * 10, marks[i].mX,
                        (isOne ? cCurveBottom : iLane + cLaneHeight) * 10);
                if (isOne) AddText(group, iClass(row), label.mX, line, label.mText);
            }
            if (!isOne) AddCrowdText(label, iNoun, iNoun, line);
            free = label.mEnd;
        }
    }
    // What is told of it to whoever points at it.
    Cmn_XMLNode& AddMark(const Tool_PlotMark& iMark, const Tool_SongRows::Place& iPlace)
    {
        Cmn_XMLNode& group = Add(mSvg, "g", "", {});
        group.AddValue(
            "title",
            "bar " + iPlace.mPosition.ToString(false, false) + ", " +
                mSeconds.MinutesAndSeconds(iPlace.mSample.AsInt64()) + ": " + iMark.mTexts.front() +
                (iMark.mChanges == 1 ? ""
                                     : ", the last of " + std::to_string(iMark.mChanges) + " changes here"));
        return group;
    }
    void AddCrowdText(const Tool_PlotLabel& iLabel, const char* iClass, const char* iNoun, Cmn_Int64 iY)
    {
        Cmn_XMLNode& group = Add(mSvg, "g", "", {});
        group.AddValue("title", Cmn_CountText(iLabel.mChanges, iNoun));
        AddText(group, iClass, iLabel.mX, iY, iLabel.mText);
    }

    void AddMeters()
    {
        using Meter = Tool_SongRows::Meter;
        AddLane(
            cMeterLane, "meter", mRows.mMeters,
            [](const Meter& iRow) { return iRow.mIsOffBarline ? "cut" : "meter"; },
            [](const Meter& iRow) -> std::vector<std::string> {
                const std::string meter =
                    std::to_string(iRow.mNumerator) + '/' + std::to_string(iRow.mDenominator);
                if (!iRow.mIsOffBarline) return {meter};
                return {meter + " cuts bar " + std::to_string(Cmn_Int64{iRow.mBar} - 1), meter};
            });
    }

    void AddKeys()
    {
        using Key = Tool_SongRows::Key;
        AddLane(
            cKeyLane, "key", mRows.mKeys, [](const Key&) { return "key"; },
            [](const Key& iRow) -> std::vector<std::string> { return {iRow.mKey.ToString()}; });
    }

    // Over the steps that are wide enough, and over the highest step below what runs on.
    void AddTempoLabels()
    {
        const auto marks =
            MarksOf(mRows.mTempos, [](const Tool_SongRows::Tempo& iRow) -> std::vector<std::string> {
                return {Tool_TempoText(Thousandths(iRow))};
            });
        for (const Tool_PlotLabel& label : Tool_PlaceLabels(marks, "tempo", cPageEdge)) {
            const Cmn_Int64 y = mTempo.PlaceOf(HighestTempo(marks[label.mFirstMark].mX, label.mEnd)) - 60;
            if (label.mChanges == 0)
                AddText(mSvg, "tempo", label.mX, y, label.mText);
            else
                AddCrowdText(label, "tempo", "tempo", y);
        }
    }
    Cmn_Int64 HighestTempo(Cmn_Int64 iFrom, Cmn_Int64 iTo) const
    {
        const auto behind = [&](Cmn_Int64 iX) {
            return std::partition_point(mRows.mTempos.begin(), mRows.mTempos.end(),
                                        [&](const auto& r) { return XOf(r.mPlace) <= iX; });
        };
        auto row = behind(iFrom);
        if (row != mRows.mTempos.begin()) --row;
        Cmn_Int64 highest = 0;
        for (const auto end = behind(iTo); row != end; ++row)
            highest = std::max(highest, Thousandths(*row));
        return highest;
    }

    const Tool_Song& mSong;
    Tool_SongRows mRows;
    Tool_Seconds mSeconds;
    Tool_PlotScale mTime;
    Tool_PlotScale mTempo;
    Cmn_XMLNode mSvg;
    std::string mTitle;
};

} // namespace

std::string Tool_Plot(const Tool_Song& iSong, const std::string& iTitle)
{
    return Plot(iSong, iTitle).Draw();
}
