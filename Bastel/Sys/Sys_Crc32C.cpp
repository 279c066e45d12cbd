#include "Bastel/Sys/Sys_Crc32C.h"

#include "Bastel/Sys/Sys_Crc32C_p.h"

#include <atomic>

namespace {

Cmn_UInt32 ChooseAndRun(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount);
Cmn_UInt32 ChooseAndShift(Cmn_UInt32 iRemainder, Cmn_UInt64 iZeros);

// No guarded statics: their lock would not do on a real-time thread. Choosing twice gives the same answer, and
// besides the pointers nothing is published.
constinit std::atomic<Sys_Crc32CShifter> sShifter{&ChooseAndShift};

Cmn_UInt32 ChooseAndRun(Cmn_UInt32 iRemainder, const Cmn_UInt8* iBytes, std::size_t iCount)
{
    const Sys_Crc32CKernel best = Sys_ProcessorHasCrc32C() ? &Sys_Crc32CSse42 : &Sys_Crc32CPlain;
    Sys_Crc32CBestKernel.store(best, std::memory_order_relaxed);
    return best(iRemainder, iBytes, iCount);
}

Cmn_UInt32 ChooseAndShift(Cmn_UInt32 iRemainder, Cmn_UInt64 iZeros)
{
    const Sys_Crc32CShifter best = Sys_ProcessorHasCrc32C() ? &Sys_Crc32CShiftSse42 : &Sys_Crc32CShiftPlain;
    sShifter.store(best, std::memory_order_relaxed);
    return best(iRemainder, iZeros);
}

} // namespace

constinit std::atomic<Sys_Crc32CKernel> Sys_Crc32CBestKernel{&ChooseAndRun};

Cmn_UInt32 Sys_Crc32C(Cmn_UInt32 iSumOfA, const void* iB, std::size_t iCountOfB)
{
    const Sys_Crc32CKernel kernel = Sys_Crc32CBestKernel.load(std::memory_order_relaxed);
    return ~kernel(~iSumOfA, static_cast<const Cmn_UInt8*>(iB), iCountOfB);
}

// The complements at A's end and B's start cancel each other out.
Cmn_UInt32 Sys_Crc32CCombine(Cmn_UInt32 iSumOfA, Cmn_UInt32 iSumOfB, Cmn_UInt64 iCountOfB)
{
    return sShifter.load(std::memory_order_relaxed)(iSumOfA, iCountOfB) ^ iSumOfB;
}
