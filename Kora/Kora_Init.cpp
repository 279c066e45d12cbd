#include "Kora/Kora_Init.h"

#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/Sys/Sys_Trace.h"
#include "Kora/Sys/Sys_TraceBinder.h"
#include "Kora/Time/Values/Time_Typed.h"

Cmn_Int32 Kora_Init::sInitializedCount = 0;

void Kora_Init::Init()
{
    constexpr Cmn_UInt32 category = Sys_Trace::cCategory_Initialization;
    Sys_TraceBinder::Singleton();
    Sys_TRACE(category, "Kora_Init::Init() - enter - sInitializedCount = %d\n", sInitializedCount);
    if (sInitializedCount++ == 0) {
        static_cast<void>(SDS_NameRegistry::Init()); // without memory the first call that needs it asserts
        Time_Typed::Init();
    }
    Sys_TRACE(category, "Kora_Init::Init() - leaving\n");
}

void Kora_Init::Free()
{
    constexpr Cmn_UInt32 category = Sys_Trace::cCategory_Initialization;
    Sys_TRACE(category, "Kora_Init::Free() - enter - sInitializedCount = %d\n", sInitializedCount);
    // Deliberate: nothing is released, so that late callers still find the limits.
    // Test: KoraInit.PairsAreCountedTracedAndBuildOnce
    if (--sInitializedCount == 0) Sys_TRACE(category, "Kora_Init::Free() - Do Free\n");
    Sys_TRACE(category, "Kora_Init::Free() - leaving\n");
}
