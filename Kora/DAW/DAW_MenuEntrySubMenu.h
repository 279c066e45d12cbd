// DAW_MenuEntrySubMenu: an item that opens a popup, and the entries of the popup. The root of a menu bar is
// one too: its entries are what stands in the bar, its title shows nowhere.
//
// Ownership: owns its entries, which die with it or in DeleteAllEntries. A menu that was built before shows
//            them until it is updated, as it has to be before new entries get their numbers.
#pragma once

#include "Kora/DAW/DAW_MenuEntry.h"

#include <memory>
#include <string>
#include <vector>

class KORA_API DAW_MenuEntrySubMenu : public DAW_MenuEntry
{
public:
    // UTF-8, with the & of a mnemonic: "&File".
    explicit DAW_MenuEntrySubMenu(std::string iTitle);
    ~DAW_MenuEntrySubMenu() override;

    // Puts the entry behind all others. Null asserts and is left out.
    void AppendEntry(std::unique_ptr<DAW_MenuEntry> iEntry);
    // Deletes the entries, first to last. The submenu is empty before the first one dies.
    void DeleteAllEntries();
    Cmn_Int32 GetNumberOfEntries() const;
    // The entry, which stays the submenu's. Asserts for an index outside of the list, and gives null.
    [[nodiscard]] DAW_MenuEntry* GetEntry(Cmn_Int32 iIndex) const;

    DAW_MenuEntrySubMenu* GetMenuEntrySubMenu() override;
    DAW_MenuEntryType GetMenuEntryType() override;

    // The one item that opens the popup: its text is the title.
    Cmn_Int32 GetNumberOfItems() override;
    std::string GetMenuText(Cmn_Int32 iIndex) override;
    void DoIt(Cmn_Int32 iIndex) override; // nothing: the system opens the popup

private:
    std::string mTitle;
    std::vector<std::unique_ptr<DAW_MenuEntry>> mEntries;
};
