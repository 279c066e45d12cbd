#include "Kora/DAW/DAW_MenuEntry.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/DAW/DAW_MenuEntry_p.h"

#include <limits>
#include <map>
#include <vector>

constinit Cmn_Int16 DAW_MenuEntry::sNextCommandNumber = cFirstCommandNumber;

struct DAW_MenuEntry::Items
{
    std::vector<Cmn_Int16> sCommandNumberRecycleStack; // top at the back
    // The item of cFirstCommandNumber + n at n; released ones are null.
    std::vector<DAW_MenuEntryAndIndex> sEntryAndIndexOfCommandNumber;
    std::map<DAW_MenuEntryAndIndex, Cmn_Int16, DAW_MenuEntryAndIndexCompare> sCommandNumberOfEntryAndIndex;
};

DAW_MenuEntry::Items& DAW_MenuEntry::AllItems()
{
    static Items sItems;
    return sItems;
}

void (*gDAW_MenuEntryIsGone)(const DAW_MenuEntry*) = nullptr;

DAW_MenuEntry::DAW_MenuEntry() { AllItems(); }

DAW_MenuEntry::~DAW_MenuEntry()
{
    ReleaseCommandNumbers(std::numeric_limits<Cmn_Int32>::min());
    if (gDAW_MenuEntryIsGone != nullptr) gDAW_MenuEntryIsGone(this);
}

bool DAW_MenuEntry::MenuEntryIsEnabled(Cmn_Int32) { return true; }

bool DAW_MenuEntry::MenuEntryIsChecked(Cmn_Int32) { return false; }

Cmn_Int16 DAW_MenuEntry::GetCommandID(Cmn_Int32 iIndex) { return GetIDForEntryAndIndex(this, iIndex); }

void DAW_MenuEntry::DoMenuHighlite(Cmn_Int32) {}

bool DAW_MenuEntry::DoCommand(Cmn_Int16 iCommandNumber)
{
    const DAW_MenuEntryAndIndex item = GetEntryAndIndexFromCommandID(iCommandNumber);
    if (item.mEntry == nullptr) return false;
    item.mEntry->DoIt(item.mIndex);
    return true;
}

bool DAW_MenuEntry::DoHighlite(Cmn_Int16 iCommandNumber)
{
    const DAW_MenuEntryAndIndex item = GetEntryAndIndexFromCommandID(iCommandNumber);
    if (item.mEntry == nullptr) return false;
    item.mEntry->DoMenuHighlite(item.mIndex);
    return true;
}

Cmn_Int16 DAW_MenuEntry::GetIDForEntryAndIndex(DAW_MenuEntry* iEntry, Cmn_Int32 iIndex)
{
    if (!Cmn_ASSERT(iEntry != nullptr)) return cNoCommandNumber;
    Items& items = AllItems();
    const DAW_MenuEntryAndIndex item{iEntry, iIndex};
    const auto place = items.sCommandNumberOfEntryAndIndex.lower_bound(item);
    if (place != items.sCommandNumberOfEntryAndIndex.end() && place->first == item) return place->second;

    if (!items.sCommandNumberRecycleStack.empty()) {
        const Cmn_Int16 number = items.sCommandNumberRecycleStack.back();
        items.sCommandNumberOfEntryAndIndex.emplace_hint(place, item, number);
        items.sCommandNumberRecycleStack.pop_back();
        items.sEntryAndIndexOfCommandNumber[static_cast<std::size_t>(number - cFirstCommandNumber)] = item;
        return number;
    }
    if (!Cmn_ASSERT(sNextCommandNumber != cNoCommandNumber)) return cNoCommandNumber;
    const Cmn_Int16 number = sNextCommandNumber;
    // The room comes first, so that what runs out of memory changes nothing, and releasing never needs any.
    items.sEntryAndIndexOfCommandNumber.reserve(cLastCommandNumber - cFirstCommandNumber + 1);
    items.sCommandNumberRecycleStack.reserve(cLastCommandNumber - cFirstCommandNumber + 1);
    items.sCommandNumberOfEntryAndIndex.emplace_hint(place, item, number);
    items.sEntryAndIndexOfCommandNumber.push_back(item);
    // The last number has no successor in 16 bits.
    sNextCommandNumber = number == cLastCommandNumber ? cNoCommandNumber : static_cast<Cmn_Int16>(number + 1);
    return number;
}

DAW_MenuEntryAndIndex DAW_MenuEntry::GetEntryAndIndexFromCommandID(Cmn_Int16 iCommandNumber)
{
    const Items& items = AllItems();
    const int place = iCommandNumber - cFirstCommandNumber;
    if (place < 0 || static_cast<std::size_t>(place) >= items.sEntryAndIndexOfCommandNumber.size()) return {};
    return items.sEntryAndIndexOfCommandNumber[static_cast<std::size_t>(place)];
}

void DAW_MenuEntry::DeleteEntryAndIndexFromCommandID(Cmn_Int16 iCommandNumber)
{
    const DAW_MenuEntryAndIndex item = GetEntryAndIndexFromCommandID(iCommandNumber);
    if (item.mEntry == nullptr) return;
    Items& items = AllItems();
    items.sCommandNumberOfEntryAndIndex.erase(item);
    items.sEntryAndIndexOfCommandNumber[static_cast<std::size_t>(iCommandNumber - cFirstCommandNumber)] = {};
    items.sCommandNumberRecycleStack.push_back(iCommandNumber);
}

void DAW_MenuEntry::ReleaseCommandNumbers(Cmn_Int32 iFirstIndex) noexcept
{
    const Items& items = AllItems();
    // The items of one entry stand together in the map.
    auto each = items.sCommandNumberOfEntryAndIndex.lower_bound({this, iFirstIndex});
    while (each != items.sCommandNumberOfEntryAndIndex.end() && each->first.mEntry == this) {
        const Cmn_Int16 number = each->second;
        ++each;
        DeleteEntryAndIndexFromCommandID(number);
    }
}
