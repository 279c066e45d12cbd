// Desk: what a user's hands do with the host, one line at a time; the window and the terminal each are one.
//
//     menus             opens every menu, and shows what stands in it
//     25003             chooses the item with this number
//     Ctrl+S            presses a key and lets it go; so do L, Right, Shift+Right, Space …
//     hold Right 3      presses it, keeps it down for three repeats, lets it go
//     quit              leaves
//
// What does nothing is answered: a number that no enabled item has, a key without a
// binding, a disabled command.
#pragma once

#include "Keys.h"

#include <istream>
#include <string>

// One item as a menu shows it.
struct MenuLine
{
    int mDepth = 0; // 0: in the bar
    Cmn_Int16 mNumber = 0;
    std::string mText;
    bool mEnabled = true;
    bool mChecked = false;
    bool mSeparator = false;
};

class Desk
{
public:
    virtual ~Desk() = default;

    // Brings the menus up to date and shows them, a line an item.
    virtual void ShowMenus() = 0;
    // False when no menu shows an enabled item with this number.
    virtual bool Choose(Cmn_Int16 iNumber) = 0;
    // False when no command took it.
    virtual bool Key(const KeyChord& iChord, bool iPressed, bool iRepeated) = 0;

    // Does what the input's lines say until it ends, one says "quit", or iQuits is true. False when one of
    // them was not understood: standard error says what was expected.
    bool Play(std::istream& ioInput, bool iPrompts, const bool& iQuits);

    // "  25003 [x] Take 3", "  25001 [ ] Save          Ctrl+S  (disabled)"
    static std::string Shown(const MenuLine& iLine);

private:
    // False when the line was not understood.
    bool Obey(const std::string& iLine);
    void Strike(const KeyChord& iChord, int iRepeats);
};
