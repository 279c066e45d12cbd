// The song's rows against a plain computation: bars walked one by one, samples as one exact fraction.
#include "tests/Tool/ToolFixture.h"

using JsonValue = nlohmann::ordered_json;

namespace {

constexpr Cmn_Int64 cStart = Tool_Song::cStartTick;

struct PlainMeter
{
    Cmn_Int64 mNumerator;
    Cmn_Int64 mDenominator;
    Cmn_Int64 BarLength() const { return mNumerator * 3840000 / mDenominator; }
};

// A song as lists by tick, with the answers that the report must give.
struct PlainSong
{
    std::map<Cmn_Int64, Cmn_Int64> mTempos; // microseconds to a quarter
    std::map<Cmn_Int64, PlainMeter> mMeters;
    std::map<Cmn_Int64, std::pair<int, int>> mKeys; // sharps, mode
    Cmn_Int64 mEnd = cStart;

    // Samples as fractions of 960000 × 1000000 parts, in integers. oDoubt: so near a
    // half that doubles may err.
    Cmn_Int64 SampleOf(Cmn_Int64 iTick, Cmn_Int64 iRate, bool& oDoubt) const
    {
        Cmn_Int64 tickMicros = 0;
        for (auto tempo = mTempos.begin(); tempo != mTempos.end() && tempo->first < iTick; ++tempo) {
            const auto next = std::next(tempo);
            const Cmn_Int64 until = next == mTempos.end() ? iTick : std::min(iTick, next->first);
            tickMicros += (until - tempo->first) * tempo->second;
        }
        constexpr Cmn_Int64 cParts = 960000000000;
        const Cmn_Int64 rest = tickMicros % cParts * iRate;
        oDoubt = std::abs(rest % cParts - cParts / 2) < cParts / 100000;
        return tickMicros / cParts * iRate + (2 * rest + cParts) / (2 * cParts);
    }

    // Walks from bar 1, one bar at a time; a change inside a bar ends it.
    JsonValue PositionOf(Cmn_Int64 iTick) const
    {
        Cmn_Int64 bar = 1;
        Cmn_Int64 barStart = cStart;
        for (;;) {
            const PlainMeter meter = std::prev(mMeters.upper_bound(barStart))->second;
            Cmn_Int64 next = barStart + meter.BarLength();
            if (const auto cut = mMeters.upper_bound(barStart); cut != mMeters.end() && cut->first < next)
                next = cut->first;
            if (iTick < next) {
                const Cmn_Int64 beatLength = 3840000 / meter.mDenominator;
                const Cmn_Int64 into = iTick - barStart;
                return {{"bar", bar}, {"beat", into / beatLength + 1}, {"tick", into % beatLength}};
            }
            barStart = next;
            ++bar;
        }
    }

    bool IsOffBarline(Cmn_Int64 iTick) const
    {
        const auto before = std::prev(mMeters.find(iTick));
        return (iTick - before->first) % before->second.BarLength() != 0;
    }
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

void ExpectSample(const JsonValue& iSample, const PlainSong& iPlain, Cmn_Int64 iTick, Cmn_Int64 iRate)
{
    bool isDoubtful = false;
    const Cmn_Int64 plain = iPlain.SampleOf(iTick, iRate, isDoubtful);
    EXPECT_LE(std::abs(iSample.get<Cmn_Int64>() - plain), isDoubtful ? 1 : 0) << iSample << " for " << plain;
}

// Of the nearest frame at 25 a second, which ends a day with itself.
std::string TimecodeOf(const JsonValue& iSample, Cmn_Int64 iRate)
{
    const Cmn_Int64 frame = (iSample.get<Cmn_Int64>() * 50 + iRate) / (2 * iRate);
    const auto two = [](Cmn_Int64 i) { return (i < 10 ? "0" : "") + std::to_string(i); };
    return two(frame / 90000 % 24) + ':' + two(frame / 1500 % 60) + ':' + two(frame / 25 % 60) + ':' +
           two(frame % 25);
}

void Compare(const JsonValue& iJson, const PlainSong& iPlain, Cmn_Int64 iRate)
{
    const auto rows = [&](const char* iName, const auto& iChanges, const auto& iExpect) {
        ASSERT_EQ(iJson[iName].size(), iChanges.size());
        auto row = iJson[iName].begin();
        for (const auto& [tick, change] : iChanges) {
            EXPECT_EQ((*row)["tick"], tick);
            EXPECT_EQ((*row)["position"], iPlain.PositionOf(tick));
            EXPECT_EQ((*row)["timecode"], TimecodeOf((*row)["sample"], iRate));
            ExpectSample((*row)["sample"], iPlain, tick, iRate);
            iExpect(*row++, tick, change);
        }
    };
    rows("tempo", iPlain.mTempos, [&](const JsonValue& iRow, Cmn_Int64, Cmn_Int64 iMicros) {
        EXPECT_EQ(iRow["bpm"].get<double>(), 60000000.0 / static_cast<double>(iMicros));
        EXPECT_EQ(iRow["ticksPerBeat"], 960000);
    });
    rows("meter", iPlain.mMeters, [&](const JsonValue& iRow, Cmn_Int64 iTick, const PlainMeter& iMeter) {
        EXPECT_EQ(iRow["numerator"], iMeter.mNumerator);
        EXPECT_EQ(iRow["denominator"], iMeter.mDenominator);
        EXPECT_EQ(iRow["bar"], iPlain.PositionOf(iTick)["bar"]);
        EXPECT_EQ(iRow["offBarline"], iTick != cStart && iPlain.IsOffBarline(iTick));
    });
    rows("keys", iPlain.mKeys, [&](const JsonValue& iRow, Cmn_Int64, const std::pair<int, int>& iKey) {
        EXPECT_EQ(iRow["sharps"], iKey.first);
        EXPECT_EQ(iRow["minor"], iKey.second == 1);
    });
    EXPECT_EQ(iJson["version"], 1);
    EXPECT_EQ(iJson["timecodeFormat"], "25 fps");
    EXPECT_EQ(iJson["end"]["tick"], iPlain.mEnd);
    ExpectSample(iJson["end"]["sample"], iPlain, iPlain.mEnd, iRate);
    EXPECT_EQ(iJson["end"]["position"], iPlain.PositionOf(iPlain.mEnd));
    EXPECT_EQ(iJson["end"]["timecode"], TimecodeOf(iJson["end"]["sample"], iRate));
    EXPECT_EQ(iJson["end"]["seconds"].get<double>(),
              iJson["end"]["sample"].get<double>() / static_cast<double>(iRate));
}

} // namespace

TEST_F(SongTest, RandomSongsAreWhatAPlainWalkSays)
{
    const unsigned seed = 4711;
    std::mt19937 random(seed);
    for (int i = 0; i < 400; ++i) {
        PlainSong plain;
        const std::string bytes = MakeSong(random, plain);
        const Cmn_Int64 rate = i % 3 == 0 ? 44100 : i % 3 == 1 ? 48000 : 192000;
        const std::string json = Json(bytes, {static_cast<double>(rate), eTimeCodeFormat_25});
        Compare(JsonValue::parse(json), plain, rate);
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
