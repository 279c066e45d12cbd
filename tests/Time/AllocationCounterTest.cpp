#include "Support/AllocationCounter.h"
#include "Time/TimeFixture.h"

#include <filesystem>
#include <memory>

// A Windows DLL has an operator new of its own.
constexpr bool cSeesTheLibrary = std::filesystem::path::preferred_separator == '/';

TEST(AllocationCounter, SeesWhatTheProgramAndTheLibraryAllocate)
{
    const AllocationCounter allocations;
    EXPECT_EQ(allocations.Count(), 0);
    const auto number = std::make_unique<int>(1);
    EXPECT_EQ(allocations.Count(), 1);
    Time_TypedVector times(Time_eType_Ticks);
    times.PushTime(Time_Typed(0, Time_eType_Ticks));
    EXPECT_EQ(allocations.Count(), cSeesTheLibrary ? 2 : 1);
}
