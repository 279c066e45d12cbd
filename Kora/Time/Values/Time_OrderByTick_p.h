// Time_OrderByTick: the order of many entries by tick, those at one tick as they came; for
// edits that collect entries.
//
// Many are sorted digit by digit from the lowest, each pass keeping the order of the one before: what a
// comparison sort costs for 100,000 shuffled ticks is mispredicted branches, and this has none.
#pragma once

#include "Kora/Time/Values/Time_Tick.h"

#include <algorithm>
#include <array>
#include <vector>

// The entry whose place in the order it is, and its tick.
struct Time_Ordered
{
    Time_Tick mTick;
    std::size_t mIndex;
};

inline void Time_OrderByTick(std::vector<Time_Ordered>& ioEntries)
{
    constexpr std::size_t cFew = 500;
    const auto isBefore = [](const Time_Ordered& iA, const Time_Ordered& iB) { return iA.mTick < iB.mTick; };
    if (ioEntries.size() < cFew) return std::stable_sort(ioEntries.begin(), ioEntries.end(), isBefore);

    constexpr int cDigitBits = 11, cKeyBits = 64;
    constexpr std::size_t cDigits = std::size_t{1} << cDigitBits;
    const auto [lowest, highest] = std::minmax_element(ioEntries.begin(), ioEntries.end(), isBefore);
    const auto base = static_cast<Cmn_UInt64>(lowest->mTick.AsInt64());
    const Cmn_UInt64 span = static_cast<Cmn_UInt64>(highest->mTick.AsInt64()) - base;
    std::vector<Time_Ordered> other(ioEntries.size());
    for (int shift = 0; shift < cKeyBits && (span >> shift) != 0; shift += cDigitBits) {
        const auto digitOf = [&](const Time_Ordered& iEntry) {
            return ((static_cast<Cmn_UInt64>(iEntry.mTick.AsInt64()) - base) >> shift) % cDigits;
        };
        std::array<std::size_t, cDigits + 1> starts{};
        for (const Time_Ordered& entry : ioEntries)
            ++starts[digitOf(entry) + 1];
        for (std::size_t digit = 0; digit < cDigits; ++digit)
            starts[digit + 1] += starts[digit];
        for (const Time_Ordered& entry : ioEntries)
            other[starts[digitOf(entry)]++] = entry;
        ioEntries.swap(other);
    }
}
