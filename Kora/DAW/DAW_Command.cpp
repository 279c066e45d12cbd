#include "Kora/DAW/DAW_Command.h"

#include "Kora/DAW/DAW_EventModifiers.h"
#include "Kora/DAW/DAW_KeyboardState.h"

#include <utility>

DAW_Command::DAW_Command(std::string iName, Cmn_Int32 iCommandID, Cmn_Int32 iValue)
    : DAW_Command(std::move(iName), iCommandID, iValue, DAW_eCommandType_OneShot)
{
}

DAW_Command::DAW_Command(std::string iName, Cmn_Int32 iCommandID, Cmn_Int32 iValue, DAW_ECommandType iType)
    : mName(std::move(iName))
    , mCommandID(iCommandID)
    , mValue(iValue)
    , mType(iType)
{
}

DAW_Command::~DAW_Command() = default;

bool DAW_Command::IsEnabled(bool) { return mEnabled; }

void DAW_Command::DoCommandX() {}

void DAW_Command::DoCommand(Modifiers, KeyboardState) { DoCommandX(); }

void DAW_Command::DoCommandStart(Modifiers, KeyboardState) {}

void DAW_Command::DoCommandEnd(Modifiers, KeyboardState) {}
