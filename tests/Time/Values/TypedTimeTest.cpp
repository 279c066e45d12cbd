#include "Time/TimeFixture.h"

namespace {

static_assert(sizeof(Time_Typed) == 16 && sizeof(Time_TypedLocal) == 16 && sizeof(Time_TypedLength) == 16);
static_assert(Time_Typed(Time_Tick(5)) + Time_TypedLength(Time_TickLength(2)) == Time_Typed(7, cTicks));

// The report of every operation below on two units, and the left one's unit in its result.
template <class Time>
class TypedTest : public testing::Test
{
protected:
    static constexpr bool cIsLength = std::is_same_v<Time, Time_TypedLength>;
    static constexpr const char* cReport = cIsLength ? "time_type_mismatch@$^$@time/Time_TypedLength"
                                                     : "time_type_mismatch@$^$@time/Time_TypedBase";
    template <class Result>
    void Expect(const Result& iResult, const Result& iExpected)
    {
        EXPECT_EQ(mRecorder.Take(), Reports{cReport});
        EXPECT_EQ(iResult, iExpected);
    }
    const AssertRecorder mRecorder;
};
using Types = testing::Types<Time_Typed, Time_TypedLocal, Time_TypedLength>;
TYPED_TEST_SUITE(TypedTest, Types);

} // namespace

TYPED_TEST(TypedTest, TextBringsBackCountAndUnit)
{
    using Time = TypeParam;
    for (const Time_EType unit : cUnits)
        for (const Cmn_Int64 count :
             {cLeast, Cmn_Int64{-1}, Cmn_Int64{0}, Cmn_Int64{1}, Cmn_Int64{96000}, cMost}) {
            const Time time(count, unit);
            for (const std::string& text :
                 {time.ToString(), Time_TypedDefs::Dump(count, unit), " \t" + time.ToString() + " "})
            {
                Time read(7, unit == cTicks ? cFrames : cTicks);
                ASSERT_TRUE(read.FromString(text)) << text;
                EXPECT_EQ(read.GetType(), unit) << text;
                EXPECT_EQ(read.AsInt64(), count) << text;
            }
        }
    EXPECT_EQ(Time(96000, cSamples).ToString(), "96000 samples");
    EXPECT_EQ(Time(1, cTicks).ToString(), "1 tick");
    for (const std::string& text :
         {std::string(), std::string(" "), std::string("96000"), std::string("samples"),
          std::string("5samples"), std::string("5 sampless"), std::string("5 s"), std::string("5.5 ticks"),
          std::string("5 ticks 6"), std::string("9223372036854775808 ticks"), Time(5, cInvalid).ToString()})
    {
        Time kept(7, cFrames);
        EXPECT_FALSE(kept.FromString(text)) << text;
        EXPECT_EQ(kept, Time(7, cFrames)) << text;
    }
}

TYPED_TEST(TypedTest, MixedUnitsAreReportedAndKeepTheLeftUnit)
{
    using Time = TypeParam;
    const Time at(5, cSamples);
    const Time other(3, cTicks);
    const Time_TypedLength length(3, cTicks);
    this->Expect(at + length, Time(8, cSamples));
    this->Expect(at - length, Time(2, cSamples));
    this->Expect(at - other, Time_TypedLength(2, cSamples));
    this->Expect(at.MidPointBetween(other), Time(4, cSamples));
    this->Expect(Time(at) += length, Time(8, cSamples));
    this->Expect(Time(at) -= length, Time(2, cSamples));
    if constexpr (TestFixture::cIsLength) {
        this->Expect(at % other, Time(2, cSamples));
        this->Expect(at / other, 5.0 / 3.0);
    } else {
        this->Expect(length + at, Time(8, cTicks));
        this->Expect(length - at, Time(-2, cTicks));
    }
    EXPECT_TRUE(other < at && other <= at && at > other && at >= other && at != other && !(at == other));
    EXPECT_TRUE((other || at) && !(other && Time()));
    EXPECT_EQ(this->mRecorder.Take(), Reports(8, this->cReport));

    EXPECT_EQ(at.AsTick().AsInt64() + other.AsSample().AsInt64(), 8);
    const std::string source = std::string(this->cReport).substr(18);
    EXPECT_EQ(this->mRecorder.Take(),
              Reports({"mType == Time_eType_Ticks" + source, "mType == Time_eType_Samples" + source}));
}

TYPED_TEST(TypedTest, StepsMidpointsAndMagnitudes)
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
    EXPECT_EQ(this->mRecorder.Take(), Reports());
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
    EXPECT_EQ(Time_TypedLength(Time_TickLength(9, Time_eTickType_Display)), ticks(9));
    EXPECT_EQ(recorder.Take(),
              Reports{"inTick.GetTickType() == Time_eTickType_Internal@$^$@time/Time_TypedLength"});
}

TEST(SavedWord, HoldsUnitAndCountBitForBit)
{
    constexpr std::tuple<Cmn_Int64, Time_EType, Cmn_UInt64> cCases[] = {
        {0, cSamples, 0x0000000000000000},
        {-1, cSamples, 0xBFFFFFFFFFFFFFFF},
        {34359738367, cSamples, 0x00000007FFFFFFFF},
        {-1, cTicks, 0xFFFFFFFFFFFFFFFF},
        {(1LL << 59) - 1, cTicks, 0x47FFFFFFFFFFFFFF},
        {-(1LL << 59) + 1, cTicks, 0xF800000000000001},
        {100, cFrames, 0x1000000000000064},
        {-1, cFrames, 0x9FFFFFFFFFFFFFFF},
        {-(1LL << 60), cSamples, 0xB000000000000000},
    };
    for (const auto& [count, type, word] : cCases) {
        const Time_Typed time(count, type);
        EXPECT_EQ(static_cast<Cmn_UInt64>(time.GetRawDataForSave()), word) << time.Dump();
        Time_Typed global;
        global.SetFromRawSavedData(static_cast<Cmn_Int64>(word));
        EXPECT_EQ(global, time);
        Time_TypedLength length;
        length.SetFromRawSavedData(Time_TypedLocal(time).GetRawDataForSave());
        EXPECT_EQ(length, Time_TypedLength(count, type));
    }
}

TEST(SavedWord, UnknownUnitsAndTagsAreReported)
{
    const AssertRecorder recorder;
    EXPECT_EQ(Time_Typed(5, cInvalid).GetRawDataForSave(), 0);
    for (const Cmn_UInt64 tag : {2u, 5u, 6u})
        for (const Cmn_Int64 sign : {Cmn_Int64{0}, cLeast}) {
            Time_Typed time(1, cFrames);
            time.SetFromRawSavedData(static_cast<Cmn_Int64>(tag << 60 | 7) | sign);
            EXPECT_EQ(time, Time_Typed(sign == 0 ? 7 : -(Cmn_Int64{1} << 60) + 7, cFrames)) << tag;
        }
    EXPECT_EQ(recorder.Take(), Reports(7, "0@$^$@Time/Time_TypedDefs"));
    EXPECT_EQ(Time_Typed(-7, cFrames).GetAsXML("nTime").ToString(), "<nTime unit=\"Frames\">-7</nTime>\n");
}
