#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

TEST(Assert, AFailedCheckReportsExpressionSeparatorAndSource)
{
    const AssertRecorder recorder;
    const int one = 1;
    EXPECT_FALSE(Cmn_ASSERT(one == 2));
    EXPECT_FALSE(Cmn_ASSERT_TEXT(one == 2, "one_is_two"));
    EXPECT_FALSE(Cmn_ASSERT_AS(one == 2, "one_is_two", "time/Time_TickLength"));
    EXPECT_TRUE(Cmn_ASSERT(one == 1));
    const std::vector<std::string> expected = {"one == 2@$^$@AssertTest", "one_is_two@$^$@AssertTest",
                                               "one_is_two@$^$@time/Time_TickLength"};
    EXPECT_EQ(recorder.Take(), expected);
}
