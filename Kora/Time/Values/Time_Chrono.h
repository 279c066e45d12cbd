// Time_Chrono: std::chrono durations to samples at a rate, and back.
//
//     using namespace std::chrono_literals;
//     Time_SamplesOf(20ms, 48000)                                   // 960 samples
//     Time_TypedSamplesOf(1min, 44100)                              // 2646000 Samples
//     Time_DurationOf<std::chrono::milliseconds>(Time_SampleLength(48), 48000)     // 1ms
//
// Units:    samples; rates in samples a second, above 0. Another rate asserts "iSampleRate > 0" and gives 0.
// Rounding: to the nearest count, halves upward, as Cmn_RoundHalfUp does: 0.5 samples are 1, -0.5 are 0. Durations
//           whose own counts are signed integers are taken exactly, with no double between, as long as the numbers of the
//           step fit 64 bits; all others go through doubles, whose error is below one count up to 2^53.
// Range:    what 64 bits do not hold becomes their largest or smallest; no number is 0. The limits of Time_Typed
//           are not asked: PinToValidRange does.
// Ticks:    have no length in seconds without a tempo map: Time_Converter.
// Threads:  plain functions.
#pragma once

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <chrono>
#include <concepts>
#include <limits>
#include <ratio>

// How the functions below calculate.
class Time_ChronoScale
{
public:
    Time_ChronoScale() = delete;

    // iCount * iNumerator / iDenominator to the nearest, halves upward; both factors are above 0.
    static constexpr Cmn_Int64 Scaled(Cmn_Int64 iCount, Cmn_Int64 iNumerator, Cmn_Int64 iDenominator)
    {
        constexpr Cmn_Int64 cMost = (std::numeric_limits<Cmn_Int64>::max)();
        // Whole denominators first, so that only what is left over is multiplied.
        const Cmn_Int64 whole = Cmn_FloorDiv(iCount, iDenominator);
        const Cmn_Int64 rest = iCount - whole * iDenominator;
        const bool fits = rest <= (cMost - iDenominator) / iNumerator && whole <= cMost / iNumerator - 1 &&
                          whole >= -(cMost / iNumerator - 1);
        if (!fits)
            return Cmn_RoundHalfUp(static_cast<double>(iCount) * static_cast<double>(iNumerator) /
                                   static_cast<double>(iDenominator));
        const Cmn_Int64 product = rest * iNumerator;
        const Cmn_Int64 below = product / iDenominator;
        const Cmn_Int64 left = product % iDenominator;
        return whole * iNumerator + below + (left >= iDenominator - left ? 1 : 0);
    }
    // Asserts where it is none.
    static constexpr bool IsRate(Cmn_Int32 iSampleRate)
    {
        return Cmn_ASSERT_AS(iSampleRate > 0, "iSampleRate > 0", "Time/Time_Chrono");
    }
};

// How many samples a duration lasts.
template <class Count, class Period>
[[nodiscard]] constexpr Time_SampleLength
Time_SamplesOf(const std::chrono::duration<Count, Period>& iDuration, Cmn_Int32 iSampleRate)
{
    if (!Time_ChronoScale::IsRate(iSampleRate)) return Time_SampleLength();
    using Exact = std::ratio<Period::num, Period::den>;
    if constexpr (std::signed_integral<Count> && Exact::num <= (std::numeric_limits<Cmn_Int32>::max)())
        return Time_SampleLength(Time_ChronoScale::Scaled(static_cast<Cmn_Int64>(iDuration.count()),
                                                          Cmn_Int64{Exact::num} * iSampleRate, Exact::den));
    else
        return Time_SampleLength(Cmn_RoundHalfUp(static_cast<double>(iDuration.count()) *
                                                 static_cast<double>(Exact::num) * iSampleRate /
                                                 static_cast<double>(Exact::den)));
}

// The same as a length that carries its unit.
template <class Count, class Period>
constexpr Time_TypedLength Time_TypedSamplesOf(const std::chrono::duration<Count, Period>& iDuration,
                                               Cmn_Int32 iSampleRate)
{
    return Time_TypedLength(Time_SamplesOf(iDuration, iSampleRate));
}

// The position a duration behind sample 0.
template <class Count, class Period>
constexpr Time_Sample Time_SampleAt(const std::chrono::duration<Count, Period>& iDuration,
                                    Cmn_Int32 iSampleRate)
{
    return Time_Sample(Time_SamplesOf(iDuration, iSampleRate).AsInt64());
}

// How long samples take. Durations that count in floating point are not rounded.
template <class Duration>
[[nodiscard]] constexpr Duration Time_DurationOf(Time_SampleLength iLength, Cmn_Int32 iSampleRate)
{
    if (!Time_ChronoScale::IsRate(iSampleRate)) return Duration(0);
    using Count = typename Duration::rep;
    using Period = typename Duration::period;
    if constexpr (std::floating_point<Count>) {
        return Duration(static_cast<Count>(static_cast<double>(iLength.AsInt64()) / iSampleRate *
                                           static_cast<double>(Period::den) /
                                           static_cast<double>(Period::num)));
    } else {
        static_assert(std::same_as<Count, Cmn_Int64> || sizeof(Count) == sizeof(Cmn_Int64),
                      "a duration of 64 bits");
        static_assert(Period::num <= (std::numeric_limits<Cmn_Int32>::max)());
        return Duration(static_cast<Count>(
            Time_ChronoScale::Scaled(iLength.AsInt64(), Period::den, iSampleRate * Cmn_Int64{Period::num})));
    }
}

// From sample 0 to a position.
template <class Duration>
[[nodiscard]] constexpr Duration Time_DurationOf(Time_Sample iSample, Cmn_Int32 iSampleRate)
{
    return Time_DurationOf<Duration>(Time_SampleLength(iSample.AsInt64()), iSampleRate);
}

// A length in another unit than samples is reported, and its count taken as samples.
template <class Duration>
[[nodiscard]] constexpr Duration Time_DurationOf(const Time_TypedLength& iLength, Cmn_Int32 iSampleRate)
{
    return Time_DurationOf<Duration>(iLength.AsSample(), iSampleRate);
}
