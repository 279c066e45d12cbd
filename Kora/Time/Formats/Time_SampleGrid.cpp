#include "Kora/Time/Formats/Time_SampleGrid.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Formats/Time_Globals.h"
#include "Kora/Time/Formats/Time_MinSec.h"
#include "Kora/Time/Formats/Time_SMPTE.h"
#include "Kora/Time/Formats/Time_Timecode.h"

#include <algorithm>

namespace {

constexpr Cmn_Int64 cMillisecondsPerSecond = 1000;
// Far below where doubles and counts of the finest units would no longer tell neighbours apart.
constexpr Cmn_Int64 cFarthestSample = Cmn_Int64{1} << 42;

// One frame a second for formats that have no rate, so that lines ascend.
double RealRate(ETimeCodeFormat iFormat)
{
    const double rate = Time_SMPTE::GetRealRate(iFormat);
    return Cmn_ASSERT_TEXT(rate > 0, "framesPerSecond != -1") ? rate : 1;
}

Time_Sample SampleOfFrames(Cmn_Int64 iFrames, double iRate)
{
    const double samplesPerFrame = Time_Globals::GetPullSampleRate() / iRate;
    return Time_Sample(Cmn_RoundHalfUp(static_cast<double>(iFrames) * samplesPerFrame));
}

Cmn_Int64 FramesOfSample(Time_Sample iSample, double iRate)
{
    const double samplesPerFrame = Time_Globals::GetPullSampleRate() / iRate;
    return Cmn_RoundHalfUp(static_cast<double>(iSample.AsInt64()) / samplesPerFrame);
}

} // namespace

Time_SampleGrid::Time_SampleGrid(EUnit iUnit, Cmn_Int64 iStep)
    : mUnit(iUnit)
    , mStep(Cmn_ASSERT_AS(iStep >= 1, "iStep >= 1", "Time/Time_SampleGrid") ? iStep : 1)
{
}

Time_Sample Time_SampleGrid::GetSample(Cmn_Int64 iCount) const
{
    switch (mUnit) {
    case eSamples:
        break;
    case eMilliseconds:
        return Time_MinSec(iCount).ToSample();
    case eLabels:
        return SampleOfFrames(Time_Timecode::LabelToFrame(iCount, mFormat) -
                                  Cmn_Int64{Time_Globals::GetFrameOffset(mFormat)},
                              RealRate(mFormat));
    case eFilmFrames:
        return Time_FeetFrame::SampleOfCount(iCount);
    }
    return Time_Sample(iCount);
}

Time_SampleGrid::EKind Time_SampleGrid::GetKind(Cmn_Int64 iCount) const
{
    if (mUnit == eSamples) return eFine;
    if (mUnit == eFilmFrames) return iCount % mGauge == 0 ? eFoot : eFine;
    const Cmn_Int64 second =
        mUnit == eMilliseconds ? cMillisecondsPerSecond : Cmn_Int64{Time_SMPTE::GetFramesPerSecond(mFormat)};
    // The first label of a minute whose own first ones are left out is the minute.
    const Cmn_Int64 minute = Cmn_FloorDiv(iCount, 60 * second) * 60 * second;
    const bool isMinute =
        iCount == minute || (mUnit == eLabels && Time_Timecode::LabelToFrame(iCount, mFormat) ==
                                                     Time_Timecode::LabelToFrame(minute, mFormat));
    if (!isMinute) return iCount % second != 0 ? eFine : eSecond;
    return minute % (3600 * second) != 0 ? eMinute : eHour;
}

// Within a step or two of the count at a sample.
Cmn_Int64 Time_SampleGrid::NearCount(Time_Sample iSample) const
{
    switch (mUnit) {
    case eSamples:
        break;
    case eMilliseconds:
        return Time_MinSec::FromSample(iSample).AsMilliseconds();
    case eLabels:
        return Time_Timecode::FrameToLabel(FramesOfSample(iSample, RealRate(mFormat)) +
                                               Cmn_Int64{Time_Globals::GetFrameOffset(mFormat)},
                                           mFormat);
    case eFilmFrames:
        return Time_FeetFrame::CountAtSample(iSample);
    }
    return iSample.AsInt64();
}

Time_SampleGrid::Line Time_SampleGrid::AtOrAfter(Time_Sample iSample) const
{
    const Time_Sample first(HasLinesBefore0() ? -cFarthestSample : 0);
    const Time_Sample from = std::clamp(iSample, first, Time_Sample(cFarthestSample));
    Cmn_Int64 count = Cmn_FloorDiv(NearCount(from), mStep) * mStep;
    while (GetSample(count) < from)
        count += mStep;
    while (GetSample(count - mStep) >= from)
        count -= mStep;
    // A label that is left out lies where the first one of its minute does, which is the line.
    while (GetSample(count + mStep) == GetSample(count))
        count += mStep;
    return LineOf(count);
}

bool Time_SampleGrid::AtOrBefore(Time_Sample iSample, Line& oLine) const
{
    const Line behind = AtOrAfter(iSample);
    if (behind.mSample != iSample) return Previous(behind, oLine);
    oLine = behind;
    return true;
}

Time_SampleGrid::Line Time_SampleGrid::Nearest(Time_Sample iSample) const
{
    const Line behind = AtOrAfter(iSample);
    Line before;
    if (behind.mSample == iSample || !Previous(behind, before)) return behind;
    return behind.mSample - iSample <= iSample - before.mSample ? behind : before;
}

Time_SampleGrid::Line Time_SampleGrid::Next(const Line& iLine) const
{
    Cmn_Int64 count = iLine.mCount + mStep;
    const Time_Sample sample = GetSample(count);
    while (GetSample(count + mStep) == sample)
        count += mStep;
    return {sample, count, GetKind(count)};
}

bool Time_SampleGrid::Previous(const Line& iLine, Line& oLine) const
{
    Cmn_Int64 count = iLine.mCount - mStep;
    while (GetSample(count) == iLine.mSample)
        count -= mStep;
    const Line line = LineOf(count);
    if (line.mSample < Time_Sample(0) && !HasLinesBefore0()) return false;
    oLine = line;
    return true;
}
