#include "Kora/Time/Numeric/Time_VectorLoop_p.h"

#include <emmintrin.h>

namespace {

struct Lanes
{
    using Int = __m128i;
    using Double = __m128d;
    static constexpr std::size_t cCount = 2;

    static Int SetInt(Cmn_Int64 iA) { return _mm_set1_epi64x(iA); }
    static Int Load(const Cmn_Int64* iFrom)
    {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(iFrom));
    }
    static void Store(Cmn_Int64* oTo, Int iA) { _mm_storeu_si128(reinterpret_cast<__m128i*>(oTo), iA); }
    static Int Add(Int iA, Int iB) { return _mm_add_epi64(iA, iB); }
    static Int Sub(Int iA, Int iB) { return _mm_sub_epi64(iA, iB); }
    static Int Bits(Double iA) { return _mm_castpd_si128(iA); }

    static Double Set(double iA) { return _mm_set1_pd(iA); }
    static Double AsDouble(Int iBits) { return _mm_castsi128_pd(iBits); }
    static Double Add(Double iA, Double iB) { return _mm_add_pd(iA, iB); }
    static Double Sub(Double iA, Double iB) { return _mm_sub_pd(iA, iB); }
    static Double Mul(Double iA, Double iB) { return _mm_mul_pd(iA, iB); }
    static Double Min(Double iA, Double iB) { return _mm_min_pd(iA, iB); }
    static Double And(Double iA, Double iB) { return _mm_and_pd(iA, iB); }
    static Double Below(Double iA, Double iB) { return _mm_cmplt_pd(iA, iB); }
    static Double NotBelow(Double iA, Double iB) { return _mm_cmpge_pd(iA, iB); }
    static Double Magnitude(Double iA) { return _mm_andnot_pd(_mm_set1_pd(-0.0), iA); }
    // Rounds to an integer by way of iMagic, and steps down where that went up. Exact below 2^51.
    static Double Floor(Double iA, Double iMagic)
    {
        const Double rounded = Sub(Add(iA, iMagic), iMagic);
        return Sub(rounded, And(Below(iA, rounded), Set(1.0)));
    }
    static int Mask(Double iA) { return _mm_movemask_pd(iA); }
};

} // namespace

std::size_t Time_VectorRunSse2(const Time_VectorLine& iLine, Cmn_Int64* ioTimes, std::size_t iCount)
{
    return Time_VectorLoop<Lanes>(iLine, ioTimes, iCount);
}
