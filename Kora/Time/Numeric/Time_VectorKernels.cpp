#include "Kora/Time/Numeric/Time_VectorKernels_p.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Bastel/Sys/Sys_Processor_p.h"

#include <atomic>
#include <cmath>

#include <immintrin.h>

std::size_t Time_VectorRunPlain(const Time_VectorLine& iLine, Cmn_Int64* ioTimes, std::size_t iCount)
{
    for (std::size_t done = 0; done < iCount; ++done) {
        const auto value = static_cast<double>(Cmn_WrapSub(ioTimes[done], iLine.mOrigin));
        const double whole = std::floor((value - iLine.mOffset) * iLine.mSlope + iLine.mShift + 0.5);
        const double limited = iLine.mLimit < whole ? iLine.mLimit : whole;
        if (!(value >= iLine.mBegin && value < iLine.mEnd && std::abs(limited) < Time_VectorLine::cExact))
            return done;
        ioTimes[done] = Cmn_WrapAdd(Cmn_Float64ToInt64(limited), iLine.mResultOrigin);
    }
    return iCount;
}

bool Time_ProcessorHasAvx2()
{
    constexpr Cmn_UInt32 cOsSavesRegisters = 1u << 27, cAvx2 = 1u << 5;
    constexpr unsigned long long cXmmAndYmm = 6;
    if (Sys_AskProcessor(0).mA < 7 || (Sys_AskProcessor(1).mC & cOsSavesRegisters) == 0) return false;
    return (_xgetbv(0) & cXmmAndYmm) == cXmmAndYmm && (Sys_AskProcessor(7).mB & cAvx2) != 0;
}

const Time_VectorKernels& Time_BestVectorKernels()
{
    static constexpr Time_VectorKernels cSse2{&Time_VectorRunSse2, nullptr, nullptr};
    static constexpr Time_VectorKernels cAvx2{&Time_VectorRunAvx2, &Time_VectorSegmentsToSamplesAvx2,
                                              &Time_VectorSegmentsToTicksAvx2};
    // No guarded static: its lock would not do on a real-time thread. Asking twice gives the same answer.
    static constinit std::atomic<const Time_VectorKernels*> sBest{nullptr};
    const Time_VectorKernels* best = sBest.load(std::memory_order_relaxed); // nothing else is published
    if (best == nullptr) {
        best = Time_ProcessorHasAvx2() ? &cAvx2 : &cSse2;
        sBest.store(best, std::memory_order_relaxed);
    }
    return *best;
}
