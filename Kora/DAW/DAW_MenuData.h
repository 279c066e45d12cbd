// DAW_MenuData: a menu as the system shows it, and the entry that it was made from.
// DAW_MenuDataWin32 adds the handle.
//
// Ownership: the entry stays the application's, which keeps it as long as it asks for it here.
#pragma once

#include "Export/Kora_API.h"

class DAW_MenuEntry;

class KORA_API DAW_MenuData
{
public:
    // A menu that is made from that entry.
    explicit DAW_MenuData(DAW_MenuEntry* iSourceEntry);
    virtual ~DAW_MenuData();
    DAW_MenuData(const DAW_MenuData&) = delete;
    DAW_MenuData& operator=(const DAW_MenuData&) = delete;

    DAW_MenuEntry* GetSourceMenuEntry() const { return mSourceEntry; }

private:
    DAW_MenuEntry* const mSourceEntry;
};
