#include "Kora/Time/Time_TypedLocal.h"

#include "Support/AssertRecorder.h"
#include "Support/TimePrinters.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using Reports = std::vector<std::string>;
constexpr Time_EType cSamples = Time_eType_Samples, cTicks = Time_eType_Ticks, cFrames = Time_eType_Frames;
constexpr Time_EType cInvalid = static_cast<Time_EType>(3);
constexpr Cmn_Int64 cLeast = std::numeric_limits<Cmn_Int64>::min();
const char* const cBase = "time_type_mismatch@$^$@time/Time_TypedBase";
const char* const cLength = "time_type_mismatch@$^$@time/Time_TypedLength";

static_assert(sizeof(Time_Typed) == 16 && sizeof(Time_TypedLocal) == 16 && sizeof(Time_TypedLength) == 16);
static_assert(Time_Typed(Time_Tick(5)) + Time_TypedLength(Time_TickLength(2)) == Time_Typed(7, cTicks));

template <class Time>
class PositionTest : public testing::Test
{
};
using Positions = testing::Types<Time_Typed, Time_TypedLocal>;
TYPED_TEST_SUITE(PositionTest, Positions);

} // namespace

TYPED_TEST(PositionTest, MixedUnitsAreReportedAndKeepTheLeftUnit)
{
    using Time = TypeParam;
    const AssertRecorder recorder;
    const Time at(5, cSamples), other(3, cTicks);
    const Time_TypedLength length(3, cTicks);
    const auto expect = [&](const auto& iResult, Cmn_Int64 iCount, Time_EType iType) {
        EXPECT_EQ(recorder.Take(), Reports{cBase});
        EXPECT_EQ(iResult.AsInt64(), iCount);
        EXPECT_EQ(iResult.GetType(), iType);
    };
    expect(at + length, 8, cSamples);
    expect(at - length, 2, cSamples);
    expect(length + at, 8, cTicks);
    expect(length - at, -2, cTicks);
    expect(at - other, 2, cSamples);
    expect(at.MidPointBetween(other), 4, cSamples);
    expect(Time(at) += length, 8, cSamples);
    expect(Time(at) -= length, 2, cSamples);
    EXPECT_TRUE(other < at && other <= at && at > other && at >= other && at != other && !(at == other));
    EXPECT_TRUE(other || at);
    EXPECT_FALSE(other && Time());
    EXPECT_EQ(recorder.Take(), Reports(8, cBase));

    EXPECT_EQ(at.AsTick(), Time_Tick(5));
    EXPECT_EQ(other.AsSample(), Time_Sample(3));
    EXPECT_EQ(recorder.Take(), Reports({"mType == Time_eType_Ticks@$^$@time/Time_TypedBase",
                                        "mType == Time_eType_Samples@$^$@time/Time_TypedBase"}));
}

TYPED_TEST(PositionTest, StepsMidpointsAndMagnitudes)
{
    using Time = TypeParam;
    Time at(-3, cTicks);
    EXPECT_EQ(at.MidPointBetween(Time(0, cTicks)), Time(-1, cTicks));
    EXPECT_EQ((-at).MidPointBetween(Time(0, cTicks)), Time(1, cTicks));
    EXPECT_EQ(Time(cLeast, cTicks).MidPointBetween(Time(-1, cTicks)), Time(-(cLeast + 1) / 2, cTicks));
    EXPECT_EQ(at++, Time(-3, cTicks));
    EXPECT_EQ(++at, Time(-1, cTicks));
    EXPECT_EQ(at--, Time(-1, cTicks));
    EXPECT_EQ((--at).AbsoluteValue(), Time(3, cTicks));
    EXPECT_EQ(Time((Cmn_Int64{5} << 32) - 1, cFrames).AsInt32X(), -1);
    EXPECT_EQ(Time(Time_Sample(4)), Time(4, cSamples));
    EXPECT_EQ(Time_TypedLocal(cFrames).AsTimeTyped(), Time_Typed(0, cFrames));
}

TEST(TypedLength, MixedUnitsAreReportedAndKeepTheLeftUnit)
{
    const AssertRecorder recorder;
    const Time_TypedLength five(5, cFrames), three(3, cTicks);
    const auto expect = [&](const Time_TypedLength& iResult, Cmn_Int64 iCount) {
        EXPECT_EQ(recorder.Take(), Reports{cLength});
        EXPECT_EQ(iResult, Time_TypedLength(iCount, cFrames));
    };
    expect(five + three, 8);
    expect(five - three, 2);
    expect(five % three, 2);
    expect(five.MidPointBetween(three), 4);
    EXPECT_EQ(five / three, 5.0 / 3.0);
    EXPECT_TRUE(three < five && (five || three) && (five && three));
    EXPECT_EQ(recorder.Take(), Reports(4, cLength));

    EXPECT_EQ(Time_TypedLength(Time_TickLength(9, Time_eTickType_Display)), Time_TypedLength(9, cTicks));
    EXPECT_EQ(recorder.Take(),
              Reports{"inTick.GetTickType() == Time_eTickType_Internal@$^$@time/Time_TypedLength"});
    EXPECT_EQ(five.AsSample().AsInt64() + five.AsTick().AsInt64(), 10);
    EXPECT_EQ(recorder.Take(), Reports({"mType == Time_eType_Samples@$^$@time/Time_TypedLength",
                                        "mType == Time_eType_Ticks@$^$@time/Time_TypedLength"}));
}

TEST(TypedLength, ScalesByWholeAndBrokenFactors)
{
    const Time_TypedLength seven(7, cTicks);
    const auto ticks = [](Cmn_Int64 iCount) { return Time_TypedLength(iCount, cTicks); };
    EXPECT_EQ(seven * 3 / 2, ticks(10));
    EXPECT_EQ(-3LL * seven / 2L, ticks(-10));
    EXPECT_EQ(0.5 * seven, ticks(3));
    EXPECT_EQ(seven * -0.5f, ticks(-3));
    EXPECT_EQ(seven / 0.25, ticks(28));
    EXPECT_EQ(-seven % 4, ticks(-3));
    EXPECT_EQ(seven * 1e30, ticks(std::numeric_limits<Cmn_Int64>::max()));
    Time_TypedLength scaled = seven;
    EXPECT_EQ((scaled *= 2.5) /= Cmn_Int64{4}, ticks(4));
    EXPECT_EQ(ticks(cLeast) / -1, ticks(cLeast));

    const AssertRecorder recorder;
    EXPECT_EQ(seven / 0, ticks(0));
    EXPECT_EQ(seven % 0, ticks(0));
    EXPECT_EQ(seven / 0.0, ticks(0));
    EXPECT_EQ(seven / ticks(0), 0.0);
    EXPECT_EQ(recorder.Take().size(), 4u);
}

TEST(SavedWord, HoldsUnitAndCountBitForBit)
{
    struct Case
    {
        Cmn_Int64 mCount;
        Time_EType mType;
        Cmn_UInt64 mWord;
    };
    constexpr Case cCases[] = {
        {0,                cSamples, 0x0000000000000000},
        {100,              cSamples, 0x0000000000000064},
        {-1,               cSamples, 0xBFFFFFFFFFFFFFFF},
        {34359738367,      cSamples, 0x00000007FFFFFFFF},
        {100,              cTicks,   0x4000000000000064},
        {-1,               cTicks,   0xFFFFFFFFFFFFFFFF},
        {(1LL << 59) - 1,  cTicks,   0x47FFFFFFFFFFFFFF},
        {-(1LL << 59) + 1, cTicks,   0xF800000000000001},
        {100,              cFrames,  0x1000000000000064},
        {-1,               cFrames,  0x9FFFFFFFFFFFFFFF},
        {-(1LL << 60),     cSamples, 0xB000000000000000},
    };
    for (const Case& row : cCases) {
        const Time_Typed time(row.mCount, row.mType);
        EXPECT_EQ(static_cast<Cmn_UInt64>(time.GetRawDataForSave()), row.mWord) << time.Dump();
        Time_Typed global;
        global.SetFromRawSavedData(static_cast<Cmn_Int64>(row.mWord));
        EXPECT_EQ(global, time);
        Time_TypedLength length;
        length.SetFromRawSavedData(Time_TypedLocal(time).GetRawDataForSave());
        EXPECT_EQ(length, Time_TypedLength(row.mCount, row.mType));
    }
}

TEST(SavedWord, UnknownUnitsAndTagsAreReported)
{
    const AssertRecorder recorder;
    const Reports report{"0@$^$@Time/Time_TypedDefs"};
    EXPECT_EQ(Time_Typed(5, cInvalid).GetRawDataForSave(), 0);
    EXPECT_EQ(recorder.Take(), report);
    for (const Cmn_UInt64 tag : {2u, 5u, 6u}) {
        for (const Cmn_Int64 sign : {Cmn_Int64{0}, cLeast}) {
            Time_Typed time(1, cFrames);
            time.SetFromRawSavedData(static_cast<Cmn_Int64>(tag << 60 | 7) | sign);
            EXPECT_EQ(recorder.Take(), report);
            EXPECT_EQ(time, Time_Typed(sign == 0 ? 7 : -(Cmn_Int64{1} << 60) + 7, cFrames)) << tag;
        }
    }
    EXPECT_EQ(Time_Typed(-7, cFrames).GetAsXML("nTime").ToString(), "<nTime unit=\"Frames\">-7</nTime>\n");
}
