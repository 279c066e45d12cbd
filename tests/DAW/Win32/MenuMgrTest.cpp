#include "DAW/MenuItems.h"
#include "Kora/DAW/DAW_MenuEntrySeparator.h"
#include "Kora/DAW/DAW_MenuEntrySubMenu.h"
#include "Kora/DAW/Win32/DAW_MenuDataWin32.h" // before <windows.h>, whose HMENU it must agree with
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <set>
#include <windows.h>

namespace {

using SubMenu = DAW_MenuEntrySubMenu;
constexpr char cTail[] = "@$^$@DAW/Win32/DAW_MenuMgrWin32";

struct Mgr : DAW_MenuMgrWin32
{
    using DAW_MenuMgrWin32::AppendItemsFromCoumpoundEntry;
    using DAW_MenuMgrWin32::AppendSeparator;
    using DAW_MenuMgrWin32::AppendSubMenuEntry;
    using DAW_MenuMgrWin32::GetEntryFromMenuHandle;
    using DAW_MenuMgrWin32::sDAWOwnedMenuHandles;
};

std::wstring Line(int iDepth, unsigned iNumber, unsigned iState, const std::wstring& iText)
{
    return std::wstring(static_cast<std::size_t>(2 * iDepth), L' ') + std::to_wstring(iNumber) + L" " +
           std::to_wstring(iState) + L" " + iText + L"\n";
}

// A native menu as text, a line an item, and all popups inside.
std::wstring Shown(HMENU iMenu, std::set<HMENU>* oMenus = nullptr, int iDepth = 0)
{
    if (oMenus != nullptr) oMenus->insert(iMenu);
    std::wstring all;
    for (int position = 0; position < GetMenuItemCount(iMenu); ++position) {
        wchar_t text[200] = {};
        MENUITEMINFOW item = {};
        item.cbSize = sizeof item;
        item.fMask = MIIM_STATE | MIIM_ID | MIIM_SUBMENU | MIIM_FTYPE | MIIM_STRING;
        item.dwTypeData = text;
        item.cch = 200;
        EXPECT_TRUE(GetMenuItemInfoW(iMenu, static_cast<UINT>(position), TRUE, &item));
        if ((item.fType & MFT_SEPARATOR) != 0) item.fState = 0;
        all += Line(iDepth, item.wID, item.fState, (item.fType & MFT_SEPARATOR) != 0 ? L"--" : text);
        if (item.hSubMenu != nullptr) all += L">\n" + Shown(item.hSubMenu, oMenus, iDepth + 1);
    }
    return all;
}

// What a menu made from the entry has to show. Titles of these tests are ASCII, or listed in a table.
std::wstring Expected(DAW_MenuEntry* iEntry, int iDepth = 0)
{
    std::wstring all;
    if (iEntry->GetMenuEntryCompound() != nullptr) {
        for (Cmn_Int32 index = 0; index < iEntry->GetNumberOfItems(); ++index) {
            const std::string text = iEntry->GetMenuText(index);
            const unsigned state =
                (iEntry->MenuEntryIsEnabled(index) ? 0U : 3U) + (iEntry->MenuEntryIsChecked(index) ? 8U : 0U);
            all += Line(iDepth, static_cast<unsigned>(iEntry->GetCommandID(index)), state,
                        {text.begin(), text.end()});
        }
    }
    SubMenu* const menu = iEntry->GetMenuEntrySubMenu();
    for (Cmn_Int32 at = 0; menu != nullptr && at < menu->GetNumberOfEntries(); ++at) {
        DAW_MenuEntry* const child = menu->GetEntry(at);
        SubMenu* const inner = child->GetMenuEntrySubMenu();
        if (child->GetMenuEntrySeparator() != nullptr) all += Line(iDepth, 0, 0, L"--");
        if (inner != nullptr) {
            const std::string text = inner->GetMenuText(0);
            all +=
                Line(iDepth, static_cast<unsigned>(inner->GetCommandID(0)), 0, {text.begin(), text.end()}) +
                L">\n";
        }
        all += Expected(child, inner != nullptr ? iDepth + 1 : iDepth);
    }
    return all;
}

std::set<HMENU> RecordedMenus()
{
    std::set<HMENU> menus;
    for (const auto& [menu, entry] : Mgr::sDAWOwnedMenuHandles)
        menus.insert(menu);
    return menus;
}

class RandomTrees
{
public:
    explicit RandomTrees(unsigned iSeed)
        : mRandom(iSeed)
    {
    }
    unsigned Below(std::size_t iLimit) { return static_cast<unsigned>(mRandom() % iLimit); }
    void Change(SubMenu& ioMenu, int iDepth)
    {
        if (Below(4) == 0) ioMenu.DeleteAllEntries();
        for (Cmn_Int32 at = 0; at < ioMenu.GetNumberOfEntries(); ++at) {
            if (DAW_MenuEntrySubMenu* const inner = ioMenu.GetEntry(at)->GetMenuEntrySubMenu())
                Change(*inner, iDepth + 1);
            if (DAW_MenuEntryCompound* const items = ioMenu.GetEntry(at)->GetMenuEntryCompound())
                Change(static_cast<MenuItems&>(*items));
        }
        for (unsigned more = Below(iDepth < 4 ? 4 : 1); more > 0; --more) {
            const unsigned kind = Below(4);
            if (kind == 0) ioMenu.AppendEntry(std::make_unique<DAW_MenuEntrySeparator>());
            if (kind == 1) {
                auto inner = std::make_unique<SubMenu>("menu " + std::to_string(Below(100)));
                Change(*inner, iDepth + 1);
                ioMenu.AppendEntry(std::move(inner));
            }
            if (kind >= 2) ioMenu.AppendEntry(std::make_unique<MenuItems>());
        }
    }
    void Change(MenuItems& ioItems)
    {
        ioItems.mItems.resize(Below(6));
        for (MenuItems::Item& each : ioItems.mItems)
            each = {"&item\tCtrl+" + std::to_string(Below(10)), Below(2) == 0, Below(2) == 0};
    }

private:
    std::mt19937 mRandom;
};

TEST(MenuMgr, NativeMenusFollowRandomTreesThroughRandomChanges)
{
    const AssertRecorder asserts;
    for (unsigned seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        RandomTrees trees(seed);
        SubMenu root("");
        trees.Change(root, 0);
        const HMENU bar = Mgr::BuildAndMapMenu(&root);
        ASSERT_EQ(Shown(bar), Expected(&root));
        std::set<HMENU> ever;
        for (int change = 0; change < 40; ++change) {
            trees.Change(root, 0);
            // Any one of the menus that are up, which may have lost its entry by now.
            auto up = Mgr::sDAWOwnedMenuHandles.begin();
            std::advance(up, trees.Below(Mgr::sDAWOwnedMenuHandles.size()));
            const auto [menu, entry] = *up;
            ASSERT_TRUE(Mgr::HandleMessage(WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu), 0));
            ASSERT_EQ(Shown(menu), entry != nullptr ? Expected(entry) : L"");
            if (change % 8 == 0) Mgr::UpdateMenu(bar);
            std::set<HMENU> now;
            const std::wstring shown = Shown(bar, &now);
            ASSERT_EQ(shown, change % 8 == 0 ? Expected(&root) : shown);
            ASSERT_EQ(RecordedMenus(), now);
            ever.insert(now.begin(), now.end());
            for (const HMENU each : ever)
                ASSERT_EQ(IsMenu(each) != FALSE, now.contains(each));
        }
        Mgr::DeleteMenuHandle(bar);
        for (const HMENU each : ever)
            ASSERT_FALSE(IsMenu(each));
        ASSERT_TRUE(Mgr::sDAWOwnedMenuHandles.empty());
    }
    EXPECT_EQ(asserts.Take(), std::vector<std::string>());
}

TEST(MenuMgr, TextsAndStatesArriveAsTheEntryHasThem)
{
    MenuItems items({
        {"&Öffnen…\tStrg+O"},
        { "録音",                   false},
        {           "𝄞 clef",  true, true},
        {                    "", false, true}
    });
    const HMENU menu = Mgr::BuildAndMapPopupMenu(&items);
    const wchar_t* const texts[] = {L"&\u00D6ffnen\u2026\tStrg+O", L"\u9332\u97F3", L"\U0001D11E clef", L""};
    const unsigned states[] = {0, 3, 8, 11};
    std::wstring expected;
    for (int at = 0; at < 4; ++at)
        expected += Line(0, static_cast<unsigned>(items.GetCommandID(at)), states[at], texts[at]);
    EXPECT_EQ(Shown(menu), expected);
    items.mItems = {{"one"}};
    Mgr::UpdateMenu(menu);
    EXPECT_EQ(Shown(menu), Expected(&items));
    Mgr::DeleteMenuHandle(menu);
    EXPECT_FALSE(IsMenu(menu));
}

TEST(MenuMgr, WhenNumbersRunOutTheNextItemsHaveNone)
{
    const AssertRecorder asserts;
    MenuItems items(std::vector<MenuItems::Item>(7770));
    const HMENU menu = Mgr::BuildAndMapPopupMenu(&items);
    EXPECT_EQ(asserts.Take().size(), 2U);
    ASSERT_EQ(GetMenuItemCount(menu), 7770);
    std::set<UINT> numbers;
    for (int position = 0; position < 7770; ++position)
        numbers.insert(GetMenuItemID(menu, position));
    EXPECT_EQ(numbers.size(), 7769U);
    EXPECT_EQ(GetMenuItemID(menu, 7769), 0U);
    EXPECT_FALSE(Mgr::HandleMessage(WM_COMMAND, 0, 0));
    EXPECT_TRUE(Mgr::HandleMessage(WM_COMMAND, GetMenuItemID(menu, 7000), 0));
    EXPECT_EQ(MenuItems::sDone, "did 7000");
    items.mItems.resize(7000);
    Mgr::UpdateMenu(menu);
    EXPECT_EQ(GetMenuItemCount(menu), 7000);
    EXPECT_EQ(asserts.Take(), std::vector<std::string>());
    Mgr::DeleteMenuHandle(menu);
}

struct Popup : SubMenu
{
    using SubMenu::SubMenu;
    void DoMenuHighlite(Cmn_Int32) override { MenuItems::sDone = "highlighted popup"; }
};

TEST(MenuMgr, MessagesReachTheItemsOfOurMenusOnly)
{
    SubMenu root("");
    root.AppendEntry(std::make_unique<Popup>("File"));
    auto* const popup = root.GetEntry(0)->GetMenuEntrySubMenu();
    popup->AppendEntry(std::make_unique<MenuItems>(std::vector<MenuItems::Item>{{"a"}, {"b"}}));
    const HMENU bar = Mgr::BuildAndMapMenu(&root);
    const HMENU file = GetSubMenu(bar, 0);
    EXPECT_EQ(Mgr::GetEntryFromMenuHandle(file), popup);
    const WPARAM number = GetMenuItemID(file, 1);
    const HMENU foreign = CreatePopupMenu();
    const struct
    {
        const char* mName;
        UINT mMessage;
        WPARAM mWParam;
        HMENU mLParam;
        const char* mDone; // null: not ours
    } cases[] = {
        {"chosen in the menu", WM_COMMAND,                       number,               nullptr,                       "did 1"                                                     },
        {"chosen by its key",  WM_COMMAND,                       MAKEWPARAM(number,    1),                            nullptr,                                                      "did 1"},
        {"a control of that number",                    WM_COMMAND,                           number,                  file,               nullptr                                                     },
        {"an item under the pointer",                    WM_MENUSELECT,                          MAKEWPARAM(number,              MF_HILITE), file,"highlighted 1"},
        {"a popup under the pointer",     WM_MENUSELECT,                                     MAKEWPARAM(0,                               MF_HILITE | MF_POPUP),                                           bar,
         "highlighted popup"},
        {"the menu has closed",                 WM_MENUSELECT,                                    MAKEWPARAM(0,                                                        0xFFFF),                                                                 nullptr,                                                                                                nullptr},
        {"another menu's item",             WM_MENUSELECT,                                      MAKEWPARAM(number,MF_HILITE),foreign,nullptr},
        {"another menu opens",   WM_INITMENUPOPUP,reinterpret_cast<WPARAM>(foreign),      nullptr,                                                                    nullptr                                                                                                                                                                                                                              },
        {"no message of menus",  WM_CLOSE,              number,                      file,nullptr},
    };
    for (const auto& each : cases) {
        MenuItems::sDone = "nothing";
        EXPECT_EQ(Mgr::HandleMessage(each.mMessage, each.mWParam, reinterpret_cast<LPARAM>(each.mLParam)),
                  each.mDone != nullptr)
            << each.mName;
        EXPECT_EQ(MenuItems::sDone, each.mDone != nullptr ? each.mDone : "nothing") << each.mName;
    }
    DestroyMenu(foreign);

    // Items of dead entries stay until the update, and do nothing.
    root.DeleteAllEntries();
    EXPECT_EQ(Mgr::GetEntryFromMenuHandle(file), nullptr);
    EXPECT_FALSE(Mgr::HandleMessage(WM_COMMAND, number, 0));
    EXPECT_FALSE(Mgr::HandleMessage(WM_MENUSELECT, MAKEWPARAM(0, MF_POPUP), reinterpret_cast<LPARAM>(bar)));
    // As a window does with the menu that it has.
    DestroyMenu(bar);
    Mgr::DeleteMenuHandle(bar);
    EXPECT_TRUE(Mgr::sDAWOwnedMenuHandles.empty());
}

struct OfNoKind : MenuItems
{
    DAW_MenuEntryType GetMenuEntryType() override { return static_cast<DAW_MenuEntryType>(3); }
};

TEST(MenuMgr, BrokenPreconditionsAreReportedAndChangeNothing)
{
    const AssertRecorder asserts;
    const auto reported = [&](const std::string& iText) {
        EXPECT_EQ(asserts.Take(), std::vector<std::string>{iText + cTail});
    };
    SubMenu root("");
    const HMENU menu = CreatePopupMenu();
    EXPECT_EQ(Mgr::BuildAndMapMenu(nullptr), nullptr);
    reported("inMenuEntry != NULL");
    Mgr::AppendItemsFromCoumpoundEntry(nullptr, nullptr);
    reported("inMenu != NULL");
    Mgr::AppendItemsFromCoumpoundEntry(menu, nullptr);
    reported("inMenuEntryCompound != NULL");
    Mgr::AppendSubMenuEntry(nullptr, &root);
    reported("inMenu != NULL");
    Mgr::AppendSubMenuEntry(menu, nullptr);
    reported("inMenuEntrySubMenu != NULL");
    Mgr::AppendSeparator(menu);
    for (const auto change : {&Mgr::UpdateMenu, &Mgr::DeleteMenuHandle}) {
        change(menu);
        reported("IsRecorded(iMenu)");
        EXPECT_EQ(GetMenuItemCount(menu), 1);
    }
    DestroyMenu(menu);

    root.AppendEntry(std::make_unique<OfNoKind>());
    const auto data = DAW_MenuDataWin32::CreateDAW_Menu(&root);
    reported("a menu entry is a compound, a submenu or a separator");
    EXPECT_EQ(GetMenuItemCount(data->GetMenuHandle()), 0);
    EXPECT_EQ(DAW_MenuDataWin32::CreateDAW_Menu(nullptr), nullptr);
    EXPECT_EQ(asserts.Take(),
              std::vector<std::string>{"inSourceEntry != NULL@$^$@DAW/Win32/DAW_MenuDataWin32"});
}

TEST(MenuMgr, MenuDataOwnsItsMenu)
{
    SubMenu root("");
    auto data = DAW_MenuDataWin32::CreateDAW_Menu(&root);
    const HMENU menu = data->GetMenuHandle();
    EXPECT_EQ(Mgr::GetEntryFromMenuHandle(menu), data->GetSourceMenuEntry());
    data.reset();
    EXPECT_FALSE(IsMenu(menu));
    const AssertRecorder asserts;
    data = DAW_MenuDataWin32::CreateDAW_Menu(&root);
    Mgr::DeleteMenuHandle(data->GetMenuHandle());
    data.reset();
    EXPECT_EQ(asserts.Take(), std::vector<std::string>());
}

} // namespace
