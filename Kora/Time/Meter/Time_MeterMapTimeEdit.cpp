// Time_MeterMap's edits of time: cutting and opening stretches, moving changes, refitting meters
// to the bars that come out.
#include "Kora/Time/Meter/Time_MeterMap.h"

#include "Kora/Time/Meter/Time_MeterChangeValue_p.h"
#include "Kora/Time/Meter/Time_MeterMapIndex_p.h"
#include "Kora/Time/Numeric/Time_SharedRowTaker_p.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

namespace {

bool IsWholeBars(const Time_BarBeatTick& iDuration)
{
    return iDuration.mBeat == 0 && iDuration.mTick.AsInt64() == 0;
}

// The meters' own numbers decide, whatever their bars were cut to.
bool IsBarShorter(const Time_Meter& iMeter, const Time_Meter& iOther)
{
    return Cmn_Int64{iMeter.GetNumerator()} * iOther.GetDenominator() <
           Cmn_Int64{iOther.GetNumerator()} * iMeter.GetDenominator();
}

// A numerator over a denominator, both wide enough to be combined.
struct Fraction
{
    Cmn_Int64 mNumerator;
    Cmn_Int64 mDenominator;
};

// The meter of the longest beat unit, a quarter down to a 1/64, that divides a bar's length.
std::optional<Fraction> MeterOfLength(Cmn_Int64 iLength)
{
    if (iLength < 1) return std::nullopt;
    for (const Cmn_Int64 denominator : {4, 8, 16, 32, 64}) {
        const Cmn_Int64 unit = Time_TickLength::cInternalPerWhole / denominator;
        if (iLength % unit == 0) return Fraction{iLength / unit, denominator};
    }
    return std::nullopt;
}

// A bar of the previous meter and the short bar together, over the larger of the two denominators.
Fraction Combine(const Fraction& iPrevious, const Fraction& iShort)
{
    if (iPrevious.mDenominator <= iShort.mDenominator) {
        const Cmn_Int64 factor = iShort.mDenominator / iPrevious.mDenominator;
        return {factor * iPrevious.mNumerator + iShort.mNumerator, iShort.mDenominator};
    }
    const Cmn_Int64 factor = iPrevious.mDenominator / iShort.mDenominator;
    return {iPrevious.mNumerator + factor * iShort.mNumerator, factor * iShort.mDenominator};
}

// A short bar joins the one before unless both together are long enough for two bars, and it is worth one.
bool IsMergedIntoPrevious(const Fraction& iCombined, const Fraction& iShort)
{
    const Cmn_Int64 wholeNote = iCombined.mDenominator, twoWholeNotes = 2 * wholeNote;
    const bool isTwoBarsLong =
        iCombined.mNumerator >= wholeNote + wholeNote / 2 && iCombined.mNumerator != twoWholeNotes;
    const bool mayJoin = iCombined.mNumerator <= twoWholeNotes || iShort.mNumerator % 2 == 0;
    const bool isAtMostHalf = iShort.mNumerator <= iShort.mDenominator / 2;
    return !isTwoBarsLong || (mayJoin && isAtMostHalf);
}

// 8/8 → 4/4; 14/8 → 7/4; 8/4 → 4/4 twice: what is longer than a whole note is split into
// bars of the smaller meter.
Fraction Reduce(Fraction iCombined)
{
    constexpr Cmn_Int64 cSmallestHalved = 5;
    while (iCombined.mNumerator % 2 == 0 && iCombined.mDenominator >= cSmallestHalved) {
        iCombined.mNumerator /= 2;
        iCombined.mDenominator /= 2;
    }
    while (iCombined.mNumerator % 2 == 0 && iCombined.mNumerator > iCombined.mDenominator)
        iCombined.mNumerator /= 2;
    return iCombined;
}

} // namespace

// --- Moving changes

// Without renumbering.
void Time_MeterMap::ShiftFrom(std::size_t iFirst, Cmn_Int64 iLength)
{
    for (std::size_t i = iFirst; i < mChanges.size(); ++i)
        mChanges[i].mTick += Time_TickLength(iLength);
    Replaced(iFirst, mChanges.size() - iFirst, mChanges.size() - iFirst);
    mIsUntold = true;
}

// Puts changes in order again of which those from iFirstMoved on were moved; gives where renumbering starts.
std::size_t Time_MeterMap::RestoreOrder(std::size_t iFirstMoved)
{
    const auto isNotBefore = [](const Time_MeterChange& iA, const Time_MeterChange& iB) {
        return iA.mTick >= iB.mTick;
    };
    const auto isOrdered =
        std::adjacent_find(mChanges.begin(), mChanges.end(), isNotBefore) == mChanges.end();
    if (Cmn_ASSERT_AS(isOrdered, "moved meter changes stay in order", "Time/Time_MeterMap"))
        return iFirstMoved;

    SortChanges(iFirstMoved);
    mRowTaker->ReplacedAll();
    return 0;
}

// By tick. Of two changes at one tick, the one from iFirstPreferred on stays.
void Time_MeterMap::SortChanges(std::size_t iFirstPreferred)
{
    const auto isBefore = [](const Time_MeterChange& iA, const Time_MeterChange& iB) {
        return iA.mTick < iB.mTick;
    };
    const auto isAtSameTick = [](const Time_MeterChange& iA, const Time_MeterChange& iB) {
        return iA.mTick == iB.mTick;
    };
    // The preferred ones first: sorting keeps them so among equals, of which the first stays.
    std::rotate(mChanges.begin(), mChanges.begin() + static_cast<std::ptrdiff_t>(iFirstPreferred),
                mChanges.end());
    std::stable_sort(mChanges.begin(), mChanges.end(), isBefore);
    mChanges.erase(std::unique(mChanges.begin(), mChanges.end(), isAtSameTick), mChanges.end());
}

void Time_MeterMap::ShiftMeterChangesStartingAt(Time_Tick iTick, const Time_TickLength& iLength)
{
    if (iLength.AsInt64() == 0 || IsDefault()) return;
    AboutToModify();
    const std::size_t first = LowerBound(iTick);
    if (first == mChanges.size()) return;
    ShiftFrom(first, iLength.AsInt64());
    UpdateBarNumbers(RestoreOrder(first));
    Broadcast();
}

void Time_MeterMap::ShiftAllMeterEventsByNumTicks(const Time_TickLength& iLength)
{
    if (!IsDefault()) ShiftMeterChangesStartingAt(mChanges[0].mTick, iLength);
}

void Time_MeterMap::RealignExistingMeterChangesToBBT(Time_Tick iTick)
{
    AboutToModify();
    if (mChanges.empty()) return;
    mChanges[0].mIsOffBarline = false;
    const std::size_t at = std::max<std::size_t>(LowerBound(iTick), 1);
    if (at >= mChanges.size()) return;

    const Time_MeterChange& predecessor = mChanges[at - 1];
    Time_MeterChange& change = mChanges[at];
    const Cmn_Int32 storedBar = change.mBBT.mBar;
    const Cmn_Int64 bars = Cmn_Int64{storedBar} - predecessor.mBarNumber;
    const Cmn_Int64 barLength = Time_MeterMapIndex::BarLength(predecessor.mMeter);
    const Time_Tick oldTick = change.mTick;
    const Time_Tick newTick = predecessor.mTick + Time_TickLength(Cmn_WrapMul(bars, barLength));
    const bool isBehindPredecessor = newTick > predecessor.mTick;
    mIsUntold = change.mBarNumber != storedBar || change.mIsOffBarline || newTick != oldTick;
    change.mBarNumber = storedBar;
    change.mIsOffBarline = false;
    change.mTick = newTick;
    mIsAsStreamed = false;
    Replaced(at, 1, 1);

    const Cmn_Int64 length = (oldTick - newTick).AsInt64();
    if (length == 0) {
        RefreshIndex(at);
    } else {
        // Deliberate: all that now lies behind the predecessor moves, the change itself included, so that it
        // comes back to its old tick and only those behind it move. Test: MovedChangesKeepTheirOrder
        ShiftFrom(isBehindPredecessor ? at : at + 1, length);
        UpdateBarNumbers(std::min(at, RestoreOrder(isBehindPredecessor ? at + 1 : at)));
    }
    BroadcastIfUntold();
}

// --- Cutting and opening time

// A change there keeps the meter in force where it is, whatever happens before.
void Time_MeterMap::PinMeterAt(Time_Tick iTick) { AddNow(iTick, GetMeterAtTick(iTick)); }

void Time_MeterMap::DeleteTime(Time_Tick iStartTick, Time_Tick iEndTick)
{
    Cmn_ASSERT_IN("Time/Time_MeterMap", iStartTick <= iEndTick);
    AboutToModify();
    const Cmn_Int32 songStartBar = GetSongStartBar();
    const Cmn_Int32 startBar = TickToBarBeat(iStartTick).mBar;
    const bool isFirstChangeCutOut =
        !mChanges.empty() && mChanges[0].mTick >= iStartTick && mChanges[0].mTick < iEndTick;

    const bool isWholeBars = IsWholeBars(ComputeDurationBetween(iStartTick, iEndTick));
    if (!isWholeBars) {
        const Cmn_Int64 firstBar = BarOf(iStartTick), lastBar = BarOf(iEndTick);
        PinMeterAt(BarStart(firstBar));
        const bool isLaterBarline = lastBar > firstBar && BarStart(lastBar) == iEndTick;
        PinMeterAt(isLaterBarline ? iEndTick : BarStart(Cmn_WrapAdd<Cmn_Int64>(lastBar, 1)));
    }

    Delete(iStartTick, iEndTick, true);
    const std::size_t firstBehind = LowerBound(iStartTick);
    ShiftFrom(firstBehind, (iStartTick - iEndTick).AsInt64());
    RestoreOrder(firstBehind);
    UpdateBarNumbers(0);
    Broadcast();

    const Cmn_Int32 startBarNow = TickToBarBeat(iStartTick).mBar;
    if (isFirstChangeCutOut && startBarNow != startBar) RenumberBars(Cmn_WrapSub(startBar, startBarNow));
    RestoreSongStart(songStartBar);
    if (!isWholeBars) {
        const Cmn_Int64 bar = BarOf(iStartTick);
        RefitBar(bar);
        RefitBar(Cmn_WrapAdd<Cmn_Int64>(bar, 1));
    }
}

void Time_MeterMap::InsertTime(Time_Tick iAtTick, const Time_TickLength& iTicksToInsert,
                               const Time_MeterMap* iSrcP)
{
    Cmn_ASSERT_IN("Time/Time_MeterMap", iTicksToInsert > Time_TickLength(0));
    AboutToModify();
    const Cmn_Int32 songStartBar = GetSongStartBar();
    Time_Tick at = iAtTick;

    if (!IsWholeBars(ComputeDurationBetween(at, at + iTicksToInsert))) {
        const Time_Tick barBefore = BarStart(Cmn_WrapSub<Cmn_Int64>(BarOf(at), 1));
        // A short bar stays joined to its start; the time goes in behind its first tick.
        if (TickToBarBeat(at).IsOnBarline() && IsBarShorter(GetMeterAtTick(at), GetMeterAtTick(barBefore)))
            ++at;
        PinMeterAt(BarlineAtOrAfter(at));
    }

    const std::size_t firstBehind = LowerBound(at);
    ShiftFrom(firstBehind, iTicksToInsert.AsInt64());
    RestoreOrder(firstBehind);
    UpdateBarNumbers(0);
    Broadcast();

    const Time_Tick end = at + iTicksToInsert;
    if (iSrcP != nullptr) Paste(at, end, iSrcP);
    RestoreSongStart(songStartBar);

    for (Cmn_Int64 bar = BarOf(at); bar - 1 <= BarOf(end);) {
        // Whole bars of one meter are all refitted alike: where one stays, so do those that follow.
        const bool isRefitted = RefitBar(bar);
        bar += isRefitted ? 1 : std::max<Cmn_Int64>(Index().WholeBarsFrom(bar), 1);
    }
}

// Gives the bar a meter of its length, alone or together with the bar before. Whether it changed anything.
bool Time_MeterMap::RefitBar(Cmn_Int64 iBar)
{
    const Time_Tick start = BarStart(iBar);
    const Time_TickLength length = BarStart(Cmn_WrapAdd<Cmn_Int64>(iBar, 1)) - start;
    const std::optional<Fraction> fitting = MeterOfLength(length.AsInt64());
    if (!fitting) return false;
    const Time_Meter inForce = GetMeterAtTick(start);
    if (inForce.GetNumerator() == fitting->mNumerator && inForce.GetDenominator() == fitting->mDenominator)
        return false;

    const Time_Tick previousStart = BarStart(Cmn_WrapSub<Cmn_Int64>(iBar, 1));
    const Time_Meter previous = GetMeterAtTick(previousStart);
    const Fraction combined =
        Combine({previous.GetNumerator(), std::max(previous.GetDenominator(), 1)}, *fitting);
    const bool isMerged = IsMergedIntoPrevious(combined, *fitting);
    const Fraction result = isMerged ? Reduce(combined) : *fitting;
    // A bar too long for a meter's numbers stays as it is.
    if (result.mNumerator < 1 || result.mNumerator > std::numeric_limits<Cmn_Int32>::max()) return false;

    if (isMerged) RemoveMeterChange(start);
    // Deliberate: built from the two numbers, so the click is a quarter note again.
    // Test: RefittingResetsTheClick
    AddNow(isMerged ? previousStart : start, Time_Meter(static_cast<Cmn_Int32>(result.mNumerator),
                                                        static_cast<Cmn_Int32>(result.mDenominator)));
    return true;
}
