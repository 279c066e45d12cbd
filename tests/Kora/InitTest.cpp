#include "Kora/Kora_Init.h"
#include "Kora/SDS/Source/SDS_NameRegistry.h"
#include "Kora/Sys/Sys_Trace.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

// The environment names this file (CMakeLists.txt); the trace library opens it when it is bound.
constexpr char cTraceFile[] = "kora-init-trace.txt";

std::vector<std::string> TracedLines()
{
    std::ifstream file(cTraceFile);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

// One test, because a process starts the library once.
TEST(KoraInit, PairsAreCountedTracedAndBuildOnce)
{
    std::remove(cTraceFile);
    EXPECT_EQ(Kora_Init::sInitializedCount, 0);
    Kora_Init::Init();
    ASSERT_NE(Sys_Trace::sEnabled, 0) << "run through ctest, which points at the trace library";
    const Time_Typed last = Time_Typed::MaxTime(Time_eType_Ticks);
    EXPECT_EQ(Time_Typed::MinTime(Time_eType_Samples).AsSample(), Time_Sample(0));

    // What the host sets stays when the library is started again.
    Time_Typed::SetMaxSessionSample(Time_Sample(1000));
    Kora_Init::Init();
    EXPECT_EQ(Kora_Init::sInitializedCount, 2);
    SDS_Name* kept = nullptr;
    ASSERT_EQ(SDS_NameRegistry::ReserveName(nullptr, "kept", &kept), eSDSErr_None);
    Kora_Init::Free();
    Kora_Init::Free();
    Kora_Init::Init();
    SDS_Name* found = nullptr;
    EXPECT_EQ(SDS_NameRegistry::GetNameId(nullptr, "kept", &found), eSDSErr_None) << "so do names";
    EXPECT_EQ(found, kept);
    EXPECT_EQ(Time_Typed::GetMaxSessionSample(), Time_Sample(1000));
    EXPECT_EQ(Time_Typed::MaxTime(Time_eType_Ticks), last);

    Kora_Init::Free();
    Kora_Init::Free();
    EXPECT_EQ(Kora_Init::sInitializedCount, -1) << "one Free too many goes below zero";

    const std::string init = "[4000B07] Kora_Init::Init() - ";
    const std::string free = "[4000B07] Kora_Init::Free() - ";
    const std::string count = "enter - sInitializedCount = ";
    const std::string leaving = "leaving";
    const std::vector<std::string> expected = {
        init + count + "0", init + leaving,     init + count + "1", init + leaving,
        free + count + "2", free + leaving,     free + count + "1", free + "Do Free",
        free + leaving,     init + count + "0", init + leaving,     free + count + "1",
        free + "Do Free",   free + leaving,     free + count + "0", free + leaving};
    EXPECT_EQ(TracedLines(), expected);
}
