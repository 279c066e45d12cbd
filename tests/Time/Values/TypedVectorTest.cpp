#include "Time/TimeFixture.h"

namespace {

using Counts = std::vector<Cmn_Int64>;
constexpr Time_EContext cGlobal = Time_eContext_GlobalPosition, cLocal = Time_eContext_LocalPosition,
                        cLength = Time_eContext_RelativeLength;
const char* const cMismatch = "time_type_mismatch@$^$@time/Time_Vectors";
const char* const cBadIndex = "iIndex < size()@$^$@Time/Time_TypedVector";
const char* const cNotGlobal = "mContext == Time_eContext_GlobalPosition@$^$@Time/Time_TypedVector";
const char* const cNotLocal = "mContext == Time_eContext_LocalPosition@$^$@Time/Time_TypedVector";
const char* const cNotLength = "mContext == Time_eContext_RelativeLength@$^$@Time/Time_TypedVector";

} // namespace

TEST(TypedVector, ElementsAreCheckedAgainstIndexMeaningAndUnit)
{
    const AssertRecorder recorder;
    Time_TypedVector times(cTicks, cGlobal, {10, 20});
    times.PushTime(Time_Typed(30, cTicks));
    times.SetTime(0, Time_Typed(11, cTicks));
    times.SetTime(3, Time_Typed(1, cTicks));
    EXPECT_EQ(times.GetTime(3), Time_Typed(0, cTicks));
    EXPECT_EQ(recorder.Take(), Reports(2, cBadIndex));
    EXPECT_EQ(times.GetLength(0), Time_TypedLength(11, cTicks));
    EXPECT_EQ(times.GetLocal(0), Time_TypedLocal(11, cTicks));
    times.PushTime(Time_Typed(40, cSamples));
    EXPECT_EQ(recorder.Take(), Reports({cNotLength, cNotLocal, cMismatch}));
    EXPECT_EQ(times, Time_TypedVector(cTicks, cGlobal, {11, 20, 30, 40}));

    times.SetContext(cLocal);
    times.PushLocal(Time_TypedLocal(50, cTicks));
    times.SetContext(cLength);
    times.PushLength(Time_TypedLength(60, cTicks));
    EXPECT_EQ(recorder.Take(), Reports());
    times.SetLocal(5, Time_TypedLocal(61, cTicks));
    EXPECT_EQ(recorder.Take(), Reports{cNotLocal});
    EXPECT_EQ(times, Time_TypedVector(cTicks, cLength, {11, 20, 30, 40, 50, 61}));
}

TEST(TypedVector, ArithmeticKeepsTheUnitAndChangesTheMeaning)
{
    using Move = void (*)(Time_TypedVector&, Cmn_Int64 iSteps, Time_EType);
    const auto length = [](Time_TypedVector& io, Cmn_Int64 iSteps, Time_EType iUnit) {
        iSteps > 0 ? io.AddLength({iSteps, iUnit}) : io.SubtractLength({-iSteps, iUnit});
    };
    const auto time = [](Time_TypedVector& io, Cmn_Int64 iSteps, Time_EType iUnit) {
        iSteps > 0 ? io.AddTime({iSteps, iUnit}) : io.SubtractTime({-iSteps, iUnit});
    };
    const std::tuple<const char*, Time_EContext, Time_EType, Move, Cmn_Int64, Time_EContext, Reports> rows[] =
        {
            {"position + length", cGlobal, cTicks, length, 5, cGlobal, {}},
            {"local position - length", cLocal, cTicks, length, -5, cLocal, {}},
            {"length + time", cLength, cTicks, time, 5, cGlobal, {}},
            {"position - time", cGlobal, cTicks, time, -5, cLength, {}},
            {"position + time makes no sense", cGlobal, cTicks, time, 5, cGlobal, {cNotLength}},
            {"local - time of another unit", cLocal, cSamples, time, -5, cLength, {cNotGlobal, cMismatch}},
            {"another unit counts as it stands", cGlobal, cSamples, length, 5, cGlobal, {cMismatch}},
        };
    for (const auto& [what, before, unit, move, steps, after, reports] : rows) {
        const AssertRecorder recorder;
        Time_TypedVector times(cTicks, before, {1, cMost});
        move(times, steps, unit);
        EXPECT_EQ(times, Time_TypedVector(cTicks, after, {1 + steps, Cmn_WrapAdd(cMost, steps)})) << what;
        EXPECT_EQ(recorder.Take(), reports) << what;
    }
}

TEST(TypedVector, RelabellingKeepsTheCountsAndReservedRoomIsUsed)
{
    Time_TypedVector times;
    times.reserve(1000);
    const Cmn_Int64* const place = times.data();
    for (int i = 0; i < 1000; ++i)
        times.push_back(i);
    times.SetType(cTicks);
    EXPECT_TRUE(times.data() == place && times.GetTime(999) == Time_Typed(999, cTicks));
    times.resize(2);
    EXPECT_EQ(times.GetAsXML("beats").ToString(), "<beats unit=\"Ticks\" context=\"GlobalPosition\">\n"
                                                  "  <Time>0</Time>\n  <Time>1</Time>\n</beats>\n");
    EXPECT_EQ(times.Dump(), "2 times, Ticks, GlobalPosition\n  [0] 0\n  [1] 1\n");
}

TEST(TypedVector, VectorsGoToStreamsAndEqualOnesHaveOneHash)
{
    const std::pair<Time_TypedVector, std::string> rows[] = {
        {Time_TypedVector(), "{} Samples"},
        {Time_TypedVector(cSamples, cGlobal, {0}), "{0} Samples"},
        {Time_TypedVector(cSamples, cGlobal, {0, 0}), "{0, 0} Samples"},
        {Time_TypedVector(cTicks, cGlobal, {0, 960000}), "{0, 960000} Ticks"},
        {Time_TypedVector(cTicks, cGlobal, {960000, 0}), "{960000, 0} Ticks"},
        {Time_TypedVector(cTicks, cLocal, {cLeast}), "{-9223372036854775808} Ticks (local)"},
        {Time_TypedVector(cFrames, cLength, {-3}), "{-3} Frames long"},
        {Time_TypedVector(cFrames, cGlobal, {-3}), "{-3} Frames"},
    };
    std::set<std::size_t> hashes;
    for (const auto& [times, text] : rows) {
        std::ostringstream shown;
        shown << times;
        EXPECT_EQ(shown.str(), text);
        Time_TypedVector copy = times;
        copy.reserve(1000);
        EXPECT_EQ(std::hash<Time_TypedVector>()(copy), std::hash<Time_TypedVector>()(times)) << text;
        hashes.insert(std::hash<Time_TypedVector>()(times));
    }
    EXPECT_EQ(hashes.size(), std::size(rows));
    std::ostringstream shown;
    shown << Time_TypedVector(cTicks, cGlobal, Counts(100, 7))
          << Time_TypedVector(cTicks, cGlobal, Counts(102, 7));
    EXPECT_TRUE(shown.str().ends_with("7, 7} Ticks{" + shown.str().substr(1, 298) + ", 2 more} Ticks"))
        << shown.str();
}
