// The host as a window; with --play, its input's lines become messages to the window.
#include "examples/menus/Commands.h"
#include "examples/menus/Keys.h"
#include "examples/menus/Menus.h"
#include "examples/menus/Session.h"
#include "examples/menus/Win32/Window.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace {

bool sQuits = false;

void Quit()
{
    sQuits = true;
    PostQuitMessage(0);
}

void Play(Window& ioWindow)
{
    std::string line;
    while (!sQuits && std::getline(std::cin, line)) {
        if (line.ends_with('\r')) line.pop_back();
        if (!ioWindow.Obey(line, std::cerr)) break;
    }
}

} // namespace

int main(int iCount, char** iArguments)
{
    CLI::App app("A small song editor with a native menu bar and key bindings.");
    bool plays = false;
    std::string mnemonic;
    app.add_flag("--play", plays,
                 "Take lines from the input instead of the user: menus, an item's number, a key");
    app.add_option("--open", mnemonic, "Open the menu with this mnemonic, such as f, and stay");
    try {
        app.parse(iCount, iArguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }

    Session session;
    RegisterCommands(session, Quit);
    RegisterKeys();
    const std::unique_ptr<DAW_MenuEntrySubMenu> bar = MakeMenuBar(session);
    {
        Window window(*bar);
        session.mListener = [&](const std::string& iLine) {
            window.Say(iLine);
            std::cout << iLine << std::endl;
        };
        if (plays) Play(window);
        if (!mnemonic.empty()) window.OpenMenu(mnemonic.front());
        if (!sQuits && (!plays || !mnemonic.empty())) Window::Run();
        session.mListener = nullptr;
    }
    RemoveKeys();
    RemoveCommands();
    return 0;
}
