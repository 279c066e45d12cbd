#include "Kora/DAW/Win32/DAW_MenuDataWin32.h"

#include "Bastel/Cmn/Cmn_Assert.h"

DAW_MenuDataWin32::DAW_MenuDataWin32(DAW_MenuEntry* iSourceEntry, HMENU iMenuHandle)
    : DAW_MenuData(iSourceEntry)
    , mMenuHandle(iMenuHandle)
{
}

DAW_MenuDataWin32::~DAW_MenuDataWin32()
{
    if (DAW_MenuMgrWin32::IsRecorded(mMenuHandle)) DAW_MenuMgrWin32::DeleteMenuHandle(mMenuHandle);
}

std::unique_ptr<DAW_MenuDataWin32> DAW_MenuDataWin32::CreateDAW_Menu(DAW_MenuEntry* iSourceEntry)
{
    if (!Cmn_ASSERT_TEXT(iSourceEntry != nullptr, "inSourceEntry != NULL")) return nullptr;
    const HMENU menu = DAW_MenuMgrWin32::BuildAndMapMenu(iSourceEntry);
    return std::unique_ptr<DAW_MenuDataWin32>(new DAW_MenuDataWin32(iSourceEntry, menu));
}
