#include "Kora/DAW/DAW_MenuEntryCompound.h"

DAW_MenuEntryCompound::DAW_MenuEntryCompound() = default;

DAW_MenuEntryCompound::~DAW_MenuEntryCompound() = default;

DAW_MenuEntryCompound* DAW_MenuEntryCompound::GetMenuEntryCompound() { return this; }

DAW_MenuEntryType DAW_MenuEntryCompound::GetMenuEntryType() { return DAW_eMenuEntryType_Compound; }
