// The song's rows against the changes that its events were made of, each by tick, and their places by its maps.
#include "Kora/Time/Formats/Time_SMPTEUtils.h"
#include "tests/Tool/ToolFixture.h"

using JsonValue = nlohmann::ordered_json;

namespace {

constexpr Cmn_Int64 cStart = Tool_Song::cStartTick;

// A song as lists by tick.
struct PlainSong
{
    std::map<Cmn_Int64, Cmn_Int64> mTempos;                  // microseconds to a quarter
    std::map<Cmn_Int64, std::pair<int, int>> mMeters, mKeys; // numerator and denominator; sharps and mode
    Cmn_Int64 mEnd = cStart;
};

// Up to three tracks, and events of all kinds at times that often coincide.
std::string MakeSong(std::mt19937& ioRandom, PlainSong& oPlain)
{
    const auto upTo = [&](int iMost) {
        return static_cast<int>(ioRandom() % static_cast<unsigned>(iMost + 1));
    };
    const int divisions[] = {1, 24, 96, 333, 480, 960, 12345, 32767};
    const int division = divisions[upTo(7)];
    oPlain.mTempos[cStart] = 500000;
    oPlain.mMeters[cStart] = {4, 4};
    std::vector<std::string> tracks;
    for (int track = upTo(2); track >= 0; --track) {
        std::string body;
        Cmn_Int64 midiTick = 0;
        Cmn_Int64 tick = cStart;
        for (int event = upTo(12); event > 0; --event) {
            const Cmn_Int64 delta = upTo(1) * (upTo(1) ? 4 * division * upTo(5) : upTo(9 * division));
            midiTick += delta;
            tick = cStart + (2 * midiTick * 960000 + division) / (2 * division);
            const int kind = upTo(3);
            if (kind == 0) {
                const int micros = 1 + (upTo(1) ? 100000 + upTo(2000000) : upTo(16777214));
                oPlain.mTempos[tick] = micros;
                body += Tempo(delta, micros);
            } else if (kind == 1) {
                const int numerator = 1 + upTo(11);
                const int power = upTo(6);
                oPlain.mMeters[tick] = {numerator, 1 << power};
                body += Meter(delta, numerator, power);
            } else if (kind == 2) {
                const int sharps = upTo(14) - 7;
                const int mode = upTo(1);
                oPlain.mKeys[tick] = {sharps, mode};
                body += Key(delta, sharps, mode);
            } else {
                body += Text(delta, "la");
            }
        }
        oPlain.mEnd = std::max(oPlain.mEnd, tick);
        tracks.push_back(body);
    }
    return File(division, tracks);
}

using SongTest = ToolFixture;

void Compare(const JsonValue& iJson, const PlainSong& iPlain, const Tool_Song& iSong)
{
    // Of the tick that it names.
    const auto expectPlace = [&](const JsonValue& iPlace, Cmn_Int64 iTick) {
        const Time_Tick tick(iTick);
        const Time_Sample sample = iSong.GetConverter().ToSample(tick);
        const Time_BarBeatTick at = iSong.GetMeterMap().TickToBarBeat(tick);
        EXPECT_EQ(iPlace["tick"], iTick);
        EXPECT_EQ(iPlace["sample"], sample.AsInt64());
        EXPECT_EQ(iPlace["position"],
                  (JsonValue{{"bar", at.mBar}, {"beat", at.mBeat}, {"tick", at.mTick.AsInt64()}}));
        EXPECT_EQ(iPlace["timecode"], Time_SMPTEUtils::SampleToLabel(sample, eTimeCodeFormat_25).ToString());
    };
    const auto rows = [&](const char* iName, const auto& iChanges, const auto& iExpect) {
        ASSERT_EQ(iJson[iName].size(), iChanges.size());
        auto row = iJson[iName].begin();
        for (const auto& [tick, change] : iChanges) {
            expectPlace(*row, tick);
            iExpect(*row++, change);
        }
    };
    rows("tempo", iPlain.mTempos, [&](const JsonValue& iRow, Cmn_Int64 iMicros) {
        EXPECT_EQ(iRow["bpm"].get<double>(), 60000000.0 / static_cast<double>(iMicros));
        EXPECT_EQ(iRow["ticksPerBeat"], 960000);
    });
    auto meter = iSong.GetMeterMap().IterBegin();
    rows("meter", iPlain.mMeters, [&](const JsonValue& iRow, const std::pair<int, int>& iMeter) {
        EXPECT_EQ(iRow["numerator"], iMeter.first);
        EXPECT_EQ(iRow["denominator"], iMeter.second);
        EXPECT_EQ(iRow["bar"], iRow["position"]["bar"]);
        EXPECT_EQ(iRow["offBarline"], (meter++)->IsOffBarline());
    });
    rows("keys", iPlain.mKeys, [&](const JsonValue& iRow, const std::pair<int, int>& iKey) {
        EXPECT_EQ(iRow["sharps"], iKey.first);
        EXPECT_EQ(iRow["minor"], iKey.second == 1);
    });
    EXPECT_EQ(iJson["version"], 1);
    EXPECT_EQ(iJson["timecodeFormat"], "25 fps");
    expectPlace(iJson["end"], iPlain.mEnd);
    EXPECT_EQ(iJson["end"]["seconds"].get<double>(),
              iJson["end"]["sample"].get<double>() / iJson["sampleRate"].get<double>());
}

} // namespace

TEST_F(SongTest, RandomSongsAreTheEventsThatTheyAreMadeOf)
{
    const unsigned seed = 4711;
    std::mt19937 random(seed);
    for (int i = 0; i < 400; ++i) {
        PlainSong plain;
        const std::string bytes = MakeSong(random, plain);
        const double rate = i % 3 == 0 ? 44100 : i % 3 == 1 ? 48000 : 192000;
        const Tool_Song song(Tool_MidiFile::Parse(bytes, "x.mid"), {rate, eTimeCodeFormat_25});
        const std::string json = Tool_SongReport(song, "x.mid").Json();
        Compare(JsonValue::parse(json), plain, song);
        if (HasFailure()) {
            ADD_FAILURE() << "seed " << seed << ", song " << i << "\n" << json;
            return;
        }
    }
}

TEST_F(SongTest, MidiTicksRoundHalfUpAndNeverWrap)
{
    EXPECT_EQ(SMF_TimeMaps::FromFileTick(0, 480), cStart);
    EXPECT_EQ(SMF_TimeMaps::FromFileTick(1, 480), cStart + 2000);
    EXPECT_EQ(SMF_TimeMaps::FromFileTick(1, 32767), cStart + 29);  // 29.298
    EXPECT_EQ(SMF_TimeMaps::FromFileTick(1, 25600), cStart + 38);  // 37.5
    EXPECT_EQ(SMF_TimeMaps::FromFileTick(3, 25600), cStart + 113); // 112.5
    EXPECT_EQ(SMF_TimeMaps::FromFileTick(32768, 32767), cStart + 960029);
    EXPECT_EQ(SMF_TimeMaps::FromFileTick(600000000000, 1), cStart + 600000000000 * 960000);
    EXPECT_EQ(SMF_TimeMaps::FromFileTick(INT64_MAX, 1), INT64_MAX);
    EXPECT_EQ(SMF_TimeMaps::FromFileTick(INT64_MAX / 960000 + 1, 1), INT64_MAX);
}

TEST_F(SongTest, ALastEventPastTheTimeLineIsRefused)
{
    const auto complaint = [](const std::string& iTrack) {
        return Complaint([&] { Json(File(1, {iTrack})); });
    };
    // One quarter a MIDI tick: each text lies 2^28 - 1 quarters after the one before.
    const auto quarters = [](int iTexts) {
        std::string track;
        for (int i = 0; i < iTexts; ++i)
            track += Text(0x0FFFFFFF, "");
        return track;
    };
    const std::string last = "the song's last event at ";
    const std::string past = ", expected none past the ";
    EXPECT_EQ(complaint(Text(1558230, "")), "(taken)"); // at 120 bpm, 22050 samples to a quarter
    EXPECT_EQ(complaint(Text(1558230, "") + Text(0x0FFFFF, "")).substr(0, 63),
              "x.mid: byte 35: " + last + "sample 57480050250, ex");
    EXPECT_EQ(complaint(Tempo(0, 1) + quarters(2300)), "x.mid: byte 16130: " + last +
                                                           "MIDI tick 617401546500" + past +
                                                           "time line's last tick 576460752303423487");
    EXPECT_EQ(complaint(Tempo(0, 1) + Meter(0, 1, 11) + quarters(64)),
              "x.mid: byte 486: " + last + "MIDI tick 17179869120" + past + "last bar number 2147483647");
}
