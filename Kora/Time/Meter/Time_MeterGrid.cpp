#include "Kora/Time/Meter/Time_MeterGrid.h"

#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Meter/Time_MeterMapIndex_p.h"

#include <algorithm>
#include <ostream>

namespace {

constexpr Cmn_Int64 cFirst = (std::numeric_limits<Cmn_Int64>::min)();
constexpr Cmn_Int64 cLast = (std::numeric_limits<Cmn_Int64>::max)();

Time_Tick WithinLimits(Cmn_Int64 iTick)
{
    constexpr Cmn_Int64 limit = Time_MeterMap::cMaxTick.AsInt64();
    return Time_Tick(std::clamp(iTick, -limit, limit));
}

} // namespace

std::string Time_GridLine::Dump() const
{
    return mPosition.Dump() + " at " + mTick.Dump() +
           (mKind == eBar    ? ", barline"
            : mKind == eBeat ? ", beat"
                             : ", between beats");
}

std::ostream& operator<<(std::ostream& ioStream, const Time_GridLine& iLine)
{
    return ioStream << iLine.Dump();
}

Time_GridCursor::Time_GridCursor(const Time_MeterMap& iMap, const Time_GridDivision& iDivision,
                                 Time_Tick iTick)
    : mMap(&iMap)
    , mIsByBars(iDivision.GetBy() == Time_GridDivision::eBars)
    , mDivision(iDivision.GetTicks().AsInt64())
    , mSwing(iDivision.GetSwingTicks().AsInt64())
{
    const Cmn_Int64 tick = WithinLimits(iTick.AsInt64()).AsInt64();
    EnterBarAt(tick);
    const Cmn_Int64 line = FirstLineFrom(tick - mBarStart);
    if (line < mNumLines)
        SetLine(line);
    else
        EnterNextBar();
}

void Time_GridCursor::EnterBarAt(Cmn_Int64 iTick)
{
    mMap->GetStretch(Time_Tick(iTick), mStretch, mStretchFrom, mStretchTo);
    // Beats that are shorter than a tick share ticks; each tick is a line then.
    mUnit = mDivision == 0 && mStretch.mBeatLength == 0 ? 1 : mDivision;
    const Cmn_Int64 bars = mStretch.BarsInto(Cmn_WrapSub(iTick, mStretch.mTick));
    SetBar(Cmn_WrapAdd(mStretch.mTick, Cmn_WrapMul(bars, mStretch.mBarLength)),
           Cmn_WrapAdd(mStretch.mBar, bars));
}

void Time_GridCursor::SetBar(Cmn_Int64 iStart, Cmn_Int64 iBar)
{
    mBar = iBar;
    mBarStart = iStart;
    mBarEnd = std::min(iStart + mStretch.mBarLength, mStretchTo);
    const Cmn_Int64 length = mBarEnd - mBarStart;
    mNumLines = 1;
    if (mUnit != 0 && !mIsByBars) {
        mNumLines = (length - 1) / mUnit + 1;
        if (OffsetOf(mNumLines - 1) >= length) --mNumLines;
    } else if (!mIsByBars) {
        mNumLines = mStretch.BeatsInto(length - 1) + 1;
    }
    mBeatStart = mBeatEnd = 0;
}

// The first line of the bar at or behind an offset; mNumLines where there is none.
Cmn_Int64 Time_GridCursor::FirstLineFrom(Cmn_Int64 iOffset) const
{
    if (mIsByBars) return iOffset == 0 ? 0 : mNumLines;
    Cmn_Int64 line = mUnit != 0 ? iOffset / mUnit : mStretch.BeatsInto(iOffset);
    // One that is late by swing may be the one before.
    if (line > 0 && OffsetOf(line - 1) >= iOffset) return line - 1;
    while (line < mNumLines && OffsetOf(line) < iOffset)
        ++line;
    return std::min(line, mNumLines);
}

void Time_GridCursor::FindBeat(Cmn_Int64 iOffset)
{
    const bool isNext = mBeatEnd > mBeatStart && mBeatEnd == iOffset && mBeat + 1 < mStretch.mNumerator;
    mBeat = isNext ? mBeat + 1 : mStretch.BeatsInto(iOffset);
    mBeatStart = isNext ? mBeatEnd : mStretch.BeatStart(mBeat);
    mBeatEnd = mBeat + 1 < mStretch.mNumerator ? mStretch.BeatStart(mBeat + 1) : mStretch.mBarLength;
}

void Time_GridCursor::EnterNextBar()
{
    if (mBarEnd < mStretchTo)
        SetBar(mBarEnd, Cmn_WrapAdd<Cmn_Int64>(mBar, 1));
    else
        EnterBarAt(mBarEnd);
    SetLine(0);
}

void Time_GridCursor::EnterPreviousBar()
{
    if (mBarStart > mStretchFrom)
        SetBar(mBarStart - mStretch.mBarLength, Cmn_WrapSub<Cmn_Int64>(mBar, 1));
    else
        EnterBarAt(mBarStart - 1);
    SetLine(mNumLines - 1);
}

Time_MeterGrid::Time_MeterGrid(const Time_MeterMap& iMap, const Time_Range& iRange,
                               const Time_GridDivision& iDivision)
    : mBegin(Time_GridCursor(iMap, iDivision, WithinLimits(iRange.GetStart().AsInt64())))
    , mEnd(Time_GridCursor(iMap, iDivision, WithinLimits(iRange.GetEnd().AsInt64())))
{
    Cmn_ASSERT_AS(iRange.GetType() == Time_eType_Ticks, "time_type_mismatch", "time/Time_TypedBase");
}

Time_MeterGrid Time_MeterMap::Grid(const Time_Range& iRange, const Time_GridDivision& iDivision) const
{
    return Time_MeterGrid(*this, iRange, iDivision);
}

Time_GridLine Time_MeterMap::FindGridLine(Time_Tick iTick, const Time_GridDivision& iDivision,
                                          Time_EGridSearch iSearch) const
{
    const Time_Tick tick = WithinLimits(iTick.AsInt64());
    Time_GridCursor cursor(*this, iDivision, tick);
    const bool isAt = cursor.Get().mTick == tick;
    if (iSearch == Time_eGridSearch_After && isAt) cursor.Next();
    if (iSearch == Time_eGridSearch_After || iSearch == Time_eGridSearch_AtOrAfter) return cursor.Get();
    if (isAt && iSearch != Time_eGridSearch_Before) return cursor.Get();
    const Time_GridLine after = cursor.Get();
    cursor.Previous();
    const bool isNearer = after.mTick - tick <= tick - cursor.Get().mTick;
    return iSearch == Time_eGridSearch_Nearest && isNearer ? after : cursor.Get();
}

void Time_MeterMap::GetStretch(Time_Tick iTick, Time_MeterStretch& oStretch, Cmn_Int64& oFrom,
                               Cmn_Int64& oTo) const
{
    const Time_MeterMapIndex& index = Index();
    const std::size_t change = index.FindByTick(iTick.AsInt64());
    oStretch = index.GetStretch(change);
    oFrom = change == 0 ? cFirst : oStretch.mTick;
    oTo = change + 1 == index.GetNumStretches() ? cLast : index.GetStretch(change + 1).mTick;
}
