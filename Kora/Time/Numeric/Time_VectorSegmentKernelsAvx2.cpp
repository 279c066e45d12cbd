// Compiled for processors with AVX2; reached through Time_BestVectorKernels only. For that reason nothing here calls
// an inline function of another header.
#include "Kora/Time/Numeric/Time_VectorKernels_p.h"

#include <immintrin.h>

namespace {

// Four segments, a column for each of their fields.
struct Columns
{
    explicit Columns(const Time_VectorSegment* iFirst)
    {
        const auto row = [iFirst](int iIndex) {
            return _mm256_loadu_pd(reinterpret_cast<const double*>(iFirst + iIndex));
        };
        const __m256d evenA = _mm256_unpacklo_pd(row(0), row(1)), oddA = _mm256_unpackhi_pd(row(0), row(1));
        const __m256d evenB = _mm256_unpacklo_pd(row(2), row(3)), oddB = _mm256_unpackhi_pd(row(2), row(3));
        mStartSample = _mm256_permute2f128_pd(evenA, evenB, 0x20);
        mStartTick = _mm256_castpd_si256(_mm256_permute2f128_pd(oddA, oddB, 0x20));
        mSamplesPerTick = _mm256_permute2f128_pd(evenA, evenB, 0x31);
        mTicksPerSample = _mm256_permute2f128_pd(oddA, oddB, 0x31);
    }
    __m256d mStartSample;
    __m256i mStartTick;
    __m256d mSamplesPerTick;
    __m256d mTicksPerSample;
};

// Which of four segments each lane is on, and their fields there.
class Choice
{
public:
    // iBefore: all ones in the lanes that are before the second, third and fourth segment.
    Choice(__m256i iBefore1, __m256i iBefore2, __m256i iBefore3)
    {
        // Halves of lanes are counted and chosen by, for there is no choice by whole ones: half 6 and 7 is the last.
        const __m256i last = _mm256_set_epi32(7, 6, 7, 6, 7, 6, 7, 6);
        const __m256i back = _mm256_add_epi32(_mm256_add_epi32(iBefore1, iBefore2), iBefore3);
        mHalves = _mm256_add_epi32(last, _mm256_add_epi32(back, back));
    }
    __m256i Of(__m256i iColumn) const { return _mm256_permutevar8x32_epi32(iColumn, mHalves); }
    __m256d Of(__m256d iColumn) const
    {
        return _mm256_castps_pd(_mm256_permutevar8x32_ps(_mm256_castpd_ps(iColumn), mHalves));
    }

private:
    __m256i mHalves;
};

// What an integer below 2^51 is as a double, and back: see Time_VectorKernels_p.h.
const double cMagic = 6755399441055744.0; // 1.5 × 2^52

__m256d IsExact(__m256d iWhole)
{
    const __m256d magnitude = _mm256_andnot_pd(_mm256_set1_pd(-0.0), iWhole);
    return _mm256_cmp_pd(magnitude, _mm256_set1_pd(Time_VectorLine::cExact), _CMP_LT_OQ);
}

__m256i Load(const Cmn_Int64* iFrom) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(iFrom)); }
__m256i Key(Cmn_Int64 iKey) { return _mm256_set1_epi64x(iKey); }
__m256d Key(double iKey) { return _mm256_set1_pd(iKey); }

// Converts lanes that are among iSegments[0] to [3], whose starts are its keys.
class TicksToSamples
{
public:
    TicksToSamples(const Time_VectorSegment* iSegments, double iLimit)
        : mColumns(iSegments)
        , mLimit(_mm256_set1_pd(iLimit))
    {
        for (int i = 0; i < 5; ++i)
            mStarts[i] = Key(iSegments[i].mStartTick);
        mOrigins = _mm256_sub_epi64(mColumns.mStartTick, _mm256_castpd_si256(mMagic));
    }
    static bool CanConvert(const Time_VectorSegment* iSegments)
    {
        const auto width = static_cast<Cmn_UInt64>(iSegments[4].mStartTick) -
                           static_cast<Cmn_UInt64>(iSegments[0].mStartTick);
        return width < Cmn_UInt64{1} << 51;
    }
    static std::size_t Behind(const Time_VectorSegment* iSegments, Cmn_Int64 iTick)
    {
        return static_cast<std::size_t>(iSegments[1].mStartTick <= iTick) +
               static_cast<std::size_t>(iSegments[2].mStartTick <= iTick) +
               static_cast<std::size_t>(iSegments[3].mStartTick <= iTick);
    }
    // All ones in the lanes that are the plain conversion's.
    __m256d operator()(__m256i iTicks, __m256i& oSamples) const
    {
        const Choice choice(_mm256_cmpgt_epi64(mStarts[1], iTicks), _mm256_cmpgt_epi64(mStarts[2], iTicks),
                            _mm256_cmpgt_epi64(mStarts[3], iTicks));
        const __m256i inside = _mm256_andnot_si256(_mm256_cmpgt_epi64(mStarts[0], iTicks),
                                                   _mm256_cmpgt_epi64(mStarts[4], iTicks));
        const __m256d offset =
            _mm256_sub_pd(_mm256_castsi256_pd(_mm256_sub_epi64(iTicks, choice.Of(mOrigins))), mMagic);
        const __m256d sample = _mm256_add_pd(_mm256_mul_pd(offset, choice.Of(mColumns.mSamplesPerTick)),
                                             choice.Of(mColumns.mStartSample));
        const __m256d whole =
            _mm256_min_pd(mLimit, _mm256_floor_pd(_mm256_add_pd(sample, _mm256_set1_pd(0.5))));
        oSamples =
            _mm256_sub_epi64(_mm256_castpd_si256(_mm256_add_pd(whole, mMagic)), _mm256_castpd_si256(mMagic));
        return _mm256_and_pd(_mm256_castsi256_pd(inside), IsExact(whole));
    }

private:
    const Columns mColumns;
    const __m256d mMagic = _mm256_set1_pd(cMagic);
    const __m256d mLimit;
    __m256i mStarts[5];
    __m256i mOrigins;
};

class SamplesToTicks
{
public:
    SamplesToTicks(const Time_VectorSegment* iSegments, double)
        : mColumns(iSegments)
    {
        for (int i = 0; i < 5; ++i)
            mStarts[i] = Key(iSegments[i].mStartSample);
        mOrigins = _mm256_sub_epi64(mColumns.mStartTick, _mm256_castpd_si256(mMagic));
    }
    static bool CanConvert(const Time_VectorSegment* iSegments)
    {
        return iSegments[0].mStartSample >= -Time_VectorLine::cExact &&
               iSegments[4].mStartSample <= Time_VectorLine::cExact;
    }
    static std::size_t Behind(const Time_VectorSegment* iSegments, Cmn_Int64 iSample)
    {
        const auto sample = static_cast<double>(iSample);
        return static_cast<std::size_t>(iSegments[1].mStartSample <= sample) +
               static_cast<std::size_t>(iSegments[2].mStartSample <= sample) +
               static_cast<std::size_t>(iSegments[3].mStartSample <= sample);
    }
    __m256d operator()(__m256i iSamples, __m256i& oTicks) const
    {
        const __m256i magicBits = _mm256_castpd_si256(mMagic);
        const __m256d sample =
            _mm256_sub_pd(_mm256_castsi256_pd(_mm256_add_epi64(iSamples, magicBits)), mMagic);
        const Choice choice(Before(sample, 1), Before(sample, 2), Before(sample, 3));
        const __m256d inside = _mm256_and_pd(_mm256_cmp_pd(sample, mStarts[0], _CMP_GE_OQ),
                                             _mm256_cmp_pd(sample, mStarts[4], _CMP_LT_OQ));
        const __m256d ticks = _mm256_mul_pd(_mm256_sub_pd(sample, choice.Of(mColumns.mStartSample)),
                                            choice.Of(mColumns.mTicksPerSample));
        const __m256d whole = _mm256_floor_pd(_mm256_add_pd(ticks, _mm256_set1_pd(0.5)));
        oTicks = _mm256_add_epi64(_mm256_castpd_si256(_mm256_add_pd(whole, mMagic)), choice.Of(mOrigins));
        return _mm256_and_pd(inside, IsExact(whole));
    }

private:
    __m256i Before(__m256d iSample, int iSegment) const
    {
        return _mm256_castpd_si256(_mm256_cmp_pd(iSample, mStarts[iSegment], _CMP_LT_OQ));
    }

    const Columns mColumns;
    const __m256d mMagic = _mm256_set1_pd(cMagic);
    __m256d mStarts[5];
    __m256i mOrigins;
};

template <class Direction>
std::size_t Convert(const Time_VectorSegment* iSegments, std::size_t iSegmentCount, std::size_t& ioSegment,
                    Cmn_Int64* ioTimes, std::size_t iCount, double iLimit)
{
    constexpr std::size_t cAtOnce = 8, cIsRun = 4;
    std::size_t done = 0, segment = ioSegment, onOne = 0;
    for (; onOne < cIsRun && done + cAtOnce <= iCount && segment + 4 < iSegmentCount; done += cAtOnce) {
        const Time_VectorSegment* const first = iSegments + segment;
        Cmn_Int64* const times = ioTimes + done;
        if (!Direction::CanConvert(first)) break;
        const std::size_t behind = Direction::Behind(first, times[cAtOnce - 1]);
        const Direction convert(first, iLimit);
        __m256i low, high;
        const __m256d isLow = convert(Load(times), low), isHigh = convert(Load(times + 4), high);
        if (_mm256_movemask_pd(_mm256_and_pd(isLow, isHigh)) != 15) break;
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(times), low);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(times + 4), high);
        segment += behind;
        onOne = behind == 0 ? onOne + 1 : 0;
    }
    ioSegment = segment;
    return done;
}

} // namespace

std::size_t Time_VectorSegmentsToSamplesAvx2(const Time_VectorSegment* iSegments, std::size_t iSegmentCount,
                                             std::size_t& ioSegment, Cmn_Int64* ioTimes, std::size_t iCount,
                                             double iLimit)
{
    return Convert<TicksToSamples>(iSegments, iSegmentCount, ioSegment, ioTimes, iCount, iLimit);
}

std::size_t Time_VectorSegmentsToTicksAvx2(const Time_VectorSegment* iSegments, std::size_t iSegmentCount,
                                           std::size_t& ioSegment, Cmn_Int64* ioTimes, std::size_t iCount,
                                           double iLimit)
{
    return Convert<SamplesToTicks>(iSegments, iSegmentCount, ioSegment, ioTimes, iCount, iLimit);
}
