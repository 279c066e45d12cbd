#include "Kora/DAW/DAW_MenuData.h"

DAW_MenuData::DAW_MenuData(DAW_MenuEntry* iSourceEntry)
    : mSourceEntry(iSourceEntry)
{
}

DAW_MenuData::~DAW_MenuData() = default;
