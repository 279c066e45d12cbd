// What native menus share with menu entries.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>

class DAW_MenuEntry;

// Told of each entry that dies; null until a native menu is built. The entry is no more
// than an address by then.
extern void (*gDAW_MenuEntryIsGone)(const DAW_MenuEntry* iEntry);

// The lines of a menu's text form, two blanks deeper for each popup around them.
std::string DAW_MenuItemLine(int iDepth, Cmn_UInt16 iNumber, bool iIsEnabled, bool iIsChecked,
                             const std::string& iText);
std::string DAW_MenuSeparatorLine(int iDepth);
