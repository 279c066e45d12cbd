#include "Kora/DAW/DAW_MenuEntrySimple.h"

DAW_MenuEntrySimple::DAW_MenuEntrySimple() = default;

DAW_MenuEntrySimple::~DAW_MenuEntrySimple() = default;

bool DAW_MenuEntrySimple::MenuEntryIsEnabled() { return true; }

bool DAW_MenuEntrySimple::MenuEntryIsChecked() { return false; }

Cmn_Int16 DAW_MenuEntrySimple::GetCommandID() { return GetIDForEntryAndIndex(this, 0); }

void DAW_MenuEntrySimple::DoMenuHighlite() {}

Cmn_Int32 DAW_MenuEntrySimple::GetNumberOfItems() { return 1; }

std::string DAW_MenuEntrySimple::GetMenuText(Cmn_Int32) { return GetMenuText(); }

bool DAW_MenuEntrySimple::MenuEntryIsEnabled(Cmn_Int32) { return MenuEntryIsEnabled(); }

bool DAW_MenuEntrySimple::MenuEntryIsChecked(Cmn_Int32) { return MenuEntryIsChecked(); }

Cmn_Int16 DAW_MenuEntrySimple::GetCommandID(Cmn_Int32) { return GetCommandID(); }

void DAW_MenuEntrySimple::DoIt(Cmn_Int32) { DoIt(); }

void DAW_MenuEntrySimple::DoMenuHighlite(Cmn_Int32) { DoMenuHighlite(); }
