// Cnn_ListenerRegistry: lets receivers meet a listener list by name, whichever of the two comes first.
//
//     Cnn_ListenerRegistry& registry = Cnn_ListenerRegistry::Singleton();
//     registry.AddListener("meter", &ruler);                          // waits
//     registry.PublishListenerList("meter", &map.GetListenerList());  // ruler is in it
//
// Threads:   none inside.
// Ownership: neither lists nor receivers. A published list outlives every use of its name here.
#pragma once

#include "Export/Kora_API.h"

#include <map>
#include <string>
#include <vector>

class Cnn_ListenerListBase;
class Cnn_ListenerMessageReceiver;

class KORA_API Cnn_ListenerRegistry
{
public:
    // Made at the first call, and there until the process ends.
    static Cnn_ListenerRegistry& Singleton();

    // Puts the receiver at the end of the published list, or makes it wait until the list is published.
    void AddListener(std::string iName, Cnn_ListenerMessageReceiver* iListenerP);
    // Binds the name to the list and puts the waiting receivers at its end, in the order in which they came.
    //
    // The name is expected to be new: one that is known, be it only by waiting receivers, asserts
    // "insertResult.second", and the list takes it over.
    void PublishListenerList(std::string iName, Cnn_ListenerListBase* iList);
    // Takes the receiver out of the published list, or its first occurrence out of those waiting. An unknown
    // name asserts "entryIter != mMap.end()".
    void RemoveListener(std::string iName, Cnn_ListenerMessageReceiver* iListenerP);

private:
    struct Entry
    {
        Cnn_ListenerListBase* mList = nullptr; // null until published
        std::vector<Cnn_ListenerMessageReceiver*> mPending;
    };

    Cnn_ListenerRegistry() = default;
    Cnn_ListenerRegistry(const Cnn_ListenerRegistry&) = delete;
    Cnn_ListenerRegistry& operator=(const Cnn_ListenerRegistry&) = delete;

    static Cnn_ListenerRegistry* sSingletonP;

    std::map<std::string, Entry> mMap;
};
