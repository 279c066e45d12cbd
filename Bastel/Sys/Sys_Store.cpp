#include "Bastel/Sys/Sys_Store.h"

#include "Bastel/Cmn/Cmn_Assert.h"

Sys_Store::~Sys_Store() = default;

void Sys_Store::Open(EOpenFlag iFlag)
{
    if (!Cmn_ASSERT(!this->IsOpen())) return;
    if (!Cmn_ASSERT(iFlag >= eOpenFlag_Read && iFlag <= eOpenFlag_ReadWriteShared)) return;
    mFlag = iFlag;
    try {
        OpenImpl(iFlag);
    } catch (...) {
        mFlag = eOpenFlag_Closed;
        throw;
    }
}

void Sys_Store::Close()
{
    if (!IsOpen()) return;
    CloseImpl();
    mFlag = eOpenFlag_Closed;
}
