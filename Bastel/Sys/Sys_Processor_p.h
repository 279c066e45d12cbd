// Sys_AskProcessor: what an x86 processor says of itself, for the choice of kernels at run time.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#if defined(_MSC_VER)
#include <intrin.h>
#else
#include <cpuid.h>
#endif

struct Sys_ProcessorRegisters
{
    Cmn_UInt32 mA, mB, mC, mD;
};

// The four registers of a leaf, its sub-leaf 0.
inline Sys_ProcessorRegisters Sys_AskProcessor(Cmn_UInt32 iLeaf)
{
    Sys_ProcessorRegisters r{};
#if defined(_MSC_VER)
    int values[4];
    __cpuidex(values, static_cast<int>(iLeaf), 0);
    r = {static_cast<Cmn_UInt32>(values[0]), static_cast<Cmn_UInt32>(values[1]),
         static_cast<Cmn_UInt32>(values[2]), static_cast<Cmn_UInt32>(values[3])};
#else
    __cpuid_count(iLeaf, 0, r.mA, r.mB, r.mC, r.mD);
#endif
    return r;
}
