// Tool_MidiFile: what a standard MIDI file says of tempo, meter and key, and where it ends.
//
// Units:      MIDI ticks from the file's start, GetDivision() of them to a quarter note; offsets are bytes.
// Invariants: (1) 1 <= division <= 32767  (2) every list is in file order: track after track, ascending ticks inside
//             a track  (3) no tick lies past LastEvent().mTick.
//
// The reader is strict, because a file that contradicts itself is damaged, and it says where:
// - formats 0 (one track) and 1, a division in ticks, exactly as many tracks as the header counts;
// - a header longer than 6 bytes is read and the rest of it skipped; chunks of other types are skipped anywhere;
// - each track ends with its end-of-track event, and with nothing after it;
// - delta times and lengths take at most 4 bytes; running status holds between channel events only, and a system
//   exclusive or meta event ends it; the system messages 0xF1 to 0xF6 and 0xF8 to 0xFE have no place in a file;
// - tempo, time-signature and key-signature events have their one length and a value that has a meaning.
// Memory:     what is kept is proportional to the bytes read; no length in the file is trusted before it is checked.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>
#include <string_view>
#include <vector>

// Where an event stands: its time, and the byte its status or, under running status, its data begins at.
struct Tool_MidiPlace
{
    Cmn_Int64 mTick = 0;
    Cmn_Int64 mOffset = 0;
};

struct Tool_MidiTempo
{
    Tool_MidiPlace mPlace;
    Cmn_Int32 mMicrosecondsPerQuarter = 500000; // 1 to 16777215
};

struct Tool_MidiMeter
{
    Tool_MidiPlace mPlace;
    Cmn_Int32 mNumerator = 4;   // 1 to 255
    Cmn_Int32 mDenominator = 4; // a power of two, 1 to 2048
};

struct Tool_MidiKey
{
    Tool_MidiPlace mPlace;
    Cmn_Int32 mSharps = 0; // -7 (seven flats) to 7
    bool mIsMinor = false;
};

class Tool_MidiFile
{
public:
    // Understands a whole file or throws Tool_InputError, in which iName stands for the file.
    static Tool_MidiFile Parse(std::string_view iBytes, std::string_view iName);

    const std::string& GetName() const { return mName; }
    Cmn_Int32 GetDivision() const { return mDivision; }

    const std::vector<Tool_MidiTempo>& Tempos() const { return mTempos; }
    const std::vector<Tool_MidiMeter>& Meters() const { return mMeters; }
    const std::vector<Tool_MidiKey>& Keys() const { return mKeys; }
    // The latest event of any track, its end-of-track event included.
    const Tool_MidiPlace& LastEvent() const { return mLastEvent; }

private:
    friend class Tool_MidiParser;

    std::string mName;
    Cmn_Int32 mDivision = 1;
    std::vector<Tool_MidiTempo> mTempos;
    std::vector<Tool_MidiMeter> mMeters;
    std::vector<Tool_MidiKey> mKeys;
    Tool_MidiPlace mLastEvent;
};
