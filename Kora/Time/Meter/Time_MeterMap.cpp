// Life, queries and the numbering of bars; edits and streams stand in the files beside this one.
#include "Kora/Time/Meter/Time_MeterMap.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Meter/Time_DefaultMeterMap.h"
#include "Kora/Time/Meter/Time_MeterChangeValue_p.h"
#include "Kora/Time/Meter/Time_MeterMapIndex_p.h"
#include "Kora/Time/Numeric/Time_SharedRowTaker_p.h"
#include "Kora/Time/Values/Time_OrderByTick_p.h"

#include <algorithm>

namespace {

constexpr auto cIsBefore = [](const Time_MeterChange& iChange, Time_Tick iTick) {
    return iChange.GetTick() < iTick;
};

struct BarNumbering
{
    Cmn_Int32 mBarNumber;
    bool mIsOffBarline;
};

// A change opens the bar after the one that holds the tick before it, so a bar can be cut
// short but never lengthened.
BarNumbering NumberingAfter(const Time_MeterChange& iPredecessor, Time_Tick iTick)
{
    const Cmn_Int64 barLength = Time_MeterMapIndex::BarLength(iPredecessor.GetMeter());
    const Cmn_Int64 predecessorTick = iPredecessor.GetTick().AsInt64();
    const Cmn_Int64 toTickBefore = Cmn_WrapSub<Cmn_Int64>(Cmn_WrapSub(iTick.AsInt64(), predecessorTick), 1);
    // In double precision, as documents have always been numbered.
    const Cmn_Int64 wholeBars =
        Cmn_Float64ToInt64(static_cast<double>(toTickBefore) / static_cast<double>(barLength));
    const Cmn_Int32 barNumber = static_cast<Cmn_Int32>(
        Cmn_WrapAdd<Cmn_Int64>(Cmn_WrapAdd(Cmn_Int64{iPredecessor.GetBarNumber()}, wholeBars), 1));
    const Cmn_Int64 bars = Cmn_Int64{barNumber} - iPredecessor.GetBarNumber();
    const Cmn_Int64 barline = Cmn_WrapAdd(Cmn_WrapMul(bars, barLength), predecessorTick);
    return {barNumber, barline != iTick.AsInt64()};
}

} // namespace

Time_MeterMap::Time_MeterMap(EUndoFlag iUndoFlag)
    : Ndo_Object(iUndoFlag)
    , mIndex(std::make_unique<Time_MeterMapIndex>())
    , mRowTaker(std::make_unique<Time_SharedRowTaker<Time_MeterChangeValue>>())
{
}

Time_MeterMap::Time_MeterMap(const Time_MeterMap& iOther)
    : Ndo_Object(kNoUndo)
    , mChanges(iOther.Settled().mChanges)
    , mSongStartTick(iOther.mSongStartTick)
    , mIndex(std::make_unique<Time_MeterMapIndex>(*iOther.mIndex))
    , mRowTaker(std::make_unique<Time_SharedRowTaker<Time_MeterChangeValue>>())
    , mIsAsStreamed(iOther.mIsAsStreamed)
{
}

Time_MeterMap& Time_MeterMap::operator=(const Time_MeterMap& iOther)
{
    Cmn_PolyVector<Time_MeterChange> changes = iOther.Settled().mChanges;
    mIndex->Reserve(changes.size());
    AboutToModify(); // from here on nothing throws
    mChanges.swap(changes);
    mSongStartTick = iOther.mSongStartTick;
    mIsAsStreamed = iOther.mIsAsStreamed;
    mRowTaker->ReplacedAll();
    RefreshIndex(0);
    return *this;
}

Time_MeterMap::~Time_MeterMap() = default;

Time_MeterMap* Time_MeterMap::GetDefaultMeterMap()
{
    // Made when first asked for and never destroyed: other statics may use it from their
    // first to their last line.
    static Time_MeterMap* const sDefaultMeterMap = new Time_DefaultMeterMap;
    return sDefaultMeterMap;
}

const Cmn_PolyVector<Time_MeterChange>& Time_MeterMap::Changes() const
{
    return IsDefault() ? GetDefaultMeterMap()->mChanges : mChanges;
}

// --- Queries
// The index of an empty map is that of the default map.

Time_Tick Time_MeterMap::BarBeatToTick(const Time_BarBeatTick& iBBT) const
{
    // The tick part is added as a length, so that display ticks are reported.
    const Time_Tick beat(Index().ToTick({iBBT.mBar, iBBT.mBeat, 0}));
    return beat + (Time_TickLength::cZero + iBBT.mTick);
}

Time_BarBeatTick Time_MeterMap::TickToBarBeat(Time_Tick iTick) const
{
    return Index().ToPosition(iTick.AsInt64()).AsBBT();
}

const char* Time_MeterMap::WhyNoPosition(const Time_BarBeatTick& iBBT) const
{
    if (iBBT.mBeat < 1) return "beats count from 1";
    const Cmn_Int64 ticks = iBBT.mTick.AsInt64();
    if (ticks < 0) return "ticks count from 0";
    const Time_Tick bar = BarBeatToTick({iBBT.mBar, 1, Time_TickLength::cZero});
    if (bar < Time_Tick(-cMaxTick.AsInt64()) || bar > cMaxTick)
        return "the bar lies past the time line's ends";
    const Time_Tick beat = BarBeatToTick({iBBT.mBar, iBBT.mBeat, Time_TickLength::cZero});
    const Time_BarBeatTick beatAt = TickToBarBeat(beat);
    if (beatAt.mBar != iBBT.mBar || beatAt.mBeat != iBBT.mBeat) return "the bar has fewer beats";
    const Time_BarBeatTick tickAt = TickToBarBeat(beat + Time_TickLength(ticks));
    if (ticks > cMaxTick.AsInt64() || tickAt.mBar != iBBT.mBar || tickAt.mBeat != iBBT.mBeat)
        return "the beat has fewer ticks";
    return nullptr;
}

Time_Meter Time_MeterMap::GetMeterAtTick(Time_Tick iTick, Time_Tick* oChangeTick) const
{
    const Time_MeterChange& change = Changes().at(Index().FindByTick(iTick.AsInt64()));
    if (oChangeTick != nullptr) *oChangeTick = change.mTick;
    return change.mMeter;
}

Time_TickLength Time_MeterMap::GetClicksAtTick(Time_Tick iTick, Time_Tick* oUntil) const
{
    const Cmn_PolyVector<Time_MeterChange>& changes = Changes();
    const std::size_t governing = Index().FindByTick(iTick.AsInt64());
    const Time_TickLength click = changes.at(governing).mMeter.GetClickInterval().GetTicks();
    if (oUntil != nullptr) {
        *oUntil = cMaxTick;
        for (std::size_t i = governing + 1; i < changes.size(); ++i) {
            if (changes[i].mMeter.GetClickInterval().GetTicks() != click) {
                *oUntil = changes[i].mTick;
                break;
            }
        }
    }
    return click;
}

Time_Tick Time_MeterMap::GetTickOfLastChange() const { return Changes().back().mTick; }

Cmn_Int32 Time_MeterMap::GetNumberOfChanges() const { return static_cast<Cmn_Int32>(Changes().size()); }

Time_MeterMap::ConstIter Time_MeterMap::IterBegin() const { return Changes().begin(); }

Time_MeterMap::ConstIter Time_MeterMap::IterEnd() const { return Changes().end(); }

Time_MeterMap::ConstIter Time_MeterMap::IterFindFirstGE(Time_Tick iTick) const
{
    return std::lower_bound(IterBegin(), IterEnd(), iTick, cIsBefore);
}

Cmn_Int32 Time_MeterMap::GetSongStartBar() const
{
    // An empty map's own song start does not count: it answers as the default map.
    return TickToBarBeat(IsDefault() ? cDefaultSongStartTick : mSongStartTick).mBar;
}

// --- What the edits ask

std::size_t Time_MeterMap::LowerBound(Time_Tick iTick) const
{
    return static_cast<std::size_t>(std::lower_bound(mChanges.begin(), mChanges.end(), iTick, cIsBefore) -
                                    mChanges.begin());
}

Time_Tick Time_MeterMap::BarStart(Cmn_Int64 iBar) const { return Time_Tick(Index().BarStart(iBar)); }

Cmn_Int64 Time_MeterMap::BarOf(Time_Tick iTick) const { return Index().BarOf(iTick.AsInt64()); }

Time_Tick Time_MeterMap::BarlineAtOrAfter(Time_Tick iTick) const
{
    return Time_Tick(Index().ToTick(Index().BarlineAtOrAfter(iTick.AsInt64())));
}

bool Time_MeterMap::IsBarlineWithMeter(Time_Tick iTick, const Time_Meter& iMeter) const
{
    return Index().ToPosition(iTick.AsInt64()).IsOnBarline() && GetMeterAtTick(iTick) == iMeter;
}

// --- Numbering

void Time_MeterMap::UpdateBarNumbers(std::size_t iFrom)
{
    for (std::size_t i = iFrom; i < mChanges.size(); ++i) {
        Time_MeterChange& change = mChanges[i];
        const BarNumbering numbering =
            i == 0 ? BarNumbering{change.mBarNumber, false} : NumberingAfter(mChanges[i - 1], change.mTick);
        if (change.mBarNumber != numbering.mBarNumber || change.mIsOffBarline != numbering.mIsOffBarline ||
            change.mBBT.mBar != numbering.mBarNumber)
            mIsUntold = true;
        change.mBarNumber = numbering.mBarNumber;
        change.mIsOffBarline = numbering.mIsOffBarline;
        change.mBBT.mBar = numbering.mBarNumber;
    }
    // The change before may have been overwritten in place.
    RefreshIndex(iFrom > 0 ? iFrom - 1 : 0);
}

void Time_MeterMap::PutLast(const Time_MeterChange& iChange, bool iIsNumbered, bool iIsBBTNumbered) const
{
    mChanges.push_back(iChange);
    Time_MeterChange& change = mChanges.back();
    if (iIsNumbered && mChanges.size() > 1) {
        const BarNumbering numbering = NumberingAfter(mChanges[mChanges.size() - 2], change.mTick);
        change.mBarNumber = numbering.mBarNumber;
        change.mIsOffBarline = numbering.mIsOffBarline;
    }
    if (iIsBBTNumbered) change.mBBT.mBar = change.mBarNumber;
}

// Merges the collected changes with those from the lowest of them on. Each comes out as the additions one
// by one leave it: a change that was there before is numbered anew where a lower one came at all; one
// that was overwritten has the BBT that it was given, unless a lower one came later. All room is made
// before anything is moved.
void Time_MeterMap::SettleAdded() const
{
    std::vector<Time_Ordered> order;
    order.reserve(mAdded.size());
    for (const Added& added : mAdded)
        order.push_back({added.mChange.mTick, order.size()});
    Time_OrderByTick(order);
    const std::size_t first = LowerBound(order[0].mTick);
    const std::vector<Time_MeterChange> old(mChanges.begin() + static_cast<std::ptrdiff_t>(first),
                                            mChanges.end());
    MakeRoom(order.size());
    mChanges.resize(first);

    auto kept = old.begin();
    std::size_t latestBelow = 0; // of the additions at lower ticks, counted from 1
    for (auto next = order.begin(); next != order.end();) {
        const Time_Tick tick = next->mTick;
        for (; kept != old.end() && kept->mTick < tick; ++kept)
            PutLast(*kept, true, true);
        const bool isThere = kept != old.end() && kept->mTick == tick;
        Time_MeterChange change = isThere ? *kept++ : mAdded[next++->mIndex].mChange;
        bool isBBTGiven = false;
        std::size_t latest = isThere ? 0 : std::prev(next)->mIndex + 1;
        for (; next != order.end() && next->mTick == tick; ++next) {
            const Added& overwriting = mAdded[next->mIndex];
            change.mMeter = overwriting.mChange.mMeter;
            change.mBBT = overwriting.mChange.mBBT;
            latest = next->mIndex + 1;
            isBBTGiven = overwriting.mIsBarGiven && latest > latestBelow;
        }
        PutLast(change, !isThere || latestBelow > 0, !isBBTGiven);
        Replaced(mChanges.size() - 1, isThere, 1);
        if (isBBTGiven) mIsAsStreamed = false;
        latestBelow = std::max(latestBelow, latest);
    }
    for (; kept != old.end(); ++kept)
        PutLast(*kept, true, true);
    mAdded.clear();
    RefreshIndex(first > 0 ? first - 1 : 0);
}

// Each mutation says so, but for bars.
void Time_MeterMap::Replaced(std::size_t iFirst, std::size_t iRemoved, std::size_t iAdded) const
{
    mRowTaker->Replaced(iFirst, iRemoved, iAdded);
}

// Every mutation ends here, with iFrom at or before the first change that it touched.
void Time_MeterMap::RefreshIndex(std::size_t iFrom) const
{
    mIndex->Update(mChanges, iFrom);
    CheckInvariants();
}

std::string Time_MeterMap::FindBrokenInvariant() const
{
    Settled();
    for (std::size_t i = 0; i < mChanges.size(); ++i) {
        const Time_MeterChange& change = mChanges[i];
        if (i == 0) {
            if (change.mIsOffBarline) return "the first change is on a barline: " + change.Dump();
            continue;
        }
        const Time_MeterChange& predecessor = mChanges[i - 1];
        if (change.mTick <= predecessor.mTick) return "ticks ascend: " + change.Dump();
        if (predecessor.mIsCarriedIn) continue;
        const BarNumbering expected = NumberingAfter(predecessor, change.mTick);
        if (change.mBarNumber != expected.mBarNumber || change.mIsOffBarline != expected.mIsOffBarline)
            return "the change before fixes the bar number: " + change.Dump();
    }
    return {};
}

void Time_MeterMap::CheckInvariants() const
{
#ifndef NDEBUG
    if (mNumbersPending) return;
    const std::string broken = FindBrokenInvariant();
    if (!broken.empty())
        Cmn_Assert::Report((broken + "\n" + Dump() + "@$^$@Time/Time_MeterMap").c_str(), __LINE__);
#endif
}
