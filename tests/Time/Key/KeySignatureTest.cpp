#include "Kora/Time/Key/Time_KeySignature.h"
#include "Time/TimeFixture.h"

#include <cstdlib>
#include <set>

namespace {

constexpr bool cMajor = true, cMinor = false, cSharps = true, cFlats = false;

// Semitones to the pitch that `iSteps` scale steps lead to, walked one semitone at a time over a scale that
// is built from the circle of fifths.
int WalkTheScale(const Time_KeySignature& iKey, int iPitch, int iSteps)
{
    const int fifths = std::min<int>(iKey.GetAccidentalCount(), 7) * (iKey.IsSharps() ? 7 : 5);
    std::set<int> scale;
    // Both modes of one signature have the same tones.
    for (const int interval : {0, 2, 4, 5, 7, 9, 11})
        scale.insert((interval + fifths) % 12);
    const auto isTone = [&](int iAt) { return scale.contains(((iAt % 12) + 12) % 12); };

    const int way = iSteps > 0 ? 1 : -1;
    const int outside = isTone(iPitch) ? 0 : 1;
    int at = iPitch;
    for (int left = std::abs(iSteps) + outside; left > 0; left -= isTone(at) ? 1 : 0)
        at += way;
    return at - iPitch - outside * way;
}

int Transposed(const Time_KeySignature& iKey, int iPitch, int iSteps)
{
    return iKey.GetTransposeAmount(static_cast<Cmn_Int16>(iPitch), static_cast<Cmn_Int16>(iSteps));
}

} // namespace

TEST(KeySignature, NamedConstructorsSayModeAndAccidentals)
{
    EXPECT_EQ(Time_KeySignature::Major(3).ToString(), "A major");
    EXPECT_EQ(Time_KeySignature::Minor(3).ToString(), "F# minor");
    EXPECT_EQ(Time_KeySignature::MajorWithFlats(2).ToString(), "Bb major");
    EXPECT_EQ(Time_KeySignature::MinorWithFlats(1).ToString(), "D minor");
}

TEST(KeySignature, EveryKeyHasItsName)
{
    // With sharps, with flats.
    const char* const cNames[][4] = {
        {"C major", "C major", "A minor", "A minor"},     {"G major", "F major", "E minor", "D minor"},
        {"D major", "Bb major", "B minor", "G minor"},    {"A major", "Eb major", "F# minor", "C minor"},
        {"E major", "Ab major", "C# minor", "F minor"},   {"B major", "Db major", "G# minor", "Bb minor"},
        {"F# major", "Gb major", "D# minor", "Eb minor"}, {"C# major", "Cb major", "A# minor", "Ab minor"},
    };
    for (int count = 0; count <= 255; ++count)
        for (int column = 0; column < 4; ++column) {
            const Time_KeySignature key(column < 2, column % 2 == 0, static_cast<Cmn_UInt8>(count));
            EXPECT_EQ(key.ToString(), count < 8 ? cNames[count][column] : "");
            EXPECT_EQ(key.GetMinorKeyString(), count < 8 ? cNames[count][column | 2] : "");
        }
    EXPECT_EQ(Time_KeySignature(), Time_KeySignature(cMajor, cSharps, 0));
    EXPECT_NE(Time_KeySignature::sDefault, Time_KeySignature(cMajor, cFlats, 0));
}

TEST(KeySignature, TranspositionWalksTheScale)
{
    for (int bits = 0; bits < 4; ++bits)
        for (const int count : {0, 1, 2, 3, 4, 5, 6, 7, 8, 255}) {
            const Time_KeySignature key(bits & 1, bits & 2, static_cast<Cmn_UInt8>(count));
            if (key == Time_KeySignature(cMinor, cFlats, 0)) continue; // an oddity, below
            for (int pitch = -25; pitch < 37; ++pitch)
                for (int steps = -30; steps <= 30; ++steps)
                    ASSERT_EQ(Transposed(key, pitch, steps), steps == 0 ? 0 : WalkTheScale(key, pitch, steps))
                        << key.Dump() << " pitch " << pitch << " steps " << steps;
        }
}

TEST(KeySignature, TranspositionOddities)
{
    const std::tuple<const char*, Time_KeySignature, int, int, int> rows[] = {
        {"A minor with flats counts from C: B is outside", {cMinor, cFlats, 0}, 11, 1, 2},
        {"A minor with flats counts from C: Eb is a tone", {cMinor, cFlats, 0}, 3, 1, 2},
        {"A minor with sharps counts from A: B is a tone", {cMinor, cSharps, 0}, 11, 1, 1},
        {"-32768 steps have no magnitude: a tone stays", {cMajor, cSharps, 0}, 0, -32768, 0},
        {"-32768 steps have no magnitude: beside a tone, 1 up", {cMajor, cSharps, 0}, 1, -32768, 1},
        {"the greatest step up is cut to 16 bits", {cMajor, cSharps, 0}, 0, 32767, -9364},
    };
    for (const auto& [what, key, pitch, steps, semitones] : rows)
        EXPECT_EQ(Transposed(key, pitch, steps), semitones) << what;
}

TEST(KeySignature, AccidentalsAreDrawnFromTheFirstOn)
{
    using Offsets = std::vector<Cmn_Int16>;
    const Offsets sharps = {99, 0, 3, -1, 2, 5, 1, 4};
    const Offsets flats = {99, 4, 1, 5, 2, 6, 3, 7};
    for (const int count : {0, 1, 5, 7, 8, 255})
        for (const bool isSharps : {cSharps, cFlats}) {
            Offsets offsets = {99}; // appended to what the caller has
            const Time_KeySignature key(cMinor, isSharps, static_cast<Cmn_UInt8>(count));
            key.GetAccidentalStaffLineOffsets(offsets);
            const auto from = (isSharps ? sharps : flats).begin();
            EXPECT_EQ(offsets, Offsets(from, from + 1 + std::min(count, 7)));
        }
}

TEST(KeySignature, ARandomKeyIsMajorWithSharpsUnlessRandGivesZero)
{
    for (unsigned seed = 1; seed <= 100; ++seed) {
        Time_KeySignature key(cMinor, cFlats, 99);
        std::srand(seed);
        key.CreateRandomKey();
        std::srand(seed);
        const bool isMajor = std::rand() != 0;
        const bool isSharps = std::rand() != 0;
        EXPECT_EQ(key, Time_KeySignature(isMajor, isSharps, static_cast<Cmn_UInt8>(std::rand() % 8)));
    }
}
