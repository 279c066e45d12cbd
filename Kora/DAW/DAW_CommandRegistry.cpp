#include "Kora/DAW/DAW_CommandRegistry.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/DAW/DAW_Command.h"

#include <utility>

DAW_CommandRegistry::CommandMap* DAW_CommandRegistry::sCommandMap = nullptr;
DAW_CommandRegistry::NotificationCallback DAW_CommandRegistry::sNotificationCallback = nullptr;

DAW_CommandRegistry::CommandMap& DAW_CommandRegistry::Commands()
{
    if (sCommandMap == nullptr) sCommandMap = new CommandMap;
    return *sCommandMap;
}

void DAW_CommandRegistry::RegisterCommand(DAW_Command* iCommand)
{
    if (!Cmn_ASSERT(iCommand != nullptr)) return;
    DAW_Command* const before = std::exchange(Commands()[iCommand->GetCommandID()], iCommand);
    // The entry is replaced first: the dying command finds its successor.
    if (before != iCommand) delete before;
    if (sNotificationCallback != nullptr) sNotificationCallback(iCommand);
}

DAW_Command* DAW_CommandRegistry::FindCommandByID(long iCommandID)
{
    const auto found = Commands().find(iCommandID);
    return found != Commands().end() ? found->second : nullptr;
}

DAW_Command* DAW_CommandRegistry::FindCommandByName(std::string iName)
{
    for (const auto& [id, command] : Commands())
        if (command->GetName() == iName) return command;
    return nullptr;
}

void DAW_CommandRegistry::RemoveRegisteredCommand(long iCommandID)
{
    const auto found = Commands().find(iCommandID);
    if (found != Commands().end()) Commands().erase(found);
}

void DAW_CommandRegistry::RemoveRegisteredCommand(DAW_Command* iCommand)
{
    if (!Cmn_ASSERT(iCommand != nullptr)) return;
    const Cmn_Int32 id = iCommand->GetCommandID();
    if (FindCommandByID(id) == iCommand) Commands().erase(id);
}

void DAW_CommandRegistry::SetRegistrationNotificationCallback(NotificationCallback iCallback)
{
    sNotificationCallback = iCallback;
}

const DAW_CommandRegistry::CommandMap& DAW_CommandRegistry::GetCommandMap() { return Commands(); }
