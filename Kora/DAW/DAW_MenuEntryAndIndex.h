// DAW_MenuEntryAndIndex: one item of a menu entry, which is what a command number stands for.
//
// Ownership: none; the entry takes its numbers back when it dies, so that no number leads to a dead one.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <functional>

class DAW_MenuEntry;

struct DAW_MenuEntryAndIndex
{
    DAW_MenuEntry* mEntry = nullptr; // null: no item
    Cmn_Int32 mIndex = 0;            // from 0, among the entry's items

    friend bool operator==(const DAW_MenuEntryAndIndex&, const DAW_MenuEntryAndIndex&) = default;
};

// By entry, then by index: the items of one entry stand together.
struct DAW_MenuEntryAndIndexCompare
{
    bool operator()(const DAW_MenuEntryAndIndex& iLeft, const DAW_MenuEntryAndIndex& iRight) const noexcept
    {
        if (iLeft.mEntry != iRight.mEntry) return std::less<>()(iLeft.mEntry, iRight.mEntry);
        return iLeft.mIndex < iRight.mIndex;
    }
};
