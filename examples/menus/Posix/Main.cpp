// The host in the terminal: the menu tree as text, numbers and keys as lines.
#include "examples/menus/Commands.h"
#include "examples/menus/Desk.h"
#include "examples/menus/Keys.h"
#include "examples/menus/Menus.h"
#include "examples/menus/Session.h"

#include <iostream>
#include <unistd.h>
#include <vector>

namespace {

bool sQuits = false;

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
        const auto isIt = [&](const MenuLine& iLine) { return iLine.number == iNumber && iLine.enabled; };
        return std::any_of(mLines.begin(), mLines.end(), isIt) && DAW_MenuEntry::DoCommand(iNumber);
    }
    void Key(const KeyChord& iChord, bool iPressed, bool iRepeated) override
    {
        SendKey(iChord, iPressed, iRepeated);
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

int main()
{
    Session session;
    session.mListener = [](const std::string& iLine) { std::cout << iLine << '\n'; };
    RegisterCommands(session, [] { sQuits = true; });
    RegisterKeys();
    const std::unique_ptr<DAW_MenuEntrySubMenu> bar = MakeMenuBar(session);
    {
        Terminal terminal(*bar);
        const bool isTyped = isatty(STDIN_FILENO) != 0;
        if (isTyped) {
            terminal.ShowMenus();
            std::cout << "An item's number, a key such as Ctrl+N, L, Right, Shift+Right; menus; quit.\n";
        }
        std::string line;
        while (!sQuits) {
            if (isTyped) std::cout << "> " << std::flush;
            if (!std::getline(std::cin, line) || !terminal.Obey(line, std::cerr)) break;
        }
    }
    RemoveKeys();
    RemoveCommands();
    return 0;
}
