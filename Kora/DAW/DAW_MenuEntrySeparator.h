// DAW_MenuEntrySeparator: the line between two groups of a menu. It is never enabled or checked, has no text
// and no command number, and does nothing.
#pragma once

#include "Kora/DAW/DAW_MenuEntry.h"

class KORA_API DAW_MenuEntrySeparator : public DAW_MenuEntry
{
public:
    DAW_MenuEntrySeparator();
    ~DAW_MenuEntrySeparator() override;

    DAW_MenuEntrySeparator* GetMenuEntrySeparator() override;
    DAW_MenuEntryType GetMenuEntryType() override;

    Cmn_Int32 GetNumberOfItems() override;
    std::string GetMenuText(Cmn_Int32 iIndex) override;
    bool MenuEntryIsEnabled(Cmn_Int32 iIndex) override;
    bool MenuEntryIsChecked(Cmn_Int32 iIndex) override;
    Cmn_Int16 GetCommandID(Cmn_Int32 iIndex) override;
    void DoIt(Cmn_Int32 iIndex) override;
};
