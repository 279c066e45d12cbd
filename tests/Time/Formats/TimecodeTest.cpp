#include "Kora/Time/Formats/Time_SMPTE.h"
#include "Time/TimeFixture.h"

namespace {

// What a timecode generator has to know of a format.
struct Form
{
    ETimeCodeFormat mFormat;
    int mRate;
    int mDropped;
};
void PrintTo(const Form& iForm, std::ostream* oStream)
{
    *oStream << Time_Globals::GetTimeCodeFormatString(iForm.mFormat);
}
constexpr Form cForms[] = {
    {eTimeCodeFormat_24, 24, 0},       {eTimeCodeFormat_25, 25, 0}, {eTimeCodeFormat_2997, 30, 0},
    {eTimeCodeFormat_2997Drop, 30, 2}, {eTimeCodeFormat_30, 30, 0}, {eTimeCodeFormat_30Drop, 30, 2},
    {eTimeCodeFormat_23976, 24, 0},    {eTimeCodeFormat_50, 50, 0}, {eTimeCodeFormat_5994, 60, 0},
    {eTimeCodeFormat_5994Drop, 60, 4}, {eTimeCodeFormat_60, 60, 0}, {eTimeCodeFormat_60Drop, 60, 4}};

// Steps through the day as a generator does: one label a frame, without those that the skip rule leaves out.
struct Counter
{
    Form mForm;
    int mHours = 0;
    int mMinutes = 0;
    int mSeconds = 0;
    int mFrames = 0;

    bool IsLeftOut() const { return mSeconds == 0 && mMinutes % 10 != 0 && mFrames < mForm.mDropped; }
    void NextLabel()
    {
        if (++mFrames == mForm.mRate) mFrames = 0, ++mSeconds;
        if (mSeconds == 60) mSeconds = 0, ++mMinutes;
        if (mMinutes == 60) mMinutes = 0, ++mHours;
    }
    void NextFrame()
    {
        do
            NextLabel();
        while (IsLeftOut());
    }
    Time_SMPTE Label() const
    {
        return {static_cast<Cmn_UInt8>(mHours), static_cast<Cmn_UInt8>(mMinutes),
                static_cast<Cmn_UInt8>(mSeconds), static_cast<Cmn_UInt8>(mFrames), mForm.mFormat};
    }
};

using FormatTest = testing::TestWithParam<Form>;
INSTANTIATE_TEST_SUITE_P(Formats, FormatTest, testing::ValuesIn(cForms));

} // namespace

TEST_P(FormatTest, EveryFrameOfADay)
{
    Counter counter{GetParam()};
    Time_SMPTE time(GetParam().mFormat);
    for (Cmn_Int32 frame = 0; counter.mHours < 24; ++frame, counter.NextFrame()) {
        time.SetFromTotalFrames(frame);
        Counter expected = counter;
        // 60-frame drop writes the frame before minute 7's as its ;03, four labels on.
        for (int i = 0; counter.mForm.mDropped == 4 && frame % 35964 == 25175 && i < 4; ++i)
            expected.NextLabel();
        if (time != expected.Label() || time.GetTotalFrames() != frame)
            FAIL() << "frame " << frame << " is " << time.Dump() << " and not " << expected.Label().Dump();
    }
}

TEST_P(FormatTest, EveryLabelOfADay)
{
    Counter counter{GetParam()};
    Cmn_Int32 frame = 0; // of the next label that exists
    for (; counter.mHours < 24; counter.NextLabel()) {
        const Time_SMPTE label = counter.Label();
        const bool odd = GetParam().mDropped == 4 && counter.IsLeftOut() && counter.mMinutes % 10 == 7 &&
                         counter.mFrames == 3;
        const Cmn_Int32 expected = odd ? frame - 1 : frame;
        const bool exists = odd || !counter.IsLeftOut();
        if (label.IsLabel() != exists || (exists && label.GetTotalFrames() != expected))
            FAIL() << label.Dump() << " is frame " << label.GetTotalFrames() << ", not " << expected;
        Time_SMPTE stepped = label;
        Time_SMPTE counted = label;
        stepped.SetSubSamples(0.5);
        stepped.StepToNextFrame();
        counted.SetFromTotalFrames(label.GetTotalFrames() + 1);
        if (stepped != counted) FAIL() << label.Dump() << " is followed by " << stepped.Dump();
        frame += counter.IsLeftOut() ? 0 : 1;
        if (counter.mHours > 0) continue;
        Time_SMPTE moved = label;
        moved.MakeIntoLegalDropFrameLocation();
        Counter next = counter;
        while (next.IsLeftOut())
            next.NextLabel();
        if (moved != next.Label()) FAIL() << label.Dump() << " becomes " << moved.Dump();
    }
}

TEST_P(FormatTest, TextTakesTheLabelsOfTwentyMinutesAndNoOthers)
{
    const bool isDrop = GetParam().mDropped != 0;
    Time_SMPTE read(GetParam().mFormat);
    for (Counter counter{GetParam()}; counter.mMinutes < 20; counter.NextLabel()) {
        const Time_SMPTE label = counter.Label();
        char text[48];
        std::snprintf(text, sizeof text, "%02d:%02d:%02d%c%02d", counter.mHours, counter.mMinutes,
                      counter.mSeconds, isDrop ? ';' : ':', counter.mFrames);
        const bool taken = read.FromString(text);
        if (label.ToString() != text || taken != label.IsLabel() || (taken && read != label))
            FAIL() << text << " is written " << label.ToString() << " and read as " << read.Dump();
    }
    EXPECT_TRUE(read.FromString("23:50:59:11"));
    EXPECT_EQ(read.FromString("12:34:56;11"), isDrop);
    const Time_SMPTE before = read;
    for (const char* const text :
         {"", "00:00:00:0", "00:00:00:000", "24:00:00:00", "00:60:00:00", "00:00:60:00", "00:00:00:60",
          "0a:00:00:00", "00;00:00:00", "00:00:00.00", "-1:00:00:00"})
        EXPECT_TRUE(!read.FromString(text) && read == before) << text;
}

TEST_P(FormatTest, SamplesAndSubframesComeBack)
{
    std::mt19937_64 random(20240607);
    SCOPED_TRACE("seed 20240607");
    const StTimeGlobals globals;
    const ETimeCodeFormat format = GetParam().mFormat;
    Time_SMPTE time(format);
    for (const double rate : {44100.0, 48000.0, 88200.0, 192000.0}) {
        Time_Globals::SetSampleRate(rate);
        const double perFrame = rate / Time_SMPTE::GetRealRate(GetParam().mFormat);
        for (int i = 0; i < 20000; ++i) {
            const Cmn_Int32 frame = static_cast<Cmn_Int32>(1 + random() % 2070000);
            const Cmn_Int32 subframes = i < 100 ? i : frame / 100 * 100 + i % 100;
            time.SetFromTotalSubframes(subframes);
            ASSERT_EQ(time.GetTotalSubframes(), subframes) << rate;
            ASSERT_EQ(Time_SMPTE::FromSubframes(subframes, format), time);
            // The first sample of a frame, and the one before it, lie on either side of the frame's start.
            time = Time_SMPTE::FromFrames(frame, format);
            const Time_Sample start = time.GetTotalSamples();
            for (const int offset : {0, -1, static_cast<int>(random() % 700)}) {
                const Time_Sample sample = start + Time_SampleLength(offset);
                time = Time_SMPTE::FromSample(sample, format);
                const Cmn_Int32 expected = offset < 0 ? frame - 1 : frame;
                if (time.GetTotalFrames() != expected || time.GetTotalSamples() != sample ||
                    time.GetSubSamples() < 0 || time.GetSubSamples() >= perFrame)
                    FAIL() << sample.Dump() << " is " << time.Dump() << " at " << rate << ", not "
                           << expected;
            }
        }
    }
}

TEST(Timecode, SamplesOfKnownFrames)
{
    constexpr std::tuple<ETimeCodeFormat, Cmn_Int32, Cmn_Int64> cCases[] = {
        {eTimeCodeFormat_30, 1, 1600},
        {eTimeCodeFormat_2997, 30, 48048},
        {eTimeCodeFormat_2997Drop, 17982, 28799971}, // ten minutes of labels last 599.9994 s
        {eTimeCodeFormat_23976, 1, 2002},
        {eTimeCodeFormat_5994Drop, 1, 801}, // 800.8
        {eTimeCodeFormat_25, 2159999, 4147198080},
    };
    const StTimeGlobals globals(48000, 30);
    for (const auto& [format, frames, samples] : cCases) {
        Time_SMPTE time(format);
        time.SetFromTotalFrames(frames);
        EXPECT_EQ(time.GetTotalSamples(), Time_Sample(samples)) << time.Dump();
    }
    StTimeGlobals::Pull(ePullMedia_Audio, ePullFactor_Up, ePullFactor_None);
    EXPECT_EQ(Time_SMPTE(0, 0, 1, 0, eTimeCodeFormat_30, 0.25).GetTotalSamplesFloat(), 48000 * 1.001 + 0.25);
    StTimeGlobals::Pull(ePullMedia_Audio, ePullFactor_None, ePullFactor_None);

    const AssertRecorder recorder;
    Time_SMPTE time(0, 0, 0, 0, eTimeCodeFormat_2997, 1601.5); // a frame has 1601.6
    EXPECT_EQ(time.GetTotalSubframes(), 99);
    EXPECT_TRUE(recorder.Take().empty());
    time.SetSubSamples(1601.7);
    constexpr Time_SMPTE::Fields fields = {
        .mHours = 1, .mMinutes = 2, .mSeconds = 3, .mFrames = 4, .mSubSamples = 1601.7};
    EXPECT_EQ(Time_SMPTE::Of(fields, eTimeCodeFormat_2997),
              Time_SMPTE(1, 2, 3, 4, eTimeCodeFormat_25, 1601.7));
    const std::string report = "subSamples < ( Time_Globals::GetPullSampleRate() / fps )@$^$@Time/Time_SMPTE";
    EXPECT_EQ(recorder.Take(), Reports(2, report));
    EXPECT_EQ(Time_SMPTE::Of({.mMinutes = 1, .mFrames = 2}, eTimeCodeFormat_2997Drop).ToString(),
              "00:01:00;02");
    time.SetFromTotalSubframes(-150);
    EXPECT_EQ(time, Time_SMPTE());
}

TEST(Timecode, CountsOutsideTheDayWrapOnce)
{
    constexpr Cmn_Int32 cLeast = std::numeric_limits<Cmn_Int32>::min();
    constexpr std::tuple<const char*, ETimeCodeFormat, Cmn_Int32, const char*> cCases[] = {
        {"the frame before midnight", eTimeCodeFormat_25, -1, "23:59:59:24"},
        {"a day below", eTimeCodeFormat_24, -2073600, "00:00:00:00"},
        {"a drop day is shorter than its labels", eTimeCodeFormat_2997Drop, -1, "00:01:26;13"},
        {"the same with 60 frames", eTimeCodeFormat_60Drop, -1, "00:01:26;27"},
        {"one day above folds", eTimeCodeFormat_30, 2592000, "00:00:00:00"},
        {"two days above fold once", eTimeCodeFormat_30, 5184000, "24:00:00:00"},
        {"a drop day later", eTimeCodeFormat_30Drop, 2589408, "00:00:00;00"},
        {"fields wrap into 8 bits", eTimeCodeFormat_25, -2160001, "00:00:00:255"},
        {"so do hours, 24 taken off", eTimeCodeFormat_25, -2250000, "231:00:00:00"},
        {"the largest wraps", eTimeCodeFormat_60Drop, 2147483647, "28:250:250;199"},
    };
    for (const auto& [name, format, frames, label] : cCases) {
        Time_SMPTE time(format);
        time.SetFromTotalFrames(frames);
        char text[Time_SMPTE::cTextBytes + 1];
        std::fill_n(text, sizeof text, '!');
        EXPECT_EQ(time.ToText(text), std::string(label).size()) << name;
        EXPECT_EQ(std::string(text), label) << name;
        EXPECT_EQ(text[Time_SMPTE::cTextBytes], '!') << name;
        EXPECT_EQ(time.ToString(), label) << name;
        time.SetFromTotalFrames(cLeast); // has to survive, sanitized
    }
    EXPECT_EQ(Time_SMPTE(eTimeCodeFormat_30Drop).DropFrames(-1801), -1801);
    EXPECT_EQ(Time_SMPTE(eTimeCodeFormat_24).UndropFrames(25175), 25203); // other formats: as 60
}

TEST_P(FormatTest, FramesAreTakenBelowTheRate)
{
    Time_SMPTE time(GetParam().mFormat);
    for (int frames = 0; frames < 100; ++frames) {
        const bool isBelow = frames < GetParam().mRate;
        EXPECT_EQ(time.SetFrames(static_cast<Cmn_UInt8>(frames)), isBelow);
        EXPECT_EQ(time.SetFramesBCD(static_cast<Cmn_UInt8>(frames / 10 * 16 + frames % 10)), isBelow);
        EXPECT_EQ(time.GetFrames(), std::min(frames, GetParam().mRate - 1));
    }
}

TEST(Timecode, OrderIsByLabelThenSamplesWhateverTheFormat)
{
    const Time_SMPTE ascending[] = {
        Time_SMPTE(0, 0, 0, 59, eTimeCodeFormat_60), Time_SMPTE(0, 0, 1, 0, eTimeCodeFormat_24, 0.5),
        Time_SMPTE(0, 0, 1, 0, eTimeCodeFormat_25, 0.75), Time_SMPTE(0, 1, 0, 0, eTimeCodeFormat_30),
        Time_SMPTE(2, 0, 0, 0, eTimeCodeFormat_24)};
    for (const auto& a : ascending)
        for (const auto& b : ascending)
            EXPECT_TRUE((a <=> b) == (&a <=> &b) && (a == b) == (&a == &b)) << a.Dump() << b.Dump();
}

TEST(Timecode, FormatZeroIsTheGlobalOneAtThatMoment)
{
    Time_SMPTE time(0, 1, 0, 2);
    EXPECT_EQ(time.GetTotalFrames(), 1802);
    EXPECT_EQ(time.ToString(), "00:01:00:02");
    Time_Globals::SetGlobalTimeCodeFormat(eTimeCodeFormat_2997Drop);
    EXPECT_EQ(time.GetTotalFrames(), 1800);
    EXPECT_EQ(time.ToString(), "00:01:00;02");
    EXPECT_FALSE(time.FromString("00:01:00;01"));
    Time_Globals::SetGlobalTimeCodeFormat(eTimeCodeFormat_30);
    EXPECT_TRUE(time.FromString("00:01:00:01"));
}

TEST(Timecode, FormatsWithoutARateAreReportedAndSurvive)
{
    const AssertRecorder recorder;
    const auto expectReport = [&](const char* iWhat) {
        const Reports reports = recorder.Take();
        ASSERT_FALSE(reports.empty()) << iWhat;
        EXPECT_EQ(reports.front(), "framesPerSecond != -1@$^$@Time/Time_SMPTE") << iWhat;
    };
    for (const int format : {4, 6, -1, 15, 1000}) {
        Time_SMPTE time(static_cast<ETimeCodeFormat>(format));
        for (const Cmn_Int32 count : {0, -1, 100000, std::numeric_limits<Cmn_Int32>::min()}) {
            time.SetFromTotalFrames(count), expectReport("SetFromTotalFrames");
            time.SetFromTotalSubframes(count), expectReport("SetFromTotalSubframes");
            time.SetFromTotalSamples(Time_Sample(count)), expectReport("SetFromTotalSamples");
            (void)Time_SMPTE::FromFrames(count, time.GetFormat()), expectReport("FromFrames");
            (void)time.GetTotalSubframes(), expectReport("GetTotalSubframes");
            (void)time.GetTotalSamples(), expectReport("GetTotalSamples");
        }
        EXPECT_FALSE(time.SetFrames(0));
        expectReport("SetFrames");
        EXPECT_FALSE(time.FromString("00:00:00:00"));
        expectReport("FromString");
        EXPECT_EQ(Time_SMPTE(0, 0, 2, 5, time.GetFormat()).GetTotalFrames(), 3);
        expectReport("GetTotalFrames");
    }
}
