// Time_MeterMap_NdoState, and how a map takes one back.
#include "Kora/Time/Meter/Time_MeterMap_NdoState.h"

#include "Kora/Time/Meter/Time_MeterChangeValue_p.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Meter/Time_MeterMapIndex_p.h"
#include "Kora/Time/Numeric/Time_SharedRowTaker_p.h"

#include <iterator>

Time_MeterMap_NdoState::Time_MeterMap_NdoState(const Time_MeterMap& iMap)
    : mRowP(iMap.TakeRow())
    , mFirstBar(iMap.mChanges.empty() ? 0 : iMap.mChanges[0].GetBarNumber())
    , mSongStartTick(iMap.GetSongStartTick())
{
}

Time_MeterMap_NdoState::~Time_MeterMap_NdoState() = default;

Ndo_Object* Time_MeterMap_NdoState::NdoCreateObject() { return new Time_MeterMap(Ndo_Object::kNoUndo); }

std::size_t Time_MeterMap_NdoState::NdoGetByteCount() const noexcept { return mRowP->GetByteCount(); }

std::shared_ptr<const Time_SharedRow<Time_MeterChangeValue>> Time_MeterMap::TakeRow() const
{
    Settled();
    return mRowTaker->Take(mChanges.size(),
                           [this](std::size_t i) { return Time_MeterChangeValue::Of(mChanges[i]); });
}

Ndo_State* Time_MeterMap::NdoGetState() { return new Time_MeterMap_NdoState(*this); }

// The map becomes what its stream form gives: renumbered, without carried-in marks. Only
// what differs is replaced.
void Time_MeterMap::NdoRestoreState(Ndo_State* iStateP)
{
    const auto* const stateP = dynamic_cast<const Time_MeterMap_NdoState*>(iStateP);
    if (!Cmn_ASSERT_AS(stateP != nullptr, "iStateP", "Time/Time_MeterMap")) return;
    AboutToModify();
    const auto& row = *stateP->mRowP;
    const auto [front, back] = TakeRow()->CommonWith(row);
    std::vector<Time_MeterChange> between;
    between.reserve(row.size() - front - back);
    row.ForEach(front, row.size() - back, [&](const Time_MeterChangeValue& iValue) {
        const Time_Meter meter(iValue.mNumerator, iValue.mDenominator, iValue.mClick);
        between.emplace_back(iValue.mTick, meter, stateP->mFirstBar);
        between.back().mBBT = {stateP->mFirstBar, iValue.mBeatOfBBT, Time_TickLength(iValue.mTickOfBBT)};
    });
    Time_SharedRowTaker<Time_MeterChangeValue> taker(stateP->mRowP);
    mChanges.reserve(row.size());
    mIndex->Reserve(row.size()); // from here on nothing throws

    const auto at = [this](std::size_t i) { return mChanges.begin() + static_cast<std::ptrdiff_t>(i); };
    mChanges.erase(at(front), at(mChanges.size() - back));
    mChanges.insert(at(front), between.begin(), between.end());
    *mRowTaker = std::move(taker);
    mSongStartTick = stateP->mSongStartTick;
    const bool isNumberedAlike = mChanges.empty() || mChanges[0].mBarNumber == stateP->mFirstBar;
    if (!isNumberedAlike) mChanges[0].mBarNumber = stateP->mFirstBar;
    if (!mIsAsStreamed)
        for (Time_MeterChange& change : mChanges)
            change.mIsCarriedIn = false;
    const std::size_t numberedFrom = mIsAsStreamed && isNumberedAlike ? front : 0;
    mIsAsStreamed = true;
    UpdateBarNumbers(numberedFrom);
    mIsUntold = false;
    Broadcast();
}
