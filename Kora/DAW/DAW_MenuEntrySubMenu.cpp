#include "Kora/DAW/DAW_MenuEntrySubMenu.h"

#include "Bastel/Cmn/Cmn_Assert.h"

#include <utility>

DAW_MenuEntrySubMenu::DAW_MenuEntrySubMenu(std::string iTitle)
    : mTitle(std::move(iTitle))
{
}

DAW_MenuEntrySubMenu::~DAW_MenuEntrySubMenu() { DeleteAllEntries(); }

void DAW_MenuEntrySubMenu::AppendEntry(std::unique_ptr<DAW_MenuEntry> iEntry)
{
    if (Cmn_ASSERT(iEntry != nullptr)) mEntries.push_back(std::move(iEntry));
}

void DAW_MenuEntrySubMenu::DeleteAllEntries()
{
    std::vector<std::unique_ptr<DAW_MenuEntry>> entries = std::exchange(mEntries, {});
    for (std::unique_ptr<DAW_MenuEntry>& each : entries)
        each.reset();
}

Cmn_Int32 DAW_MenuEntrySubMenu::GetNumberOfEntries() const { return static_cast<Cmn_Int32>(mEntries.size()); }

DAW_MenuEntry* DAW_MenuEntrySubMenu::GetEntry(Cmn_Int32 iIndex) const
{
    if (!Cmn_ASSERT(iIndex >= 0 && iIndex < GetNumberOfEntries())) return nullptr;
    return mEntries[static_cast<std::size_t>(iIndex)].get();
}

DAW_MenuEntrySubMenu* DAW_MenuEntrySubMenu::GetMenuEntrySubMenu() { return this; }

DAW_MenuEntryType DAW_MenuEntrySubMenu::GetMenuEntryType() { return DAW_eMenuEntryType_SubMenu; }

Cmn_Int32 DAW_MenuEntrySubMenu::GetNumberOfItems() { return 1; }

std::string DAW_MenuEntrySubMenu::GetMenuText(Cmn_Int32) { return mTitle; }

void DAW_MenuEntrySubMenu::DoIt(Cmn_Int32) {}
