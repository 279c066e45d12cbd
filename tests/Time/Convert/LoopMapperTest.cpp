#include "Kora/Time/Convert/Time_LoopMapper.h"
#include "Time/TimeFixture.h"

namespace {

Time_Typed At(Cmn_Int64 iCount, Time_EType iType = Time_eType_Samples) { return {iCount, iType}; }

} // namespace

TEST(LoopMapper, ElapsedTimeFoldsIntoTheLoop)
{
    struct Case
    {
        const char* mName;
        Cmn_Int64 mStart;
        Cmn_Int64 mEnd;
        Cmn_Int64 mElapsed;
        Cmn_Int64 mLocal;
        Cmn_Int64 mPasses;
    };
    constexpr Case cCases[] = {
        {"before the loop", 100, 200, 50, 50, 0},
        {"its last sample", 100, 200, 199, 199, 0},
        {"the end is the start", 100, 200, 200, 100, 1},
        {"in a later pass", 100, 200, 350, 150, 2},
        {"no length", 100, 100, 350, 350, 0},
        {"negative length", 200, 100, 350, 350, 0},
        {"around zero", -10, 5, 5, -10, 1},
        {"below a negative start", -10, 5, -100, -100, 0},
    };
    for (const Case& row : cCases) {
        const Time_LoopMapper loop(At(row.mStart), At(row.mEnd));
        Cmn_Int64 passes = -1;
        EXPECT_EQ(loop.ElapsedToLocalTime(&passes, At(row.mElapsed)), At(row.mLocal)) << row.mName;
        EXPECT_EQ(passes, row.mPasses) << row.mName;
        EXPECT_EQ(loop.ElapsedToLocalTime(nullptr, At(row.mElapsed)), At(row.mLocal)) << row.mName;
        // Going back needs no knowledge of the loop's end.
        EXPECT_EQ(loop.LocalToElapsedTime(At(row.mLocal), passes), At(row.mElapsed)) << row.mName;
    }
}

TEST(LoopMapper, LocalTimesPastTheEndMoveToo)
{
    const Time_LoopMapper loop(At(100), At(200));
    EXPECT_EQ(loop.LocalToElapsedTime(At(150), 2), At(350));
    EXPECT_EQ(loop.LocalToElapsedTime(At(50), 2), At(50));
    EXPECT_EQ(loop.LocalToElapsedTime(At(100), -1), At(0));
    EXPECT_EQ(loop.LocalToElapsedTime(At(250), 1), At(350));
    EXPECT_EQ(loop.GetLoopOffset(-3), Time_TypedLength(-300, Time_eType_Samples));
    EXPECT_EQ(Time_LoopMapper().ElapsedToLocalTime(nullptr, At(7)), At(7));
}

TEST(LoopMapper, ResultsHaveTheArgumentsUnit)
{
    const AssertRecorder recorder;
    const Time_LoopMapper loop(At(100), At(200));
    const auto expectTicks = [&](const Time_Typed& iTime, Cmn_Int64 iCount) {
        EXPECT_EQ(iTime, At(iCount, cTicks));
        EXPECT_EQ(recorder.Take().at(0).substr(0, 18), "time_type_mismatch");
    };
    expectTicks(loop.LocalToElapsedTime(At(150, cTicks), 2), 350);
    expectTicks(loop.ElapsedToLocalTime(nullptr, At(350, cTicks)), 150);
    expectTicks(loop.ElapsedToLocalTime(nullptr, At(50, cTicks)), 50);
}
