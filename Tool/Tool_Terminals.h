// Tool_Terminals: which of the process's streams people look at, and how those may be written to.
//
// Colours are for terminals that take escape sequences, and for nobody who sets NO_COLOR to anything but nothing.
#pragma once

#include "Tool/Tool_Console.h"

struct Tool_Terminals
{
    bool mIsInTerminal = false;
    bool mIsOutTerminal = false;
    bool mIsErrTerminal = false;
    Tool_Style mOut;
    Tool_Style mErr;
};

// Finds them; a console that is made to take escape sequences takes none afterwards if it took none before.
class Tool_StTerminals
{
public:
    Tool_StTerminals();
    ~Tool_StTerminals();
    Tool_StTerminals(const Tool_StTerminals&) = delete;
    Tool_StTerminals& operator=(const Tool_StTerminals&) = delete;

    const Tool_Terminals& Get() const { return mTerminals; }

private:
    Tool_Terminals mTerminals;
};

// Whether the environment lets there be colours at all.
bool Tool_AllowsColours();
