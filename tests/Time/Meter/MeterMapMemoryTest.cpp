// Meter maps where memory runs out: whatever an edit came to, questions are answered from the changes that are there.
#include "Kora/Time/Meter/Time_MeterMap_StEditOptimizer.h"
#include "Support/AllocationCounter.h"
#include "Support/MeterMapText.h"
#include "Support/StreamBytes.h"
#include "Time/TimeFixture.h"

namespace {

// The index of the map, which answers, and the changes, which are shown, are one.
void ExpectWhole(const Time_MeterMap& iMap)
{
    EXPECT_EQ(iMap.FindBrokenInvariant(), "");
    if (iMap.IsDefault()) return;
    for (auto change = iMap.IterBegin(); change != iMap.IterEnd(); ++change) {
        const Time_BarBeatTick bar = iMap.TickToBarBeat(change->GetTick());
        EXPECT_EQ(bar, Time_BarBeatTick(change->GetBarNumber(), 1, Time_TickLength(0)));
        EXPECT_EQ(iMap.BarBeatToTick(bar), change->GetTick());
        EXPECT_EQ(iMap.GetMeterAtTick(change->GetTick()), change->GetMeter());
    }
}

std::string ManyMeters(int iCount)
{
    std::string text = "1| 4/4";
    for (int i = 0; i < iCount; ++i)
        text += "   " + std::to_string(2 + i) + (i % 2 == 0 ? "| 3/4" : "| 4/4");
    return text;
}

TEST(MeterMapMemory, AnEditThatRunsOutOfMemoryLeavesAMapThatAnswers)
{
    const Time_MeterMap many = MakeMeterMap(ManyMeters(9));
    Time_MeterMap clip;
    many.Copy(&clip, At(0), At(40));
    const Bytes bytes = Streamed(many);
    struct
    {
        const char* mName;
        std::function<void(Time_MeterMap&)> mEdit;
        bool mIsWhole = false; // or nothing is done
    } const cEdits[] = {
        {"add", [](Time_MeterMap& ioMap) { ioMap.AddMeterChange(At(50), Time_Meter(5, 4)); }, true},
        {"add many out of order",
         [](Time_MeterMap& ioMap) {
             const Time_MeterMap_StEditOptimizer edit(ioMap);
             for (int i = 30; i > 0; --i)
                 ioMap.AddMeterChange(At(8 * i), Time_Meter(1 + i % 5, 4));
         }},
        {"replace", [&](Time_MeterMap& ioMap) { ioMap.ReplaceWith(many); }, true},
        {"replace by what is not needed",
         [&](Time_MeterMap& ioMap) { ioMap.ReplaceWith(Time_MeterMap(many)); }, true},
        {"assign", [&](Time_MeterMap& ioMap) { ioMap = many; }, true},
        {"read", [&](Time_MeterMap& ioMap) { ReadBack(ioMap, bytes); }, true},
        {"copy from", [&](Time_MeterMap& ioMap) { many.Copy(&ioMap, At(0), At(40)); }},
        {"paste", [&](Time_MeterMap& ioMap) { ioMap.Paste(At(2), At(42), &clip); }},
        {"insert", [&](Time_MeterMap& ioMap) { ioMap.InsertTime(At(3), At(5) - At(0), &clip); }},
        {"delete", [](Time_MeterMap& ioMap) { ioMap.DeleteTime(At(3), At(6)); }},
        {"song start", [](Time_MeterMap& ioMap) { ioMap.SetSongStartTick(At(8)); }},
    };
    for (const auto& each : cEdits)
        for (const char* const before : {"", "1| 4/4   3| 3/4", "1| 4/4   2| 3/4   3| 4/4   4| 7/8"}) {
            Time_MeterMap done = MakeMeterMap(before);
            each.mEdit(done);
            bool hasCome = true;
            for (long long nth = 1; hasCome; ++nth) {
                SCOPED_TRACE(std::string(each.mName) + ", " + before + ", allocation " + std::to_string(nth));
                Time_MeterMap map = MakeMeterMap(before);
                bool isThrown = false;
                {
                    const StRefusedAllocation refused(nth);
                    try {
                        each.mEdit(map);
                    } catch (const std::bad_alloc&) {
                        isThrown = true;
                    }
                    hasCome = refused.HasCome();
                }
                if (each.mName != std::string("copy from")) ExpectWhole(map);
                if (!isThrown) {
                    EXPECT_EQ(ToText(map), ToText(done));
                }
                if (isThrown && each.mIsWhole) {
                    EXPECT_EQ(ToText(map), ToText(MakeMeterMap(before)));
                }
                static_cast<void>(map.TickToBarBeat(At(1000)));
                if (testing::Test::HasFailure()) return;
            }
        }
}

} // namespace
