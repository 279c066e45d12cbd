// DAW_CommandOptionRegistry: the options of commands, by the command's number and the option's name.
//
// Ownership: holds one reference to each option until the process ends.
// Threads:   the main thread only; nothing is locked.
#pragma once

#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/DAW/DAW_CommandOption.h"

#include <compare>
#include <map>
#include <string>

// The order of the registry: by command, then by name.
struct CommandOptionRegistryKey
{
    Cmn_Int32 mOwnerCommandID;
    std::string mOptionName;

    friend auto operator<=>(const CommandOptionRegistryKey&, const CommandOptionRegistryKey&) = default;
};

class KORA_API DAW_CommandOptionRegistry
{
public:
    // By the command's number, then by the option's name.
    using CommandOptionMap = std::map<CommandOptionRegistryKey, Cmn_RefCountPtr<DAW_CommandOption>>;

    // An option that is registered under the same command and name already is kept, and the new one is not
    // taken. Asserts "iOption".
    static void RegisterCommandOption(Cmn_RefCountPtr<DAW_CommandOption> iOption);
    // Null when there is none.
    [[nodiscard]] static Cmn_RefCountPtr<DAW_CommandOption> FindByOwnerCommandIDAndName(long iOwnerCommandID,
                                                                                        std::string iName);
    static const CommandOptionMap& GetCommandOptionMap();

private:
    DAW_CommandOptionRegistry() = default;
};
