#include "Kora/Time/Convert/Time_Ruler.h"

#include "Kora/Time/Formats/Time_MinSec.h"
#include "Kora/Time/Formats/Time_SMPTE.h"
#include "Kora/Time/Formats/Time_SampleGrid.h"
#include "Kora/Time/Meter/Time_MeterMap.h"

#include <algorithm>
#include <vector>

namespace {

using Steps = std::vector<Cmn_Int64>;

// The least of them first; each divides the next.
void AppendMultiples(Cmn_Int64 iUnit, std::initializer_list<Cmn_Int64> iFactors, Steps& ioSteps)
{
    for (const Cmn_Int64 factor : iFactors)
        ioSteps.push_back(iUnit * factor);
}

Steps BarSteps()
{
    constexpr int cMostDoublings = 24;
    Steps steps;
    for (int i = 0; i <= cMostDoublings; ++i)
        steps.push_back(Cmn_Int64{1} << i);
    return steps;
}

Steps DecimalSteps(Cmn_Int64 iFirst, Cmn_Int64 iLast)
{
    Steps steps;
    for (Cmn_Int64 step = iFirst; step <= iLast; step *= 10)
        AppendMultiples(step, {1, 5}, steps);
    return steps;
}

// Seconds, minutes, hours and days of a unit that has so many counts a second.
void AppendClock(Cmn_Int64 iSecond, Steps& ioSteps)
{
    AppendMultiples(iSecond, {1, 5, 10, 30, 60, 300, 600, 1800}, ioSteps);
    AppendMultiples(3600 * iSecond, {1, 3, 6, 12, 24, 48, 240}, ioSteps);
}

Steps MillisecondSteps()
{
    Steps steps;
    AppendMultiples(1, {1, 5, 10, 50, 100, 500}, steps);
    AppendClock(1000, steps);
    return steps;
}

Steps LabelSteps()
{
    const Cmn_Int64 second = Time_SMPTE::GetFramesPerSecond(eTimeCodeFormat_UseGlobal);
    Steps steps = {1};
    if (second % 6 == 0 && second % 5 != 0)
        AppendMultiples(6, {1, 2}, steps);
    else
        AppendMultiples(5, {1}, steps);
    if (second % 10 == 0) AppendMultiples(10, {1}, steps);
    AppendClock(second, steps);
    return steps;
}

Steps FilmSteps(Time_EFilmGauge iGauge)
{
    Steps steps = {1};
    if (iGauge == Time_eFilmGauge_16mm)
        AppendMultiples(5, {1, 2, 4}, steps);
    else
        AppendMultiples(4, {1, 2}, steps);
    const Steps feet = DecimalSteps(1, 1000000);
    for (const Cmn_Int64 factor : feet)
        steps.push_back(iGauge * factor);
    return steps;
}

Time_SampleGrid GridOf(Time_EForm iForm, Time_EFilmGauge iGauge)
{
    if (iForm == Time_eForm_Timecode) return Time_SampleGrid::Timecode(1);
    if (iForm == Time_eForm_MinSec) return Time_SampleGrid::MinSec(1);
    if (iForm == Time_eForm_Feet) return Time_SampleGrid::Feet(1, iGauge);
    return Time_SampleGrid::Samples(1);
}

Steps StepsOf(Time_EForm iForm, Time_EFilmGauge iGauge)
{
    if (iForm == Time_eForm_Timecode) return LabelSteps();
    if (iForm == Time_eForm_MinSec) return MillisecondSteps();
    if (iForm == Time_eForm_Feet) return FilmSteps(iGauge);
    return iForm == Time_eForm_Bars ? BarSteps() : DecimalSteps(1, 100000000000);
}

} // namespace

// One drawing. A count is a bar less 1, so that bar 1 has the highest rank, or a count of the sample grid.
class Time_Ruler::Drawing
{
public:
    Drawing(const Time_Ruler& iRuler, const Time_PixelMapper& iMapper, double iWidth, const Take& iTake)
        : mRuler(iRuler)
        , mMapper(iMapper)
        , mTake(iTake)
        , mFormat(*iRuler.mConverter)
        , mMeters(*iRuler.mConverter->GetMeterMap())
        , mIsBars(iRuler.mForm == Time_eForm_Bars)
        , mGrid(GridOf(iRuler.mForm, iRuler.mGauge))
        , mSteps(StepsOf(iRuler.mForm, iRuler.mGauge))
        , mViewFrom(iMapper.ToTime(0, iMapper.GetAxisType()).AsInt64())
        , mFrom(iMapper.ToTime(-iRuler.mLabelDistance, iMapper.GetAxisType()).AsInt64())
        , mTo(iMapper.ToTime(iWidth, iMapper.GetAxisType()).AsInt64())
    {
        mFormat.SetFilmGauge(iRuler.mGauge);
    }

    void Run()
    {
        const Cmn_Int64 top = mSteps.back();
        Cmn_Int64 count = Cmn_FloorDiv(CountAt(mFrom), top) * top - top;
        Cmn_Int64 before = AxisOf(count - top);
        for (Cmn_Int64 at = AxisOf(count); at < mTo; count += top) {
            const Cmn_Int64 next = AxisOf(count + top);
            Consider(count, before, at, next);
            Visit(mSteps.size() - 1, count, at, next);
            before = at;
            at = next;
        }
    }

private:
    static constexpr Cmn_Int64 cFarthestBar = Cmn_Int64{1} << 30;

    Time_Tick BarlineOf(Cmn_Int64 iCount) const
    {
        const auto bar = static_cast<Cmn_Int32>(iCount + 1);
        return mMeters.BarBeatToTick({bar, 1, Time_TickLength::cZero});
    }
    Cmn_Int64 AxisOf(Cmn_Int64 iCount) const
    {
        return mIsBars ? mMapper.ToAxis(BarlineOf(iCount)) : mMapper.ToAxis(mGrid.GetSample(iCount));
    }
    // A count near a place, not behind it by more than one.
    Cmn_Int64 CountAt(Cmn_Int64 iAxis) const
    {
        const Time_Typed time(iAxis, mMapper.GetAxisType());
        const Time_Converter& converter = *mRuler.mConverter;
        if (!mIsBars) return mGrid.AtOrAfter(converter.ToSample(time)).mCount;
        const Cmn_Int64 bar = mMeters.TickToBarBeat(converter.ToTick(time)).mBar;
        return std::clamp(bar - 1, -cFarthestBar, cFarthestBar);
    }
    double Pixels(Cmn_Int64 iFrom, Cmn_Int64 iTo) const
    {
        return static_cast<double>(iTo - iFrom) / mMapper.GetUnitsPerPixel();
    }

    // The lines between a count of a rank and the next of that rank. Where these two are too close to each
    // other, what is between them is closer still.
    void Visit(std::size_t iRank, Cmn_Int64 iCount, Cmn_Int64 iFrom, Cmn_Int64 iTo)
    {
        if (iTo <= mFrom || iFrom >= mTo || Pixels(iFrom, iTo) < mRuler.mDistances.mLines) return;
        if (iRank == 0) {
            if (mIsBars) VisitBeats(iCount, iFrom, iTo);
            return;
        }
        const Cmn_Int64 step = mSteps[iRank - 1];
        Cmn_Int64 before = iFrom;
        Cmn_Int64 at = iFrom;
        for (Cmn_Int64 count = iCount; count < iCount + mSteps[iRank]; count += step) {
            const Cmn_Int64 next = count + step == iCount + mSteps[iRank] ? iTo : AxisOf(count + step);
            if (count != iCount) Consider(count, before, at, next);
            Visit(iRank - 1, count, at, next);
            before = at;
            at = next;
        }
    }

    // Beats have the lowest rank: those beside them are the next ones.
    void VisitBeats(Cmn_Int64 iBar, Cmn_Int64 iFrom, Cmn_Int64 iTo)
    {
        const Time_Tick barline = BarlineOf(iBar);
        const Time_Tick end = BarlineOf(iBar + 1);
        const auto beats = Time_GridDivision::Beats();
        const Cmn_Int64 numBeats = mMeters.TickToBarBeat(end - Time_TickLength(1)).mBeat;
        if (Pixels(iFrom, iTo) < mRuler.mDistances.mLines * static_cast<double>(numBeats)) return;
        const Time_Tick first = std::max(barline, TickOf(mFrom));
        Time_GridCursor cursor(mMeters, beats, first);
        cursor.Previous();
        Cmn_Int64 before = mMapper.ToAxis(cursor.Get().mTick);
        cursor.Next();
        Cmn_Int64 at = mMapper.ToAxis(cursor.Get().mTick);
        while (at < mTo && cursor.Get().mTick < end) {
            const Time_GridLine line = cursor.Get();
            cursor.Next();
            const Cmn_Int64 next = mMapper.ToAxis(cursor.Get().mTick);
            if (line.mKind != Time_GridLine::eBar) ConsiderBeat(line, before, at, next);
            before = at;
            at = next;
        }
    }
    Time_Tick TickOf(Cmn_Int64 iAxis) const
    {
        return mRuler.mConverter->ToTick(Time_Typed(iAxis, mMapper.GetAxisType()));
    }

    void Consider(Cmn_Int64 iCount, Cmn_Int64 iBefore, Cmn_Int64 iAt, Cmn_Int64 iNext)
    {
        const double room = std::min(Pixels(iBefore, iAt), Pixels(iAt, iNext));
        if (iAt < mFrom || iAt >= mTo || room < mRuler.mDistances.mLines) return;
        if (mIsBars) {
            const auto bar = static_cast<Cmn_Int32>(iCount + 1);
            return Show(iAt, room, Time_Typed(BarlineOf(iCount)), [&] { return std::to_string(bar); });
        }
        const Time_Sample sample = mGrid.GetSample(iCount);
        const bool hasNegative = mRuler.mForm == Time_eForm_MinSec || mRuler.mForm == Time_eForm_Samples;
        if (sample < Time_Sample(0) && !hasNegative) return;
        Show(iAt, room, Time_Typed(sample), [&] { return LabelOf(iCount, sample); });
    }
    void ConsiderBeat(const Time_GridLine& iLine, Cmn_Int64 iBefore, Cmn_Int64 iAt, Cmn_Int64 iNext)
    {
        const double room = std::min(Pixels(iBefore, iAt), Pixels(iAt, iNext));
        if (iAt < mFrom || room < mRuler.mDistances.mLines) return;
        Show(iAt, room, Time_Typed(iLine.mTick), [&] { return iLine.mPosition.ToString(false, false); });
    }
    // Whole seconds have no decimals.
    std::string LabelOf(Cmn_Int64 iCount, Time_Sample iSample) const
    {
        std::string text = mRuler.mForm == Time_eForm_MinSec ? Time_MinSec(iCount).ToString()
                                                             : mFormat.ToString(mRuler.mForm, iSample);
        if (mRuler.mForm == Time_eForm_MinSec && iCount % 1000 == 0) text.resize(text.size() - 4);
        return text;
    }
    template <class Label>
    void Show(Cmn_Int64 iAt, double iRoom, const Time_Typed& iTime, const Label& iLabel)
    {
        mLine.mPixel = mMapper.AxisToNearestPixel(iAt);
        mLine.mTime = iTime;
        mLine.mIsMajor = iRoom >= mRuler.mDistances.mMajors;
        mLine.mLabel.clear();
        if (iRoom >= mRuler.mLabelDistance) mLine.mLabel = iLabel();
        if (mLine.mLabel.size() > mRuler.mMostCharacters) mLine.mLabel.clear();
        // On the left of the view only labels count.
        if (iAt >= mViewFrom || !mLine.mLabel.empty()) mTake(mLine);
    }

    const Time_Ruler& mRuler;
    const Time_PixelMapper& mMapper;
    const Take& mTake;
    Time_Format mFormat;
    const Time_MeterMap& mMeters;
    bool mIsBars;
    Time_SampleGrid mGrid;
    Steps mSteps;
    Cmn_Int64 mViewFrom; // of the axis, as the two below
    Cmn_Int64 mFrom;     // where a label can begin that reaches in
    Cmn_Int64 mTo;
    Time_RulerLine mLine;
};

Time_Ruler::Time_Ruler(const Time_Converter& iConverter, Time_EForm iForm, const Time_Typed& iLast,
                       const Measure& iMeasure, const Time_RulerDistances& iDistances, Time_EFilmGauge iGauge)
    : mConverter(&iConverter)
    , mForm(iForm)
    , mGauge(iGauge)
    , mDistances(iDistances)
{
    const bool hasRulers = iForm == Time_eForm_Bars || iForm == Time_eForm_Timecode ||
                           iForm == Time_eForm_MinSec || iForm == Time_eForm_Samples ||
                           iForm == Time_eForm_Feet;
    if (!Cmn_ASSERT_TEXT(hasRulers, "the form has rulers")) mForm = Time_eForm_Bars;
    FindWidest(iLast, iMeasure);
}

// Digits are of different widths in some fonts: each takes the place of all.
void Time_Ruler::FindWidest(const Time_Typed& iLast, const Measure& iMeasure)
{
    Time_Format format(*mConverter);
    format.SetFilmGauge(mGauge);
    std::string text = format.ToString(mForm, iLast);
    if (mForm == Time_eForm_Bars) text.resize(text.rfind('|')); // a beat's label ends there
    if (mForm == Time_eForm_Bars) text += "0";                  // beats of two digits
    if (mForm == Time_eForm_Bars || mForm == Time_eForm_MinSec || mForm == Time_eForm_Samples)
        text.insert(0, "-");
    mMostCharacters = text.size();
    double widest = 0;
    for (char digit = '0'; digit <= '9'; ++digit) {
        std::string label = text;
        std::replace_if(
            label.begin(), label.end(), [](char c) { return c >= '0' && c <= '9'; }, digit);
        widest = std::max(widest, iMeasure(label));
    }
    mLabelDistance = std::max(widest + mDistances.mLabelGap, mDistances.mMajors);
}

void Time_Ruler::Draw(const Time_PixelMapper& iMapper, double iWidth, const Take& iTake) const
{
    if (mConverter->GetMeterMap() == nullptr && !Cmn_ASSERT_TEXT(false, "mMeterMap != 0")) return;
    Drawing(*this, iMapper, iWidth, iTake).Run();
}
