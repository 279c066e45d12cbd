#include "Kora/Time/Formats/Time_FeetFrame.h"
#include "Kora/Time/Formats/Time_MinSec.h"
#include "Kora/Time/Formats/Time_NotationDurationValue.h"
#include "Kora/Time/Formats/Time_SMPTEUtils.h"
#include "Kora/Time/Formats/Time_Timecode.h"
#include "Kora/Time/Key/Time_KeySignature.h"
#include "Kora/Time/Meter/Time_Meter.h"
#include "Kora/Time/Tempo/Time_TempoMark.h"
#include "Time/TimeFixture.h"

#include <bit>
#include <sstream>
#include <unordered_set>

namespace {

constexpr ETimeCodeFormat cFormats[] = {eTimeCodeFormat_24,       eTimeCodeFormat_25, eTimeCodeFormat_2997,
                                        eTimeCodeFormat_2997Drop, eTimeCodeFormat_30, eTimeCodeFormat_30Drop,
                                        eTimeCodeFormat_23976,    eTimeCodeFormat_50, eTimeCodeFormat_5994,
                                        eTimeCodeFormat_5994Drop, eTimeCodeFormat_60, eTimeCodeFormat_60Drop};

// What is typed, and the form that it stands for; where it is refused, a word of the reason.
struct Entry
{
    const char* mTyped;
    const char* mMeaning;
    const char* mWhyNot;
};

template <class Form>
void ExpectEntries(std::span<const Entry> iEntries, Form iEmpty = Form())
{
    for (const Entry& entry : iEntries) {
        SCOPED_TRACE(entry.mTyped);
        Form form = iEmpty;
        const char* whyNot = "";
        if (entry.mWhyNot == nullptr) {
            EXPECT_TRUE(form.FromText(entry.mTyped, &whyNot)) << whyNot;
            EXPECT_EQ(form.ToString(), entry.mMeaning);
        } else {
            EXPECT_FALSE(form.FromText(entry.mTyped, &whyNot));
            EXPECT_NE(std::string(whyNot).find(entry.mWhyNot), std::string::npos) << whyNot;
            EXPECT_EQ(form, iEmpty);
        }
    }
}

} // namespace

TEST(MinSecTest, EveryMillisecondOfADayIsReadAsItIsWritten)
{
#ifdef NDEBUG
    constexpr Cmn_Int64 step = 1;
#else
    constexpr Cmn_Int64 step = 37; // of the hours between the first and the last
#endif
    for (Cmn_Int64 ms = 0; ms < 86400000; ms += ms < 4000000 || ms > 86000000 ? 1 : step) {
        const Time_MinSec time(ms);
        char text[Time_MinSec::cTextBytes];
        const std::size_t size = time.ToText(text);
        Time_MinSec read;
        ASSERT_TRUE(read.FromText({text, size})) << text;
        ASSERT_EQ(read, time) << text;
        ASSERT_EQ(Time_MinSec::FromSample(time.ToSample(44100), 44100), time);
    }
}

TEST(MinSecTest, IsTypedInPartsAndRefusedWithAReason)
{
    constexpr Entry entries[] = {
        {"1:02", "1:02.000", nullptr},
        {"1:2", "1:02.000", nullptr},
        {"75.0", "1:15.000", nullptr},
        {".5", "0:00.500", nullptr},
        {"90:00", "1:30:00.000", nullptr},
        {"001:02.25", "1:02.250", nullptr},
        {"-0:00.001", "-0:00.001", nullptr},
        {"25:00:00", "25:00:00.000", nullptr},
        {"-1:00:00.5", "-1:00:00.500", nullptr},
        {"1:75", nullptr, "seconds after minutes"},
        {"1:60:00", nullptr, "minutes after hours"},
        {"1:02.", nullptr, "expected"},
        {"1:.5", nullptr, "expected"},
        {"1:02.0005", nullptr, "three decimals"},
        {"1::2", nullptr, "expected"},
        {"1:2:3:4", nullptr, "expected"},
        {"", nullptr, "expected"},
        {"--1", nullptr, "expected"},
        {"1:02 ", nullptr, "expected"},
        {"99999999999999999999999:00", nullptr, "far past"},
    };
    ExpectEntries<Time_MinSec>(entries);
}

TEST(MinSecTest, RoundsToTheNearestMillisecondAndSampleHalvesUp)
{
    // At 8000 Hz half a millisecond is 4 samples.
    EXPECT_EQ(Time_MinSec::FromSample(Time_Sample(3), 8000).AsMilliseconds(), 0);
    EXPECT_EQ(Time_MinSec::FromSample(Time_Sample(4), 8000).AsMilliseconds(), 1);
    EXPECT_EQ(Time_MinSec::FromSample(Time_Sample(-4), 8000).AsMilliseconds(), 0);
    EXPECT_EQ(Time_MinSec::FromSample(Time_Sample(-5), 8000).AsMilliseconds(), -1);
    EXPECT_EQ(Time_MinSec(5).ToSample(44100), Time_Sample(221)); // 220.5
    EXPECT_EQ(Time_MinSec(-5).ToSample(44100), Time_Sample(-220));
    EXPECT_EQ(Time_MinSec(cLeast).ToString().size(), 24u);
    std::ostringstream shown;
    shown << Time_MinSec(61002);
    EXPECT_EQ(shown.str(), "1:01.002");
}

namespace {

class FeetFrameTest : public testing::Test
{
protected:
    ~FeetFrameTest() override
    {
        Time_FeetFrame::SetFilmRate(24);
        Time_FeetFrame::SetFrameOffset(0);
    }
    StTimeGlobals mGlobals;
};

} // namespace

TEST_F(FeetFrameTest, EveryFrameOfADayIsReadAsItIsWritten)
{
    for (const Time_EFilmGauge gauge : {Time_eFilmGauge_35mm, Time_eFilmGauge_16mm})
        for (Cmn_Int64 frame = 0; frame < Time_FeetFrame::GetFramesOfDay(); ++frame) {
            const Time_FeetFrame time(frame, gauge);
            char text[Time_FeetFrame::cTextBytes];
            const std::size_t size = time.ToText(text);
            Time_FeetFrame read(0, gauge);
            ASSERT_TRUE(read.FromText({text, size})) << text;
            ASSERT_EQ(read, time) << text;
            ASSERT_EQ(Time_FeetFrame::FromSample(time.ToSample(), gauge), time) << text;
        }
}

TEST_F(FeetFrameTest, IsTypedInPartsAndRefusedWithAReason)
{
    constexpr Entry entries[] = {
        {"5+3", "5+03", nullptr},        {"90", "90+00", nullptr},
        {"007+015", "7+15", nullptr},    {"129599+15", "129599+15", nullptr},
        {"129600", nullptr, "24 hours"}, {"1+16", nullptr, "frames 0 to 15"},
        {"1+", nullptr, "expected"},     {"+5", nullptr, "expected"},
        {"-1+00", nullptr, "expected"},  {"1:02", nullptr, "expected"},
        {"1+02x", nullptr, "expected"},
    };
    ExpectEntries<Time_FeetFrame>(entries);
    Time_FeetFrame narrow(0, Time_eFilmGauge_16mm);
    EXPECT_TRUE(narrow.FromText("1+39"));
    EXPECT_EQ(narrow.GetFrames(), 79);
}

TEST_F(FeetFrameTest, CountsAtItsOwnRateFromItsOwnOffset)
{
    Time_Globals::SetSampleRate(48000);
    EXPECT_EQ(Time_FeetFrame::FromSample(Time_Sample(48000 * 2)).ToString(), "3+00");
    EXPECT_EQ(Time_FeetFrame::FromSample(Time_Sample(999)).GetFrames(), 0);
    EXPECT_EQ(Time_FeetFrame::FromSample(Time_Sample(1000)).GetFrames(), 1); // half a frame
    Time_FeetFrame::SetFrameOffset(-1);
    EXPECT_EQ(Time_FeetFrame::FromSample(Time_Sample(0)).ToString(), "129599+15");
    EXPECT_EQ(Time_FeetFrame(0).ToSample(), Time_Sample(2000));
    Time_FeetFrame::SetFilmRate(24000.0 / 1001.0);
    EXPECT_EQ(Time_FeetFrame::GetFramesOfDay(), 2073600);
    AssertRecorder asserts;
    Time_FeetFrame::SetFilmRate(0);
    EXPECT_EQ(Time_FeetFrame(-1).GetFrames(), 0);
    EXPECT_EQ(asserts.Take().size(), 2u);
    EXPECT_GT(Time_FeetFrame::GetFilmRate(), 23.9);
}

TEST(SubframeTest, EverySubframeIsReadAsItIsWritten)
{
    const StTimeGlobals globals;
    for (const ETimeCodeFormat format : cFormats)
        for (const double rate : {44100.0, 48000.0, 47952.0}) {
            Time_Globals::SetSampleRate(rate);
            const auto day = static_cast<Cmn_Int32>(Time_Timecode::GetFramesOfDay(format) * 100);
            for (Cmn_Int32 subframe = 0; subframe < day; subframe += subframe < 1000 ? 1 : 997) {
                Time_SMPTE time(format);
                time.SetFromTotalSubframes(subframe);
                const std::string text = time.ToSubframeString();
                Time_SMPTE read(format);
                ASSERT_TRUE(read.FromSubframeText(text)) << text;
                ASSERT_EQ(read.GetTotalSubframes(), subframe) << text;
                ASSERT_EQ(text.substr(12), std::to_string(subframe % 100 + 100).substr(1));
            }
        }
    Time_SMPTE time(eTimeCodeFormat_25);
    EXPECT_TRUE(time.FromSubframeText("00:00:01:00"));
    EXPECT_EQ(time.ToSubframeString(), "00:00:01:00.00");
    for (const char* const text :
         {"00:00:01:00.", "00:00:01:00.5", "00:00:01:00.005", "00:00:01:25.00", "1:00.00", ""})
        EXPECT_FALSE(time.FromSubframeText(text)) << text;
}

TEST(SubframeTest, TheNearestOneIsShownForASample)
{
    const StTimeGlobals globals;
    Time_Globals::SetSampleRate(48000);
    Time_SMPTE time(eTimeCodeFormat_25); // a subframe is 19.2 samples
    const std::pair<Cmn_Int64, const char*> rows[] = {{0, "00:00:00:00.00"},
                                                      {9, "00:00:00:00.00"},
                                                      {10, "00:00:00:00.01"},
                                                      {1911, "00:00:00:01.00"},
                                                      {-1, "00:00:00:00.00"},
                                                      {-10, "23:59:59:24.99"},
                                                      {48000LL * 86400 * 3 + 19, "00:00:00:00.01"}};
    for (const auto& [sample, text] : rows) {
        time.SetToNearestSubframe(Time_Sample(sample));
        EXPECT_EQ(time.ToSubframeString(), text) << sample;
    }
}

TEST(TimecodeTextTest, ALabelThatDoesNotExistIsRefusedWithItsReason)
{
    constexpr Entry entries[] = {
        {"01:02:03;04", "01:02:03;04", nullptr},       {"01:02:03:04", "01:02:03;04", nullptr},
        {"00:01:00;01", nullptr, "leaves this label"}, {"00:60:00;00", nullptr, "minutes run"},
        {"24:00:00;00", nullptr, "hours run"},         {"00:00:61;00", nullptr, "seconds run"},
        {"00:00:00;30", nullptr, "fewer frames"},      {"0:00:00;00", nullptr, "expected"},
        {"00:00:00.00", nullptr, "expected"},          {"00:0x:00;00", nullptr, "expected"}};
    ExpectEntries<Time_SMPTE>(entries, Time_SMPTE(eTimeCodeFormat_2997Drop));
    const char* whyNot = nullptr;
    Time_SMPTE film(eTimeCodeFormat_24);
    EXPECT_FALSE(film.FromText("00:00:00;00", &whyNot));
    EXPECT_STREQ(whyNot, "\";\" stands before the frames of drop formats only");
}

TEST(TimecodeCountTest, AgreesWithTheLabelsOfADayAndGoesOnPastIt)
{
    for (const ETimeCodeFormat format : cFormats) {
        SCOPED_TRACE(Time_Globals::GetTimeCodeFormatString(format));
        const Cmn_Int64 frames = Time_Timecode::GetFramesOfDay(format);
        const Cmn_Int64 labels = Time_Timecode::GetLabelsOfDay(format);
        const Cmn_Int64 rate = Time_SMPTE::GetFramesPerSecond(format);
        Time_SMPTE label(format);
        Cmn_Int64 named = 0;
        for (Cmn_Int64 number = 0; number < labels; ++number) {
            label.SetHours(static_cast<Cmn_UInt8>(number / rate / 3600));
            label.SetMinutes(static_cast<Cmn_UInt8>(number / rate / 60 % 60));
            label.SetSeconds(static_cast<Cmn_UInt8>(number / rate % 60));
            ASSERT_TRUE(label.SetFrames(static_cast<Cmn_UInt8>(number % rate)));
            ASSERT_EQ(Time_Timecode::IsLabel(number, format), label.IsLabel()) << number;
            if (!label.IsLabel()) continue;
            const Cmn_Int64 frame = Time_Timecode::LabelToFrame(number, format);
            ASSERT_EQ(frame, label.GetTotalFrames()) << number;
            ASSERT_EQ(Time_Timecode::LabelToFrame(number - 3 * labels, format), frame - 3 * frames);
            named += Time_Timecode::FrameToLabel(frame + 2 * frames, format) == number + 2 * labels;
        }
        EXPECT_EQ(named, frames);
    }
    EXPECT_EQ(Time_Timecode::GetFramesOfDay(eTimeCodeFormat_2997Drop), 2589408);
    EXPECT_EQ(Time_Timecode::LabelToFrame(1801, eTimeCodeFormat_2997Drop), 1800); // left out
}

TEST(SMPTEUtilsTest, TheSessionEndsWhereItsLastFrameStarts)
{
    const StTimeGlobals globals;
    Time_Globals::SetSampleRate(48000);
    for (const ETimeCodeFormat format : cFormats)
        for (const long offset : {0L, 90000L, -7L}) {
            SCOPED_TRACE(std::string(Time_Globals::GetTimeCodeFormatString(format)) + " from " +
                         std::to_string(offset));
            Time_Globals::SetFrameOffset(offset);
            const Time_SMPTE start = Time_SMPTEUtils::GetSessionStart(format);
            EXPECT_EQ(Time_SMPTEUtils::LabelToSample(start), Time_Sample(0));
            EXPECT_EQ(Time_SMPTEUtils::SampleToLabel(Time_Sample(0), format), start);
            Time_SMPTE end = Time_SMPTEUtils::GetSessionEnd(format);
            EXPECT_TRUE(Time_SMPTEUtils::IsInSession(end));
            const Time_SMPTE last = end;
            EXPECT_FALSE(Time_SMPTEUtils::PinToSession(end));
            end.StepToNextFrame();
            const bool reachesAll = end == start; // the session is longer than a day
            EXPECT_EQ(Time_SMPTEUtils::PinToSession(end), !reachesAll);
            EXPECT_EQ(end, reachesAll ? start : last);
            for (Cmn_Int64 sample = 0; sample < 100000000; sample += 1234567) {
                const Time_SMPTE label = Time_SMPTEUtils::SampleToLabel(Time_Sample(sample), format);
                const Cmn_Int64 back = Time_SMPTEUtils::LabelToSample(label).AsInt64();
                EXPECT_LE(std::abs(back - sample), 48000 / Time_SMPTE::GetFramesPerSecond(format) / 2 + 2);
            }
        }
}

TEST(NoteValueTextTest, EveryNoteValueIsReadAsItIsWritten)
{
    for (int code = Time_eNoteDuration_Whole; code <= Time_eNoteDuration_SixtyFourth; ++code)
        for (const bool isDotted : {false, true})
            for (const auto& [count, time] : {std::pair{0, 0}, std::pair{2, 3}, std::pair{4, 5}}) {
                const auto duration = static_cast<Time_ENoteDuration>(code);
                const auto value = count == 0
                                       ? Time_NotationDurationValue(duration, isDotted)
                                       : Time_NotationDurationValue(duration, isDotted, true, count, time);
                Time_NotationDurationValue read;
                ASSERT_TRUE(read.FromText(value.ToString())) << value.ToString();
                ASSERT_EQ(read, value) << value.ToString();
            }
    constexpr Entry entries[] = {{"1/8.", "1/8.", nullptr},
                                 {"1/16t", "1/16t", nullptr},
                                 {"1/8.(4:5)", "1/8.(4:5)", nullptr},
                                 {"1/8(2:3)", "1/8t", nullptr},
                                 {"1/3", nullptr, "1/1, 1/2"},
                                 {"1/128", nullptr, "1/1, 1/2"},
                                 {"2/4", nullptr, "expected"},
                                 {"1/8t.", nullptr, "expected"},
                                 {"1/8(0:3)", nullptr, "tuplet"},
                                 {"1/8(3)", nullptr, "tuplet"},
                                 {"1/8(4294967298:3)", nullptr, "tuplet"},
                                 {"", nullptr, "expected"}};
    ExpectEntries<Time_NotationDurationValue>(entries);
}

TEST(BarsTextTest, IsTypedInPartsAndRefusedWithAReason)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"5", "5|1|0", "5|1|0"},
        {"5|3", "5|3|0", "5|3|0"},
        {" 5 | 3 | 7 ", "5|3|7000", "5|3|7"},
        {"+5|+3|-7", "5|3|-7000", "5|3|-7"},
        {"-2147483648|2147483647|9223372036854775", "-2147483648|2147483647|9223372036854775000",
         "-2147483648|2147483647|9223372036854775"},
        {"1|1|-9223372036854775808", nullptr, "1|1|-9223372036854775808"},
        {"2147483648", nullptr, nullptr},
        {"1|2147483648", nullptr, nullptr},
        {"1|1|9223372036854775808", nullptr, nullptr},
        {"+-5", nullptr, nullptr},
        {"5|3|1|", nullptr, nullptr},
        {"1:02", nullptr, nullptr},
    };
    for (const auto& [typed, display, internal] : rows) {
        SCOPED_TRACE(typed);
        Time_BarBeatTick read;
        const char* whyNot = nullptr;
        EXPECT_EQ(read.FromText(typed, &whyNot), display != nullptr);
        EXPECT_EQ(whyNot == nullptr, display != nullptr);
        if (display != nullptr) {
            EXPECT_EQ(read.ToInternalString(), display);
        }
        Time_BarBeatTick exact;
        EXPECT_EQ(exact.FromInternalText(typed), internal != nullptr);
        if (internal != nullptr) {
            EXPECT_EQ(exact.ToInternalString(), internal);
        }
    }
}

namespace {

template <class Form>
void ExpectReadBack(const Form& iForm)
{
    Form read;
    std::ostringstream shown;
    shown << iForm;
    const char* whyNot = "";
    ASSERT_TRUE(read.FromText(iForm.ToString(), &whyNot)) << iForm.ToString() << ": " << whyNot;
    ASSERT_EQ(read, iForm) << iForm.ToString();
    ASSERT_EQ(std::hash<Form>()(read), std::hash<Form>()(iForm));
    ASSERT_EQ(shown.str(), iForm.ToString());
}

} // namespace

TEST(SongTextTest, MetersTemposAndKeysAreReadAsTheyAreWritten)
{
    std::mt19937_64 random(15);
    for (int i = 0; i < 20000; ++i) {
        const auto duration = static_cast<Time_ENoteDuration>(1 + random() % 7);
        const Time_NotationDurationValue click(duration, random() % 2 == 0);
        ExpectReadBack(Time_Meter(static_cast<Cmn_Int32>(1 + random() % 0x7FFFFFFF),
                                  static_cast<Cmn_Int32>(1 + random() % 3840000), click));
        const auto beat = random() % 2 == 0 ? click.GetTicks() : Time_TickLength(1 + random() % 5760000);
        const auto tempo = std::bit_cast<double>(random() >> 1);
        if (tempo > 0 && tempo <= std::numeric_limits<double>::max())
            ExpectReadBack(Time_TempoMark(tempo, beat));
    }
    for (int accidentals = 0; accidentals <= 7; ++accidentals)
        for (const bool isMajor : {false, true})
            for (const bool isSharps : {false, true})
                if (accidentals > 0 || isSharps)
                    ExpectReadBack(Time_KeySignature(isMajor, isSharps, static_cast<Cmn_UInt8>(accidentals)));

    constexpr Entry meters[] = {{"6/8", "6/8", nullptr},
                                {"6/8 click 1/4.", "6/8 click 1/4.", nullptr},
                                {"6/8 click 1/4", "6/8", nullptr},
                                {"0/8", nullptr, "beats"},
                                {"4/0", nullptr, "parts of a whole"},
                                {"4/3840001", nullptr, "parts of a whole"},
                                {"6/8 click 1/3", nullptr, "1/1, 1/2"},
                                {"6", nullptr, "expected"},
                                {"6/8 ", nullptr, "expected"}};
    ExpectEntries<Time_Meter>(meters);
    constexpr Entry tempos[] = {{"1/4=90", "90", nullptr},           {"1/8. = 66.50", "1/8.=66.5", nullptr},
                                {"960000 ticks=.5", "0.5", nullptr}, {"7 ticks=1e3", "7 ticks=1000", nullptr},
                                {"0", nullptr, "above 0"},           {"-1", nullptr, "expected"},
                                {"inf", nullptr, "expected"},        {"1e999", nullptr, "expected"},
                                {"1/4=", nullptr, "expected"},       {"1/3=120", nullptr, "1/1, 1/2"},
                                {"0 ticks=120", nullptr, "above 0"}};
    ExpectEntries<Time_TempoMark>(tempos);
    constexpr Entry keys[] = {{"Bb", "Bb major", nullptr},  {"F#m", "F# minor", nullptr},
                              {"Cb", "Cb major", nullptr},  {"H", nullptr, "expected"},
                              {"Bb ", nullptr, "expected"}, {"", nullptr, "expected"}};
    ExpectEntries<Time_KeySignature>(keys);
}

TEST(FormTextTest, EveryValueOfTimeHasAnXmlForm)
{
    Time_SMPTE label(1, 2, 3, 4, eTimeCodeFormat_2997Drop);
    const std::pair<Cmn_XMLNode, const char*> rows[] = {
        {Time_Sample(-5).GetAsXML("at"), "<at unit=\"Samples\">-5</at>\n"},
        {Time_SampleLength(5).GetAsXML("at"), "<at unit=\"Samples\">5</at>\n"},
        {Time_Tick(7).GetAsXML("at"), "<at unit=\"Ticks\">7</at>\n"},
        {Time_MinSec(61002).GetAsXML("at"), "<at form=\"minutes:seconds\">1:01.002</at>\n"},
        {Time_FeetFrame(79, Time_eFilmGauge_16mm).GetAsXML("at"), "<at framesPerFoot=\"40\">1+39</at>\n"},
        {label.GetAsXML("at"), "<at format=\"29.97 fps drop\">01:02:03;04</at>\n"},
        {Time_BarBeatTick(2, 3, Time_TickLength(4)).GetAsXML("at"),
         "<at>\n  <nBar>2</nBar>\n  <nBeat>3</nBeat>\n  <nTick>4</nTick>\n</at>\n"},
        {Time_TempoMark(90.5).GetAsXML("at"), "<at>\n  <mBeatsPerMinute>90.5</mBeatsPerMinute>\n"
                                              "  <nTicksPerBeat>960000</nTicksPerBeat>\n</at>\n"},
        {Time_KeySignature(false, true, 3).GetAsXML("at"),
         "<at>\n  <mIsMajor>false</mIsMajor>\n  <mIsSharps>true</mIsSharps>\n"
         "  <nAccidentals>3</nAccidentals>\n</at>\n"},
    };
    for (const auto& [node, text] : rows)
        EXPECT_EQ(node.ToString(), text);
}

TEST(FormTextTest, TimesAreKeysOfHashTablesAndGoToStreams)
{
    std::unordered_set<Time_BarBeatTick> positions;
    for (int bar = -20; bar < 20; ++bar)
        for (int beat = 1; beat <= 8; ++beat)
            for (const Cmn_Int64 tick : {0, 1, 480000})
                positions.insert({bar, beat, Time_TickLength(tick)});
    EXPECT_EQ(positions.size(), 40u * 8 * 3);
    std::set<std::size_t> hashes;
    for (const Time_BarBeatTick& position : positions)
        hashes.insert(std::hash<Time_BarBeatTick>()(position));
    EXPECT_EQ(hashes.size(), positions.size());
    std::ostringstream shown;
    shown << Time_Sample(1) << ' ' << Time_SampleLength(2) << ' ' << Time_Tick(3) << ' ' << Time_TickLength(4)
          << ' ' << Time_Typed(5, cFrames) << ' ' << Time_TypedLength(6, cTicks) << ' '
          << Time_TypedLocal(7, cSamples) << ' ' << Time_BarBeatTick(8, 9, Time_TickLength(10)) << ' '
          << Time_SMPTE(1, 2, 3, 4, eTimeCodeFormat_25);
    EXPECT_EQ(shown.str(), "1 2 3 4 ticks long 5 Frames 6 Ticks long 7 Samples 8|9|10 01:02:03:04");
}
