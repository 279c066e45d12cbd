#include "OstrelPlatformSupport/SPSStartupOptionSInt32.h"
#include "OstrelPlatformSupport/TestEnvironment.h"

#include <gtest/gtest.h>

TEST(StartupOption, TakesADecimalIntegerAndNothingElse)
{
    struct Case
    {
        // null: not set
        const char* mWhat;
        const char* mText;
        std::int32_t mValue;
    };
    constexpr std::int32_t cDefault = 77;
    constexpr Case cCases[] = {
        {"not set", nullptr, cDefault},
        {"empty", "", cDefault},
        {"zero is a value", "0", 0},
        {"a plus is allowed", "+12", 12},
        {"a minus is allowed", "-12", -12},
        {"leading zeros are decimal", "0010", 10},
        {"largest", "2147483647", 2147483647},
        {"one above the largest", "2147483648", cDefault},
        {"smallest", "-2147483648", -2147483647 - 1},
        {"one below the smallest", "-2147483649", cDefault},
        {"two signs", "+-1", cDefault},
        {"a sign alone", "+", cDefault},
        {"space before", " 1", cDefault},
        {"space after", "1 ", cDefault},
        {"a fraction", "1.5", cDefault},
        {"hexadecimal", "0x10", cDefault},
        {"a word", "yes", cDefault},
    };
    for (const Case& c : cCases) {
        SetTestEnvironment("OSTREL_OPTION_Probe", c.mText);
        const SPSStartupOptionSInt32 option("Probe", cDefault);
        SetTestEnvironment("OSTREL_OPTION_Probe", "5");
        EXPECT_EQ(option.GetValue(), c.mValue) << c.mWhat;
    }
    SetTestEnvironment("OSTREL_OPTION_Probe", nullptr);
}
