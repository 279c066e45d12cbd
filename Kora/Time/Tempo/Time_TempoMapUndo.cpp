// Time_TempoMap: the snapshots of undo.
#include "Kora/Ndo/Ndo_State.h"
#include "Kora/Time/Tempo/Time_TempoMapCache_p.h"

namespace {

// The segments, shared with the snapshots beside it, and the sample rate for a map that is made anew.
class Time_TempoMap_NdoState final : public Ndo_State
{
public:
    Time_TempoMap_NdoState(Time_TempoMapCache::RowP iRowP, double iSampleRate)
        : mSampleRate(iSampleRate)
        , mRowP(std::move(iRowP))
    {
    }

    Ndo_Object* NdoCreateObject() override
    {
        auto map = std::make_unique<Time_TempoMap>(Ndo_Object::kNoUndo);
        map->SetSampleRate(mSampleRate);
        return map.release();
    }

    std::size_t NdoGetByteCount() const noexcept override { return mRowP->GetByteCount(); }
    const Time_TempoMapCache::RowP& GetRow() const { return mRowP; }

private:
    double mSampleRate;
    Time_TempoMapCache::RowP mRowP;
};

} // namespace

Ndo_State* Time_TempoMap::NdoGetState()
{
    UpdateBasicMapIfNeeded(); // derives the tempi of computed segments
    return new Time_TempoMap_NdoState(mCache->TakeRow(), GetSampleRate());
}

// Only what differs is replaced, so that only that is generated anew.
void Time_TempoMap::NdoRestoreState(Ndo_State* iStateP)
{
    const auto* const stateP = dynamic_cast<Time_TempoMap_NdoState*>(iStateP);
    if (!Cmn_ASSERT_AS(stateP != nullptr, "stateP != 0", "Time/Time_TempoMap")) return;
    Settled();
    const Time_TempoMapCache::Row& row = *stateP->GetRow();
    const auto common = mCache->TakeRow()->CommonWith(row);
    std::vector<std::unique_ptr<Time_TempoMapSegment>> segments;
    segments.reserve(row.size() - common.mFront - common.mBack);
    row.ForEach(common.mFront, row.size() - common.mBack,
                [&](const Time_ConstantTempoValue& iValue) { segments.push_back(iValue.MakeSegment()); });
    Time_TempoMapCache::RowTaker taker(stateP->GetRow());
    MakeRoom(segments.size());
    BeginEdit();
    PutInPlace(common.mFront, mSegments.size() - common.mBack, std::move(segments));
    mCache->SetTaker(std::move(taker));
    EndEdit();
}
