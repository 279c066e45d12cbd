// DAW_MenuEntrySimple: one menu item, without the index.
//
//     class SaveEntry : public DAW_MenuEntrySimple
//     {
//         std::string GetMenuText() override { return "&Save\tCtrl+S"; }
//         bool MenuEntryIsEnabled() override { return mDocument.IsModified(); }
//         void DoIt() override { mDocument.Save(); }
//         …
//     };
//
// It is a compound entry of one item and goes wherever one goes.
#pragma once

#include "Kora/DAW/DAW_MenuEntryCompound.h"

class KORA_API DAW_MenuEntrySimple : public DAW_MenuEntryCompound
{
public:
    DAW_MenuEntrySimple();
    ~DAW_MenuEntrySimple() override;

    virtual std::string GetMenuText() = 0;
    // Whether the item can be chosen; true here.
    virtual bool MenuEntryIsEnabled();
    // Whether the item has a mark; false here.
    virtual bool MenuEntryIsChecked();
    virtual Cmn_Int16 GetCommandID();
    // The item was chosen. It may delete the entry, or the whole menu.
    virtual void DoIt() = 0;
    // The pointer or an arrow key stands on the item. Does nothing here.
    virtual void DoMenuHighlite();

    Cmn_Int32 GetNumberOfItems() final;

private:
    // These forward to the forms above. An entry may override the one that is not final in place of its form
    // without the index: menus ask the one with it.
    bool MenuEntryIsEnabled(Cmn_Int32 iIndex) override;
    std::string GetMenuText(Cmn_Int32 iIndex) final;
    bool MenuEntryIsChecked(Cmn_Int32 iIndex) final;
    Cmn_Int16 GetCommandID(Cmn_Int32 iIndex) final;
    void DoIt(Cmn_Int32 iIndex) final;
    void DoMenuHighlite(Cmn_Int32 iIndex) final;
};
