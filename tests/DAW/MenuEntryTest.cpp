#include "DAW/MenuItems.h"
#include "Kora/DAW/DAW_MenuEntrySeparator.h"
#include "Kora/DAW/DAW_MenuEntrySimple.h"
#include "Kora/DAW/DAW_MenuEntrySubMenu.h"
#include "Support/AllocationCounter.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <set>

namespace {

using Numbers = std::vector<Cmn_Int16>;
using Reports = std::vector<std::string>;
constexpr int cAllNumbers = 7768;
const Reports cNoneLeft = {"sNextCommandNumber != cNoCommandNumber@$^$@DAW/DAW_MenuEntry"};

// Before any test, while no number was ever out.
const Numbers cFirstNumbers = [] {
    MenuItems items;
    Numbers numbers = {items.GetCommandID(0), items.GetCommandID(1), items.GetCommandID(0)};
    MenuItems::DeleteEntryAndIndexFromCommandID(numbers[0]);
    numbers.insert(numbers.end(), {items.GetCommandID(7), items.GetCommandID(0)});
    return numbers;
}();

TEST(MenuEntry, NumbersStartAt25000AndReleasedOnesComeFirst)
{
    EXPECT_EQ(cFirstNumbers, Numbers({25000, 25001, 25000, 25000, 25002}));
}

// Numbers as two plain containers keep them, once all are known to be on the stack.
TEST(MenuEntry, RandomScriptsAgreeWithAPlainModelToTheLastNumber)
{
    std::mt19937 random(20);
    const auto below = [&](int iLimit) { return static_cast<int>(random() % static_cast<unsigned>(iLimit)); };
    const AssertRecorder asserts;
    Numbers stack;
    auto all = std::make_unique<MenuItems>();
    for (int index = 0; index < cAllNumbers; ++index)
        stack.push_back(all->GetCommandID(index));
    all.reset();
    EXPECT_EQ(asserts.Take(), Reports());
    const std::set<int> ever(stack.begin(), stack.end());
    EXPECT_TRUE(ever.size() == cAllNumbers && *ever.begin() == 25000 && *ever.rbegin() == 32767);

    std::vector<std::unique_ptr<MenuItems>> entries(40);
    std::map<std::pair<int, int>, Cmn_Int16> out; // of an entry's place and an index
    int refused = 0;
    for (int step = 0; step < 60000; ++step) {
        const int place = below(40);
        const int index = below(300) - 2;
        const int action = below(1000);
        std::unique_ptr<MenuItems>& entry = entries[static_cast<std::size_t>(place)];
        if (entry == nullptr) entry = std::make_unique<MenuItems>();
        const auto item = out.find({place, index});
        if (action < 2) {
            auto each = out.lower_bound({place, action == 0 ? -2 : index});
            for (; each != out.end() && each->first.first == place; each = out.erase(each))
                stack.push_back(each->second);
            if (action == 1) entry->ReleaseCommandNumbers(index);
            if (action == 0) entry.reset();
        } else if (action < 30 && item != out.end()) {
            MenuItems::DeleteEntryAndIndexFromCommandID(item->second);
            stack.push_back(item->second);
            out.erase(item);
        } else if (item == out.end() && stack.empty()) {
            ASSERT_EQ(entry->GetCommandID(index), 0) << step;
            ASSERT_EQ(asserts.Take(), cNoneLeft) << step;
            ++refused;
        } else {
            const Cmn_Int16 number = item != out.end() ? item->second : stack.back();
            if (item == out.end()) stack.pop_back();
            out[{place, index}] = number;
            ASSERT_EQ(entry->GetCommandID(index), number) << step;
            const DAW_MenuEntryAndIndex expected = {entry.get(), index};
            ASSERT_EQ(MenuItems::GetEntryAndIndexFromCommandID(number), expected) << step;
        }
        const Cmn_Int16 unknown = stack.empty() ? Cmn_Int16{0} : stack[random() % stack.size()];
        MenuItems::DeleteEntryAndIndexFromCommandID(unknown);
        ASSERT_FALSE(DAW_MenuEntry::DoCommand(unknown)) << step;
    }
    EXPECT_EQ(out.size() + stack.size(), cAllNumbers);
    EXPECT_GT(refused, 0);
    EXPECT_EQ(asserts.Take(), Reports());
    for (const int unknown : {-32768, -1, 0, 24999})
        EXPECT_FALSE(DAW_MenuEntry::DoCommand(static_cast<Cmn_Int16>(unknown))) << unknown;
}

struct Save : DAW_MenuEntrySimple
{
    std::string GetMenuText() override { return "&Save\tCtrl+S"; }
    bool MenuEntryIsEnabled() override { return false; }
    bool MenuEntryIsChecked() override { return true; }
    Cmn_Int16 GetCommandID() override { return 77; }
    void DoIt() override { MenuItems::sDone += "saved"; }
    void DoMenuHighlite() override { MenuItems::sDone = "save? "; }
};

struct IndexedSave : Save
{
    using Save::MenuEntryIsEnabled;
    bool MenuEntryIsEnabled(Cmn_Int32 iIndex) override { return iIndex == 0; }
};

TEST(MenuEntry, EachKindIsOfItsKindAndShowsItsItems)
{
    DAW_MenuEntrySubMenu root("");
    root.AppendEntry(std::make_unique<Save>());
    root.AppendEntry(std::make_unique<MenuItems>(std::vector<MenuItems::Item>(2, {"a", true, true})));
    root.AppendEntry(std::make_unique<DAW_MenuEntrySeparator>());
    root.AppendEntry(std::make_unique<DAW_MenuEntrySubMenu>("&More"));
    root.GetEntry(3)->GetMenuEntrySubMenu()->AppendEntry(std::make_unique<IndexedSave>());
    const auto number = [&](int iAt, int iIndex) {
        return std::to_string(root.GetEntry(iAt)->GetCommandID(iIndex));
    };
    const std::string save = "77 &Save\tCtrl+S (disabled) (checked)\n";
    const std::string a = " a (checked)\n";
    EXPECT_EQ(root.Dump(), save + number(1, 0) + a + number(1, 1) + a + "-----\n" + number(3, 0) +
                               " &More\n  77 &Save\tCtrl+S (checked)\n");
    for (int at = 0; at < 4; ++at) {
        DAW_MenuEntry& entry = *root.GetEntry(at);
        const DAW_MenuEntryType type = entry.GetMenuEntryType();
        EXPECT_EQ(type, (at < 2 ? DAW_eMenuEntryType_Compound : at - 1)) << at;
        EXPECT_EQ(entry.GetMenuEntryCompound(), type == DAW_eMenuEntryType_Compound ? &entry : nullptr);
        EXPECT_EQ(entry.GetMenuEntrySeparator(), type == DAW_eMenuEntryType_Separator ? &entry : nullptr);
        EXPECT_EQ(entry.GetMenuEntrySubMenu(), type == DAW_eMenuEntryType_SubMenu ? &entry : nullptr);
    }
    DAW_MenuEntry& line = *root.GetEntry(2);
    EXPECT_FALSE(line.MenuEntryIsEnabled(0) || line.MenuEntryIsChecked(0) || line.GetCommandID(0) != 0);
    root.GetEntry(0)->DoMenuHighlite(0);
    root.GetEntry(0)->DoIt(0);
    EXPECT_EQ(MenuItems::sDone, "save? saved");
}

TEST(MenuEntry, ASubMenuOwnsItsEntriesWhichMayDeleteThemselvesWhenDone)
{
    const AssertRecorder asserts;
    auto menu = std::make_unique<DAW_MenuEntrySubMenu>("");
    menu->AppendEntry(std::make_unique<MenuItems>());
    menu->AppendEntry(std::make_unique<MenuItems>());
    auto& items = static_cast<MenuItems&>(*menu->GetEntry(1));
    const Cmn_Int16 number = items.GetCommandID(1);
    EXPECT_EQ(menu->GetEntry(-1), nullptr);
    EXPECT_EQ(menu->GetEntry(2), nullptr);
    menu->AppendEntry(nullptr);
    EXPECT_EQ(asserts.Take().size(), 3U);
    EXPECT_EQ(menu->GetNumberOfEntries(), 2);

    const AllocationCounter allocations;
    EXPECT_TRUE(DAW_MenuEntry::DoHighlite(number));
    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(MenuItems::sDone, "highlighted 1");
    items.mThen = [&] { menu.reset(); };
    EXPECT_TRUE(DAW_MenuEntry::DoCommand(number));
    EXPECT_EQ(MenuItems::sDone, "did 1");
    EXPECT_EQ(MenuItems::sAlive, 0);
    EXPECT_FALSE(DAW_MenuEntry::DoCommand(number));
}

} // namespace
