#include "Kora/Cnn/Cnn_DispatchTableRegistry.h"

#include "Kora/Cnn/Cnn_DispatchTable.h"

std::map<Cnn_DispatchTableRegistry::MapKey, std::unique_ptr<Cnn_DispatchTable>>*
    Cnn_DispatchTableRegistry::sMapP = nullptr;

void Cnn_DispatchTableRegistry::AutoInit()
{
    if (sMapP == nullptr) sMapP = new std::map<MapKey, std::unique_ptr<Cnn_DispatchTable>>;
}

Cnn_DispatchTable* Cnn_DispatchTableRegistry::FindOrCreate(std::type_index iMessageClassInfo,
                                                           Cmn_UInt64 iDiscriminator)
{
    AutoInit();
    std::unique_ptr<Cnn_DispatchTable>& tableP = (*sMapP)[MapKey(iMessageClassInfo, iDiscriminator)];
    if (tableP == nullptr) tableP = std::make_unique<Cnn_DispatchTable>();
    return tableP.get();
}
