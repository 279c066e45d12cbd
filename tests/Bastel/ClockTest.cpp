#include "Bastel/Sys/Sys_Clock.h"

#include <gtest/gtest.h>

#include <ctime>
#include <optional>

TEST(Clock, AnotherSourceStandsInForAScope)
{
    constexpr Sys_Clock::Source cFixed = {[] { return Cmn_Int64{170}; }, [] { return Cmn_Int64{5}; }};
    constexpr Sys_Clock::Source cOther = {[] { return Cmn_Int64{-1}; }, [] { return Cmn_Int64{6}; }};
    std::optional<Sys_Clock::StSource> fixed(std::in_place, cFixed);
    std::optional<Sys_Clock::StSource> other(std::in_place, cOther);
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
