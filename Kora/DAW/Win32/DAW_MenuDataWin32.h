// DAW_MenuDataWin32: a Windows menu bar, and the entry that it was made from.
//
//     const std::unique_ptr<DAW_MenuDataWin32> menu = DAW_MenuDataWin32::CreateDAW_Menu(&root);
//     SetMenu(window, menu->GetMenuHandle());
//
// Ownership: owns the native menu, which is destroyed with it unless DAW_MenuMgrWin32::DeleteMenuHandle did
//            so before. Take it from its window first. The entry stays the caller's.
#pragma once

#include "Kora/DAW/DAW_MenuData.h"
#include "Kora/DAW/Win32/DAW_MenuMgrWin32.h"

#include <memory>

class KORA_API DAW_MenuDataWin32 : public DAW_MenuData
{
public:
    // Builds the menu by DAW_MenuMgrWin32::BuildAndMapMenu. A null entry asserts "inSourceEntry
    // != NULL" and gives null.
    [[nodiscard]] static std::unique_ptr<DAW_MenuDataWin32> CreateDAW_Menu(DAW_MenuEntry* iSourceEntry);
    ~DAW_MenuDataWin32() override;

    HMENU GetMenuHandle() const { return mMenuHandle; }

private:
    DAW_MenuDataWin32(DAW_MenuEntry* iSourceEntry, HMENU iMenuHandle);

    const HMENU mMenuHandle;
};
