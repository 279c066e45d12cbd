// What a host meets that forgot Kora_Init::Init: an assertion, and then something harmless.
#include "Kora/Kora_Init.h"
#include "Kora/SDS/FicInterface/SDS_IName.h"
#include "Kora/SDS/FicInterface/SDS_ITokenTask.h"
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Support/AssertRecorder.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>

#include <functional>

// One test, because a process does not forget what it was given; the last row sets up
// what its successors need.
TEST(Uninitialized, EveryFirstUseIsReportedAndHarmless)
{
    const AssertRecorder asserts;
    const Time_TempoMap map; // 22050 samples to a quarter
    const Time_Tick second =
        Time_TempoMap::cDefaultSongStartTick + Time_TickLength(2 * Time_TickLength::cInternalPerQuarter);
    const Time_Tick before(0);
    using Registry = SDS_NameRegistry;
    constexpr ESDSError cRefused = eSDSErr_OutOfMemory;
    const auto typed = [](Time_EType iType, Cmn_Int64 iCount) {
        Time_Typed time(iCount, iType);
        time.PinToValidRange();
        return time.AsInt64();
    };
    SDS_Name* name = nullptr;
    char path[1024];
    const struct
    {
        const char* mWhat;
        std::function<Cmn_Int64()> mUse;
        Cmn_Int64 mResult;
        bool mIsReported = true;
    } cRows[] = {
        {"a conversion", [&] { return map.TickToSample(second).AsInt64(); }, 0},
        {"to the first sample", [&] { return map.TickToFirstSample(second).AsInt64(); }, 0},
        {"a conversion without limit", [&] { return map.TickToSample(second, false).AsInt64(); }, 44100,
         false},
        {"one below the limit", [&] { return map.TickToSample(before).AsInt64() < 0; }, 1, false},
        {"pinning", [&] { return typed(Time_eType_Ticks, 5); }, 0},
        {"a maximum", [] { return Time_Typed::MaxTime(Time_eType_Frames).AsInt64(); }, 0},
        {"a minimum", [] { return Time_Typed::MinTime(Time_eType_Ticks).AsInt64(); }, 0},
        {"a unit's name", [] { return Time_Typed::GetTimeTypedString(Time_eType_Ticks).size(); }, 0},
        {"the session's limit", [] { return Time_Typed::GetMaxSessionSample().AsInt64(); }, 0},
        {"setting it", [] { return Time_Typed::SetMaxSessionSample(Time_Sample(5)), 0; }, 0},
        {"a handle", [] { return Thrown([] { SDS_IName("a"); }).GetMessageID() != Cmn_EMessage(); }, 1},
        {"finding a name", [&] { return Registry::GetNameId(nullptr, "", &name); }, cRefused},
        {"reserving one", [&] { return Registry::ReserveName(nullptr, "a", &name); }, cRefused},
        {"freeing one", [] { return Registry::FreeName(nullptr, "a"); }, cRefused},
        {"a path", [&] { return Registry::GetPath(nullptr, "a", path); }, cRefused},
        {"connecting", [] { return Registry::ConnectNames(nullptr, "a", nullptr, "b"); }, cRefused},
        {"the tree as text", [] { return Registry::Dump().size(); }, 0, false},
        {"a task", [] { return SDS_ITokenTask(0).ProcessTokens(0, Time_Sample(), 0); }, 0},
        {"a pause",
         [] { return SDS_ITokenTask::SetTokensPaused(true), SDS_ITokenTask::SetTokensPaused(false), 0; }, 0,
         false},
    };
    for (const auto& row : cRows) {
        SCOPED_TRACE(row.mWhat);
        EXPECT_EQ(row.mUse(), row.mResult);
        const std::vector<std::string> reports = asserts.Take();
        ASSERT_EQ(reports.size(), row.mIsReported ? 1u : 0u);
        if (row.mIsReported) {
            EXPECT_EQ(reports[0].rfind("Kora_Init::sInitializedCount > 0@$^$@", 0), 0u) << reports[0];
        }
    }
    Kora_Init::Init();
    EXPECT_EQ(map.TickToSample(second).AsInt64(), 44100);
    EXPECT_EQ(Time_Typed::GetMaxSessionSample(), Time_Typed::MaxTime(Time_eType_Samples).AsSample());
    EXPECT_NE(SDS_IName("a").GetID(), nullptr);
    EXPECT_EQ(asserts.Take(), std::vector<std::string>{});
}
