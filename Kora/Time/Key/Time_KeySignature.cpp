#include "Kora/Time/Key/Time_KeySignature.h"

#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/I18N/I18N_Utils.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>

namespace {

constexpr int cMostAccidentals = 7;
constexpr int cOctave = 12;

enum EWriting { eSharps, eFlats };
enum EMode { eMajor, eMinor };
enum EDirection { eUp, eDown };

// Names without accidentals are shared by both ways of writing; the flats' own names start at one flat.
constexpr Cmn_Int32 cNameOfCMajor = 1346;
constexpr Cmn_Int32 cNameOfFMajor = 1354;
constexpr Cmn_Int32 cNameOfAMinor = 1361;
constexpr Cmn_Int32 cNameOfDMinor = 1369;

// Pitch class of the tonic by number of accidentals.
constexpr int cTonics[2][2][cMostAccidentals + 1] = {
    {{0, 7, 2, 9, 4, 11, 6, 1}, {0, 5, 10, 3, 8, 1, 6, 11}},
    // Deliberate: A minor written with flats moves as if its tonic were C; saved songs were transposed so.
    // Test: TranspositionOddities
    {{9, 4, 11, 6, 1, 8, 3, 10}, {0, 2, 7, 0, 5, 10, 3, 8}},
};

// By interval above the tonic: is it between two tones of the scale?
constexpr bool cIsOutOfScale[2][cOctave] = {
    {0, 1, 0, 1, 0, 0, 1, 0, 1, 0, 1, 0},
    {0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 0, 1},
};

// Semitones from each interval to the next tone of the scale.
constexpr int cScaleStep[2][2][cOctave] = {
    {{2, 1, 2, 1, 1, 2, 1, 2, 1, 2, 1, 1}, {2, 1, 1, 2, 1, 2, 1, 1, 2, 1, 2, 1}},
    {{-1, -1, -2, -1, -2, -1, -1, -2, -1, -2, -1, -2}, {-2, -1, -2, -1, -1, -2, -1, -2, -1, -1, -2, -1}},
};

constexpr Cmn_Int16 cStaffLineOffsets[2][cMostAccidentals] = {{0, 3, -1, 2, 5, 1, 4}, {4, 1, 5, 2, 6, 3, 7}};

constexpr int FloorMod12(int iValue) { return (iValue % cOctave + cOctave) % cOctave; }

// The magnitude in 16 bits: that of -32768 is -32768.
constexpr int Magnitude16(Cmn_Int16 iValue) { return static_cast<Cmn_Int16>(iValue < 0 ? -iValue : iValue); }

std::string KeyName(int iAccidentals, Cmn_Int32 iNameOfNone, Cmn_Int32 iNameOfOne)
{
    if (iAccidentals > cMostAccidentals) return {};
    return I18N_Utils::GetString(iAccidentals == 0 ? iNameOfNone : iNameOfOne + iAccidentals - 1);
}

} // namespace

constinit const Time_KeySignature Time_KeySignature::sDefault{};

std::string Time_KeySignature::GetStandardKeyString() const
{
    return mIsMajor ? GetMajorKeyString() : GetMinorKeyString();
}

std::size_t Time_KeySignature::ToText(char* oText, std::size_t iSize) const
{
    if (iSize == 0) return 0;
    const std::string name = ToString();
    const std::size_t size = std::min(name.size(), iSize - 1);
    std::copy_n(name.data(), size, oText);
    oText[size] = '\0';
    return size;
}

bool Time_KeySignature::FromText(std::string_view iText, const char** oWhyNot)
{
    for (int accidentals = 0; accidentals <= cMostAccidentals; ++accidentals)
        for (const bool isSharps : {true, false})
            for (const bool isMajor : {true, false}) {
                const Time_KeySignature key(isMajor, isSharps, static_cast<Cmn_UInt8>(accidentals));
                const std::string name = key.ToString();
                const std::string_view tonic = std::string_view(name).substr(0, name.find(' '));
                const bool isShort =
                    iText.substr(0, tonic.size()) == tonic &&
                    iText.substr(std::min(tonic.size(), iText.size())) == (isMajor ? "" : "m");
                if (!isShort && iText != name) continue;
                *this = key;
                return true;
            }
    if (oWhyNot != nullptr) *oWhyNot = "a key such as Bb major or F#m is expected";
    return false;
}

std::string Time_KeySignature::GetMajorKeyString() const
{
    return mIsSharps ? GetMajorKeyStringWithSharps() : GetMajorKeyStringWithFlats();
}

std::string Time_KeySignature::GetMinorKeyString() const
{
    return mIsSharps ? GetMinorKeyStringWithSharps() : GetMinorKeyStringWithFlats();
}

std::string Time_KeySignature::GetMajorKeyStringWithSharps() const
{
    return KeyName(mAccidentals, cNameOfCMajor, cNameOfCMajor + 1);
}

std::string Time_KeySignature::GetMajorKeyStringWithFlats() const
{
    return KeyName(mAccidentals, cNameOfCMajor, cNameOfFMajor);
}

std::string Time_KeySignature::GetMinorKeyStringWithSharps() const
{
    return KeyName(mAccidentals, cNameOfAMinor, cNameOfAMinor + 1);
}

std::string Time_KeySignature::GetMinorKeyStringWithFlats() const
{
    return KeyName(mAccidentals, cNameOfAMinor, cNameOfDMinor);
}

Cmn_Int16 Time_KeySignature::GetTransposeAmount(Cmn_Int16 iPitch, Cmn_Int16 iSteps) const
{
    if (iSteps == 0) return 0;
    const EMode mode = mIsMajor ? eMajor : eMinor;
    const EWriting writing = mIsSharps ? eSharps : eFlats;
    const EDirection direction = iSteps >= 1 ? eUp : eDown;
    const int tonic = cTonics[mode][writing][std::min<int>(mAccidentals, cMostAccidentals)];

    int interval = FloorMod12(iPitch - tonic);
    const bool outOfScale = cIsOutOfScale[mode][interval];
    // The first step of a pitch outside the scale only reaches the scale.
    const int scaleSteps = Magnitude16(iSteps) + (outOfScale ? 1 : 0);
    int total = 0;
    for (int i = 0; i < scaleSteps; ++i) {
        const int semitones = cScaleStep[direction][mode][interval];
        total += semitones;
        interval = FloorMod12(interval + semitones);
    }
    if (outOfScale) total += direction == eUp ? -1 : 1;
    return static_cast<Cmn_Int16>(total);
}

void Time_KeySignature::GetAccidentalStaffLineOffsets(std::vector<Cmn_Int16>& ioOffsets) const
{
    const Cmn_Int16* const offsets = cStaffLineOffsets[mIsSharps ? eSharps : eFlats];
    ioOffsets.insert(ioOffsets.end(), offsets, offsets + std::min<int>(mAccidentals, cMostAccidentals));
}

void Time_KeySignature::CreateRandomKey()
{
    // Deliberate: a flag is false only when std::rand gives 0, so that nearly every key is major with sharps;
    // the drawing tests' pictures rest on it. Test: ARandomKeyIsMajorWithSharpsUnlessRandGivesZero
    mIsMajor = std::rand() != 0;
    mIsSharps = std::rand() != 0;
    mAccidentals = static_cast<Cmn_UInt8>(std::rand() % (cMostAccidentals + 1));
}

Cmn_XMLNode Time_KeySignature::GetAsXML(const std::string& iName) const
{
    Cmn_XMLNode node(iName);
    node.AddValue("mIsMajor", mIsMajor);
    node.AddValue("mIsSharps", mIsSharps);
    node.AddValue("nAccidentals", Cmn_Int32{mAccidentals});
    return node;
}

std::ostream& operator<<(std::ostream& ioStream, const Time_KeySignature& iKey)
{
    return ioStream << iKey.ToString();
}

std::string Time_KeySignature::Dump() const
{
    const std::string name = ToString();
    return (name.empty() ? std::string(mIsMajor ? "major" : "minor") : name) + " (" +
           std::to_string(mAccidentals) + (mIsSharps ? " sharps)" : " flats)");
}
