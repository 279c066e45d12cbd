// DAW_CommandRegistry: the commands of the process, by number and by name.
//
// Ownership: a registered command, made by new, is the registry's until it is removed. One that a newer
//            command of the same number takes the place of is deleted; key bindings that name it are to be
//            deleted before. What is registered when the process ends is not deleted.
// Threads:   the main thread only; nothing is locked.
// Real time: by number O(log n), by name O(n); neither allocates but for the name's own copy.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <functional>
#include <map>
#include <string>

class DAW_Command;

class KORA_API DAW_CommandRegistry
{
public:
    // Numbers are 32 bits wide. std::less<> compares a long with them as it is: one that
    // does not fit finds nothing.
    using CommandMap = std::map<Cmn_Int32, DAW_Command*, std::less<>>;
    // Is given the command that was registered.
    using NotificationCallback = void (*)(DAW_Command*);

    // Takes the command over, deletes another one of its number, and then calls the callback. A command that
    // is registered already stays, and the callback is called again. Asserts "iCommand != nullptr".
    static void RegisterCommand(DAW_Command* iCommand);
    // Null when there is none.
    [[nodiscard]] static DAW_Command* FindCommandByID(long iCommandID);
    // Of several with exactly this name the one with the lowest number.
    [[nodiscard]] static DAW_Command* FindCommandByName(std::string iName);
    // The command is the caller's again. Nothing happens when it is not registered: another
    // command of its number stays.
    static void RemoveRegisteredCommand(long iCommandID);
    static void RemoveRegisteredCommand(DAW_Command* iCommand);
    // Called after each registration; null for none. It may register and remove commands.
    static void SetRegistrationNotificationCallback(NotificationCallback iCallback);
    // In ascending order of numbers.
    static const CommandMap& GetCommandMap();

private:
    DAW_CommandRegistry() = default;
    static CommandMap& Commands();

    // Null before the first registration; never destroyed, so that commands may die late.
    static CommandMap* sCommandMap;
    static NotificationCallback sNotificationCallback;
};
