// The limits of typed times are built before the first test, as a host's start-up does.
#include "Kora/Time/Time_Typed.h"

#include <gtest/gtest.h>

namespace {

class TimeEnvironment : public testing::Environment
{
    void SetUp() override { Time_Typed::Init(); }
};

[[maybe_unused]] const testing::Environment* const sEnvironment =
    testing::AddGlobalTestEnvironment(new TimeEnvironment);

} // namespace
