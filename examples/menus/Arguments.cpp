#include "menus/Arguments.h"

#include <CLI/CLI.hpp>

Arguments::Arguments(int iCount, char** iArguments)
{
    CLI::App app("A small song editor with a menu bar and key bindings.", "menus");
    app.add_flag("--play", mPlays,
                 "Take lines from the input instead of the user: menus, an item's number, a key; end with 1 "
                 "when one was not understood");
    app.add_option("--open", mMnemonic, "Open the menu with this mnemonic, such as f");
    try {
        app.parse(iCount, iArguments);
    } catch (const CLI::ParseError& error) {
        mExit = app.exit(error) == 0 ? 0 : 2;
    }
}
