// Cnn_DispatchTableRegistry: keeps the dispatch table of each kind of receiver.
//
// Threads:   none inside.
// Ownership: owns the tables, from their first use until the process ends.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <map>
#include <memory>
#include <typeindex>
#include <utility>

class Cnn_DispatchTable;

class KORA_API Cnn_DispatchTableRegistry
{
public:
    // A message class, and a number that tells apart the kinds of receivers of that class.
    using MapKey = std::pair<std::type_index, Cmn_UInt64>;

    // Makes the map; nothing if it is there.
    static void AutoInit();
    // The key's table: a new one, not initialised, where the key is new. Never null.
    static Cnn_DispatchTable* FindOrCreate(std::type_index iMessageClassInfo, Cmn_UInt64 iDiscriminator);

private:
    static std::map<MapKey, std::unique_ptr<Cnn_DispatchTable>>* sMapP;
};
