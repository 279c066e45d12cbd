// A pipe name for the running test alone, for tests run side by side, and in several builds at once.
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>

inline std::string TestPipeName()
{
    static const unsigned cRun = std::random_device()();
    return std::string("kora-") + testing::UnitTest::GetInstance()->current_test_info()->name() + '-' +
           std::to_string(cRun);
}
