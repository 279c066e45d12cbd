// DAW_MenuEntry: what stands in a menu, and which entry a chosen command number belongs to.
//
// A menu is a tree of entries: DAW_MenuEntrySimple is one item, DAW_MenuEntryCompound as many as
// the application has at the moment, DAW_MenuEntrySeparator a line, DAW_MenuEntrySubMenu a popup
// with entries of its own. Each item is told apart by (entry, index) and gets a command number when
// it is first asked for one:
//
//     File                            command number      DoCommand(25002)
//       Save                          25001                 → DoIt(0) of the second entry
//       [song A, song B]  compound    25002, 25003
//
// Numbers:   25000 to 32767, at most 7768 at a time. Released numbers are used again before new ones,
//            the last released first. An item keeps its number until its entry dies or releases it,
//            even while a compound entry has fewer items: one that shrinks and grows again gets the
//            same numbers, and needs no more of them than it ever had items. Hosts keep their own
//            identifiers out of this range.
// Threads:   the user-interface thread only; nothing is locked.
// Ownership: entries belong to the submenu that they were appended to, or to the application. They are not
//            copied: their numbers lead to their address.
// Real time: DoCommand takes the same time with any number of items, and allocates nothing.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/DAW/DAW_MenuEntryAndIndex.h"

#include <string>

class DAW_MenuEntryCompound;
class DAW_MenuEntrySeparator;
class DAW_MenuEntrySubMenu;

// What kind of entry it is, for those who build menus from it.
enum DAW_MenuEntryType : Cmn_Int32 {
    DAW_eMenuEntryType_Compound = 0, // simple entries too
    DAW_eMenuEntryType_Separator = 1,
    DAW_eMenuEntryType_SubMenu = 2
};

// Not in the exported class, so that every module has them as constants of its own.
struct DAW_CommandNumbers
{
    static constexpr Cmn_Int16 cFirstCommandNumber = 25000; // the lowest that items get
    static constexpr Cmn_Int16 cLastCommandNumber = 32767;  // the highest
    // What an item without a number has; it leads nowhere.
    static constexpr Cmn_Int16 cNoCommandNumber = 0;
};

class KORA_API DAW_MenuEntry : public DAW_CommandNumbers
{
public:
    DAW_MenuEntry();
    // Releases the entry's numbers. Menus that still show its items are updated before
    // others are given the numbers.
    virtual ~DAW_MenuEntry();
    DAW_MenuEntry(const DAW_MenuEntry&) = delete;
    DAW_MenuEntry& operator=(const DAW_MenuEntry&) = delete;

    // The entry as that kind, or null.
    virtual DAW_MenuEntryCompound* GetMenuEntryCompound() { return nullptr; }
    virtual DAW_MenuEntrySeparator* GetMenuEntrySeparator() { return nullptr; }
    virtual DAW_MenuEntrySubMenu* GetMenuEntrySubMenu() { return nullptr; }
    virtual DAW_MenuEntryType GetMenuEntryType() = 0;

    // Asked once, before the items, each time that a menu is built or updated.
    virtual Cmn_Int32 GetNumberOfItems() = 0;
    // UTF-8, as the system's menus write it: "&Save\tCtrl+S" underlines S and puts the keys to the right.
    virtual std::string GetMenuText(Cmn_Int32 iIndex) = 0;
    // Whether the item can be chosen; true here.
    virtual bool MenuEntryIsEnabled(Cmn_Int32 iIndex);
    // Whether the item has a mark; false here.
    virtual bool MenuEntryIsChecked(Cmn_Int32 iIndex);
    // The item's number, assigned on the first call. An override that answers with a number of
    // its own routes it itself.
    virtual Cmn_Int16 GetCommandID(Cmn_Int32 iIndex);
    // Performs the item. It may delete the entry itself, or the whole menu: nobody asks the entry
    // for anything afterwards.
    virtual void DoIt(Cmn_Int32 iIndex) = 0;
    // The user's pointer or arrow key stands on the item, as for a line of help. Does nothing here.
    virtual void DoMenuHighlite(Cmn_Int32 iIndex);

    // What a menu made from the entry shows, a line an item. Items without a number get one, as in a menu.
    //
    //     25000 &File
    //       25001 &Save\tCtrl+S (disabled) (checked)
    //       -----
    //       25002 song A
    std::string Dump();

    // Performs the item that a chosen number stands for. False, and nothing happens, for a number that stands
    // for none. Whether the item is enabled is not asked: the menu does not offer disabled ones.
    [[nodiscard]] static bool DoCommand(Cmn_Int16 iCommandNumber);
    // The same for the highlighted item: DoMenuHighlite.
    [[nodiscard]] static bool DoHighlite(Cmn_Int16 iCommandNumber);

protected:
    // The item's number, assigned on the first request. When all 7768 are out this asserts
    // "sNextCommandNumber != cNoCommandNumber" and gives cNoCommandNumber: the item shows but cannot be
    // chosen, until a menu is updated after numbers were released. A null entry asserts and has no number.
    [[nodiscard]] static Cmn_Int16 GetIDForEntryAndIndex(DAW_MenuEntry* iEntry, Cmn_Int32 iIndex);
    // A null entry for a number that stands for no item.
    [[nodiscard]] static DAW_MenuEntryAndIndex GetEntryAndIndexFromCommandID(Cmn_Int16 iCommandNumber);
    // Releases one number; nothing for a number that stands for no item. Menus that show the item have to be
    // updated before the number can be given to another item.
    static void DeleteEntryAndIndexFromCommandID(Cmn_Int16 iCommandNumber);
    // Releases the numbers of this entry's items from iFirstIndex on, for a list that will not grow back.
    void ReleaseCommandNumbers(Cmn_Int32 iFirstIndex = 0) noexcept;

private:
    // The next number that was never out; cNoCommandNumber once the last one is.
    static Cmn_Int16 sNextCommandNumber;
    // The items of the numbers that are out. Made before the first entry and destroyed after the last one,
    // entries that are static objects of a host included.
    struct Items;
    static Items& AllItems();
};
