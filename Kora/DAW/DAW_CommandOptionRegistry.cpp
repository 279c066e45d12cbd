#include "Kora/DAW/DAW_CommandOptionRegistry.h"

#include "Bastel/Cmn/Cmn_Assert.h"

#include <utility>

namespace {

// Never destroyed: options may be asked for until the very end.
DAW_CommandOptionRegistry::CommandOptionMap& Options()
{
    static auto& options = *new DAW_CommandOptionRegistry::CommandOptionMap;
    return options;
}

} // namespace

void DAW_CommandOptionRegistry::RegisterCommandOption(Cmn_RefCountPtr<DAW_CommandOption> iOption)
{
    if (!Cmn_ASSERT(iOption)) return;
    CommandOptionRegistryKey key{iOption->GetOwnerCommandID(), iOption->GetOptionName()};
    Options().emplace(std::move(key), std::move(iOption));
}

Cmn_RefCountPtr<DAW_CommandOption>
DAW_CommandOptionRegistry::FindByOwnerCommandIDAndName(long iOwnerCommandID, std::string iName)
{
    if (!std::in_range<Cmn_Int32>(iOwnerCommandID)) return nullptr;
    const auto found = Options().find({static_cast<Cmn_Int32>(iOwnerCommandID), std::move(iName)});
    return found != Options().end() ? found->second : nullptr;
}

const DAW_CommandOptionRegistry::CommandOptionMap& DAW_CommandOptionRegistry::GetCommandOptionMap()
{
    return Options();
}
