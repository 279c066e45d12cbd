#include "Arguments.h"

#include <iostream>
#include <string_view>

namespace {

constexpr const char* cHelp = R"(A small song editor with a menu bar and key bindings.
Usage: menus [--play] [--open MNEMONIC]

  --play           Take lines from the input instead of the user: menus, an item's number, a key; end with 1
                   when one was not understood
  --open MNEMONIC  Open the menu with this mnemonic, such as f
  -h, --help       Print this
)";

constexpr std::string_view cOpen = "--open=";

} // namespace

Arguments::Arguments(int iCount, char** iArguments)
{
    for (int i = 1; i < iCount && !mExit; ++i) {
        const std::string_view argument = iArguments[i];
        if (argument == "--play")
            mPlays = true;
        else if (argument == "--open" && i + 1 < iCount)
            mMnemonic = iArguments[++i];
        else if (argument.starts_with(cOpen))
            mMnemonic = argument.substr(cOpen.size());
        else
            mExit = argument == "-h" || argument == "--help" ? 0 : 2;
        if (mExit == 0) std::cout << cHelp;
        if (mExit == 2)
            std::cerr << "menus: \"" << argument << "\" is not understood; try \"menus --help\"\n";
    }
}
