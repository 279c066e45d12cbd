// MenuItems: a compound entry whose items are a list that tests change, and which notes what was done to it.
#pragma once

#include "Kora/DAW/DAW_MenuEntryCompound.h"

#include <functional>
#include <utility>

struct MenuItems : DAW_MenuEntryCompound
{
    struct Item
    {
        std::string mText;
        bool mIsEnabled = true;
        bool mIsChecked = false;
    };

    explicit MenuItems(std::vector<Item> iItems = {})
        : mItems(std::move(iItems))
    {
        ++sAlive;
    }
    ~MenuItems() override { --sAlive; }

    Cmn_Int32 GetNumberOfItems() override { return static_cast<Cmn_Int32>(mItems.size()); }
    std::string GetMenuText(Cmn_Int32 iIndex) override { return At(iIndex).mText; }
    bool MenuEntryIsEnabled(Cmn_Int32 iIndex) override { return At(iIndex).mIsEnabled; }
    bool MenuEntryIsChecked(Cmn_Int32 iIndex) override { return At(iIndex).mIsChecked; }
    void DoIt(Cmn_Int32 iIndex) override
    {
        sDone = "did " + std::to_string(iIndex);
        if (mThen) std::exchange(mThen, {})(); // may delete the entry
    }
    void DoMenuHighlite(Cmn_Int32 iIndex) override { sDone = "highlighted " + std::to_string(iIndex); }
    const Item& At(Cmn_Int32 iIndex) const { return mItems.at(static_cast<std::size_t>(iIndex)); }

    using DAW_MenuEntry::DeleteEntryAndIndexFromCommandID, DAW_MenuEntry::GetEntryAndIndexFromCommandID,
        DAW_MenuEntry::ReleaseCommandNumbers;
    std::vector<Item> mItems;
    std::function<void()> mThen; // after DoIt
    static inline int sAlive = 0;
    static inline std::string sDone;
};
