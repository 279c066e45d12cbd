// DAW_MenuMgrWin32: Windows menus made from menu entries, kept fresh, and what the user does in them.
//
//     HMENU bar = DAW_MenuMgrWin32::BuildAndMapMenu(&root); // root: a DAW_MenuEntrySubMenu, "File",
//     "Edit", … SetMenu(window, bar);
//     …
//     LRESULT CALLBACK Proc(HWND window, UINT message, WPARAM w, LPARAM l)
//     {
//         if (DAW_MenuMgrWin32::HandleMessage(message, w, l)) return 0;
//         …
//     }
//     …
//     SetMenu(window, nullptr);
//     DAW_MenuMgrWin32::DeleteMenuHandle(bar);
//
// Records:   each menu that is built here, the popups inside of it as well, is recorded with its source
//            entry until it is destroyed. So a popup at any depth can be updated when the system is about to
//            open it: HandleMessage does.
// Numbers:   identifiers are the entries' command numbers, 25000 to 32767; a host's own
//            identifiers lie elsewhere.
// Threads:   the user-interface thread only; nothing is locked.
// Ownership: entries stay the caller's. Menus live until DeleteMenuHandle, and popups inside of one no
//            longer than it and its next update. An entry may die or change its children at any time. A
//            menu that was made from it keeps the items until it is updated: chosen meanwhile they do
//            nothing, or what an item does that was given the number since. So a menu bar's own items and
//            an open menu are updated when an entry dies; a popup that opens is updated anyway, and one
//            whose own entry died is empty then.
#pragma once

#include "Export/Kora_API.h"

#include <cstdint>
#include <map>
#include <string>

class DAW_MenuEntry;
class DAW_MenuEntryCompound;
class DAW_MenuEntrySubMenu;

struct HMENU__;
// As <windows.h> declares it (with STRICT, which is its default); this header does without it.
using HMENU = HMENU__*;

class KORA_API DAW_MenuMgrWin32
{
public:
    DAW_MenuMgrWin32() = delete;

    // A menu bar, filled with the entries of a submenu entry or the items of a compound
    // entry, and recorded. Null if the system makes no more menus. A null entry asserts "inMenuEntry != NULL"
    // and gives null, one of another type asserts and gives an empty menu. What an entry throws passes
    // through, and no menu is left behind.
    [[nodiscard]] static HMENU BuildAndMapMenu(DAW_MenuEntry* iMenuEntry);
    // The same as a popup menu, such as one at the mouse.
    [[nodiscard]] static HMENU BuildAndMapPopupMenu(DAW_MenuEntry* iMenuEntry);

    // Takes all items out of a recorded menu, last to first, and puts in what its entry has now. Popups
    // inside are destroyed and made again. A menu bar that shows needs DrawMenuBar afterwards. A menu that is
    // not recorded asserts and stays as it is.
    static void UpdateMenu(HMENU iMenu);

    // Forgets a menu that was built here, and destroys it with all popups inside. Take it from its
    // window first: a window destroys the menu that it has. One that the system has destroyed already
    // is only forgotten; one that was never built here asserts and stays. Popups inside of a menu go
    // with it, not by themselves.
    static void DeleteMenuHandle(HMENU iMenu);

    // Whether the menu was built here, as a whole or as a popup inside of one, and not destroyed since.
    [[nodiscard]] static bool IsRecorded(HMENU iMenu);

    // For the host's window procedure: takes the message's three values, and is true if it
    // was about a menu from here.
    //   WM_INITMENUPOPUP   updates the popup that is about to open
    //   WM_MENUSELECT      highlights the item, or the submenu, that the pointer stands on
    //   WM_COMMAND         performs the chosen item, of a menu or an accelerator
    [[nodiscard]] static bool HandleMessage(unsigned iMessage, std::uintptr_t iWParam, std::intptr_t iLParam);

    // What a native menu shows, whoever built it, in the words of DAW_MenuEntry::Dump: the
    // two agree after an update.
    [[nodiscard]] static std::string Dump(HMENU iMenu);

protected:
    // Null for a menu that is not recorded, or whose entry is dead.
    [[nodiscard]] static DAW_MenuEntry* GetEntryFromMenuHandle(HMENU iMenu);

    // The steps of building, each at the end of the menu. Null arguments assert "inMenu != NULL" and
    // "inMenuEntryCompound != NULL" or "inMenuEntrySubMenu != NULL", and nothing is appended.
    static void AppendItemsFromCoumpoundEntry(HMENU iMenu, DAW_MenuEntryCompound* iMenuEntryCompound);
    static void AppendSubMenuEntry(HMENU iMenu, DAW_MenuEntrySubMenu* iMenuEntrySubMenu);
    static void AppendSeparator(HMENU iMenu);
    // Last to first; the popups inside are forgotten and destroyed.
    static void DeleteAllItems(HMENU iMenu);

    // Each living menu from here and its source entry: null once the entry is dead.
    static std::map<HMENU, DAW_MenuEntry*> sDAWOwnedMenuHandles;

private:
    static HMENU Build(HMENU iNewMenu, DAW_MenuEntry* iMenuEntry);
    static void Fill(HMENU iMenu, DAW_MenuEntry* iMenuEntry);
    static void AppendChild(HMENU iMenu, DAW_MenuEntry* iMenuEntry);
    static void Record(HMENU iMenu, DAW_MenuEntry* iMenuEntry);
    static void ForgetWithPopups(HMENU iMenu);
    static void ForgetEntry(const DAW_MenuEntry* iMenuEntry);
    static bool Highlite(HMENU iMenu, unsigned iItem, unsigned iFlags);
};
