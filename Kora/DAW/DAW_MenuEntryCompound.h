// DAW_MenuEntryCompound: a run of menu items that the application computes, such as recent
// documents or open windows.
//
// The items lie flat in the menu that the entry stands in, and are asked for anew each time that the
// menu is built or updated. Derived classes give GetNumberOfItems, GetMenuText and DoIt, and what else
// they want of DAW_MenuEntry.
//
// An index means the item that stood there when the menu was last updated. A list that may change while its
// menu is open keeps what it showed until the next GetNumberOfItems.
#pragma once

#include "Kora/DAW/DAW_MenuEntry.h"

class KORA_API DAW_MenuEntryCompound : public DAW_MenuEntry
{
public:
    DAW_MenuEntryCompound();
    ~DAW_MenuEntryCompound() override;

    DAW_MenuEntryCompound* GetMenuEntryCompound() override;
    DAW_MenuEntryType GetMenuEntryType() override;
};
