// Runs under either value of the start-up option "Use24HourTimeline": ctest starts this program a second time
// with OSTREL_OPTION_Use24HourTimeline=0.
#include "Time/TimeFixture.h"

#include <cstdlib>

namespace {

bool Is24HourTimeline()
{
    const char* const option = std::getenv("OSTREL_OPTION_Use24HourTimeline");
    return option == nullptr || std::string_view(option) != "0";
}

} // namespace

TEST(StartupLimits, TablesFollowTheOption)
{
    constexpr Cmn_Int64 cMost = 576460752303423487;
    const Cmn_Int64 maxSample = Is24HourTimeline() ? 34359738367 : 2147483647;
    const Time_EType types[] = {Time_eType_Samples, Time_eType_Ticks, Time_eType_Frames};
    const Cmn_Int64 minima[] = {0, -cMost, -cMost};
    const Cmn_Int64 maxima[] = {maxSample, cMost, cMost};
    const char* const names[] = {"Samples", "Ticks", "Frames"};
    for (const Time_EType type : types) {
        EXPECT_EQ(Time_Typed::MinTime(type), Time_Typed(minima[type], type));
        EXPECT_EQ(Time_Typed::MaxTime(type), Time_Typed(maxima[type], type));
        EXPECT_EQ(Time_Typed::GetTimeTypedString(type), names[type]);
        Time_Typed time(Cmn_Int64{1} << 60, type);
        time.PinToValidRange();
        EXPECT_EQ(time, Time_Typed(maxima[type], type));
        (time = -time).PinToValidRange();
        EXPECT_EQ(time, Time_Typed(minima[type], type));
    }
    const AssertRecorder recorder;
    Time_Typed invalid(Cmn_Int64{1} << 60, static_cast<Time_EType>(3));
    invalid.PinToValidRange();
    EXPECT_EQ(invalid.AsInt64(), Cmn_Int64{1} << 60);
    EXPECT_EQ(recorder.Take(), Reports{"0@$^$@Time/Time_Typed"});
}

TEST(StartupLimits, SessionLimitChecksTheOldValue)
{
    const AssertRecorder recorder;
    const Time_Sample atLoad(Is24HourTimeline() ? 34359738367 : 1974683647);
    EXPECT_EQ(Time_Typed::GetMaxSessionSample(), atLoad);
    const std::string report =
        "sMaxSessionSample <= Time_Typed::MaxTime(Time_eType_Samples).AsSample()@$^$@Time/Time_Typed";

    Time_Typed::SetMaxSessionSample(Time_Sample(34359738368));
    EXPECT_EQ(recorder.Take(), Reports());
    EXPECT_EQ(Time_Typed::GetMaxSessionSample(), Is24HourTimeline() ? Time_Sample(34359738368) : atLoad);

    Time_Typed::Init(); // builds nothing again
    EXPECT_EQ(Time_Typed::GetMaxSessionSample(), Is24HourTimeline() ? Time_Sample(34359738368) : atLoad);
    Time_Typed::SetMaxSessionSample(atLoad);
    EXPECT_EQ(recorder.Take(), Reports(Is24HourTimeline() ? 1 : 0, report));
    EXPECT_EQ(Time_Typed::GetMaxSessionSample(), atLoad);
}
