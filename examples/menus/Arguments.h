// What the host was started with, the same on both platforms.
#pragma once

#include <optional>
#include <string>

struct Arguments
{
    Arguments(int iCount, char** iArguments);

    // What to end with at once: 0 after --help, 2 after a message about what is not known.
    std::optional<int> mExit;
    bool mPlays = false;   // lines come from the input, nobody types them
    std::string mMnemonic; // of the menu to open; empty for none
};
