#include "Kora/Cnn/Cnn_ListenerRegistry.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Cnn/Cnn_ListenerList.h"

#include <algorithm>
#include <utility>

Cnn_ListenerRegistry* Cnn_ListenerRegistry::sSingletonP = nullptr;

Cnn_ListenerRegistry& Cnn_ListenerRegistry::Singleton()
{
    if (sSingletonP == nullptr) sSingletonP = new Cnn_ListenerRegistry;
    return *sSingletonP;
}

void Cnn_ListenerRegistry::AddListener(std::string iName, Cnn_ListenerMessageReceiver* iListenerP)
{
    if (!Cmn_ASSERT(iListenerP != 0)) return;
    Entry& entry = mMap[std::move(iName)];
    if (entry.mList != nullptr)
        entry.mList->Add(iListenerP, Cnn_ListenerListBase::kPriorityNormal);
    else
        entry.mPending.push_back(iListenerP);
}

void Cnn_ListenerRegistry::PublishListenerList(std::string iName, Cnn_ListenerListBase* iList)
{
    if (!Cmn_ASSERT(iList != 0)) return;
    const auto insertResult = mMap.try_emplace(std::move(iName));
    Cmn_ASSERT(insertResult.second);
    Entry& entry = insertResult.first->second;
    entry.mList = iList;
    for (Cnn_ListenerMessageReceiver* const pendingP : std::exchange(entry.mPending, {}))
        iList->Add(pendingP, Cnn_ListenerListBase::kPriorityNormal);
}

void Cnn_ListenerRegistry::RemoveListener(std::string iName, Cnn_ListenerMessageReceiver* iListenerP)
{
    const auto entryIter = mMap.find(iName);
    if (!Cmn_ASSERT(entryIter != mMap.end())) return;
    Entry& entry = entryIter->second;
    if (entry.mList != nullptr) {
        entry.mList->Remove(iListenerP);
        return;
    }
    const auto found = std::find(entry.mPending.begin(), entry.mPending.end(), iListenerP);
    if (found != entry.mPending.end()) entry.mPending.erase(found);
}
