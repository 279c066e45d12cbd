#include "Kora/Sys/Sys_TraceBinder.h"
#include "examples/ostrel-trace/OstrelTrace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace {

// The name of a variant from the folder that CMakeLists.txt builds, as a path.
std::string Variant(const std::string& iName)
{
    const std::filesystem::path folder = std::filesystem::absolute(TRACE_VARIANTS);
    return (folder / PSGetDynamicLibraryFileName(iName)).make_preferred().string();
}

constexpr Cmn_UInt32 cOn = Sys_Trace::cCategory_TimeSettings;

template <class Function>
Function* Bound(Sys_Trace::EEntry iEntry)
{
    return reinterpret_cast<Function*>(Sys_Trace::sEntries[iEntry]);
}

// With the active variant bound, whose lines come into mText.
class TraceTest : public testing::Test
{
protected:
    TraceTest()
        : mBinder(Variant("TraceActive"))
    {
        Bound<decltype(OstrelTraceRegisterHandlerFunc)>(Sys_Trace::eEntry_RegisterHandler)(&Collect, &mText);
    }
    ~TraceTest() override { Sys_Trace::sEnabled = 0; }

    static void Collect(void* ioContext, std::uint32_t, const char* iText)
    {
        *static_cast<std::string*>(ioContext) += iText;
    }

    Sys_TraceBinder mBinder;
    std::string mText;
};

} // namespace

TEST_F(TraceTest, AWholeAndActiveLibraryTurnsTracingOn)
{
    EXPECT_EQ(Sys_Trace::sEnabled, 1);
    EXPECT_TRUE(Sys_Trace::IsOn(cOn));
    Sys_TRACE(cOn, "rate %.1f, count %lld, %s\n", 44100.0, 1LL << 40, "name");
    Sys_TRACE(cOn, "ended here");
    Sys_TRACE(cOn, "%s", "");
    EXPECT_EQ(mText, "[4000E0C] rate 44100.0, count 1099511627776, name\n[4000E0C] ended here\n[4000E0C] \n");
}

TEST_F(TraceTest, ALineOfACategoryThatIsOffCostsNotEvenItsArguments)
{
    const auto setPriority =
        Bound<decltype(OstrelTraceChangeFacilityPriorityFunc)>(Sys_Trace::eEntry_ChangeFacilityPriority);
    int evaluated = 0;
    EXPECT_EQ(setPriority(cOn, 0), 1);
    Sys_TRACE(cOn, "%d\n", ++evaluated);
    EXPECT_EQ(setPriority(cOn, 1), 0);
    Sys_Trace::sEnabled = 0;
    Sys_TRACE(cOn, "%d\n", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(mText, "");
}

TEST_F(TraceTest, ALibraryThatLacksAnyEntryOrIsNotActiveTurnsTracingOff)
{
    for (const char* const lacking :
         {"IsActiveFunc", "ReloadConfigsFunc", "Format", "FormatQuiet", "FormatTimestamp", "Puts", "Mem",
          "Stack", "ChangeFacilityPriorityFunc", "RegisterHandlerFunc", "FacilityOnFunc",
          "SetClockCallbackFunc", "SetNameFunc", "OSErrToString", "LegacyFormat", "GetTracePath"})
    {
        SCOPED_TRACE(lacking);
        Sys_TraceBinder binder(Variant(std::string("TraceWithout") + lacking));
        EXPECT_EQ(Sys_Trace::sEnabled, 0);
        Sys_Trace::Entry slot = &abort;
        EXPECT_EQ(binder.Resolve((std::string("OstrelTrace") + lacking).c_str(), slot), -1501);
        EXPECT_EQ(slot, nullptr);
        EXPECT_EQ(std::count(std::begin(Sys_Trace::sEntries), std::end(Sys_Trace::sEntries), nullptr), 1);
    }
    Sys_TraceBinder inactive(Variant("TraceInactive"));
    EXPECT_EQ(Sys_Trace::sEnabled, 0);
    Sys_Trace::Entry slot = nullptr;
    EXPECT_EQ(inactive.Resolve("OstrelTraceFormat", slot), 0);
    EXPECT_EQ(slot, Sys_Trace::sEntries[Sys_Trace::eEntry_Format]);
    EXPECT_EQ(Sys_TraceBinder(Variant("NoSuchLibrary")).Resolve("OstrelTraceFormat", slot), -1502);
    EXPECT_EQ(slot, nullptr);
}

TEST_F(TraceTest, EntriesOfTheLibraryDoWhatTheirHeaderSays)
{
#define ENTRY(iName, iEntry) Bound<decltype(iName)>(Sys_Trace::iEntry)
    ENTRY(OstrelTraceSetNameFunc, eEntry_SetName)("host");
    ENTRY(OstrelTracePuts, eEntry_Puts)(0xAB, "a %d");
    ENTRY(OstrelTraceSetNameFunc, eEntry_SetName)(nullptr);
    ENTRY(OstrelTraceFormatQuiet, eEntry_FormatQuiet)(0xAB, "%d ", 5);
    ENTRY(OstrelTraceLegacyFormat, eEntry_LegacyFormat)("%d\n", 6);
    ENTRY(OstrelTraceSetClockCallbackFunc, eEntry_SetClockCallback)([] { return 1.5; });
    ENTRY(OstrelTraceFormatTimestamp, eEntry_FormatTimestamp)(0xAB, "%d", 7);
    ENTRY(OstrelTraceMem, eEntry_Mem)(0xAB, "0123456789abcdefg", 17);
    EXPECT_EQ(mText,
              "host: [AB] a %d\n5 6\n[AB] 1.500000 7\n[AB] 17 bytes\n    00000000: 30 31 32 33 34 35 36 37 "
              "38 39 61 62 63 64 65 66\n    00000010: 67\n");
    mText.clear();
    ENTRY(OstrelTraceStack, eEntry_Stack)(0xAB);
    EXPECT_GT(std::count(mText.begin(), mText.end(), '\n'), 2) << mText;
    EXPECT_STREQ(ENTRY(OstrelTraceOSErrToString, eEntry_OSErrToString)(-9006), "error -9006");
    EXPECT_STREQ(ENTRY(OstrelTraceGetTracePath, eEntry_GetTracePath)(), "");
    ENTRY(OstrelTraceChangeFacilityPriorityFunc, eEntry_ChangeFacilityPriority)(0xAB, 0);
    EXPECT_EQ(ENTRY(OstrelTraceReloadConfigsFunc, eEntry_ReloadConfigs)(), 0);
    EXPECT_TRUE(Sys_Trace::IsOn(0xAB)) << "the configuration is read again";
#undef ENTRY
}
