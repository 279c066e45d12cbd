#include "Kora/Kora_Format.h"

#include <gtest/gtest.h>

#include <locale>
#include <sstream>

#ifdef __cpp_lib_format // a compiler's own <format> may be unfinished, and says so

namespace {

struct ByThousands : std::numpunct<char>
{
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

template <class Value>
void ExpectAsStreamed(const Value& iValue)
{
    std::ostringstream text;
    text << iValue;
    EXPECT_EQ(std::format("{}", iValue), text.str());
    EXPECT_EQ(std::format("{:*>40}", iValue), std::string(40 - text.str().size(), '*') + text.str());
}

template <class... Values>
void ExpectEachAsStreamed(const Values&... iValues)
{
    (ExpectAsStreamed(iValues), ...);
}

} // namespace

TEST(FormatTest, EveryValueIsWrittenAsToAStreamInItsField)
{
    const Time_Typed from(-5, Time_eType_Ticks);
    const Time_Range range(from, Time_Typed(48000, Time_eType_Ticks));
    const Time_NotationDurationValue eighth(Time_eNoteDuration_Eighth, true);
    const auto position = Time_BarBeatTick::AtBar(3).WithBeat(2);
    ExpectEachAsStreamed(Time_Sample(1), Time_SampleLength(2), Time_Tick(3), Time_TickLength(4), from,
                         Time_TypedLocal(6, Time_eType_Frames), Time_TypedLength(7, Time_eType_Samples));
    ExpectEachAsStreamed(Time_TypedVector(Time_eType_Ticks, Time_eContext_RelativeLength, {8, 9}), range,
                         Time_RangeSet(range), position, Time_SMPTE::Of({.mHours = 1}), Time_MinSec(61002),
                         Time_FeetFrame(79));
    ExpectEachAsStreamed(eighth, Time_GridDivision(eighth), Time_Meter::Eighths(6).WithClick(eighth),
                         Time_GridLine{Time_Tick(10), Time_GridLine::eBeat, position},
                         Time_MeterChange(Time_Tick(11), Time_Meter::Quarters(3), 5), Time_TempoMark(90.5),
                         Time_KeySignature::Minor(3));
}

TEST(FormatTest, TheGlobalLocaleLeavesNumbersAlone)
{
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new ByThousands));
    const std::string text = std::format("{:_<12}", Time_Sample(1234567));
    std::locale::global(before);
    EXPECT_EQ(text, "1234567_____");
}

#endif
