#include "Kora/DAW/DAW_KeyContextRegistry.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/DAW/DAW_KeyboardInputContext.h"

#include <utility>

DAW_KeyContextRegistry::KeyContextMap* DAW_KeyContextRegistry::sKeyContextMap = nullptr;
DAW_KeyContextRegistry::NotificationCallback DAW_KeyContextRegistry::sNotificationCallback = nullptr;

DAW_KeyContextRegistry::KeyContextMap& DAW_KeyContextRegistry::Contexts()
{
    if (sKeyContextMap == nullptr) sKeyContextMap = new KeyContextMap;
    return *sKeyContextMap;
}

void DAW_KeyContextRegistry::RegisterKeyContext(DAW_KeyboardInputContext* iContext)
{
    if (!Cmn_ASSERT(iContext != nullptr)) return;
    DAW_KeyboardInputContext* const before = std::exchange(Contexts()[iContext->GetContextID()], iContext);
    // The entry is replaced first: the dying context leaves its successor in it.
    if (before != iContext) delete before;
    if (sNotificationCallback != nullptr) sNotificationCallback(iContext);
}

DAW_KeyboardInputContext* DAW_KeyContextRegistry::FindKeyContextByID(long iContextID)
{
    const auto found = Contexts().find(iContextID);
    return found != Contexts().end() ? found->second : nullptr;
}

DAW_KeyboardInputContext* DAW_KeyContextRegistry::FindKeyContextByName(std::string iName)
{
    for (const auto& [id, context] : Contexts())
        if (context->GetContextName() == iName) return context;
    return nullptr;
}

void DAW_KeyContextRegistry::SetRegistrationNotificationCallback(NotificationCallback iCallback)
{
    sNotificationCallback = iCallback;
}

const DAW_KeyContextRegistry::KeyContextMap& DAW_KeyContextRegistry::GetKeyContextMap() { return Contexts(); }

void DAW_KeyContextRegistry::Forget(const DAW_KeyboardInputContext* iContext)
{
    // The destructor creates no map.
    if (sKeyContextMap == nullptr || FindKeyContextByID(iContext->GetContextID()) != iContext) return;
    sKeyContextMap->erase(iContext->GetContextID());
}
