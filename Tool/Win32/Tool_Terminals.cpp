// Consoles take escape sequences since Windows 10, once they are asked to.
#include "Tool/Tool_Terminals.h"

#include <windows.h>

namespace {

// Of consoles, as they were. The process has one guard.
DWORD sOutMode = 0;
DWORD sErrMode = 0;

// Whether it is a console; oMode is its mode, 0 where it is none.
bool GetMode(DWORD iStream, DWORD& oMode) { return GetConsoleMode(GetStdHandle(iStream), &oMode) != FALSE; }

bool TakesSequences(DWORD iStream, DWORD iMode)
{
    return (iMode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0 ||
           SetConsoleMode(GetStdHandle(iStream), iMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
}

} // namespace

Tool_StTerminals::Tool_StTerminals()
{
    const bool allows = Tool_AllowsColours();
    DWORD inMode = 0;
    const bool isOut = GetMode(STD_OUTPUT_HANDLE, sOutMode);
    const bool isErr = GetMode(STD_ERROR_HANDLE, sErrMode);
    mTerminals = {GetMode(STD_INPUT_HANDLE, inMode), isOut, isErr,
                  Tool_Style(isOut && allows && TakesSequences(STD_OUTPUT_HANDLE, sOutMode)),
                  Tool_Style(isErr && allows && TakesSequences(STD_ERROR_HANDLE, sErrMode))};
}

Tool_StTerminals::~Tool_StTerminals()
{
    // The other way round: both may be one console.
    if (mTerminals.mErr.HasColours()) SetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), sErrMode);
    if (mTerminals.mOut.HasColours()) SetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), sOutMode);
}
