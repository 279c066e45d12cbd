// Compiled for processors with AVX2; reached through Time_BestVectorKernel only.
#include "Kora/Time/Numeric/Time_VectorLoop_p.h"

#include <immintrin.h>

namespace {

struct Lanes
{
    using Int = __m256i;
    using Double = __m256d;
    static constexpr std::size_t cCount = 4;

    static Int SetInt(Cmn_Int64 iA) { return _mm256_set1_epi64x(iA); }
    static Int Load(const Cmn_Int64* iFrom)
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(iFrom));
    }
    static void Store(Cmn_Int64* oTo, Int iA) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(oTo), iA); }
    static Int Add(Int iA, Int iB) { return _mm256_add_epi64(iA, iB); }
    static Int Sub(Int iA, Int iB) { return _mm256_sub_epi64(iA, iB); }
    static Int Bits(Double iA) { return _mm256_castpd_si256(iA); }

    static Double Set(double iA) { return _mm256_set1_pd(iA); }
    static Double AsDouble(Int iBits) { return _mm256_castsi256_pd(iBits); }
    static Double Add(Double iA, Double iB) { return _mm256_add_pd(iA, iB); }
    static Double Sub(Double iA, Double iB) { return _mm256_sub_pd(iA, iB); }
    static Double Mul(Double iA, Double iB) { return _mm256_mul_pd(iA, iB); }
    static Double Min(Double iA, Double iB) { return _mm256_min_pd(iA, iB); }
    static Double And(Double iA, Double iB) { return _mm256_and_pd(iA, iB); }
    static Double Below(Double iA, Double iB) { return _mm256_cmp_pd(iA, iB, _CMP_LT_OQ); }
    static Double NotBelow(Double iA, Double iB) { return _mm256_cmp_pd(iA, iB, _CMP_GE_OQ); }
    static Double Magnitude(Double iA) { return _mm256_andnot_pd(_mm256_set1_pd(-0.0), iA); }
    static Double Floor(Double iA, Double) { return _mm256_floor_pd(iA); }
    static int Mask(Double iA) { return _mm256_movemask_pd(iA); }
};

} // namespace

std::size_t Time_VectorRunAvx2(const Time_VectorLine& iLine, Cmn_Int64* ioTimes, std::size_t iCount)
{
    return Time_VectorLoop<Lanes>(iLine, ioTimes, iCount);
}
