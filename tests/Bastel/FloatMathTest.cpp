#include "Bastel/Cmn/Cmn_FloatMath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <random>

TEST(FloatMath, DoublesBecomeIntegersAtEveryBoundary)
{
    constexpr Cmn_Int64 cMax = std::numeric_limits<Cmn_Int64>::max();
    constexpr Cmn_Int64 cMin = -cMax - 1;
    constexpr double cInfinity = std::numeric_limits<double>::infinity();
    const struct
    {
        const char* mWhat;
        double mValue;
        Cmn_Int64 mTruncated;
        Cmn_Int64 mFloored;
        Cmn_Int64 mRounded;
    } cCases[] = {
        {"negative zero", -0.0, 0, 0, 0},
        {"a half", 0.5, 0, 0, 1},
        {"minus a half goes upward", -0.5, 0, -1, 0},
        {"minus one and a half", -1.5, -1, -2, -1},
        {"just below a half: the sum is rounded up", 0.49999999999999994, 0, 0, 1},
        {"just beyond minus a half", -0.5000000000000001, 0, -1, -1},
        {"smallest positive", 5e-324, 0, 0, 0},
        {"smallest negative", -5e-324, 0, -1, 0},
        {"below 2^31", 2147483647.9, 2147483647, 2147483647, 2147483648},
        {"2^31", 2147483648.0, 2147483648, 2147483648, 2147483648},
        {"above -2^31", -2147483647.9, -2147483647, -2147483648, -2147483648},
        {"beyond -2^31", -2147483648.9, -2147483648, -2147483649, -2147483649},
        {"-2^31 - 1", -2147483649.0, -2147483649, -2147483649, -2147483649},
        {"2^52 - 1/2", 4503599627370495.5, 4503599627370495, 4503599627370495, 4503599627370496},
        {"2^52", 4503599627370496.0, 4503599627370496, 4503599627370496, 4503599627370496},
        {"2^52 + 1: the sum goes to the even", 4503599627370497.0, 4503599627370497, 4503599627370497,
         4503599627370498},
        {"-(2^52 + 1)", -4503599627370497.0, -4503599627370497, -4503599627370497, -4503599627370496},
        {"2^53 + 2 stays", 9007199254740994.0, 9007199254740994, 9007199254740994, 9007199254740994},
        {"largest below 2^63", 9223372036854774784.0, 9223372036854774784, 9223372036854774784,
         9223372036854774784},
        {"2^63 saturates", 9223372036854775808.0, cMax, cMax, cMax},
        {"-2^63 is a value", -9223372036854775808.0, cMin, cMin, cMin},
        {"next below -2^63 saturates", -9223372036854777856.0, cMin, cMin, cMin},
        {"infinity", cInfinity, cMax, cMax, cMax},
        {"minus infinity", -cInfinity, cMin, cMin, cMin},
        {"not a number", std::numeric_limits<double>::quiet_NaN(), 0, 0, 0},
    };
    for (const auto& c : cCases) {
        EXPECT_EQ(Cmn_Float64ToInt64(c.mValue), c.mTruncated) << c.mWhat;
        EXPECT_EQ(Cmn_FloorToInt64(c.mValue), c.mFloored) << c.mWhat;
        EXPECT_EQ(Cmn_RoundHalfUp(c.mValue), c.mRounded) << c.mWhat;
        const Cmn_Int64 clamped = std::clamp<Cmn_Int64>(c.mTruncated, -2147483648, 2147483647);
        EXPECT_EQ(Cmn_Float64ToInt32(c.mValue), clamped) << c.mWhat;
    }
}

TEST(FloatMath, FloorAgreesWithTheLibraryOnAnyBits)
{
    std::mt19937_64 random(20);
    for (int i = 0; i < 200000; ++i) {
        // Any exponent at all, and then one near where fractions end.
        const auto bits = random();
        const double any = std::bit_cast<double>(bits);
        const double near =
            std::ldexp(static_cast<double>(static_cast<Cmn_Int64>(bits)), -static_cast<int>(bits % 64));
        for (const double value : {any, near})
            ASSERT_EQ(Cmn_FloorToInt64(value), Cmn_Float64ToInt64(std::floor(value)))
                << std::hexfloat << value;
    }
}
