#include "Tool/Tool_Terminals.h"

#include <unistd.h>

Tool_StTerminals::Tool_StTerminals()
{
    const bool allows = Tool_AllowsColours();
    const bool isOut = isatty(STDOUT_FILENO) != 0;
    const bool isErr = isatty(STDERR_FILENO) != 0;
    mTerminals = {isatty(STDIN_FILENO) != 0, isOut, isErr, Tool_Style(isOut && allows),
                  Tool_Style(isErr && allows)};
}

Tool_StTerminals::~Tool_StTerminals() = default;
