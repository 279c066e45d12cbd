#include "Kora/DAW/Win32/DAW_MenuMgrWin32.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/DAW/DAW_MenuEntryCompound.h"
#include "Kora/DAW/DAW_MenuEntrySubMenu.h"
#include "Kora/DAW/DAW_MenuEntry_p.h"
#include "OstrelPlatformSupport/Win32/PSWide_p.h"

#include <memory>
#include <set>
#include <utility>
#include <windows.h>

namespace {

constexpr UINT cItemMask = MIIM_STATE | MIIM_ID | MIIM_SUBMENU | MIIM_CHECKMARKS | MIIM_TYPE;
static_assert(cItemMask == 31 && sizeof(MENUITEMINFOW) == 80);
static_assert(MFS_DISABLED == 3 && MFS_CHECKED == 8 && MF_SEPARATOR == 2048 && MF_BYPOSITION == 1024);

// sDAWOwnedMenuHandles by entry: a submenu entry can have popups in several menus.
std::set<std::pair<const DAW_MenuEntry*, HMENU>> sMenuHandlesOfEntries;

bool InsertItem(HMENU iMenu, UINT iPosition, DAW_MenuEntry& iEntry, Cmn_Int32 iIndex, HMENU iPopup)
{
    std::wstring text = PSWideFromUtf8(iEntry.GetMenuText(iIndex));
    MENUITEMINFOW item = {};
    item.cbSize = sizeof item;
    item.fMask = cItemMask;
    item.fType = MFT_STRING;
    item.fState = iEntry.MenuEntryIsEnabled(iIndex) ? MFS_ENABLED : MFS_DISABLED;
    if (iEntry.MenuEntryIsChecked(iIndex)) item.fState |= MFS_CHECKED;
    item.wID = static_cast<WORD>(iEntry.GetCommandID(iIndex));
    item.hSubMenu = iPopup;
    item.dwTypeData = text.data();
    item.cch = static_cast<UINT>(text.size());
    const bool inserted = InsertMenuItemW(iMenu, iPosition, TRUE, &item) != FALSE;
    return Cmn_ASSERT(inserted);
}

// A menu that nobody owns yet.
struct MenuDestroyer
{
    void operator()(HMENU iMenu) const { DestroyMenu(iMenu); }
};
using NewMenu = std::unique_ptr<HMENU__, MenuDestroyer>;

UINT NumberOfItems(HMENU iMenu)
{
    const int items = GetMenuItemCount(iMenu);
    return items > 0 ? static_cast<UINT>(items) : 0;
}

std::wstring TextOfItem(HMENU iMenu, UINT iPosition)
{
    const int size = GetMenuStringW(iMenu, iPosition, nullptr, 0, MF_BYPOSITION);
    std::wstring text(static_cast<std::size_t>(size > 0 ? size : 0), L'\0');
    // The terminator takes the place of the string's own.
    GetMenuStringW(iMenu, iPosition, text.data(), static_cast<int>(text.size() + 1), MF_BYPOSITION);
    return text;
}

std::string DumpItems(HMENU iMenu, int iDepth)
{
    std::string lines;
    for (UINT position = 0; position < NumberOfItems(iMenu); ++position) {
        MENUITEMINFOW item = {};
        item.cbSize = sizeof item;
        item.fMask = MIIM_STATE | MIIM_ID | MIIM_SUBMENU | MIIM_FTYPE;
        GetMenuItemInfoW(iMenu, position, TRUE, &item);
        if ((item.fType & MFT_SEPARATOR) != 0)
            lines += DAW_MenuSeparatorLine(iDepth);
        else
            lines += DAW_MenuItemLine(iDepth, LOWORD(item.wID), (item.fState & MFS_DISABLED) == 0,
                                      (item.fState & MFS_CHECKED) != 0,
                                      PSUtf8FromWide(TextOfItem(iMenu, position)));
        if (item.hSubMenu != nullptr) lines += DumpItems(item.hSubMenu, iDepth + 1);
    }
    return lines;
}

} // namespace

std::map<HMENU, DAW_MenuEntry*> DAW_MenuMgrWin32::sDAWOwnedMenuHandles;

// Where the library is a static one, entries that are static objects of a host may die after the two lists.
static const struct StListsAreThere
{
    ~StListsAreThere() { gDAW_MenuEntryIsGone = nullptr; }
} sListsAreThere;

HMENU DAW_MenuMgrWin32::BuildAndMapMenu(DAW_MenuEntry* iMenuEntry)
{
    if (!Cmn_ASSERT_TEXT(iMenuEntry != nullptr, "inMenuEntry != NULL")) return nullptr;
    return Build(CreateMenu(), iMenuEntry);
}

HMENU DAW_MenuMgrWin32::BuildAndMapPopupMenu(DAW_MenuEntry* iMenuEntry)
{
    if (!Cmn_ASSERT_TEXT(iMenuEntry != nullptr, "inMenuEntry != NULL")) return nullptr;
    return Build(CreatePopupMenu(), iMenuEntry);
}

HMENU DAW_MenuMgrWin32::Build(HMENU iNewMenu, DAW_MenuEntry* iMenuEntry)
{
    if (!Cmn_ASSERT(iNewMenu != nullptr)) return nullptr;
    NewMenu menu(iNewMenu);
    Record(menu.get(), iMenuEntry);
    try {
        Fill(menu.get(), iMenuEntry);
    } catch (...) { // an entry's text, or no memory
        ForgetWithPopups(menu.get());
        throw;
    }
    return menu.release();
}

void DAW_MenuMgrWin32::UpdateMenu(HMENU iMenu)
{
    if (!Cmn_ASSERT(IsRecorded(iMenu))) return;
    DeleteAllItems(iMenu);
    if (DAW_MenuEntry* const entry = GetEntryFromMenuHandle(iMenu)) Fill(iMenu, entry);
}

void DAW_MenuMgrWin32::DeleteMenuHandle(HMENU iMenu)
{
    if (!Cmn_ASSERT(IsRecorded(iMenu))) return;
    ForgetWithPopups(iMenu);
    if (IsMenu(iMenu)) {
        DestroyMenu(iMenu);
        return;
    }
    // A window destroyed it with the popups inside, which can no longer be found through it.
    std::erase_if(sMenuHandlesOfEntries, [](const auto& iEach) { return !IsMenu(iEach.second); });
    std::erase_if(sDAWOwnedMenuHandles, [](const auto& iEach) { return !IsMenu(iEach.first); });
}

bool DAW_MenuMgrWin32::IsRecorded(HMENU iMenu) { return sDAWOwnedMenuHandles.contains(iMenu); }

bool DAW_MenuMgrWin32::HandleMessage(unsigned iMessage, std::uintptr_t iWParam, std::intptr_t iLParam)
{
    switch (iMessage) {
    case WM_INITMENUPOPUP: {
        const auto menu = reinterpret_cast<HMENU>(iWParam);
        if (!IsRecorded(menu)) return false;
        UpdateMenu(menu);
        return true;
    }
    case WM_MENUSELECT:
        return Highlite(reinterpret_cast<HMENU>(iLParam), LOWORD(iWParam), HIWORD(iWParam));
    case WM_COMMAND:
        // Those of controls carry the control's window.
        return iLParam == 0 && DAW_MenuEntry::DoCommand(static_cast<Cmn_Int16>(LOWORD(iWParam)));
    default:
        return false;
    }
}

// iItem is the command number, or the position of an item that opens a popup.
bool DAW_MenuMgrWin32::Highlite(HMENU iMenu, unsigned iItem, unsigned iFlags)
{
    if (!IsRecorded(iMenu)) return false;
    if ((iFlags & MF_POPUP) == 0) return DAW_MenuEntry::DoHighlite(static_cast<Cmn_Int16>(iItem));
    DAW_MenuEntry* const subMenu = GetEntryFromMenuHandle(GetSubMenu(iMenu, static_cast<int>(iItem)));
    if (subMenu == nullptr) return false;
    subMenu->DoMenuHighlite(0);
    return true;
}

std::string DAW_MenuMgrWin32::Dump(HMENU iMenu) { return DumpItems(iMenu, 0); }

DAW_MenuEntry* DAW_MenuMgrWin32::GetEntryFromMenuHandle(HMENU iMenu)
{
    const auto found = sDAWOwnedMenuHandles.find(iMenu);
    return found != sDAWOwnedMenuHandles.end() ? found->second : nullptr;
}

void DAW_MenuMgrWin32::AppendItemsFromCoumpoundEntry(HMENU iMenu, DAW_MenuEntryCompound* iMenuEntryCompound)
{
    if (!Cmn_ASSERT_TEXT(iMenu != nullptr, "inMenu != NULL")) return;
    if (!Cmn_ASSERT_TEXT(iMenuEntryCompound != nullptr, "inMenuEntryCompound != NULL")) return;
    UINT position = NumberOfItems(iMenu);
    const Cmn_Int32 items = iMenuEntryCompound->GetNumberOfItems();
    for (Cmn_Int32 index = 0; index < items; ++index) {
        if (!InsertItem(iMenu, position, *iMenuEntryCompound, index, nullptr)) return;
        ++position;
    }
}

void DAW_MenuMgrWin32::AppendSubMenuEntry(HMENU iMenu, DAW_MenuEntrySubMenu* iMenuEntrySubMenu)
{
    if (!Cmn_ASSERT_TEXT(iMenu != nullptr, "inMenu != NULL")) return;
    if (!Cmn_ASSERT_TEXT(iMenuEntrySubMenu != nullptr, "inMenuEntrySubMenu != NULL")) return;
    NewMenu popup(CreatePopupMenu());
    if (!Cmn_ASSERT(popup != nullptr)) return;
    if (!InsertItem(iMenu, NumberOfItems(iMenu), *iMenuEntrySubMenu, 0, popup.get())) return;
    const HMENU inserted = popup.release(); // the menu's from here on
    Record(inserted, iMenuEntrySubMenu);
    Fill(inserted, iMenuEntrySubMenu);
}

void DAW_MenuMgrWin32::AppendSeparator(HMENU iMenu)
{
    if (!Cmn_ASSERT_TEXT(iMenu != nullptr, "inMenu != NULL")) return;
    AppendMenuW(iMenu, MF_SEPARATOR, 0, nullptr);
}

void DAW_MenuMgrWin32::DeleteAllItems(HMENU iMenu)
{
    if (!Cmn_ASSERT_TEXT(iMenu != nullptr, "inMenu != NULL")) return;
    for (UINT position = NumberOfItems(iMenu); position-- > 0;) {
        if (const HMENU popup = GetSubMenu(iMenu, static_cast<int>(position))) ForgetWithPopups(popup);
        DeleteMenu(iMenu, position, MF_BYPOSITION); // destroys the popup too
    }
}

void DAW_MenuMgrWin32::Fill(HMENU iMenu, DAW_MenuEntry* iMenuEntry)
{
    DAW_MenuEntrySubMenu* const subMenu = iMenuEntry->GetMenuEntrySubMenu();
    switch (iMenuEntry->GetMenuEntryType()) {
    case DAW_eMenuEntryType_Compound:
        AppendItemsFromCoumpoundEntry(iMenu, iMenuEntry->GetMenuEntryCompound());
        break;
    case DAW_eMenuEntryType_SubMenu:
        if (!Cmn_ASSERT_TEXT(subMenu != nullptr, "inMenuEntrySubMenu != NULL")) return;
        // The count is asked for again each time: an entry's answers may append to the list.
        for (Cmn_Int32 index = 0; index < subMenu->GetNumberOfEntries(); ++index)
            AppendChild(iMenu, subMenu->GetEntry(index));
        break;
    default:
        Cmn_ASSERT_TEXT(false, "a menu is made from a compound or a submenu entry");
    }
}

void DAW_MenuMgrWin32::AppendChild(HMENU iMenu, DAW_MenuEntry* iMenuEntry)
{
    switch (iMenuEntry->GetMenuEntryType()) {
    case DAW_eMenuEntryType_Compound:
        AppendItemsFromCoumpoundEntry(iMenu, iMenuEntry->GetMenuEntryCompound());
        break;
    case DAW_eMenuEntryType_SubMenu:
        AppendSubMenuEntry(iMenu, iMenuEntry->GetMenuEntrySubMenu());
        break;
    case DAW_eMenuEntryType_Separator:
        AppendSeparator(iMenu);
        break;
    default:
        Cmn_ASSERT_TEXT(false, "a menu entry is a compound, a submenu or a separator");
    }
}

void DAW_MenuMgrWin32::Record(HMENU iMenu, DAW_MenuEntry* iMenuEntry)
{
    gDAW_MenuEntryIsGone = &ForgetEntry;
    // A window may have destroyed an earlier menu of this handle.
    if (DAW_MenuEntry* const before = GetEntryFromMenuHandle(iMenu))
        sMenuHandlesOfEntries.erase({before, iMenu});
    sDAWOwnedMenuHandles[iMenu] = iMenuEntry;
    sMenuHandlesOfEntries.insert({iMenuEntry, iMenu});
}

void DAW_MenuMgrWin32::ForgetWithPopups(HMENU iMenu)
{
    for (UINT position = NumberOfItems(iMenu); position-- > 0;)
        if (const HMENU popup = GetSubMenu(iMenu, static_cast<int>(position))) ForgetWithPopups(popup);
    const auto found = sDAWOwnedMenuHandles.find(iMenu);
    if (found == sDAWOwnedMenuHandles.end()) return;
    sMenuHandlesOfEntries.erase({found->second, iMenu});
    sDAWOwnedMenuHandles.erase(found);
}

void DAW_MenuMgrWin32::ForgetEntry(const DAW_MenuEntry* iMenuEntry)
{
    auto each = sMenuHandlesOfEntries.lower_bound({iMenuEntry, nullptr});
    while (each != sMenuHandlesOfEntries.end() && each->first == iMenuEntry) {
        sDAWOwnedMenuHandles[each->second] = nullptr;
        each = sMenuHandlesOfEntries.erase(each);
    }
}
