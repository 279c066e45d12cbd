#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using Int8 = std::numeric_limits<Cmn_Int8>;
using Int16 = std::numeric_limits<Cmn_Int16>;
using Int64 = std::numeric_limits<Cmn_Int64>;

// Every pair of bytes against arithmetic that cannot overflow.
TEST(IntMath, EveryPairOfBytesWrapsAndDivides)
{
    const AssertRecorder recorder;
    int quotientsBelow = 0;
    for (int a = Int8::min(); a <= Int8::max(); ++a)
        for (int b = Int8::min(); b <= Int8::max(); ++b) {
            const auto left = static_cast<Cmn_Int8>(a);
            const auto right = static_cast<Cmn_Int8>(b);
            ASSERT_EQ(Cmn_WrapAdd(left, right), static_cast<Cmn_Int8>(a + b)) << a << ' ' << b;
            ASSERT_EQ(Cmn_WrapSub(left, right), static_cast<Cmn_Int8>(a - b)) << a << ' ' << b;
            ASSERT_EQ(Cmn_WrapMul(left, right), static_cast<Cmn_Int8>(a * b)) << a << ' ' << b;
            ASSERT_EQ(Cmn_WrapNeg(left), static_cast<Cmn_Int8>(-a)) << a;
            if (b == 0) continue;
            const int floor = static_cast<int>(std::floor(static_cast<double>(a) / b));
            ASSERT_EQ(Cmn_TruncDiv(left, right), static_cast<Cmn_Int8>(a / b)) << a << ' ' << b;
            ASSERT_EQ(Cmn_TruncMod(left, right), a % b) << a << ' ' << b;
            ASSERT_EQ(Cmn_FloorDiv(left, right), static_cast<Cmn_Int8>(floor)) << a << ' ' << b;
            quotientsBelow += floor != a / b;
        }
    EXPECT_GT(quotientsBelow, 1000);
    EXPECT_TRUE(recorder.Take().empty());
}

TEST(IntMath, WiderIntegersWrapAtTheirOwnLimits)
{
    EXPECT_EQ(Cmn_WrapAdd(Int64::max(), Cmn_Int64{1}), Int64::min());
    EXPECT_EQ(Cmn_WrapSub(Int64::min(), Cmn_Int64{1}), Int64::max());
    EXPECT_EQ(Cmn_WrapMul(Int64::max(), Int64::max()), 1);
    EXPECT_EQ(Cmn_WrapMul(Int64::min(), Cmn_Int64{-1}), Int64::min());
    // The product of two 16-bit values is formed in more bits than int has to spare.
    EXPECT_EQ(Cmn_WrapMul(static_cast<Cmn_Int16>(-1), static_cast<Cmn_Int16>(-1)), 1);
    EXPECT_EQ(Cmn_WrapMul(Int16::min(), Int16::min()), 0);
    EXPECT_EQ(Cmn_TruncDiv(Int64::min(), Cmn_Int64{-1}), Int64::min());
    EXPECT_EQ(Cmn_TruncMod(Int64::min(), Cmn_Int64{-1}), 0);
    EXPECT_EQ(Cmn_FloorDiv(Int64::min(), Cmn_Int64{-1}), Int64::min());
    EXPECT_EQ(Cmn_FloorDiv(Int64::min(), Int64::max()), -2);
}

TEST(IntMath, DivisionByZeroIsReportedOnceAndGivesZero)
{
    const AssertRecorder recorder;
    constexpr Cmn_Int64 cZero = 0;
    for (const auto divide : {&Cmn_TruncDiv<Cmn_Int64>, &Cmn_TruncMod<Cmn_Int64>, &Cmn_FloorDiv<Cmn_Int64>}) {
        EXPECT_EQ(divide(-5, cZero), 0);
        EXPECT_EQ(recorder.Take(), std::vector<std::string>{"divisor != 0@$^$@Cmn/Cmn_IntMath"});
    }
}
