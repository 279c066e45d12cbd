// The text form of menus: what a menu made from an entry shows, item by item.
#include "Kora/DAW/DAW_MenuEntry.h"
#include "Kora/DAW/DAW_MenuEntrySubMenu.h"
#include "Kora/DAW/DAW_MenuEntry_p.h"

namespace {

std::string Indent(int iDepth) { return std::string(static_cast<std::size_t>(2 * iDepth), ' '); }

std::string DumpItems(DAW_MenuEntry& iEntry, int iDepth)
{
    std::string lines;
    const Cmn_Int32 items = iEntry.GetNumberOfItems();
    for (Cmn_Int32 index = 0; index < items; ++index)
        lines += DAW_MenuItemLine(iDepth, static_cast<Cmn_UInt16>(iEntry.GetCommandID(index)),
                                  iEntry.MenuEntryIsEnabled(index), iEntry.MenuEntryIsChecked(index),
                                  iEntry.GetMenuText(index));
    return lines;
}

std::string DumpChildren(const DAW_MenuEntrySubMenu& iMenu, int iDepth)
{
    std::string lines;
    for (Cmn_Int32 at = 0; at < iMenu.GetNumberOfEntries(); ++at) {
        DAW_MenuEntry& child = *iMenu.GetEntry(at);
        lines += child.GetMenuEntrySeparator() != nullptr ? DAW_MenuSeparatorLine(iDepth)
                                                          : DumpItems(child, iDepth);
        if (const DAW_MenuEntrySubMenu* const inner = child.GetMenuEntrySubMenu())
            lines += DumpChildren(*inner, iDepth + 1);
    }
    return lines;
}

} // namespace

std::string DAW_MenuItemLine(int iDepth, Cmn_UInt16 iNumber, bool iIsEnabled, bool iIsChecked,
                             const std::string& iText)
{
    return Indent(iDepth) + std::to_string(iNumber) + " " + iText + (iIsEnabled ? "" : " (disabled)") +
           (iIsChecked ? " (checked)" : "") + "\n";
}

std::string DAW_MenuSeparatorLine(int iDepth) { return Indent(iDepth) + "-----\n"; }

std::string DAW_MenuEntry::Dump()
{
    const DAW_MenuEntrySubMenu* const menu = GetMenuEntrySubMenu();
    return menu != nullptr ? DumpChildren(*menu, 0) : DumpItems(*this, 0);
}
