// Time_MeterMap's edits of changes; those of time and of ranges stand in the files beside this one.
#include "Kora/Time/Meter/Time_MeterMap.h"

#include "Bastel/Cmn/Cmn_Reserve_p.h"
#include "Kora/Time/Meter/Time_MeterChangeValue_p.h"
#include "Kora/Time/Meter/Time_MeterMapIndex_p.h"
#include "Kora/Time/Numeric/Time_SharedRowTaker_p.h"

#include <new>
#include <utility>

void Time_MeterMap::AboutToModify()
{
    Settled();
    NdoAboutToModify();
}

void Time_MeterMap::EndEdit()
{
    if (!Cmn_ASSERT_IN("Time/Time_MeterMap", mEditCount > 0)) return;
    if (--mEditCount > 0) return;
    try {
        Settled();
    } catch (const std::bad_alloc&) {
        // What was added waits for the next query; scope guards end brackets, and do not throw.
    }
    if (std::exchange(mIsBroadcastOwed, false)) Broadcast();
}

bool Time_MeterMap::IsCollected(Time_Tick iTick) const
{
    const bool isBehindAll = mChanges.empty() || mChanges.back().mTick < iTick;
    return mEditCount > 0 && !(isBehindAll && mAdded.empty());
}

void Time_MeterMap::Collect(Time_Tick iTick, const Time_Meter& iMeter, std::optional<Cmn_Int32> iBar)
{
    NdoAboutToModify();
    if (mAdded.empty()) mLowest = mChanges[0]; // the first of all is never collected
    // A bar that is not given counts only where no change lies before.
    const bool isLowest = iTick < mLowest.mTick;
    const Cmn_Int32 bar = iBar ? *iBar : Time_MeterMapIndex::BarUnder(mLowest, iTick.AsInt64());
    mAdded.push_back({Time_MeterChange(iTick, iMeter, bar), iBar.has_value()});
    if (isLowest) mLowest = mAdded.back().mChange;
    if (iTick == mLowest.mTick) mLowest.mMeter = iMeter;
    mIsBroadcastOwed = true;
}

// --- What the edits are made of
// None of these gives the undo notice.

// Room for iCount more changes than there are.
void Time_MeterMap::MakeRoom(std::size_t iCount) const
{
    Cmn_Reserve(mChanges, mChanges.size() + iCount);
    if (mIndex->GetRoom() < mChanges.capacity()) mIndex->Reserve(mChanges.capacity());
}

void Time_MeterMap::PutMeterChange(Time_Tick iTick, const Time_Meter& iMeter, Cmn_Int32 iBar)
{
    MakeRoom(1); // from here on nothing throws
    const std::size_t at = LowerBound(iTick);
    if (at < mChanges.size() && mChanges[at].mTick == iTick) {
        // Deliberate: the change keeps its bar number and barline mark; only its BBT takes the bar as given,
        // until the next renumbering that passes over it. Test: OverwritingKeepsTheBarNumber
        mChanges[at].mMeter = iMeter;
        mChanges[at].mBBT = Time_BarBeatTick(iBar, 1, Time_TickLength::cZero);
        if (iBar != mChanges[at].mBarNumber) mIsAsStreamed = false;
        Replaced(at, 1, 1);
        UpdateBarNumbers(at + 1);
    } else {
        mChanges.insert(mChanges.begin() + static_cast<std::ptrdiff_t>(at),
                        Time_MeterChange(iTick, iMeter, iBar));
        Replaced(at, 0, 1);
        UpdateBarNumbers(at);
    }
    mIsUntold = true;
}

bool Time_MeterMap::EraseChanges(Time_Tick iStartTick, Time_Tick iEndTick)
{
    const auto first = static_cast<std::ptrdiff_t>(LowerBound(iStartTick));
    const auto last = static_cast<std::ptrdiff_t>(LowerBound(iEndTick));
    if (first >= last) return false;
    mChanges.erase(mChanges.begin() + first, mChanges.begin() + last);
    Replaced(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first), 0);
    UpdateBarNumbers(0);
    mIsUntold = true;
    return true;
}

void Time_MeterMap::RestoreSongStart(Cmn_Int32 iBar)
{
    if (!mChanges.empty()) AddBackSongStartMeter(iBar);
}

void Time_MeterMap::Broadcast()
{
    mIsUntold = false;
    if (mEditCount > 0) {
        mIsBroadcastOwed = true;
        return;
    }
    mListenerList.Broadcast(Mdl_SimpleValMessage_ValChanged());
}

// The end of an edit whose steps may have told the listeners already.
void Time_MeterMap::BroadcastIfUntold()
{
    if (mIsUntold) Broadcast();
}

// --- The edits

void Time_MeterMap::AddInitialMeterChange(Time_Tick iTick, const Time_Meter& iMeter, Cmn_Int32 iBar)
{
    Cmn_ASSERT_IN("Time/Time_MeterMap", this->IsDefault());
    AboutToModify();
    PutMeterChange(iTick, iMeter, iBar);
    mIsUntold = false;
}

void Time_MeterMap::AddMeterChange(Time_Tick iTick, const Time_Meter& iMeter, Cmn_Int32 iBar)
{
    if (IsCollected(iTick)) return Collect(iTick, iMeter, iBar);
    AboutToModify();
    PutMeterChange(iTick, iMeter, iBar);
    Broadcast();
}

void Time_MeterMap::AddMeterChange(Time_Tick iTick, const Time_Meter& iMeter)
{
    if (IsCollected(iTick)) return Collect(iTick, iMeter, std::nullopt);
    AddNow(iTick, iMeter);
}

void Time_MeterMap::AddNow(Time_Tick iTick, const Time_Meter& iMeter)
{
    AboutToModify();
    PutMeterChange(iTick, iMeter, TickToBarBeat(iTick).mBar);
    Broadcast();
}

void Time_MeterMap::RemoveMeterChange(Time_Tick iTick)
{
    // Deliberate: the notice comes before the look, so a snapshot is taken even for nothing.
    // Test: BroadcastsAreCounted
    AboutToModify();
    const std::size_t at = LowerBound(iTick);
    if (at == mChanges.size() || mChanges[at].mTick != iTick) return;
    mChanges.erase(mChanges.begin() + static_cast<std::ptrdiff_t>(at));
    Replaced(at, 1, 0);
    UpdateBarNumbers(at);
    Broadcast();
}

void Time_MeterMap::ForceMeterAtBarBeat(const Time_BarBeatTick& iBBT, const Time_Meter& iMeter)
{
    const Time_Meter inForce = GetMeterAtTick(BarBeatToTick(iBBT));
    const bool isInForce = inForce.GetNumerator() == iMeter.GetNumerator() &&
                           inForce.GetDenominator() == iMeter.GetDenominator();
    if (!mChanges.empty() && isInForce) return;

    AboutToModify();
    const Time_Tick barStart = BarStart(iBBT.mBar);
    PutMeterChange(barStart, iMeter, iBBT.mBar);
    const Time_Tick afterBarStart = barStart + Time_TickLength(1);
    Erase(afterBarStart, afterBarStart + iMeter.ComputeOffsetIntoBar(iBBT), true);
    BroadcastIfUntold();
}

void Time_MeterMap::RenumberBars(Cmn_Int32 iDelta)
{
    AboutToModify();
    MakeRealIfDefault();
    if (!Cmn_ASSERT_IN("Time/Time_MeterMap", mChanges.begin() != mChanges.end())) return;
    mChanges[0].mBarNumber = Cmn_WrapAdd(mChanges[0].mBarNumber, iDelta);
    UpdateBarNumbers(0);
    Broadcast();
}

void Time_MeterMap::MakeRealIfDefault()
{
    if (!IsDefault()) return;
    // Deliberate: at the default song start, not at this map's own.
    // Test: ChangesAreAddedForcedAndRemovedAndTheSongStartKeepsItsBar
    AddInitialMeterChange(cDefaultSongStartTick, Time_Meter(), cDefaultSongStartBar);
}

void Time_MeterMap::SetSongStartTick(Time_Tick iTick)
{
    if (iTick == mSongStartTick) return;
    AboutToModify();
    const Time_Tick oldSongStartTick = mSongStartTick;
    mSongStartTick = iTick;
    if (mChanges.empty()) return;
    mIsUntold = true;

    AddBackSongStartMeter(TickToBarBeat(iTick).mBar);

    const std::size_t at = LowerBound(oldSongStartTick);
    const bool isRedundant =
        at < mChanges.size() && (at == 0 ? mChanges.size() > 1 && mChanges[0].mMeter == mChanges[1].mMeter
                                         : mChanges[at].mMeter == mChanges[at - 1].mMeter);
    if (isRedundant) RemoveMeterChange(oldSongStartTick);
    BroadcastIfUntold();
}

void Time_MeterMap::AddBackSongStartMeter(Cmn_Int32 iBar)
{
    Settled();
    const std::size_t at = LowerBound(mSongStartTick);
    if (at < mChanges.size() && mChanges[at].mTick == mSongStartTick) return;
    AddNow(mSongStartTick, GetMeterAtTick(mSongStartTick));
    const Cmn_Int32 barNow = GetSongStartBar();
    if (barNow != iBar) RenumberBars(Cmn_WrapSub(iBar, barNow));
}

void Time_MeterMap::Delete(Time_Tick iStartTick, Time_Tick iEndTick, bool iKeepSongStart)
{
    Cmn_ASSERT_IN("Time/Time_MeterMap", iStartTick <= iEndTick);
    AboutToModify();
    const Cmn_Int32 songStartBar = GetSongStartBar();
    if (EraseChanges(iStartTick, iEndTick)) Broadcast();
    if (!iKeepSongStart) RestoreSongStart(songStartBar);
}

void Time_MeterMap::Erase(Time_Tick iStartTick, Time_Tick iEndTick, bool iKeepSongStart)
{
    if (iStartTick >= iEndTick) return;
    AboutToModify();
    const Cmn_Int32 songStartBar = GetSongStartBar();
    const Time_Tick barlineAfter = BarlineAtOrAfter(iEndTick);
    const Time_Meter meterAfter = GetMeterAtTick(barlineAfter);
    if (EraseChanges(iStartTick, iEndTick) && !IsBarlineWithMeter(barlineAfter, meterAfter))
        AddNow(barlineAfter, meterAfter);
    if (!iKeepSongStart) RestoreSongStart(songStartBar);
    BroadcastIfUntold();
}

void Time_MeterMap::ReplaceWith(const Time_MeterMap& iOther) { ReplaceWith(Time_MeterMap(iOther)); }

void Time_MeterMap::ReplaceWith(Time_MeterMap&& ioOther)
{
    if (this == &ioOther) return;
    ioOther.Settled();
    AboutToModify(); // from here on nothing throws
    mChanges.swap(ioOther.mChanges);
    mIndex.swap(ioOther.mIndex);
    mIsAsStreamed = ioOther.mIsAsStreamed;
    mRowTaker->ReplacedAll();
    ioOther.mRowTaker->ReplacedAll();
    CheckInvariants();
    Broadcast();
}

void Time_MeterMap::Clear()
{
    AboutToModify();
    mChanges.clear();
    mIsAsStreamed = true;
    mRowTaker->ReplacedAll();
    RefreshIndex(0);
}
