#include "Kora/Sys/Sys_Trace.h"
#include "Time/TimeFixture.h"

#include <cstdarg>
#include <cstdio>

namespace {

constexpr EPullFactor cNone = ePullFactor_None, cUp = ePullFactor_Up, cDown = ePullFactor_Down;

struct GlobalsTest : testing::Test
{
    const StTimeGlobals mBefore{};
};

std::string sLines;
Cmn_UInt8 IsTimeSettings(Cmn_UInt32 iCategory) { return iCategory == 0x4000E0C; }
void WriteLine(Cmn_UInt32, const char* iFormat, ...)
{
    char line[200];
    std::va_list arguments;
    va_start(arguments, iFormat);
    std::vsnprintf(line, sizeof line, iFormat, arguments);
    va_end(arguments);
    sLines += line + std::string("\n");
}

} // namespace

TEST_F(GlobalsTest, ChangesFromTheLoadValuesAreTracedOnce)
{
    EXPECT_EQ(Time_Globals::GetPullSampleRate(), 44100.0);
    EXPECT_EQ(Time_Globals::GetPullFrameRate(), 29.97002997002997);
    EXPECT_EQ(Time_Globals::GetGlobalTimeCodeFormat(), eTimeCodeFormat_30);
    EXPECT_FALSE(Time_Globals::GetAutoMatchPullFactors());
    Sys_Trace::sEntries[Sys_Trace::eEntry_FacilityOn] = reinterpret_cast<Sys_Trace::Entry>(&IsTimeSettings);
    Sys_Trace::sEntries[Sys_Trace::eEntry_Format] = reinterpret_cast<Sys_Trace::Entry>(&WriteLine);
    Sys_Trace::sEnabled = 1;
    for (const bool first : {true, false}) {
        Time_Globals::SetFrameRate(25);
        StTimeGlobals::Pull(ePullMedia_Video, cNone, cDown);
        Time_Globals::SetGlobalTimeCodeFormat(eTimeCodeFormat_2997DropOMF);
        Time_Globals::SetFrameOffset(-5);
        Time_Globals::SetSampleRate(96000);
        Time_Globals::SetAutoMatchPullFactors(first);
        Time_Globals::SetPullFactorSaveForLE(ePullMedia_Audio, ePullType_NTSC, first ? cUp : cNone);
    }
    Sys_Trace::sEnabled = 0;
    EXPECT_EQ(std::exchange(sLines, ""),
              "Frame Rate: 25.000\n"
              "Time_Globals::SetPullFactor - media: Video, type: PAL, pull factor: Pull Down\n"
              "Timecode Rate: 2997  fps drop (OMF)\nFrame Offset: -5\n");
}

TEST_F(GlobalsTest, VideoPullsAdjustDurationsAgainstRates)
{
    constexpr double cPALUp = 1.0416666666666667;
    constexpr std::tuple<EPullFactor, EPullFactor, double, double, double> cCases[] = {
        {cNone, cNone, 44100, 30, 30},
        {cDown, cNone, 44100 / 1.001, 30.0 * 1000 / 1001, 30 * 1.001},
        {cUp, cNone, 44100 * 1.001, 30.0 * 1001 / 1000, 30 / 1.001},
        {cNone, cDown, 44100 * 0.96, 30.0 * 24 / 25, 30 * cPALUp},
        {cNone, cUp, 44100 * cPALUp, 30.0 * 25 / 24, 30 * 0.96},
        {cUp, cDown, 44100 * 1.001 * 0.96, 30.0 * 1001 / 1000 * 24 / 25, 30 / 1.001 * cPALUp},
        {static_cast<EPullFactor>(9), cUp, 44100 * cPALUp, 30.0 * 25 / 24, 30 * 0.96},
    };
    Time_Globals::SetFrameRate(30);
    for (const auto& [ntsc, pal, sampleRate, frameRate, duration] : cCases)
        for (const bool video : {false, true}) {
            StTimeGlobals::Pull(ePullMedia_Audio, video ? cNone : ntsc, video ? cNone : pal);
            StTimeGlobals::Pull(ePullMedia_Video, video ? ntsc : cNone, video ? pal : cNone);
            const std::string what = std::to_string(ntsc) + " and " + std::to_string(pal);
            EXPECT_EQ(Time_Globals::GetPullSampleRate(), video ? 44100 : sampleRate) << what;
            EXPECT_EQ(Time_Globals::GetPullFrameRate(), video ? frameRate : 30) << what;
            const double adjusted = Time_Globals::AdjustForPullFactors(ePullMedia_Video, 30);
            EXPECT_EQ(adjusted, video ? duration : 30) << what;
        }
    EXPECT_EQ(Time_Globals::AdjustForPullFactors(static_cast<EPullMedia>(2), 7.5), 7.5);
}

TEST_F(GlobalsTest, CombinationsAreThePairsOfPulls)
{
    // of each combination
    constexpr char cNTSC[] = " -+  -+-+";
    constexpr char cPAL[] = "   -+--++";
    const auto text = [](const char* iPart, char iPull) {
        return iPull == ' ' ? "" : iPart + std::string(iPull == '+' ? " Up" : " Down");
    };
    EPullFactor ntsc;
    EPullFactor pal;
    for (int value = -1; value <= 9; ++value) {
        const EComboPullFactor combo = static_cast<EComboPullFactor>(value);
        const bool isKnown = value >= 0 && value <= 8;
        Time_Globals::ComboToPullFactors(combo, ntsc, pal);
        const std::pair pulls(isKnown ? cNTSC[value] : ' ', isKnown ? cPAL[value] : ' ');
        const auto sign = [](EPullFactor iPull) { return iPull == cNone ? ' ' : iPull == cUp ? '+' : '-'; };
        EXPECT_EQ(std::pair(sign(ntsc), sign(pal)), pulls) << value;
        std::string name =
            text("4%", pulls.second) + (value > 4 && isKnown ? ", " : "") + text("0.1%", pulls.first);
        if (!isKnown || value == 0) name = isKnown ? "None" : "";
        EXPECT_EQ(Time_Globals::GetComboString(combo, false), name);
        EXPECT_EQ(Time_Globals::GetComboString(combo, true).find(name), 0U);
        EXPECT_EQ(Time_Globals::GetComboPullFactor(isKnown ? ntsc : static_cast<EPullFactor>(9), pal),
                  isKnown ? value : 0);
    }
    EXPECT_STREQ(Time_Globals::GetPullFactorString(static_cast<EPullFactor>(9)), "");
}

TEST_F(GlobalsTest, FormatsNameThemselvesAndTheirAudioPulls)
{
    std::string text; // each format and the combinations that audio may take in it
    for (int format = 0; format < 16; ++format) {
        Time_Globals::SetGlobalTimeCodeFormat(static_cast<ETimeCodeFormat>(format));
        text += Time_Globals::GetTimeCodeFormatString(Time_Globals::GetGlobalTimeCodeFormat());
        text += ":";
        for (int combo = 0; combo <= 9; ++combo)
            if (Time_Globals::ValidAudioComboFactor(static_cast<EComboPullFactor>(combo)))
                text += std::to_string(combo);
        text += "\n";
    }
    EXPECT_EQ(text, "?:\n24 fps:23\n25 fps:48\n29.97 fps:15\n29.97 fps (OMF):\n29.97 fps drop:15\n"
                    "2997  fps drop (OMF):\n30 fps:23\n30 fps drop:23\n23.976 fps:15\n50 fps:\n"
                    "59.94 fps:\n59.94 fps drop:\n60 fps:\n60 fps drop:\n?:\n");
}

TEST_F(GlobalsTest, MaterialIsRoutedBetweenVideoFormats)
{
    // From each of the four formats, one behind the other, to each.
    constexpr char cFactors[] = "0000"
                                "0028"
                                "0104"
                                "0530";
    std::string routes;
    for (int pair = 0; pair < 16; ++pair)
        routes += std::to_string(Time_Globals::GetRoutingComboFactor(static_cast<EVideoFormat>(pair / 4),
                                                                     static_cast<EVideoFormat>(pair % 4)));
    EXPECT_EQ(routes, cFactors);
}

TEST_F(GlobalsTest, FrameOffsetBecomesLegalInItsFormat)
{
    constexpr std::tuple<const char*, long, ETimeCodeFormat, ETimeCodeFormat, Cmn_Int32> cCases[] = {
        {"labels in order need no move", 1800, eTimeCodeFormat_2997Drop, eTimeCodeFormat_30, 1800},
        {"60 drop's odd label moves on", 25175, eTimeCodeFormat_60Drop, eTimeCodeFormat_30, 25176},
        {"so by the global format", 25175, eTimeCodeFormat_UseGlobal, eTimeCodeFormat_60Drop, 25176},
        {"no drop, no move", 25175, eTimeCodeFormat_60, eTimeCodeFormat_60Drop, 25175},
        {"a day earlier wraps", -1, eTimeCodeFormat_25, eTimeCodeFormat_30, 2159999},
        {"a day later folds", 2160000, eTimeCodeFormat_25, eTimeCodeFormat_30, 0},
    };
    for (const auto& [name, offset, format, global, legal] : cCases) {
        Time_Globals::SetGlobalTimeCodeFormat(global);
        Time_Globals::SetFrameOffset(offset);
        EXPECT_EQ(Time_Globals::GetFrameOffset(format), legal) << name;
        EXPECT_EQ(Time_Globals::GetFrameOffset(), offset) << name;
    }
}
