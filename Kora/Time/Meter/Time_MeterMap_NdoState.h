// Time_MeterMap_NdoState: a meter map as it was: what its stream form has, shared with the states taken
// before and after where nothing changed in between.
//
// Ownership: made by Time_MeterMap::NdoGetState for the operation that logs it. It may outlive the map.
#pragma once

#include "Kora/Ndo/Ndo_State.h"
#include "Kora/Time/Values/Time_Tick.h"

#include <memory>

class Time_MeterMap;
struct Time_MeterChangeValue;
template <class Value>
class Time_SharedRow;

class KORA_API Time_MeterMap_NdoState : public Ndo_State
{
public:
    // The map as it is now.
    explicit Time_MeterMap_NdoState(const Time_MeterMap& iMap);
    ~Time_MeterMap_NdoState() override;

    // An empty map outside of undo.
    Ndo_Object* NdoCreateObject() override;
    // What it keeps that no state kept before.
    std::size_t NdoGetByteCount() const noexcept override;

private:
    friend class Time_MeterMap;

    std::shared_ptr<const Time_SharedRow<Time_MeterChangeValue>> mRowP;
    Cmn_Int32 mFirstBar; // of the first change
    Time_Tick mSongStartTick;
};
