// Time_KeySignature: the key of the music, its name, its accidentals and its scale.
//
// Units:   pitches are pitch classes, 0 = C … 11 = B; other pitches are taken modulo 12. Distances are
//          semitones. Staff positions count lines and spaces.
// Values:  0 to 7 accidentals. A greater count has no name and counts as 7 elsewhere.
// Threads: a plain value; CreateRandomKey calls std::rand.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

class Cmn_XMLNode;

class KORA_API_NODISCARD Time_KeySignature
{
public:
    static const Time_KeySignature sDefault; // C major, written with sharps

    // C major, written with sharps.
    constexpr Time_KeySignature() = default;
    constexpr Time_KeySignature(bool iIsMajor, bool iIsSharps, Cmn_UInt8 iAccidentals)
        : mIsMajor(iIsMajor)
        , mIsSharps(iIsSharps)
        , mAccidentals(iAccidentals)
    {
    }

    // The same with names in place of the two switches: Major(3) is A major, MinorWithFlats(1) D minor.
    static constexpr Time_KeySignature Major(Cmn_UInt8 iSharps) { return {true, true, iSharps}; }
    // F sharp minor with 3.
    static constexpr Time_KeySignature Minor(Cmn_UInt8 iSharps) { return {false, true, iSharps}; }
    // E flat major with 3.
    static constexpr Time_KeySignature MajorWithFlats(Cmn_UInt8 iFlats) { return {true, false, iFlats}; }
    // C minor with 3.
    static constexpr Time_KeySignature MinorWithFlats(Cmn_UInt8 iFlats) { return {false, false, iFlats}; }

    constexpr bool IsMajor() const { return mIsMajor; }
    // Written with sharps; false: with flats. Without accidentals it still chooses the tables used below, so
    // that C major and A minor exist in both forms, which are not equal.
    constexpr bool IsSharps() const { return mIsSharps; }
    constexpr Cmn_UInt8 GetAccidentalCount() const { return mAccidentals; }

    constexpr bool operator==(const Time_KeySignature&) const = default;

    // The localised name: "Bb major", "F# minor". Empty above 7 accidentals.
    std::string ToString() const { return GetStandardKeyString(); }
    std::string GetStandardKeyString() const;
    // Enough for every name of the table as it ships, and a zero.
    static constexpr std::size_t cTextBytes = 32;
    // The same into the caller's iSize bytes, cut to fit and closed by a zero. Returns the characters before
    // the zero.
    std::size_t ToText(char* oText, std::size_t iSize = cTextBytes) const;
    // Reads a key's name, or its tonic alone with an "m" behind it for a minor key: "Bb major", "Bb", "F#m".
    // C major and A minor are written with sharps then. Anything else is false and changes nothing; oWhyNot
    // is then a text for users, such as "a key such as Bb major or F#m is expected".
    [[nodiscard]] bool FromText(std::string_view iText, const char** oWhyNot = nullptr);
    // The name that the accidentals have as a major, or as a minor key, whatever this key is.
    std::string GetMajorKeyString() const;
    std::string GetMinorKeyString() const;
    std::string GetMajorKeyStringWithSharps() const;
    std::string GetMajorKeyStringWithFlats() const;
    std::string GetMinorKeyStringWithSharps() const;
    std::string GetMinorKeyStringWithFlats() const;

    // Semitones from a pitch to the one iSteps steps up (positive) or down (negative) the scale, 0
    // for no steps. A pitch between two scale tones moves as the tone that it passes first does,
    // and stays as far from it:
    //
    //   C major, pitch 0 (C),  1 step up:   2      E (4) 1 up:  1      C 1 down: -1
    //   C major, pitch 1 (C#), 1 step up:   2, from beside C to beside D
    [[nodiscard]] Cmn_Int16 GetTransposeAmount(Cmn_Int16 iPitch, Cmn_Int16 iSteps) const;

    // Appends where the accidentals are drawn on the staff, in drawing order.
    void GetAccidentalStaffLineOffsets(std::vector<Cmn_Int16>& ioOffsets) const;

    // Takes a key by chance, for tests of drawing.
    void CreateRandomKey();

    // <iName> around "mIsMajor", "mIsSharps" and "nAccidentals"
    [[nodiscard]] Cmn_XMLNode GetAsXML(const std::string& iName) const;
    // What ToString gives.
    KORA_API friend std::ostream& operator<<(std::ostream& ioStream, const Time_KeySignature& iKey);
    // "Eb major (3 flats)"
    [[nodiscard]] std::string Dump() const;

private:
    bool mIsMajor = true;
    bool mIsSharps = true;
    Cmn_UInt8 mAccidentals = 0;
};

static_assert(sizeof(Time_KeySignature) == 3);

template <>
struct std::hash<Time_KeySignature>
{
    std::size_t operator()(const Time_KeySignature& iKey) const noexcept
    {
        return std::size_t{iKey.GetAccidentalCount()} * 4 + (iKey.IsMajor() ? 2 : 0) +
               (iKey.IsSharps() ? 1 : 0);
    }
};
