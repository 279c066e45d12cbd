// A chosen command number on its way to its item, among few and among all of them, and
// a menu's items numbered.
#include "Kora/DAW/DAW_MenuEntryCompound.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace {

class Items : public DAW_MenuEntryCompound
{
public:
    explicit Items(Cmn_Int32 iCount)
        : mCount(iCount)
    {
    }
    Cmn_Int32 GetNumberOfItems() override { return mCount; }
    std::string GetMenuText(Cmn_Int32) override { return "item"; }
    void DoIt(Cmn_Int32 iIndex) override { benchmark::DoNotOptimize(mLast = iIndex); }

private:
    Cmn_Int32 mCount;
    Cmn_Int32 mLast = 0;
};

// As many items, in entries of 70, and their numbers in an order that nobody guesses.
struct Menu
{
    explicit Menu(Cmn_Int32 iItems)
    {
        for (Cmn_Int32 first = 0; first < iItems; first += cItemsPerEntry) {
            mEntries.push_back(std::make_unique<Items>(cItemsPerEntry));
            for (Cmn_Int32 index = 0; index < cItemsPerEntry; ++index)
                mNumbers.push_back(mEntries.back()->GetCommandID(index));
        }
        std::shuffle(mNumbers.begin(), mNumbers.end(), std::mt19937(1));
    }

    static constexpr Cmn_Int32 cItemsPerEntry = 70;
    std::vector<std::unique_ptr<Items>> mEntries;
    std::vector<Cmn_Int16> mNumbers;
};

void BM_Route(benchmark::State& ioState)
{
    const Menu menu(static_cast<Cmn_Int32>(ioState.range(0)));
    std::size_t at = 0;
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(DAW_MenuEntry::DoCommand(menu.mNumbers[at]));
        if (++at == menu.mNumbers.size()) at = 0;
    }
}
BENCHMARK(BM_Route)->Arg(70)->Arg(7000);

// The same by looking through the items until one has the number.
void BM_RouteByScan(benchmark::State& ioState)
{
    const Menu menu(static_cast<Cmn_Int32>(ioState.range(0)));
    std::vector<std::pair<Cmn_Int16, DAW_MenuEntryAndIndex>> items;
    for (const std::unique_ptr<Items>& entry : menu.mEntries)
        for (Cmn_Int32 index = 0; index < Menu::cItemsPerEntry; ++index)
            items.push_back({entry->GetCommandID(index), {entry.get(), index}});
    std::size_t at = 0;
    for (auto _ : ioState) {
        for (const auto& [number, item] : items) {
            if (number != menu.mNumbers[at]) continue;
            item.mEntry->DoIt(item.mIndex);
            break;
        }
        if (++at == menu.mNumbers.size()) at = 0;
    }
}
BENCHMARK(BM_RouteByScan)->Arg(70)->Arg(7000);

// What an update asks of each item that it had before.
void BM_NumberOfAnItem(benchmark::State& ioState)
{
    const Menu menu(static_cast<Cmn_Int32>(ioState.range(0)));
    Cmn_Int32 at = 0;
    for (auto _ : ioState) {
        benchmark::DoNotOptimize(
            menu.mEntries[static_cast<std::size_t>(at / Menu::cItemsPerEntry)]->GetCommandID(
                at % Menu::cItemsPerEntry));
        if (++at == ioState.range(0)) at = 0;
    }
}
BENCHMARK(BM_NumberOfAnItem)->Arg(70)->Arg(7000);

// An entry of 70 items numbered, and dead again, beside the numbers of others.
void BM_EntryNumberedAndGone(benchmark::State& ioState)
{
    const Menu menu(static_cast<Cmn_Int32>(ioState.range(0)));
    for (auto _ : ioState) {
        Items entry(Menu::cItemsPerEntry);
        for (Cmn_Int32 index = 0; index < Menu::cItemsPerEntry; ++index)
            benchmark::DoNotOptimize(entry.GetCommandID(index));
    }
}
BENCHMARK(BM_EntryNumberedAndGone)->Arg(70)->Arg(7000);

} // namespace
