// The host in the terminal: the menu tree as text, numbers and keys as lines.
#include "Arguments.h"
#include "Commands.h"
#include "Desk.h"
#include "Keys.h"
#include "Menus.h"
#include "Session.h"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <unistd.h>
#include <vector>

namespace {

bool sQuits = false;

char Lower(char iLetter) { return static_cast<char>(std::tolower(static_cast<unsigned char>(iLetter))); }

// The letter behind the mark; 0 when there is none.
char Mnemonic(const std::string& iText)
{
    const std::size_t mark = iText.find('&');
    return mark + 1 < iText.size() ? Lower(iText[mark + 1]) : '\0';
}

class Terminal : public Desk
{
public:
    explicit Terminal(DAW_MenuEntrySubMenu& ioBar)
        : mBar(ioBar)
    {
        Update();
    }
    void ShowMenus() override
    {
        Update();
        for (const MenuLine& line : mLines)
            std::cout << Shown(line) << '\n';
    }
    bool Choose(Cmn_Int16 iNumber) override
    {
        Update();
        const auto isIt = [&](const MenuLine& iLine) { return iLine.mNumber == iNumber && iLine.mEnabled; };
        return std::any_of(mLines.begin(), mLines.end(), isIt) && DAW_MenuEntry::DoCommand(iNumber);
    }
    bool Key(const KeyChord& iChord, bool iPressed, bool iRepeated) override
    {
        return SendKey(iChord, iPressed, iRepeated);
    }
    // Shows the one menu with this mnemonic.
    void OpenMenu(char iMnemonic)
    {
        Update();
        bool isIt = false;
        for (const MenuLine& line : mLines) {
            if (line.mDepth == 0) isIt = Mnemonic(line.mText) == Lower(iMnemonic);
            if (isIt) std::cout << Shown(line) << '\n';
        }
    }

private:
    void Update()
    {
        mLines.clear();
        for (Cmn_Int32 i = 0; i < mBar.GetNumberOfEntries(); ++i)
            Append(*mBar.GetEntry(i), 0);
    }

    void Append(DAW_MenuEntry& ioEntry, int iDepth)
    {
        if (ioEntry.GetMenuEntrySeparator() != nullptr) {
            mLines.push_back({iDepth, 0, "", false, false, true});
            return;
        }
        const Cmn_Int32 items = ioEntry.GetNumberOfItems();
        for (Cmn_Int32 i = 0; i < items; ++i) {
            mLines.push_back({iDepth, ioEntry.GetCommandID(i), ioEntry.GetMenuText(i),
                              ioEntry.MenuEntryIsEnabled(i), ioEntry.MenuEntryIsChecked(i), false});
        }
        if (DAW_MenuEntrySubMenu* const popup = ioEntry.GetMenuEntrySubMenu()) {
            for (Cmn_Int32 i = 0; i < popup->GetNumberOfEntries(); ++i)
                Append(*popup->GetEntry(i), iDepth + 1);
        }
    }

    DAW_MenuEntrySubMenu& mBar;
    std::vector<MenuLine> mLines;
};

} // namespace

int main(int iCount, char** iArguments)
{
    const Arguments arguments(iCount, iArguments);
    if (arguments.mExit) return *arguments.mExit;

    Session session;
    session.mListener = [](const std::string& iLine) { std::cout << iLine << '\n'; };
    RegisterCommands(session, [] { sQuits = true; });
    RegisterKeys();
    const std::unique_ptr<DAW_MenuEntrySubMenu> bar = MakeMenuBar(session);
    bool isUnderstood = true;
    {
        Terminal terminal(*bar);
        const bool isTyped = !arguments.mPlays && isatty(STDIN_FILENO) != 0;
        if (!arguments.mMnemonic.empty())
            terminal.OpenMenu(arguments.mMnemonic.front());
        else if (isTyped)
            terminal.ShowMenus();
        if (isTyped)
            std::cout << "An item's number, a key such as Ctrl+N, L, Right, Shift+Right; menus; quit.\n";
        isUnderstood = terminal.Play(std::cin, isTyped, sQuits) || isTyped;
    }
    RemoveKeys();
    RemoveCommands();
    return isUnderstood ? 0 : 1;
}
