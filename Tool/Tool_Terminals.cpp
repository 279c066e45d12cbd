#include "Tool/Tool_Terminals.h"

#include <cstdlib>

bool Tool_AllowsColours()
{
    const char* const no = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return (no == nullptr || *no == '\0') && (terminal == nullptr || std::string_view(terminal) != "dumb");
}
