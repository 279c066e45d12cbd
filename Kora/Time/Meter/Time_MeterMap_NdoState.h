// Time_MeterMap_NdoState: a meter map as it was, in its stream form.
//
// Ownership: owns the bytes; made by Time_MeterMap::NdoGetState for the operation that logs it.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Kora/Ndo/Ndo_State.h"

#include <vector>

class Time_MeterMap;

class KORA_API Time_MeterMap_NdoState : public Ndo_State
{
public:
    explicit Time_MeterMap_NdoState(const Time_MeterMap& iMap);
    ~Time_MeterMap_NdoState() override;

    // An empty map outside of undo.
    Ndo_Object* NdoCreateObject() override;
    std::size_t NdoGetByteCount() const noexcept override { return mBytes.size(); }
    const std::vector<Cmn_UInt8>& GetBytes() const { return mBytes; }

private:
    std::vector<Cmn_UInt8> mBytes;
};
