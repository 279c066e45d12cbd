#include "Bastel/Sys/Sys_VecUtils.h"

#include "Bastel/Cmn/Cmn_FloatMath.h"
#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Bastel/Sys/Sys_Clock.h"
#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <ctime>
#include <optional>
#include <random>

// Every length up to a few vector registers, so that each loop's body, tail and nothing at all are run.
TEST(VecUtils, EachElementIsWhatTheScalarFunctionGives)
{
    std::mt19937_64 random(7);
    for (std::size_t length = 0; length < 40; ++length) {
        std::vector<Cmn_Int64> integers(length);
        std::vector<double> doubles(length);
        for (std::size_t i = 0; i < length; ++i) {
            integers[i] = static_cast<Cmn_Int64>(random()) >> random() % 64;
            const double quarters = static_cast<double>(random() % 200) / 4 - 25;
            doubles[i] = random() % 2 ? std::bit_cast<double>(random()) : quarters;
        }
        const auto constant = static_cast<Cmn_Int64>(random());

        auto sums = integers, differences = integers;
        Sys_VecUtils::AddConstant(sums, constant);
        Sys_VecUtils::SubtractConstant(differences, constant);
        auto converted = doubles, scaled = doubles;
        Sys_VecUtils::ConvertToFloat64(integers, converted);
        Sys_VecUtils::MultiplyAndAdd(scaled, 1.0 / 3, 0.1);
        auto rounded = std::vector(3, integers); // each way
        for (int way = 0; way < 3; ++way)
            Sys_VecUtils::ConvertToInt64(doubles, rounded[way], static_cast<Sys_ERounding>(way));
        std::vector<Cmn_UInt8> bytes(2 * length, 0x5A); // past a step of 64
        Sys_VecUtils::XorConstant(bytes, 0xFF);
        EXPECT_EQ(bytes, std::vector<Cmn_UInt8>(2 * length, 0xA5));
        for (std::size_t i = 0; i < length; ++i) {
            EXPECT_EQ(sums[i], Cmn_WrapAdd(integers[i], constant));
            EXPECT_EQ(differences[i], Cmn_WrapSub(integers[i], constant));
            EXPECT_EQ(converted[i], static_cast<double>(integers[i]));
            const double d = doubles[i];
            EXPECT_EQ(rounded[Sys_eRounding_Truncate][i], Cmn_Float64ToInt64(d)) << d;
            EXPECT_EQ(rounded[Sys_eRounding_Floor][i], Cmn_FloorToInt64(d)) << d;
            EXPECT_EQ(rounded[Sys_eRounding_HalfUp][i], Cmn_RoundHalfUp(d)) << d;
            const double expected = d * (1.0 / 3) + 0.1;
            EXPECT_TRUE(scaled[i] == expected || (std::isnan(scaled[i]) && std::isnan(expected)));
        }
    }
}

TEST(VecUtils, AnOutputOfAnotherLengthIsReportedAndLeftAlone)
{
    const AssertRecorder recorder;
    std::vector<Cmn_Int64> two = {7, 7};
    std::vector<double> one = {1.9};
    Sys_VecUtils::ConvertToFloat64(two, one);
    Sys_VecUtils::ConvertToInt64(one, two, Sys_eRounding_HalfUp);
    EXPECT_EQ(one, std::vector{1.9});
    EXPECT_EQ(two, (std::vector<Cmn_Int64>{7, 7}));
    EXPECT_EQ(recorder.Take(),
              std::vector<std::string>(2, "oTo.size() == iFrom.size()@$^$@Sys/Sys_VecUtils"));
    two.resize(1);
    Sys_VecUtils::ConvertToInt64(one, two, static_cast<Sys_ERounding>(3));
    EXPECT_EQ(two, std::vector<Cmn_Int64>{1});
    EXPECT_EQ(recorder.Take(), std::vector<std::string>{"unknown rounding@$^$@Sys/Sys_VecUtils"});
}

TEST(Clock, AnotherSourceStandsInForAScope)
{
    constexpr Sys_Clock::Source cFixed = {[] { return Cmn_Int64{170}; }, [] { return Cmn_Int64{5}; }};
    constexpr Sys_Clock::Source cOther = {[] { return Cmn_Int64{-1}; }, [] { return Cmn_Int64{6}; }};
    std::optional<Sys_Clock::StSource> fixed(std::in_place, cFixed), other(std::in_place, cOther);
    EXPECT_EQ(Sys_Clock::GetMicroseconds(), -1);
    EXPECT_EQ(Sys_Clock::GetMonotonicMicroseconds(), 6);
    other.reset();
    EXPECT_EQ(Sys_Clock::GetMicroseconds(), 170);
    fixed.reset();
    EXPECT_NEAR(static_cast<double>(Sys_Clock::GetMicroseconds()) / 1e6, std::time(nullptr), 2)
        << "since 1970";
    const Cmn_Int64 before = Sys_Clock::GetMonotonicMicroseconds();
    EXPECT_LE(before, Sys_Clock::GetMonotonicMicroseconds());
}
