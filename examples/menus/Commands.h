// The host's commands, registered by identifier; keys and menus invoke them.
#pragma once

#include "Kora/Commands.h"

class Session;

enum CommandID : Cmn_Int32 {
    eCommand_New = 1,
    eCommand_Save,
    eCommand_Quit,
    eCommand_Loop,
    eCommand_Nudge, // its option "coarse", held with Shift, goes a bar instead of a grid step
    eCommand_Scrub  // momentary: as long as its key is down
};

// Registers them all. ioSession outlives them; iQuit closes the host.
void RegisterCommands(Session& ioSession, void (*iQuit)());
// Removes and deletes them.
void RemoveCommands();
