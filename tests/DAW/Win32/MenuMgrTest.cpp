#include "DAW/MenuItems.h"
#include "Kora/DAW/DAW_MenuEntrySeparator.h"
#include "Kora/DAW/DAW_MenuEntrySubMenu.h"
#include "Kora/DAW/Win32/DAW_MenuDataWin32.h" // before <windows.h>, whose HMENU it must agree with
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <random>
#include <windows.h>

namespace {

using SubMenu = DAW_MenuEntrySubMenu;
using Reports = std::vector<std::string>;

struct Mgr : DAW_MenuMgrWin32
{
    using DAW_MenuMgrWin32::AppendItemsFromCoumpoundEntry;
    using DAW_MenuMgrWin32::AppendSubMenuEntry;
    using DAW_MenuMgrWin32::DeleteAllItems;
    using DAW_MenuMgrWin32::GetEntryFromMenuHandle;
    using DAW_MenuMgrWin32::sDAWOwnedMenuHandles;
};

struct RandomTrees
{
    unsigned Below(std::size_t iLimit) { return static_cast<unsigned>(mRandom() % iLimit); }
    void Change(SubMenu& ioMenu, int iDepth)
    {
        if (Below(4) == 0) ioMenu.DeleteAllEntries();
        for (Cmn_Int32 at = 0; at < ioMenu.GetNumberOfEntries(); ++at) {
            if (SubMenu* const inner = ioMenu.GetEntry(at)->GetMenuEntrySubMenu()) Change(*inner, iDepth + 1);
            if (auto* const items = dynamic_cast<MenuItems*>(ioMenu.GetEntry(at)))
                items->mItems.assign(
                    Below(6), {"&Ö…録𝄞\tCtrl+" + std::to_string(Below(10)), Below(2) == 0, Below(2) == 0});
        }
        for (unsigned more = Below(iDepth < 4 ? 4 : 1); more > 0; --more) {
            const unsigned kind = Below(4);
            if (kind == 0) ioMenu.AppendEntry(std::make_unique<DAW_MenuEntrySeparator>());
            if (kind == 1) ioMenu.AppendEntry(std::make_unique<SubMenu>("menu " + std::to_string(Below(9))));
            if (kind >= 2) ioMenu.AppendEntry(std::make_unique<MenuItems>());
        }
    }
    std::mt19937 mRandom{10};
};

TEST(MenuMgr, NativeMenusFollowRandomTreesThroughRandomChanges)
{
    const AssertRecorder asserts;
    RandomTrees trees;
    for (int run = 0; run < 30; ++run) {
        SubMenu root("");
        trees.Change(root, 0);
        const HMENU bar = Mgr::BuildAndMapMenu(&root);
        ASSERT_EQ(Mgr::Dump(bar), root.Dump());
        for (int change = 0; change < 40; ++change) {
            const std::map<HMENU, DAW_MenuEntry*> before = Mgr::sDAWOwnedMenuHandles;
            trees.Change(root, 0);
            // Any one of the menus that are up, which may have lost its entry by now.
            const HMENU menu = std::next(before.begin(), trees.Below(before.size()))->first;
            DAW_MenuEntry* const entry = Mgr::GetEntryFromMenuHandle(menu);
            ASSERT_TRUE(Mgr::HandleMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu), 0));
            ASSERT_EQ(Mgr::Dump(menu), entry != nullptr ? entry->Dump() : "");
            if (change % 8 == 0) {
                Mgr::UpdateMenu(bar);
                ASSERT_EQ(Mgr::Dump(bar), root.Dump());
            }
            for (const auto& each : before)
                ASSERT_EQ(IsMenu(each.first) != FALSE, Mgr::IsRecorded(each.first));
        }
        Mgr::DeleteMenuHandle(bar);
        ASSERT_TRUE(Mgr::sDAWOwnedMenuHandles.empty() && !IsMenu(bar));
    }
    EXPECT_EQ(asserts.Take(), Reports());
}

TEST(MenuMgr, WhenNumbersRunOutTheNextItemsHaveNone)
{
    const AssertRecorder asserts;
    MenuItems items(std::vector<MenuItems::Item>(7770));
    const HMENU menu = Mgr::BuildAndMapPopupMenu(&items);
    EXPECT_EQ(asserts.Take().size(), 2U);
    for (int position = 0; position < 7770; ++position) {
        ASSERT_EQ(GetMenuItemID(menu, position) != 0, position < 7768);
        ASSERT_EQ(Mgr::HandleMessage(WM_COMMAND, GetMenuItemID(menu, position), 0), position < 7768);
        ASSERT_EQ(MenuItems::sDone, "did " + std::to_string(std::min(position, 7767)));
    }
    items.mItems.resize(7000);
    Mgr::UpdateMenu(menu);
    EXPECT_EQ(GetMenuItemCount(menu), 7000);
    EXPECT_EQ(asserts.Take(), Reports());
    Mgr::DeleteMenuHandle(menu);
}

struct Popup : SubMenu
{
    using SubMenu::SubMenu;
    void DoMenuHighlite(Cmn_Int32) override { MenuItems::sDone = "highlighted popup"; }
};

TEST(MenuMgr, MessagesReachTheItemsOfOurMenusOnly)
{
    const AssertRecorder asserts;
    auto root = std::make_unique<SubMenu>("");
    root->AppendEntry(std::make_unique<Popup>("File"));
    root->GetEntry(0)->GetMenuEntrySubMenu()->AppendEntry(
        std::make_unique<MenuItems>(std::vector<MenuItems::Item>{{"a"}, {"b"}}));
    auto data = DAW_MenuDataWin32::CreateDAW_Menu(root.get());
    const HMENU bar = data->GetMenuHandle();
    const HMENU file = GetSubMenu(bar, 0);
    const HMENU foreign = CreatePopupMenu();
    const WPARAM b = GetMenuItemID(file, 1);
    const auto done = [&](UINT iMessage, WPARAM iWParam, HMENU iLParam) {
        MenuItems::sDone = "nothing";
        const bool isOurs = Mgr::HandleMessage(iMessage, iWParam, reinterpret_cast<LPARAM>(iLParam));
        return (isOurs ? "" : "not ours: ") + MenuItems::sDone;
    };
    const std::string notOurs = "not ours: nothing";
    EXPECT_EQ(done(WM_COMMAND, b, nullptr), "did 1");
    EXPECT_EQ(done(WM_COMMAND, MAKEWPARAM(b, 1), nullptr), "did 1") << "by its key";
    EXPECT_EQ(done(WM_COMMAND, b, file), notOurs) << "a control";
    EXPECT_EQ(done(WM_MENUSELECT, MAKEWPARAM(b, MF_HILITE), file), "highlighted 1");
    EXPECT_EQ(done(WM_MENUSELECT, MAKEWPARAM(0, MF_HILITE | MF_POPUP), bar), "highlighted popup");
    EXPECT_EQ(done(WM_MENUSELECT, MAKEWPARAM(0, 0xFFFF), nullptr), notOurs) << "closed";
    EXPECT_EQ(done(WM_MENUSELECT, MAKEWPARAM(b, MF_HILITE), foreign), notOurs);
    EXPECT_EQ(done(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(foreign), nullptr), notOurs);
    EXPECT_EQ(done(WM_CLOSE, b, nullptr), notOurs);
    DestroyMenu(foreign);

    // Items of dead entries stay until the update, and do nothing.
    root->DeleteAllEntries();
    EXPECT_EQ(Mgr::GetEntryFromMenuHandle(bar), data->GetSourceMenuEntry());
    EXPECT_EQ(Mgr::GetEntryFromMenuHandle(file), nullptr);
    EXPECT_EQ(done(WM_COMMAND, b, nullptr), notOurs);
    EXPECT_EQ(done(WM_MENUSELECT, MAKEWPARAM(0, MF_POPUP), bar), notOurs);
    Mgr::DeleteMenuHandle(bar);
    root->AppendEntry(std::make_unique<SubMenu>("Edit"));
    data = DAW_MenuDataWin32::CreateDAW_Menu(root.get());
    DestroyMenu(data->GetMenuHandle()); // as a window does with the menu that it has
    data.reset();
    root.reset();
    EXPECT_TRUE(Mgr::sDAWOwnedMenuHandles.empty());
    EXPECT_EQ(asserts.Take(), Reports());
}

struct OfNoKind : MenuItems
{
    DAW_MenuEntryType GetMenuEntryType() override { return static_cast<DAW_MenuEntryType>(3); }
};

struct Liar : MenuItems
{
    Cmn_Int32 GetNumberOfItems() override { return 1; } // has none: its text throws
};

TEST(MenuMgr, AMenuWhoseTextThrowsIsNotLeftBehind)
{
    SubMenu root("");
    root.AppendEntry(std::make_unique<SubMenu>("popup"));
    root.GetEntry(0)->GetMenuEntrySubMenu()->AppendEntry(std::make_unique<Liar>());
    const auto before = Mgr::sDAWOwnedMenuHandles;
    EXPECT_THROW(static_cast<void>(Mgr::BuildAndMapMenu(&root)), std::out_of_range);
    EXPECT_EQ(Mgr::sDAWOwnedMenuHandles, before);
}

TEST(MenuMgr, BrokenPreconditionsAreReportedAndChangeNothing)
{
    const AssertRecorder asserts;
    SubMenu root("");
    root.AppendEntry(std::make_unique<OfNoKind>());
    const HMENU menu = CreatePopupMenu();
    EXPECT_EQ(Mgr::BuildAndMapMenu(nullptr), nullptr);
    Mgr::AppendItemsFromCoumpoundEntry(nullptr, nullptr);
    Mgr::AppendItemsFromCoumpoundEntry(menu, nullptr);
    Mgr::AppendSubMenuEntry(nullptr, &root);
    Mgr::AppendSubMenuEntry(menu, nullptr);
    Mgr::UpdateMenu(menu);
    Mgr::DeleteMenuHandle(menu);
    Mgr::AppendSubMenuEntry(menu, &root);
    EXPECT_EQ(GetMenuItemCount(menu), 1);
    EXPECT_EQ(GetMenuItemCount(GetSubMenu(menu, 0)), 0);
    std::string reports;
    for (const std::string& each : asserts.Take())
        reports += each.substr(0, each.find("@$^$@DAW/Win32/DAW_MenuMgrWin32")) + ", ";
    EXPECT_EQ(reports, "inMenuEntry != NULL, inMenu != NULL, inMenuEntryCompound != NULL, inMenu != NULL, "
                       "inMenuEntrySubMenu != NULL, IsRecorded(iMenu), IsRecorded(iMenu), "
                       "a menu entry is a compound, a submenu or a separator, ");
    EXPECT_EQ(DAW_MenuDataWin32::CreateDAW_Menu(nullptr), nullptr);
    EXPECT_EQ(asserts.Take(), Reports{"inSourceEntry != NULL@$^$@DAW/Win32/DAW_MenuDataWin32"});
    Mgr::DeleteAllItems(menu);
    DestroyMenu(menu);
}

} // namespace
