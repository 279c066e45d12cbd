#include "Support/AssertRecorder.h"

#include <gtest/gtest.h>

TEST(Assert, AFailedCheckReportsExpressionSeparatorAndSource)
{
    const AssertRecorder recorder;
    const int one = 1;
    EXPECT_FALSE(Cmn_ASSERT(one == 2));
    EXPECT_FALSE(Cmn_ASSERT_TEXT(one == 2, "one_is_two"));
    EXPECT_FALSE(Cmn_ASSERT_AS(one == 2, "one_is_two", "time/Time_TickLength"));
    EXPECT_FALSE(Cmn_ASSERT_IN("Time/Time_MeterMap", one == std::max<int>(1, 2)));
    EXPECT_TRUE(Cmn_ASSERT(one == 1));
    const std::vector<std::string> expected = {"one == 2@$^$@AssertTest", "one_is_two@$^$@AssertTest",
                                               "one_is_two@$^$@time/Time_TickLength",
                                               "one == std::max<int>(1, 2)@$^$@Time/Time_MeterMap"};
    EXPECT_EQ(recorder.Take(), expected);
}

TEST(Assert, TheSourceIsThePathBelowTheInnermostTopFolderWithoutRooms)
{
    constexpr struct
    {
        const char* mFile;
        const char* mSource;
    } cCases[] = {
        {"/home/me/Kora/Kora/Time/Values/Time_Tick.h", "Time/Time_Tick"},
        {"C:\\Kora\\Kora\\Time\\Values\\Time_Tick.h", "Time/Time_Tick"},
        {"Kora/SDS/Source/SDS_TokenTracker.cpp", "SDS/Source/SDS_TokenTracker"},
        {"/home/me/Kora/Bastel/Cmn/Cmn_Assert.cpp", "Cmn/Cmn_Assert"},
        {"C:\\src\\Kora\\OstrelPlatformSupport\\Win32\\PSWide.cpp", "Win32/PSWide"},
        {"Kora/Kora_Init.cpp", "Kora_Init"},
        {"../a.b/host/main.x.cpp", "host/main.x"},
        {"../a.b/Makefile", "a.b/Makefile"},
        {"main.cpp", "main"},
        {"/main.cpp", "main"},
        {"", ""},
    };
    const AssertRecorder recorder;
    for (const auto& c : cCases) {
        Cmn_Assert::ReportFrom("a \\ b", c.mFile, 1);
        EXPECT_EQ(recorder.Take(), std::vector{std::string("a \\ b@$^$@") + c.mSource}) << c.mFile;
    }
}

TEST(Assert, WithoutAHandlerEachPlaceIsReportedOnce)
{
    const Cmn_Assert::Handler before = Cmn_Assert::SetHandler(nullptr);
    testing::internal::CaptureStderr();
    for (int line : {1, 2, 1})
        Cmn_Assert::Report("a@$^$@Time/Time_X", line);
    Cmn_Assert::Report("no source", 3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "assertion failed: a (Time/Time_X:1)\n"
                                                      "assertion failed: a (Time/Time_X:2)\n"
                                                      "assertion failed: no source (:3)\n");
    Cmn_Assert::SetHandler(before);
}
