#include "Kora/Time/Time_Globals.h"

#include "Kora/Sys/Sys_Trace.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

namespace {

constexpr EPullFactor cNone = ePullFactor_None, cUp = ePullFactor_Up, cDown = ePullFactor_Down;

// Puts every setting back afterwards.
class GlobalsTest : public testing::Test
{
protected:
    void TearDown() override
    {
        Time_Globals::SetSampleRate(44100);
        Time_Globals::SetFrameRate(30000.0 / 1001);
        Time_Globals::SetGlobalTimeCodeFormat(eTimeCodeFormat_30);
        Time_Globals::SetFrameOffset(0);
        Pull(ePullMedia_Audio, cNone, cNone);
        Pull(ePullMedia_Video, cNone, cNone);
    }
    static void Pull(EPullMedia iMedia, EPullFactor iNTSC, EPullFactor iPAL)
    {
        Time_Globals::SetPullFactor(iMedia, ePullType_NTSC, iNTSC);
        Time_Globals::SetPullFactor(iMedia, ePullType_PAL, iPAL);
    }
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
        Pull(ePullMedia_Video, cNone, cDown);
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
    struct Case
    {
        EPullFactor mNTSC, mPAL;
        double mSampleRate, mFrameRate, mDuration; // of 44100, 30 and 30
    };
    constexpr double cPALUp = 1.0416666666666667;
    constexpr Case cCases[] = {
        {cNone,                       cNone, 44100,                30,                           30                 },
        {cDown,                       cNone, 44100 / 1.001,        30.0 * 1000 / 1001,           30 * 1.001         },
        {cUp,                         cNone, 44100 * 1.001,        30.0 * 1001 / 1000,           30 / 1.001         },
        {cNone,                       cDown, 44100 * 0.96,         30.0 * 24 / 25,               30 * cPALUp        },
        {cNone,                       cUp,   44100 * cPALUp,       30.0 * 25 / 24,               30 * 0.96          },
        {cUp,                         cDown, 44100 * 1.001 * 0.96, 30.0 * 1001 / 1000 * 24 / 25, 30 / 1.001 * cPALUp},
        {static_cast<EPullFactor>(9), cUp,   44100 * cPALUp,       30.0 * 25 / 24,               30 * 0.96          },
    };
    Time_Globals::SetFrameRate(30);
    for (const Case& row : cCases)
        for (const bool video : {false, true}) {
            Pull(ePullMedia_Audio, video ? cNone : row.mNTSC, video ? cNone : row.mPAL);
            Pull(ePullMedia_Video, video ? row.mNTSC : cNone, video ? row.mPAL : cNone);
            const std::string what = std::to_string(row.mNTSC) + " and " + std::to_string(row.mPAL);
            EXPECT_EQ(Time_Globals::GetPullSampleRate(), video ? 44100 : row.mSampleRate) << what;
            EXPECT_EQ(Time_Globals::GetPullFrameRate(), video ? row.mFrameRate : 30) << what;
            const double duration = Time_Globals::AdjustForPullFactors(ePullMedia_Video, 30);
            EXPECT_EQ(duration, video ? row.mDuration : 30) << what;
        }
    EXPECT_EQ(Time_Globals::AdjustForPullFactors(static_cast<EPullMedia>(2), 7.5), 7.5);
}

TEST_F(GlobalsTest, CombinationsNameBothPulls)
{
    struct Case
    {
        EPullFactor mNTSC, mPAL;
        const char *mName, *mDescription;
    };
    constexpr Case cCases[] = {
        {cNone, cNone, "None",               ""                           },
        {cDown, cNone, "0.1% Down",          " [24/30 fps - FILM To NTSC]"},
        {cUp,   cNone, "0.1% Up",            " [29.97 fps - NTSC To FILM]"},
        {cNone, cDown, "4% Down",            " [25 fps - PAL To FILM]"    },
        {cNone, cUp,   "4% Up",              " [24/30 fps - FILM To PAL]" },
        {cDown, cDown, "4% Down, 0.1% Down", " [25 fps - PAL To NTSC]"    },
        {cUp,   cDown, "4% Down, 0.1% Up",   " [Invalid]"                 },
        {cDown, cUp,   "4% Up, 0.1% Down",   " [Invalid]"                 },
        {cUp,   cUp,   "4% Up, 0.1% Up",     " [29.97 fps - NTSC To PAL]" },
    };
    EPullFactor ntsc, pal;
    for (const Case& row : cCases) {
        const EComboPullFactor combo = static_cast<EComboPullFactor>(&row - cCases);
        EXPECT_EQ(Time_Globals::GetComboPullFactor(row.mNTSC, row.mPAL), combo);
        Time_Globals::ComboToPullFactors(combo, ntsc, pal);
        EXPECT_EQ(std::pair(ntsc, pal), std::pair(row.mNTSC, row.mPAL)) << row.mName;
        EXPECT_EQ(Time_Globals::GetComboString(combo, false), row.mName);
        EXPECT_EQ(Time_Globals::GetComboString(combo, true), std::string(row.mName) + row.mDescription);
    }
    for (const int outside : {-1, 9}) {
        Time_Globals::ComboToPullFactors(static_cast<EComboPullFactor>(outside), ntsc, pal);
        EXPECT_EQ(std::pair(ntsc, pal), std::pair(cNone, cNone));
        EXPECT_EQ(Time_Globals::GetComboString(static_cast<EComboPullFactor>(outside), true), "");
        EXPECT_EQ(Time_Globals::GetComboPullFactor(static_cast<EPullFactor>(outside), cUp), 0);
        EXPECT_STREQ(Time_Globals::GetPullFactorString(static_cast<EPullFactor>(outside)), "");
    }
}

TEST_F(GlobalsTest, FormatsNameThemselvesAndTheirAudioPulls)
{
    struct Case
    {
        const char *mName, *mValid; // and the combinations that audio may take
    };
    constexpr Case cCases[] = {
        {"?",                    ""  },
        {"24 fps",               "23"},
        {"25 fps",               "48"},
        {"29.97 fps",            "15"},
        {"29.97 fps (OMF)",      ""  },
        {"29.97 fps drop",       "15"},
        {"2997  fps drop (OMF)", ""  },
        {"30 fps",               "23"},
        {"30 fps drop",          "23"},
        {"23.976 fps",           "15"},
        {"50 fps",               ""  },
        {"59.94 fps",            ""  },
        {"59.94 fps drop",       ""  },
        {"60 fps",               ""  },
        {"60 fps drop",          ""  },
        {"?",                    ""  },
    };
    for (int format = 0; format < 16; ++format) {
        Time_Globals::SetGlobalTimeCodeFormat(static_cast<ETimeCodeFormat>(format));
        EXPECT_STREQ(Time_Globals::GetTimeCodeFormatString(Time_Globals::GetGlobalTimeCodeFormat()),
                     cCases[format].mName);
        std::string valid; // audio combinations
        for (int combo = 0; combo <= 9; ++combo)
            if (Time_Globals::ValidAudioComboFactor(static_cast<EComboPullFactor>(combo)))
                valid += std::to_string(combo);
        EXPECT_EQ(valid, cCases[format].mValid) << cCases[format].mName;
    }
}

TEST_F(GlobalsTest, MaterialIsRoutedBetweenVideoFormats)
{
    constexpr int cRoute[4][4] = {
        {0, 0, 0, 0},
        {0, 0, 2, 8},
        {0, 1, 0, 4},
        {0, 5, 3, 0}
    };
    for (int from = 0; from < 4; ++from)
        for (int to = 0; to < 4; ++to)
            EXPECT_EQ(Time_Globals::GetRoutingComboFactor(static_cast<EVideoFormat>(from),
                                                          static_cast<EVideoFormat>(to)),
                      cRoute[from][to])
                << from << " to " << to;
}

TEST_F(GlobalsTest, FrameOffsetBecomesLegalInItsFormat)
{
    struct Case
    {
        const char* mName;
        long mOffset;
        ETimeCodeFormat mFormat, mGlobal;
        Cmn_Int32 mLegal;
    };
    constexpr Case cCases[] = {
        {"labels in order need no move", 1800,    eTimeCodeFormat_2997Drop,  eTimeCodeFormat_30,     1800   },
        {"60 drop's odd label moves on", 25175,   eTimeCodeFormat_60Drop,    eTimeCodeFormat_30,     25176  },
        {"so by the global format",      25175,   eTimeCodeFormat_UseGlobal, eTimeCodeFormat_60Drop, 25176  },
        {"no drop, no move",             25175,   eTimeCodeFormat_60,        eTimeCodeFormat_60Drop, 25175  },
        {"a day earlier wraps",          -1,      eTimeCodeFormat_25,        eTimeCodeFormat_30,     2159999},
        {"a day later folds",            2160000, eTimeCodeFormat_25,        eTimeCodeFormat_30,     0      },
    };
    for (const Case& row : cCases) {
        Time_Globals::SetGlobalTimeCodeFormat(row.mGlobal);
        Time_Globals::SetFrameOffset(row.mOffset);
        EXPECT_EQ(Time_Globals::GetFrameOffset(row.mFormat), row.mLegal) << row.mName;
        EXPECT_EQ(Time_Globals::GetFrameOffset(), row.mOffset) << row.mName;
    }
}
