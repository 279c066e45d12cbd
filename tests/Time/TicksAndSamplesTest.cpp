#include "Kora/Time/Time_Sample.h"
#include "Kora/Time/Time_Tick.h"

#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Support/AssertRecorder.h"
#include "Support/TimePrinters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace {

using Reports = std::vector<std::string>;
constexpr Cmn_Int64 cMost = std::numeric_limits<Cmn_Int64>::max();
constexpr Cmn_Int64 cLeast = std::numeric_limits<Cmn_Int64>::min();
constexpr Time_TickLength cOneDisplay(1, Time_eTickType_Display);

// All of this costs nothing at run time.
static_assert(Time_cZeroTick + Time_TickLength::cQuarter == Time_Tick(960000));
static_assert(Time_TickLength::cDisplayQuarter.ToInternalTicks() == Time_TickLength::cQuarter);
static_assert(Time_TickLength::cQuarter.ToDisplayTicks() == Time_TickLength::cDisplayQuarter);
static_assert(Time_Sample(7) - Time_Sample(10) == Time_SampleLength(-3));
static_assert(sizeof(Time_Sample) == 8 && sizeof(Time_Tick) == 8 && sizeof(Time_TickLength) == 16);

} // namespace

TEST(TickLength, DisplayTicksRoundAsRulersShow)
{
    struct Case
    {
        const char* mName;
        Cmn_Int64 mInternal, mDisplay;
    };
    constexpr Case cCases[] = {
        {"below a half",                   499,    0                    },
        {"a half rounds up",               500,    1                    },
        {"below one and a half",           1499,   1                    },
        {"one and a half rounds up",       1500,   2                    },
        {"negative: toward zero",          -1400,  0                    },
        {"negative: a half rounds up too", -1500,  -1                   },
        {"negative: past the half",        -1600,  -1                   },
        {"the sum wraps at the largest",   cMost,  (cLeast + 499) / 1000},
        {"the smallest has room for 500",  cLeast, (cLeast + 500) / 1000},
    };
    for (const Case& row : cCases) {
        for (const Time_ETickType type : {Time_eTickType_Internal, Time_eTickType_Display}) {
            const Time_TickLength display = Time_TickLength(row.mInternal, type).ToDisplayTicks();
            EXPECT_EQ(display.AsInt64(), row.mDisplay) << row.mName;
            EXPECT_EQ(display.GetTickType(), Time_eTickType_Display) << row.mName;
        }
    }
    EXPECT_EQ(cOneDisplay.ToInternalTicks().ToInternalTicks(), Time_TickLength(1000000));
}

TEST(TickLength, MixedTypesAreReportedAndCountedRaw)
{
    const AssertRecorder recorder;
    const Time_TickLength internal(5);
    const char* const cMember = "mTickType == rightHandValue.mTickType@$^$@time/Time_TickLength";
    const char* const cBinary =
        "leftHandValue.mTickType == rightHandValue.mTickType@$^$@time/Time_TickLength";

    Time_TickLength sum = internal;
    sum += cOneDisplay;
    sum -= Time_TickLength(3, Time_eTickType_Display);
    EXPECT_EQ(recorder.Take(), Reports({cMember, cMember}));
    EXPECT_EQ(sum, Time_TickLength(3));

    EXPECT_EQ(internal + cOneDisplay, Time_TickLength(6));
    EXPECT_EQ((cOneDisplay - internal).AsInt64(), -4);
    EXPECT_EQ((cOneDisplay - internal).GetTickType(), Time_eTickType_Display);
    EXPECT_TRUE(cOneDisplay < internal);
    EXPECT_TRUE(cOneDisplay != internal);
    EXPECT_EQ(recorder.Take(), Reports(5, cBinary));

    EXPECT_EQ(Time_TickLength((Cmn_Int64{1} << 32) + 7).AsInt32X(), 7);
    EXPECT_EQ(recorder.Take(), Reports{"mTickType == Time_eTickType_Display@$^$@time/Time_TickLength"});
    EXPECT_EQ(cOneDisplay.AsInt32X(), 1);
    EXPECT_EQ(recorder.Take(), Reports());
}

TEST(TickLength, StepsAndScalesInItsOwnType)
{
    Time_TickLength length = cOneDisplay;
    EXPECT_EQ((length++).AsInt64(), 1);
    EXPECT_EQ((++length).AsInt64(), 3);
    EXPECT_EQ((length--).AsInt64(), 3);
    EXPECT_EQ((--length * -7).AbsoluteValue(), Time_TickLength(7, Time_eTickType_Display));
    (length = length * -7) /= 2;
    EXPECT_EQ(length, Time_TickLength(-3, Time_eTickType_Display));

    const AssertRecorder recorder;
    EXPECT_EQ((length /= 0).AsInt64(), 0);
    EXPECT_EQ(recorder.Take().size(), 1u);
    length.SetLength(cLeast);
    EXPECT_EQ((length /= -1).AsInt64(), cLeast);
    EXPECT_EQ(length.AbsoluteValue().AsInt64(), cLeast);
    EXPECT_EQ(length.GetAsXML("nTick").ToString(),
              "<nTick tickType=\"Display\">-9223372036854775808</nTick>\n");
}

TEST(Tick, PositionsStepByInternalTicksAndWrap)
{
    Time_Tick tick(cMost);
    EXPECT_EQ(tick++, Time_Tick(cMost));
    EXPECT_EQ(tick--, Time_Tick(cLeast));
    EXPECT_EQ(--tick - Time_Tick(cMost), Time_TickLength(-1));
    tick = Time_cZeroTick;
    tick += cOneDisplay; // the count as it stands
    EXPECT_EQ(tick -= Time_TickLength(3), Time_Tick(-2));
}

TEST(Limits, PositionsPinIntoTheirRange)
{
    constexpr Cmn_Int64 cMaxSample = 34359738367, cMaxTick = 576460752303423487;
    constexpr Cmn_Int64 cCounts[] = {-1,
                                     0,
                                     1,
                                     cMaxSample - 1,
                                     cMaxSample,
                                     cMaxSample + 1,
                                     cMaxTick - 1,
                                     cMaxTick,
                                     cMaxTick + 1,
                                     -cMaxTick + 1,
                                     -cMaxTick,
                                     -cMaxTick - 1,
                                     cLeast,
                                     cMost};
    for (const Cmn_Int64 count : cCounts) {
        Time_Sample sample(count);
        sample.PinToValidRange();
        EXPECT_EQ(sample, Time_Sample(std::clamp<Cmn_Int64>(count, 0, cMaxSample))) << count;
        Time_Tick tick(count);
        tick.PinToValidRange();
        EXPECT_EQ(tick, Time_Tick(std::clamp(count, -cMaxTick, cMaxTick))) << count;
    }
}

TEST(Text, LengthsReadOnly32BitsFromText)
{
    struct Case
    {
        const char* mText;
        Cmn_Int64 mSample, mLength;
    };
    constexpr Cmn_Int64 cKept = 17;
    constexpr Case cCases[] = {
        {"3000000000",           3000000000,  cKept      },
        {"2147483647",           2147483647,  2147483647 },
        {"-2147483648",          -2147483648, -2147483648},
        {"-2147483649",          -2147483649, cKept      },
        {"-9223372036854775808", cLeast,      cKept      },
        {"9223372036854775808",  0,           cKept      },
        {"abc",                  0,           cKept      },
        {"",                     0,           cKept      },
        {"12 34",                0,           cKept      },
        {" +5 ",                 5,           5          },
    };
    for (const Case& row : cCases) {
        Time_Sample sample(cKept);
        sample.FromString(row.mText);
        EXPECT_EQ(sample, Time_Sample(row.mSample)) << row.mText;
        Time_SampleLength length(cKept);
        length.FromString(row.mText);
        EXPECT_EQ(length, Time_SampleLength(row.mLength)) << row.mText;
    }
    EXPECT_EQ(Time_Sample(cLeast).ToString(), "-9223372036854775808");
    EXPECT_EQ(Time_SampleLength(1234567).ToString(), "1234567");
}
