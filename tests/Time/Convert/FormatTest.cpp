#include "Kora/Time/Convert/Time_Format.h"
#include "Time/Convert/ConverterFixture.h"

TEST(FormatTest, WhatIsWrittenIsReadAsATimeThatIsWrittenTheSame)
{
    ForSessions(60, [](RandomSession& ioSession) {
        (void)ioSession.mConverter.ToTick(Time_Typed(0, cSamples)); // the map's cache is made
        Time_Globals::SetFrameOffset(static_cast<long>(ioSession.Any({0, 90000, -7})));
        Time_Format format(ioSession.mConverter);
        format.SetFilmGauge(ioSession.Any({Time_eFilmGauge_35mm, Time_eFilmGauge_16mm}));
        for (int i = 0; i < 40; ++i) {
            const Time_Typed time = ioSession.AnyTime(cUnits[i % 3]);
            const Time_Sample sample = ioSession.mConverter.ToSample(time);
            const Time_Tick tick = ioSession.mConverter.ToTick(time);
            // Bars of 32 bits; samples of a thousand hours.
            const bool isNear =
                std::abs(tick.AsInt64()) < 10000000000000 && std::abs(sample.AsInt64()) < 1 << 30;
            for (const Time_EForm form : Time_Format::GetForms()) {
                SCOPED_TRACE(std::string(Time_Format::GetFormName(form)) + " of " + time.Dump());
                char text[Time_Format::cTextBytes];
                const AllocationCounter allocations;
                const std::size_t size = format.ToText(form, time, text);
                EXPECT_EQ(allocations.Count(), 0);
                const bool hasNone =
                    sample < Time_Sample(0) &&
                    (form == Time_eForm_Timecode || form == Time_eForm_Subframes || form == Time_eForm_Feet);
                ASSERT_EQ(size == 0, hasNone);
                if (hasNone || !isNear) continue;
                Time_Typed read;
                const char* whyNot = "";
                ASSERT_TRUE(format.FromText(form, {text, size}, read, &whyNot)) << text << ": " << whyNot;
                ASSERT_EQ(format.ToString(form, read), text);
                Time_EForm found;
                ASSERT_TRUE(Time_Format::FindForm(Time_Format::GetFormName(form), found) && found == form);
            }
        }
    });
}

TEST(FormatTest, ALabelThatDoesNotExistIsRefusedWithItsReason)
{
    const StTimeGlobals globals;
    Time_Globals::SetGlobalTimeCodeFormat(eTimeCodeFormat_2997Drop);
    Time_MeterMap meters;
    meters.AddMeterChange(Time_Tick(0), Time_Meter(4, 4), 1);
    meters.AddMeterChange(Time_Tick(2 * 3840000 + 1440000), Time_Meter(3, 4)); // cuts bar 3
    Time_Converter converter;
    converter.UseDefaultMaps();
    converter.SetMeterMap(&meters);
    const Time_Format format(converter);
    constexpr std::tuple<Time_EForm, const char*, const char*> rows[] = {
        {Time_eForm_Bars, "1|5", "fewer beats"},
        {Time_eForm_Bars, "1|0", "from 1"},
        {Time_eForm_Bars, "1|4|960", "fewer ticks"},
        {Time_eForm_Bars, "1|1|-1", "from 0"},
        {Time_eForm_Bars, "3|2|480", "fewer ticks"},
        {Time_eForm_Bars, "3|3", "fewer beats"},
        {Time_eForm_MinSec, "99999999:00", "line's ends"},
        {Time_eForm_BarsExact, "3|2|480000", "fewer ticks"},
        {Time_eForm_Bars, "1:02", "expected"},
        {Time_eForm_Timecode, "00:01:00;00", "leaves this label out"},
        {Time_eForm_Subframes, "00:60:00;00.00", "minutes run"},
        {Time_eForm_MinSec, "5|3", "expected"},
        {Time_eForm_Feet, "1+16", "0 to 15"},
        {Time_eForm_Samples, "1.5", "whole number"},
        {Time_eForm_Ticks, "99999999999999999999", "64 bits"},
        {Time_eForm_Frames, "", "whole number"},
    };
    for (const auto& [form, text, reason] : rows) {
        SCOPED_TRACE(text);
        Time_Typed time(7, cTicks);
        const char* whyNot = "";
        EXPECT_FALSE(format.FromText(form, text, time, &whyNot));
        EXPECT_NE(std::string(whyNot).find(reason), std::string::npos) << whyNot;
        EXPECT_EQ(time, Time_Typed(7, cTicks));
    }
    Time_Typed time;
    EXPECT_TRUE(format.FromText(Time_eForm_Bars, "3|2|479", time));
    EXPECT_EQ(format.ToString(Time_eForm_Bars, Time_Typed(959500, cTicks)), "1|2| 000"); // no tick 960
    EXPECT_EQ(format.ToString(Time_eForm_Bars, Time_Typed(959499, cTicks)), "1|1| 959");
    AssertRecorder asserts;
    EXPECT_EQ(format.ToString(static_cast<Time_EForm>(9), time), "");
    EXPECT_FALSE(format.FromText(static_cast<Time_EForm>(-1), "1", time));
    EXPECT_EQ(Time_Format::GetFormName(static_cast<Time_EForm>(9)), "");
    EXPECT_EQ(asserts.Take().size(), 3u);
}
