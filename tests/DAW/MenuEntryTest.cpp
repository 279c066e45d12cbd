#include "DAW/MenuItems.h"
#include "Kora/DAW/DAW_MenuData.h"
#include "Kora/DAW/DAW_MenuEntrySeparator.h"
#include "Kora/DAW/DAW_MenuEntrySimple.h"
#include "Kora/DAW/DAW_MenuEntrySubMenu.h"
#include "Support/AllocationCounter.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <set>

namespace {

using Numbers = std::vector<Cmn_Int16>;
constexpr int cAllNumbers = 7768;
const std::vector<std::string> cNoneLeft = {"sNextCommandNumber != cNoCommandNumber@$^$@DAW/DAW_MenuEntry"};

// Before any test, while no number was ever out.
const Numbers cFirstNumbers = [] {
    MenuItems items;
    Numbers numbers = {items.GetCommandID(0), items.GetCommandID(1), items.GetCommandID(0)};
    MenuItems::DeleteEntryAndIndexFromCommandID(numbers[0]);
    numbers.push_back(items.GetCommandID(7));
    numbers.push_back(items.GetCommandID(0));
    return numbers;
}();

TEST(MenuEntry, NumbersStartAt25000AndReleasedOnesComeFirst)
{
    EXPECT_EQ(cFirstNumbers, Numbers({25000, 25001, 25000, 25000, 25002}));
}

TEST(MenuEntry, TheLastNumberIs32767AndNothingWraps)
{
    const AssertRecorder asserts;
    MenuItems items;
    std::set<int> numbers;
    for (int index = 0; index < cAllNumbers; ++index) {
        const Cmn_Int16 number = items.GetCommandID(index);
        numbers.insert(number);
        EXPECT_EQ(MenuItems::GetEntryAndIndexFromCommandID(number), (DAW_MenuEntryAndIndex{&items, index}));
    }
    EXPECT_EQ(asserts.Take(), std::vector<std::string>());
    EXPECT_EQ(numbers.size(), cAllNumbers);
    EXPECT_EQ(*numbers.begin(), 25000);
    EXPECT_EQ(*numbers.rbegin(), 32767);
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(items.GetCommandID(cAllNumbers), 0);
        EXPECT_EQ(asserts.Take(), cNoneLeft);
    }
    for (const int unknown : {-32768, -1, 0, 24999})
        EXPECT_FALSE(DAW_MenuEntry::DoCommand(static_cast<Cmn_Int16>(unknown))) << unknown;

    // Released ones come back, and what an entry had is free when it is dead.
    const Cmn_Int16 released = items.GetCommandID(4711);
    MenuItems::DeleteEntryAndIndexFromCommandID(released);
    MenuItems::DeleteEntryAndIndexFromCommandID(released);
    EXPECT_FALSE(DAW_MenuEntry::DoCommand(released));
    EXPECT_EQ(std::make_unique<MenuItems>()->GetCommandID(0), released);
    EXPECT_EQ(items.GetCommandID(cAllNumbers), released);
    const AllocationCounter allocations;
    EXPECT_TRUE(DAW_MenuEntry::DoHighlite(items.GetCommandID(3)));
    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(MenuItems::sDone, "highlighted 3");
    EXPECT_EQ(MenuItems::GetIDForEntryAndIndex(nullptr, 0), 0);
    EXPECT_EQ(asserts.Take(), std::vector<std::string>{"iEntry != nullptr@$^$@DAW/DAW_MenuEntry"});
}

// Numbers as two plain containers keep them, once all are known to be on the stack.
TEST(MenuEntry, RandomScriptsAgreeWithAPlainModel)
{
    std::mt19937 random(20);
    const auto below = [&](int iLimit) { return static_cast<int>(random() % static_cast<unsigned>(iLimit)); };
    Numbers stack;
    {
        MenuItems all;
        for (int index = 0; index < cAllNumbers; ++index)
            stack.push_back(all.GetCommandID(index));
        for (const Cmn_Int16 number : stack)
            MenuItems::DeleteEntryAndIndexFromCommandID(number);
    }
    std::vector<std::unique_ptr<MenuItems>> entries(40);
    std::map<std::pair<int, int>, Cmn_Int16> out; // (entry's place, index)
    const auto release = [&](int iPlace, int iFirstIndex) {
        auto each = out.lower_bound({iPlace, iFirstIndex});
        for (; each != out.end() && each->first.first == iPlace; each = out.erase(each))
            stack.push_back(each->second);
    };
    const AssertRecorder asserts;
    int refused = 0;
    for (int step = 0; step < 60000; ++step) {
        const int place = below(40);
        const int index = below(300) - 2;
        std::unique_ptr<MenuItems>& entry = entries[static_cast<std::size_t>(place)];
        if (entry == nullptr) entry = std::make_unique<MenuItems>();
        const auto item = out.find({place, index});
        const int action = below(1000);
        if (action == 0) {
            release(place, -2);
            entry.reset();
        } else if (action == 1) {
            release(place, index);
            entry->ReleaseCommandNumbers(index);
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
            ASSERT_TRUE(DAW_MenuEntry::DoCommand(number)) << step;
            ASSERT_EQ(MenuItems::sDone, "did " + std::to_string(index)) << step;
        }
        const Cmn_Int16 free = stack.empty() ? Cmn_Int16{0} : stack[random() % stack.size()];
        ASSERT_FALSE(DAW_MenuEntry::DoCommand(free)) << step;
    }
    EXPECT_EQ(out.size() + stack.size(), cAllNumbers);
    EXPECT_GT(refused, 0);
    EXPECT_EQ(asserts.Take(), std::vector<std::string>());
}

struct Save : DAW_MenuEntrySimple
{
    std::string GetMenuText() override { return "&Save\tCtrl+S"; }
    bool MenuEntryIsEnabled() override { return false; }
    bool MenuEntryIsChecked() override { return true; }
    Cmn_Int16 GetCommandID() override { return 77; }
    void DoIt() override { mDone += "did"; }
    void DoMenuHighlite() override { mDone += "highlighted "; }
    std::string mDone;
};

TEST(MenuEntry, EachKindIsOfItsKind)
{
    Save save;
    MenuItems items({{"a"}, {"b"}});
    DAW_MenuEntrySeparator line;
    DAW_MenuEntrySubMenu menu("&File");
    const struct
    {
        DAW_MenuEntry& mEntry;
        DAW_MenuEntryType mType;
        int mItems;
        const char* mText;
        bool mIsEnabled, mIsChecked, mHasNumber;
    } cases[] = {
        {save,  DAW_eMenuEntryType_Compound,  1, "&Save\tCtrl+S", false, true,  true },
        {items, DAW_eMenuEntryType_Compound,  2, "a",             true,  false, true },
        {line,  DAW_eMenuEntryType_Separator, 1, "",              false, false, false},
        {menu,  DAW_eMenuEntryType_SubMenu,   1, "&File",         true,  false, true },
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.mText);
        EXPECT_EQ(each.mEntry.GetMenuEntryType(), each.mType);
        EXPECT_EQ(each.mEntry.GetMenuEntryCompound() != nullptr, each.mType == DAW_eMenuEntryType_Compound);
        EXPECT_EQ(each.mEntry.GetMenuEntrySeparator() != nullptr, each.mType == DAW_eMenuEntryType_Separator);
        EXPECT_EQ(each.mEntry.GetMenuEntrySubMenu() != nullptr, each.mType == DAW_eMenuEntryType_SubMenu);
        EXPECT_EQ(each.mEntry.GetNumberOfItems(), each.mItems);
        EXPECT_EQ(each.mEntry.GetMenuText(0), each.mText);
        EXPECT_EQ(each.mEntry.MenuEntryIsEnabled(0), each.mIsEnabled);
        EXPECT_EQ(each.mEntry.MenuEntryIsChecked(0), each.mIsChecked);
        EXPECT_EQ(each.mEntry.GetCommandID(0) != 0, each.mHasNumber);
        each.mEntry.DoMenuHighlite(0);
        each.mEntry.DoIt(0);
    }
    EXPECT_EQ(save.mDone, "highlighted did");
    EXPECT_EQ(DAW_MenuData(&menu).GetSourceMenuEntry(), &menu);
}

TEST(MenuEntry, ASubMenuOwnsItsEntriesWhichMayDeleteThemselvesWhenDone)
{
    const AssertRecorder asserts;
    auto menu = std::make_unique<DAW_MenuEntrySubMenu>("");
    const auto append = [&] {
        menu->AppendEntry(std::make_unique<MenuItems>());
        return static_cast<MenuItems*>(menu->GetEntry(menu->GetNumberOfEntries() - 1));
    };
    MenuItems* const first = append();
    MenuItems* const second = append();
    EXPECT_EQ(menu->GetEntry(0), first);
    EXPECT_EQ(asserts.Take(), std::vector<std::string>());
    for (const int outside : {-1, 2}) {
        EXPECT_EQ(menu->GetEntry(outside), nullptr);
        EXPECT_EQ(asserts.Take().size(), 1U);
    }
    menu->AppendEntry(nullptr);
    EXPECT_EQ(asserts.Take().size(), 1U);
    EXPECT_EQ(menu->GetNumberOfEntries(), 2);

    const Cmn_Int16 number = second->GetCommandID(1);
    second->mThen = [&] { menu->DeleteAllEntries(); };
    EXPECT_TRUE(DAW_MenuEntry::DoCommand(number));
    EXPECT_EQ(MenuItems::sDone, "did 1");
    EXPECT_EQ(MenuItems::sAlive, 0);
    EXPECT_EQ(menu->GetNumberOfEntries(), 0);
    EXPECT_FALSE(DAW_MenuEntry::DoCommand(number));

    MenuItems* const last = append();
    last->mThen = [&] { menu.reset(); };
    EXPECT_TRUE(DAW_MenuEntry::DoCommand(last->GetCommandID(0)));
    EXPECT_EQ(MenuItems::sAlive, 0);
}

} // namespace
