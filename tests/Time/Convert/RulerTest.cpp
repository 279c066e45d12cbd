#include "Kora/Time/Convert/Time_Ruler.h"
#include "Time/Convert/ConverterFixture.h"

namespace {

constexpr double cWidth = 900;
constexpr Time_EForm cRulerForms[] = {Time_eForm_Bars, Time_eForm_Timecode, Time_eForm_MinSec,
                                      Time_eForm_Samples, Time_eForm_Feet};

double Measure(std::string_view iText) { return 7.0 * static_cast<double>(iText.size()); }

// Somewhere in the first hour, from a few ticks a pixel to hours in the view.
Time_PixelMapper AnyView(RandomSession& ioSession)
{
    Time_PixelMapper mapper(ioSession.mConverter, ioSession.Below(2) == 0 ? Time_PixelMapper::eAxis_Time
                                                                          : Time_PixelMapper::eAxis_Bars);
    mapper.ScrollTo(Time_Typed(ioSession.Below(90000000), cSamples),
                    static_cast<double>(ioSession.Below(900)));
    mapper.ZoomAbout(static_cast<double>(ioSession.Below(900)),
                     1.0 / static_cast<double>(1 + ioSession.Below(Cmn_Int64{1} << ioSession.Below(10))));
    mapper.ZoomAbout(static_cast<double>(ioSession.Below(900)),
                     static_cast<double>(1 + ioSession.Below(Cmn_Int64{1} << ioSession.Below(12))));
    return mapper;
}

std::vector<Time_RulerLine> LinesOf(const Time_Ruler& iRuler, const Time_PixelMapper& iMapper)
{
    std::vector<Time_RulerLine> lines;
    iRuler.Draw(iMapper, cWidth, [&](const Time_RulerLine& iLine) { lines.push_back(iLine); });
    return lines;
}

} // namespace

TEST(PixelMapper, KeepsWhatIsUnderThePixelAndComesBackToIt)
{
    ForSessions(60, [](RandomSession& ioSession) {
        Time_PixelMapper mapper = AnyView(ioSession);
        for (int i = 0; i < 20; ++i) {
            const double pixel = static_cast<double>(ioSession.Below(900));
            const Time_Typed there = mapper.ToTime(pixel, mapper.GetAxisType());
            const double unit = 1 / mapper.GetUnitsPerPixel();
            ASSERT_NEAR(mapper.ToPixel(there), pixel, 0.5 * unit + 0.001);
            const Time_Typed time =
                mapper.ToTime(static_cast<double>(ioSession.Below(900)), mapper.GetAxisType());
            const double before = mapper.ToPixel(time);
            const Cmn_Int64 nearest = mapper.ToNearestPixel(time);
            ASSERT_LE(std::abs(static_cast<double>(nearest) - before), 0.5);
            const Cmn_Int64 scroll = ioSession.Below(100000) - 50000;
            mapper.ScrollBy(scroll);
            ASSERT_EQ(mapper.ToNearestPixel(time), nearest - scroll);
            mapper.ScrollBy(-scroll);
            ASSERT_EQ(mapper.ToPixel(time), before);
            const double factor = 1.0 + static_cast<double>(ioSession.Below(100)) / 7;
            mapper.ZoomAbout(time, factor);
            ASSERT_NEAR(mapper.ToPixel(time), before, 0.001);
            mapper.ZoomAbout(time, 1 / factor);
            ASSERT_NEAR(mapper.ToPixel(time), before, 0.001);
        }
        const Time_Range range(Time_Typed(1000, cSamples), Time_Typed(10000000, cSamples));
        mapper.Show(range, 700);
        EXPECT_NEAR(mapper.ToPixel(range.GetStart()), 0, 0.001);
        EXPECT_NEAR(mapper.ToPixel(range.GetEnd()), 700, 0.001);
        AssertRecorder asserts;
        mapper.SetUnitsPerPixel(0);
        mapper.ZoomAbout(10.0, std::numeric_limits<double>::infinity());
        EXPECT_EQ(asserts.Take().size(), 2u);
    });
}

TEST(Ruler, NoTwoLinesOrLabelsAreCloserThanTheyMayBe)
{
    ForSessions(100, [](RandomSession& ioSession) {
        const Time_EForm form = cRulerForms[ioSession.Below(std::size(cRulerForms))];
        const Time_Typed last(200000000, cSamples);
        const Time_Ruler ruler(ioSession.mConverter, form, last, Measure);
        for (int i = 0; i < 20; ++i) {
            const Time_PixelMapper mapper = AnyView(ioSession);
            SCOPED_TRACE(std::string(Time_Format::GetFormName(form)) + " at " +
                         std::to_string(mapper.GetUnitsPerPixel()) + " a pixel");
            double before = -1e9;
            double major = -1e9;
            double label = -1e9;
            std::size_t count = 0;
            for (const Time_RulerLine& line : LinesOf(ruler, mapper)) {
                const double at = mapper.ToPixel(line.mTime);
                ASSERT_LE(std::abs(static_cast<double>(line.mPixel) - at), 0.5);
                ASSERT_TRUE(at < cWidth && (at >= -0.01 || !line.mLabel.empty()));
                ASSERT_GE(at - before, 6 - 1e-6);
                before = at;
                ++count;
                if (line.mIsMajor) {
                    ASSERT_GE(at - major, 36 - 1e-6);
                    major = at;
                }
                if (line.mLabel.empty()) continue;
                ASSERT_GE(at, label) << line.mLabel;
                label = at + Measure(line.mLabel) + 8 - 1e-6;
                // What the label says is where the line is.
                const Time_Format format(ioSession.mConverter);
                Time_Typed read;
                ASSERT_TRUE(format.FromText(form, line.mLabel, read)) << line.mLabel;
                ASSERT_EQ(mapper.ToAxis(read), mapper.ToAxis(line.mTime)) << line.mLabel;
            }
            ASSERT_LE(count, 1 + static_cast<std::size_t>((cWidth + ruler.GetLabelDistance()) / 6));
        }
    });
}

TEST(Ruler, TheSameLinesComeBackWhateverWasScrolled)
{
    ForSessions(60, [](RandomSession& ioSession) {
        for (const Time_EForm form : cRulerForms) {
            const Time_Ruler ruler(ioSession.mConverter, form, Time_Typed(200000000, cSamples), Measure);
            Time_PixelMapper mapper = AnyView(ioSession);
            std::map<Cmn_Int64, Time_RulerLine> known; // by the pixel on the whole line
            Cmn_Int64 scrolled = 0;
            for (int i = 0; i < 12; ++i) {
                const Cmn_Int64 scroll = ioSession.Below(1400) - 700;
                for (const Time_RulerLine& line : LinesOf(ruler, mapper)) {
                    const auto [found, isNew] = known.try_emplace(line.mPixel + scrolled, line);
                    ASSERT_EQ(found->second.mTime, line.mTime);
                    ASSERT_EQ(found->second.mIsMajor, line.mIsMajor);
                    ASSERT_EQ(found->second.mLabel, line.mLabel);
                    found->second.mPixel = line.mPixel;
                }
                // Every one that is known and lies in the view was drawn again.
                for (auto& [place, line] : known) {
                    const Cmn_Int64 pixel = place - scrolled;
                    if (pixel >= 1 && pixel < static_cast<Cmn_Int64>(cWidth) - 1) {
                        ASSERT_EQ(line.mPixel, pixel);
                    }
                }
                mapper.ScrollBy(scroll);
                scrolled += scroll;
            }
        }
    });
}

TEST(Ruler, BarsAreChosenByTheirRankAlone)
{
    ForSessions(60, [](RandomSession& ioSession) {
        const Time_Ruler ruler(ioSession.mConverter, Time_eForm_Bars, Time_Typed(200000000, cSamples),
                               Measure);
        const Time_PixelMapper mapper = AnyView(ioSession);
        const Time_MeterMap& meters = ioSession.mMeterMap;
        const auto at = [&](Cmn_Int64 iBar) {
            const Time_BarBeatTick position(static_cast<Cmn_Int32>(iBar), 1, Time_TickLength::cZero);
            return mapper.ToAxis(meters.BarBeatToTick(position));
        };
        std::vector<Cmn_Int64> expected;
        const Cmn_Int64 from = mapper.ToTime(0, mapper.GetAxisType()).AsInt64();
        const Cmn_Int64 to = mapper.ToTime(cWidth, mapper.GetAxisType()).AsInt64();
        const auto barOf = [&](double iPixel) {
            return Cmn_Int64{meters.TickToBarBeat(mapper.ToTime(iPixel, cTicks).AsTick()).mBar};
        };
        for (Cmn_Int64 bar = barOf(0) - 1; bar <= barOf(cWidth) + 1; ++bar) {
            Cmn_Int64 step = 1;
            while (step < 1 << 24 && (bar - 1) % (2 * step) == 0)
                step *= 2;
            const auto room =
                static_cast<double>(std::min(at(bar) - at(bar - step), at(bar + step) - at(bar)));
            if (at(bar) >= from && at(bar) < to && room / mapper.GetUnitsPerPixel() >= 6)
                expected.push_back(bar);
        }
        std::vector<Cmn_Int64> shown;
        for (const Time_RulerLine& line : LinesOf(ruler, mapper)) {
            const Time_BarBeatTick position = meters.TickToBarBeat(line.mTime.AsTick());
            if (position.IsOnBar() && mapper.ToAxis(line.mTime) >= from) shown.push_back(position.mBar);
        }
        ASSERT_EQ(shown, expected);
    });
}
