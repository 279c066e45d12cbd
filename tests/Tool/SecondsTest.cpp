#include "Bastel/Cmn/Cmn_IntMath.h"
#include "Tool/Tool_Seconds.h"

#include <gtest/gtest.h>

#include <random>

namespace {

constexpr Cmn_Int64 cRefused = INT64_MIN;

Cmn_Int64 Parse(double iRate, const std::string& iText)
{
    Cmn_Int64 sample = cRefused;
    Tool_Seconds(iRate).Parse(iText, sample);
    return sample;
}

std::string Write(double iRate, Cmn_Int64 iSample)
{
    std::string text;
    Tool_Seconds(iRate).Append(iSample, text);
    return text;
}

struct Case
{
    const char* mShows;
    double mRate;
    std::string mText;
    Cmn_Int64 mSample;
};

const std::string cZeros(60, '0');

const Case cCases[] = {
    {"a second", 44100, "1", 44100},
    {"a point without digits behind it", 44100, "2.", 88200},
    {"a point without digits before it", 48000, ".5", 24000},
    {"half a sample goes up", 44100, "0.005", 221},
    {"the smallest bit below half stays down", 44100, "0.00499999999999999999999999999999", 220},
    {"the smallest bit above half goes up", 44100, "-0.005" + cZeros + "1", -221},
    {"minus half a sample goes up too", 44100, "-0.005", -220},
    {"zeros beyond the half change nothing", 44100, "-0.005" + cZeros, -220},
    {"minus nothing", 44100, "-0", 0},
    {"a third of a second", 48000, "0.33333333333333333333", 16000},
    {"the last sample", 44100, "779131.2547", 34359688332},
    {"a rate with a fraction", 47952.5, "2", 95905},
    {"more seconds than any time line", 44100, "1099511627777", cRefused},
    {"digits without end", 44100, std::string(400, '9'), cRefused},
    {"no number at a rate with a fraction", 47952.5, "inf", cRefused},
};

} // namespace

TEST(Seconds, ReadToTheNearestSample)
{
    for (const Case& row : cCases)
        EXPECT_EQ(Parse(row.mRate, row.mText), row.mSample) << row.mShows;
    for (const char* const text : {"", ".", "-", "+1", "1.2.3", "1e3", "1,5", "1 5"})
        EXPECT_EQ(Parse(44100, text), cRefused) << text;
}

TEST(Seconds, AgreeWithIntegersOverMicroseconds)
{
    std::mt19937_64 random(20240611);
    for (int i = 0; i < 20000; ++i) {
        const Cmn_Int64 rate = static_cast<Cmn_Int64>(random() % 767001) + 1000;
        const Cmn_Int64 micros = static_cast<Cmn_Int64>(random() % 2000000000) - 1000000000;
        std::string text = std::to_string(micros < 0 ? -micros : micros);
        text.insert(0, text.size() < 7 ? 7 - text.size() : 0, '0');
        text.insert(text.size() - 6, ".");
        if (micros < 0) text.insert(0, "-");
        const Cmn_Int64 nearest = Cmn_FloorDiv<Cmn_Int64>(2 * micros * rate + 1000000, 2000000);
        ASSERT_EQ(Parse(static_cast<double>(rate), text), nearest) << text << " s at " << rate;
    }
}

TEST(Seconds, WrittenOutReadBackAsTheSameSample)
{
    std::mt19937_64 random(7);
    for (const double rate :
         {1000.0, 8000.0, 44055.944055944055, 44100.0, 47952.04795204795, 192000.0, 768000.0})
        for (int i = 0; i < 5000; ++i) {
            const Cmn_Int64 sample = static_cast<Cmn_Int64>(random() >> (29 + i % 30)) * (i % 2 ? 1 : -1);
            ASSERT_EQ(Parse(rate, Write(rate, sample)), sample) << Write(rate, sample) << " s at " << rate;
        }
    EXPECT_EQ(Write(44100, 221), "0.005011");
    EXPECT_EQ(Write(44100, -1), "-0.000023");
    EXPECT_EQ(Write(44100, 44100 * 3600), "3600.000000");
    EXPECT_EQ(Tool_Seconds(48000).MinutesAndSeconds(48000 * 65 + 12000), "1:05.250");
    EXPECT_EQ(Tool_Seconds(48000).MinutesAndSeconds(48000 * 60 - 24), "1:00.000");
}
