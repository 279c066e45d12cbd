#include "Tool/Tool_Plot.h"

#include "Bastel/Cmn/Cmn_CountText.h"
#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Convert/Time_Ruler.h"
#include "Tool/Tool_PlotLabels.h"
#include "Tool/Tool_PlotPage.h"
#include "Tool/Tool_PlotScale.h"
#include "Tool/Tool_PlotText.h"
#include "Tool/Tool_Seconds.h"
#include "Tool/Tool_SongRows.h"

#include <algorithm>
#include <iterator>

namespace {

// In pixels.
constexpr Cmn_Int64 cNames = 16; // of lanes and rulers
constexpr Cmn_Int64 cLeft = 92;
constexpr Cmn_Int64 cRightMargin = 28;
constexpr Cmn_Int64 cTitleLine = 34;
constexpr Cmn_Int64 cSubtitleLine = 56;
constexpr Cmn_Int64 cLineHeight = 17;
constexpr Cmn_Int64 cLaneHeight = 22;
constexpr Cmn_Int64 cTextDrop = 13;  // from a lane's top to its line of text
constexpr Cmn_Int64 cLaneMark = 18;  // what marks take of a lane
constexpr Cmn_Int64 cFoot = 4;       // of a mark in a lane, below the labels
constexpr Cmn_Int64 cTempoRoom = 26; // above the curve, for its labels and name
constexpr Cmn_Int64 cRulerHeight = 24;
constexpr Cmn_Int64 cRulerDrop = 17; // from a ruler to its labels' line
constexpr Cmn_Int64 cBottomMargin = 10;
constexpr Cmn_Int64 cTick = 4; // of a ruler
constexpr Cmn_Int64 cMajorTick = 7;
constexpr Cmn_Int64 cTitleSize = 20;

struct LockRow
{
    Tool_SongRows::Place mPlace;
};

Cmn_Int64 WidthOf(const std::string& iText) { return Tool_TextWidth(iText, Tool_cLabelSize); }

class Plot
{
public:
    Plot(const Tool_Song& iSong, const std::string& iTitle, const Tool_PlotOptions& iOptions)
        : mSong(iSong)
        , mRows(iSong)
        , mSeconds(iSong.GetSettings().mSampleRate)
        , mTitle(iTitle)
        , mWidth(iOptions.mWidth)
        , mHeight(iOptions.mHeight)
        , mFromTick(iOptions.mFrom.value_or(iSong.GetStartTick()))
        , mToTick(iOptions.mTo.value_or(iSong.GetEndTick()))
        , mPage(iOptions.mWidth, iOptions.mHeight, iTitle)
    {
        const Time_Converter& converter = iSong.GetConverter();
        mFrom = converter.ToSample(mFromTick);
        mTo = converter.ToSample(mToTick);
        FindLocks();
        Crop(mRows.mTempos);
        Crop(mRows.mMeters);
        Crop(mRows.mKeys);
        Crop(mLocks);
        mSubtitle = SubtitleLines();
    }

    std::string Draw()
    {
        AddHeading();
        AddTempoGrid();
        AddRulers();
        AddCurve();
        AddKeys();
        AddMeters();
        AddLocks();
        AddTempoLabels();
        return mPage.ToString();
    }

private:
    // --- What is shown

    // The changes of the range, and before them what holds where it begins.
    template <class Row>
    void Crop(std::vector<Row>& ioRows) const
    {
        const auto isBehind = [](Time_Tick iTick, const Row& iRow) { return iTick < iRow.mPlace.mTick; };
        auto first = std::upper_bound(ioRows.begin(), ioRows.end(), mFromTick, isBehind);
        if (first != ioRows.begin()) --first;
        ioRows.erase(std::upper_bound(ioRows.begin(), ioRows.end(), mToTick, isBehind), ioRows.end());
        ioRows.erase(ioRows.begin(), std::min(first, ioRows.end()));
    }
    // Of the song's start nothing needs to be told.
    void FindLocks()
    {
        const Time_TempoMap& tempos = mSong.GetTempoMap();
        for (auto segment = tempos.SegmentBegin(); segment != tempos.SegmentEnd(); ++segment) {
            const Time_Tick tick = (*segment)->GetStartTick();
            if (!(*segment)->IsLockedToSample() || tick == mSong.GetStartTick()) continue;
            const Time_Converter& converter = mSong.GetConverter();
            mLocks.push_back({{tick, converter.ToSample(tick), converter.ToBarBeatTick(tick)}});
        }
    }

    // --- Where it is, in tenths

    Cmn_Int64 Right() const { return (mWidth - cRightMargin) * 10; }
    Cmn_Int64 PageEdge() const { return mWidth * 10; }
    Cmn_Int64 LanesTop() const
    {
        return cSubtitleLine + cLineHeight * (static_cast<Cmn_Int64>(mSubtitle.size()) - 1) + 20;
    }
    Cmn_Int64 NumLanes() const { return mLocks.empty() ? 2 : 3; }
    Cmn_Int64 CurveTop() const { return LanesTop() + NumLanes() * cLaneHeight + cTempoRoom; }
    Cmn_Int64 CurveBottom() const { return mHeight - cBottomMargin - 3 * cRulerHeight; }
    Cmn_Int64 XOf(Time_Sample iSample) const
    {
        // A song of no length has the width of a second.
        const Cmn_Int64 end = mTo > mFrom
                                  ? mTo.AsInt64()
                                  : mFrom.AsInt64() + static_cast<Cmn_Int64>(mSong.GetSettings().mSampleRate);
        const Tool_PlotScale scale(mFrom.AsInt64(), end, cLeft * 10, Right(), 1);
        return scale.PlaceOf(std::clamp(iSample.AsInt64(), mFrom.AsInt64(), end));
    }
    Cmn_Int64 XOf(const Tool_SongRows::Place& iPlace) const { return XOf(iPlace.mSample); }

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
        return Tool_PlotScale::OfTempo(min, max, CurveBottom() * 10, CurveTop() * 10);
    }
    Cmn_Int64 CountOfBars() const
    {
        const Time_BarBeatTick from = mSong.GetConverter().ToBarBeatTick(mFromTick);
        const Time_BarBeatTick to = mSong.GetConverter().ToBarBeatTick(mToTick);
        return Cmn_Int64{to.mBar} - from.mBar + (to.IsOnBarline() ? 0 : 1);
    }

    // --- The heading

    void AddHeading()
    {
        const Cmn_Int64 left = cNames * 10;
        mPage.AddText(mPage.Root(), "title", left, cTitleLine * 10,
                      Tool_ShortenedText(mTitle, cTitleSize, PageEdge() - 2 * left));
        for (std::size_t i = 0; i < mSubtitle.size(); ++i)
            mPage.AddText(mPage.Root(), "", left,
                          (cSubtitleLine + cLineHeight * static_cast<Cmn_Int64>(i)) * 10, mSubtitle[i]);
    }

    // "21 bars · 0:44.719 · 60 to 138 bpm · 8 tempos, 5 meters, 3 keys", in as many lines as the page needs.
    std::vector<std::string> SubtitleLines() const
    {
        const auto size = [](const auto& iRows) { return static_cast<Cmn_Int64>(iRows.size()); };
        const auto [min, max] = TempoRange();
        const std::string range = min == max ? "" : Tool_TempoText(min) + " to ";
        std::string where;
        if (mFromTick != mSong.GetStartTick() || mToTick != mSong.GetEndTick())
            where = "from " + mSong.GetConverter().ToBarBeatTick(mFromTick).ToInternalString();
        const std::string parts[] = {
            where, Cmn_CountText(CountOfBars(), "bar"), mSeconds.MinutesAndSeconds((mTo - mFrom).AsInt64()),
            range + Tool_TempoText(max) + " bpm",
            Cmn_CountText(size(mRows.mTempos), "tempo") + ", " + Cmn_CountText(size(mRows.mMeters), "meter") +
                ", " + Cmn_CountText(size(mRows.mKeys), "key")};
        std::vector<std::string> lines(1);
        for (const std::string& part : parts) {
            if (part.empty()) continue;
            const std::string longer = lines.back() + (lines.back().empty() ? "" : " · ") + part;
            if (cNames * 10 + WidthOf(longer) <= PageEdge() || lines.back().empty())
                lines.back() = longer;
            else
                lines.push_back(part);
        }
        return lines;
    }

    // --- Axes and curve

    void AddTempoGrid()
    {
        const Tool_PlotScale scale = TempoScale();
        mPage.AddText(mPage.Root(), "", cNames * 10, (CurveTop() - 12) * 10, "bpm");
        for (Cmn_Int64 tempo = scale.GetFrom(); tempo <= scale.GetTo(); tempo += scale.GetStep()) {
            const Cmn_Int64 y = scale.PlaceOf(tempo);
            mPage.AddLine(mPage.Root(), tempo == scale.GetFrom() ? "axis" : "grid", cLeft * 10, y, Right(),
                          y);
            mPage.AddText(mPage.Root(), "end", cLeft * 10 - 80, y + 40, Tool_TempoText(tempo));
        }
    }

    void AddRulers()
    {
        constexpr std::pair<const char*, Time_EForm> cRulers[] = {
            {"bar", Time_eForm_Bars}, {"timecode", Time_eForm_Timecode}, {"min:sec", Time_eForm_MinSec}};
        Cmn_Int64 y = CurveBottom();
        for (const auto& [name, form] : cRulers) {
            AddRuler(name, form, y);
            y += cRulerHeight;
        }
    }
    void AddRuler(const char* iName, Time_EForm iForm, Cmn_Int64 iY)
    {
        const Cmn_Int64 line = (iY + cRulerDrop) * 10;
        mPage.AddText(mPage.Root(), "", cNames * 10, line, iName);
        mPage.AddLine(mPage.Root(), "axis", cLeft * 10, iY * 10, Right(), iY * 10);
        if (mTo <= mFrom) return;
        const auto measure = [](std::string_view iText) {
            return static_cast<double>(Tool_TextWidth(iText, Tool_cLabelSize)) / 10;
        };
        const Time_Ruler ruler(mSong.GetConverter(), iForm, mTo, measure);
        Time_PixelMapper mapper(mSong.GetConverter());
        const auto width = static_cast<double>(Right() / 10 - cLeft);
        mapper.Show(Time_Range(mFrom, mTo), width);
        ruler.Draw(mapper, width + 1, [&](const Time_RulerLine& iLine) {
            const Cmn_Int64 x = (cLeft + iLine.mPixel) * 10;
            if (iLine.mPixel < 0 || x > Right()) return;
            mPage.AddLine(mPage.Root(), "axis", x, iY * 10, x,
                          (iY + (iLine.mIsMajor ? cMajorTick : cTick)) * 10);
            constexpr Cmn_Int64 cLead = 20; // from a line to its label
            if (!iLine.mLabel.empty() && x + cLead + WidthOf(iLine.mLabel) <= PageEdge())
                mPage.AddText(mPage.Root(), "", x + cLead, line, iLine.mLabel);
        });
    }

    // A step at each change. Changes of one place give one stroke through all of them that ends at the last.
    void AddCurve()
    {
        const Tool_PlotScale scale = TempoScale();
        std::string path = "M" + Tool_PlotPixels(cLeft * 10) + ' ' +
                           Tool_PlotPixels(scale.PlaceOf(Thousandths(mRows.mTempos[0])));
        for (auto row = mRows.mTempos.begin(); row != mRows.mTempos.end();) {
            const Cmn_Int64 x = XOf(row->mPlace);
            const auto next =
                std::find_if(row, mRows.mTempos.end(), [&](const auto& r) { return XOf(r.mPlace) != x; });
            path += " H" + Tool_PlotPixels(x);
            if (std::distance(row, next) > 1) {
                const auto [min, max] = std::minmax_element(
                    row, next, [](const auto& a, const auto& b) { return Thousandths(a) < Thousandths(b); });
                path += " V" + Tool_PlotPixels(scale.PlaceOf(Thousandths(*min))) + " V" +
                        Tool_PlotPixels(scale.PlaceOf(Thousandths(*max)));
            }
            path += " V" + Tool_PlotPixels(scale.PlaceOf(Thousandths(*std::prev(next))));
            row = next;
        }
        path += " H" + Tool_PlotPixels(Right());
        const std::string bottom = Tool_PlotPixels(CurveBottom() * 10);
        mPage.Add(mPage.Root(), "path", "area",
                  {{"d", path + " V" + bottom + " H" + Tool_PlotPixels(cLeft * 10) + " Z"}});
        mPage.Add(mPage.Root(), "path", "curve", {{"d", path}});
    }

    // --- Marks and labels

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
        const Cmn_Int64 top = LanesTop() + iLane * cLaneHeight;
        const Cmn_Int64 line = (top + cTextDrop) * 10;
        mPage.AddText(mPage.Root(), "", cNames * 10, line, iNoun);
        const std::vector<Tool_PlotMark> marks = MarksOf(iRows, iTexts);
        Cmn_Int64 free = 0;
        for (const Tool_PlotLabel& label : Tool_PlaceLabels(marks, iNoun, PageEdge())) {
            const bool isOne = label.mChanges == 0;
            for (std::size_t i = label.mFirstMark; i < label.mFirstMark + label.mMarks; ++i) {
                const Row& row = iRows[marks[i].mLast];
                Cmn_XMLNode& group = AddMark(marks[i], row.mPlace);
                const Cmn_Int64 foot = top + cLaneMark - cFoot;
                mPage.AddLine(group, std::string("mark ") + iClass(row), marks[i].mX,
                              (isOne && marks[i].mX >= free ? top : foot) * 10, marks[i].mX,
                              (isOne ? CurveBottom() : top + cLaneMark) * 10);
                if (isOne) mPage.AddText(group, iClass(row), label.mX, line, label.mText);
            }
            if (!isOne) AddCrowdText(label, iNoun, iNoun, line);
            free = label.mEnd;
        }
    }
    // What is told of it to whoever points at it.
    Cmn_XMLNode& AddMark(const Tool_PlotMark& iMark, const Tool_SongRows::Place& iPlace)
    {
        return mPage.AddTold(
            mPage.Root(),
            "bar " + iPlace.mPosition.ToString(false, false) + ", " +
                mSeconds.MinutesAndSeconds(iPlace.mSample.AsInt64()) + ": " + iMark.mTexts.front() +
                (iMark.mChanges == 1 ? ""
                                     : ", the last of " + std::to_string(iMark.mChanges) + " changes here"));
    }
    void AddCrowdText(const Tool_PlotLabel& iLabel, const char* iClass, const char* iNoun, Cmn_Int64 iY)
    {
        Cmn_XMLNode& group = mPage.AddTold(mPage.Root(), Cmn_CountText(iLabel.mChanges, iNoun));
        mPage.AddText(group, iClass, iLabel.mX, iY, iLabel.mText);
    }

    void AddKeys()
    {
        using Key = Tool_SongRows::Key;
        AddLane(
            0, "key", mRows.mKeys, [](const Key&) { return "key"; },
            [](const Key& iRow) -> std::vector<std::string> { return {iRow.mKey.ToString()}; });
    }
    void AddMeters()
    {
        using Meter = Tool_SongRows::Meter;
        // One that holds where the range begins cuts nothing in it.
        const auto cuts = [this](const Meter& iRow) {
            return iRow.mIsOffBarline && iRow.mPlace.mTick >= mFromTick;
        };
        AddLane(
            1, "meter", mRows.mMeters, [&](const Meter& iRow) { return cuts(iRow) ? "meter cut" : "meter"; },
            [&](const Meter& iRow) -> std::vector<std::string> {
                const std::string meter =
                    std::to_string(iRow.mNumerator) + '/' + std::to_string(iRow.mDenominator);
                if (!cuts(iRow)) return {meter};
                return {meter + " cuts bar " + std::to_string(Cmn_Int64{iRow.mBar} - 1), meter};
            });
    }
    void AddLocks()
    {
        if (mLocks.empty()) return;
        AddLane(
            2, "lock", mLocks, [](const LockRow&) { return "lock"; },
            [this](const LockRow& iRow) -> std::vector<std::string> {
                return {mSeconds.MinutesAndSeconds(iRow.mPlace.mSample.AsInt64())};
            });
    }

    // Over the steps that are wide enough, and over the highest step below what runs on.
    void AddTempoLabels()
    {
        const Tool_PlotScale scale = TempoScale();
        const auto marks =
            MarksOf(mRows.mTempos, [](const Tool_SongRows::Tempo& iRow) -> std::vector<std::string> {
                return {Tool_TempoText(Thousandths(iRow))};
            });
        for (const Tool_PlotLabel& label : Tool_PlaceLabels(marks, "tempo", PageEdge())) {
            const Cmn_Int64 y = scale.PlaceOf(HighestTempo(marks[label.mFirstMark].mX, label.mEnd)) - 60;
            if (label.mChanges == 0)
                mPage.AddText(mPage.Root(), "tempo", label.mX, y, label.mText);
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
    std::vector<LockRow> mLocks;
    Tool_Seconds mSeconds;
    std::string mTitle;
    Cmn_Int64 mWidth;
    Cmn_Int64 mHeight;
    Time_Tick mFromTick;
    Time_Tick mToTick;
    Time_Sample mFrom;
    Time_Sample mTo;
    std::vector<std::string> mSubtitle;
    Tool_PlotPage mPage;
};

} // namespace

std::string Tool_Plot(const Tool_Song& iSong, const std::string& iTitle, const Tool_PlotOptions& iOptions)
{
    return Plot(iSong, iTitle, iOptions).Draw();
}
