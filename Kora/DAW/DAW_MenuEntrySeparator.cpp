#include "Kora/DAW/DAW_MenuEntrySeparator.h"

DAW_MenuEntrySeparator::DAW_MenuEntrySeparator() = default;

DAW_MenuEntrySeparator::~DAW_MenuEntrySeparator() = default;

DAW_MenuEntrySeparator* DAW_MenuEntrySeparator::GetMenuEntrySeparator() { return this; }

DAW_MenuEntryType DAW_MenuEntrySeparator::GetMenuEntryType() { return DAW_eMenuEntryType_Separator; }

Cmn_Int32 DAW_MenuEntrySeparator::GetNumberOfItems() { return 1; }

std::string DAW_MenuEntrySeparator::GetMenuText(Cmn_Int32) { return {}; }

bool DAW_MenuEntrySeparator::MenuEntryIsEnabled(Cmn_Int32) { return false; }

bool DAW_MenuEntrySeparator::MenuEntryIsChecked(Cmn_Int32) { return false; }

Cmn_Int16 DAW_MenuEntrySeparator::GetCommandID(Cmn_Int32) { return cNoCommandNumber; }

void DAW_MenuEntrySeparator::DoIt(Cmn_Int32) {}
