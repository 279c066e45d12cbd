#include "Kora/Time/Meter/Time_MeterMap_NdoState.h"

#include "Bastel/Sys/Sys_TypedStream.h"
#include "Kora/Time/Meter/Time_MeterMap.h"

Time_MeterMap_NdoState::Time_MeterMap_NdoState(const Time_MeterMap& iMap)
{
    Sys_MemOutStream bytes;
    Sys_TypedOutStream stream(bytes);
    iMap.StreamOut(stream);
    mBytes = bytes.TakeBytes();
}

Time_MeterMap_NdoState::~Time_MeterMap_NdoState() = default;

Ndo_Object* Time_MeterMap_NdoState::NdoCreateObject() { return new Time_MeterMap(Ndo_Object::kNoUndo); }
