// The host as a window; with --play, its input's lines become messages to the window.
#include "Arguments.h"
#include "Commands.h"
#include "Keys.h"
#include "Menus.h"
#include "Session.h"
#include "Win32/Window.h"

#include <iostream>

namespace {

bool sQuits = false;

void Quit()
{
    sQuits = true;
    PostQuitMessage(0);
}

} // namespace

int main(int iCount, char** iArguments)
{
    const Arguments arguments(iCount, iArguments);
    if (arguments.mExit) return *arguments.mExit;

    Session session;
    RegisterCommands(session, Quit);
    RegisterKeys();
    const std::unique_ptr<DAW_MenuEntrySubMenu> bar = MakeMenuBar(session);
    bool isUnderstood = true;
    {
        Window window(*bar);
        session.mListener = [&](const std::string& iLine) {
            window.Say(iLine);
            std::cout << iLine << std::endl;
        };
        if (arguments.mPlays) isUnderstood = window.Play(std::cin, false, sQuits);
        if (!arguments.mMnemonic.empty()) window.OpenMenu(arguments.mMnemonic.front());
        if (!sQuits && (!arguments.mPlays || !arguments.mMnemonic.empty())) Window::Run();
        session.mListener = nullptr;
    }
    RemoveKeys();
    RemoveCommands();
    return isUnderstood ? 0 : 1;
}
