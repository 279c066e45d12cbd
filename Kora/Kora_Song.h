// Kora_Song: a song's meter, tempo and key maps with the converter over them, from MIDI files and documents and
// into them.
//
//     Kora_Song song;
//     song.Open(Sys_FileLoc("first-light.mid"));
//     const Time_Sample at = song.GetConverter().BarBeatToSample(…);
//     song.Save(Sys_FileLoc("first-light.kora"));
//
// Units:      ticks of the time line, 960000 to a quarter note. The song of a MIDI file, and a new one, starts at
//             cStartTick: bar 1, sample 0.
// Invariants: the meter map is real and the tempo map has an entry, unless the host takes them away. After a call
//             that reads, every entry and the end is a place: from the song's first tick on, at a sample from 0
//             on, inside the limits of Time_Typed, in a bar of 32 bits. A host's edits may lead out of that;
//             CheckPlaces tells.
// Globals:    a new song has the session's sample rate and timecode format (Time_Globals). What is read has the
//             rate of its maps; the converter counts frames at the session's rate whatever the song says.
// Ownership:  owns its maps; the converter borrows them. Not copied.
// Undo:       where it is asked for, the maps' edits are recorded; coming and going of the maps is not.
// Threads:    the maps' own.
#pragma once

#include "Kora/FF/Song/FF_TimeMaps.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/Time/Convert/Time_Converter.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

#include <string>

// What is no song, or has an entry where no time line is. what() says it: "a tempo at tick 5, expected tick
// 1000000000000 to 576460752303423487"; Describe() puts the file before it.
class KORA_API Kora_SongException : public Cmn_Exception
{
public:
    // iText: what was found and what was expected.
    explicit Kora_SongException(std::string iText);
    ~Kora_SongException() override;

    // The text.
    const char* what() const noexcept override;

private:
    std::string mText;
};

class KORA_API Kora_Song
{
public:
    // Where a new song and a MIDI file's begins.
    static constexpr Time_Tick cStartTick = SMF_TimeMaps::cStartTick;

    // 120 quarters a minute in 4/4 from cStartTick on, no key.
    explicit Kora_Song(Ndo_Object::EUndoFlag iUndoFlag = Ndo_Object::kNoUndo);
    ~Kora_Song();
    Kora_Song(const Kora_Song&) = delete;
    Kora_Song& operator=(const Kora_Song&) = delete;

    // The three maps, to read.
    const Time_MeterMap& GetMeterMap() const { return mMeters; }
    // As GetMeterMap.
    const Time_TempoMap& GetTempoMap() const { return mTempi; }
    // As GetMeterMap.
    const Time_KeySignatureMap& GetKeyMap() const { return mKeys; }
    // The three maps, to edit.
    Time_MeterMap& GetMeterMap() { return mMeters; }
    // As GetMeterMap.
    Time_TempoMap& GetTempoMap() { return mTempi; }
    // As GetMeterMap.
    Time_KeySignatureMap& GetKeyMap() { return mKeys; }
    // Over the song's maps, as they are at the moment.
    const Time_Converter& GetConverter() const { return mConverter; }

    // The song's first tick.
    Time_Tick GetStartTick() const { return mTempi.GetSongStartTick(); }
    // The last event of any track, or the last change where that is later.
    Time_Tick GetEndTick() const;
    // Where the last event is now.
    void SetEndTick(Time_Tick iTick) { mEndTick = iTick; }
    // The one it was saved with; the session's for a song from elsewhere.
    ETimeCodeFormat GetTimeCodeFormat() const { return mTimeCodeFormat; }
    // For the next save; nothing else asks it.
    void SetTimeCodeFormat(ETimeCodeFormat iFormat) { mTimeCodeFormat = iFormat; }

    // What the calls that read do when they throw: the song may be the file's in part, and is to be thrown away.

    // A MIDI file or a document: what the bytes say, whatever the name is. Throws as the other two, and
    // Cmn_Exception for a file that cannot be read; all exceptions name the file.
    void Open(const Sys_FileLoc& iLocation);
    // The same of such a file's bytes.
    void ReadBytes(std::string iBytes);
    // Throws SMF_Exception as SMF_TimeMaps::Read does, whose rules hold.
    void Read(const SMF_File& iFile);
    // The same of a file that is given away, which takes less memory.
    void Read(SMF_File&& ioFile);
    // At which rate a document's song goes on.
    enum ERate {
        eRate_Document, // the one it was saved with
        eRate_Keep      // this song's: the tempi are the document's, the samples follow
    };
    // From an open document. A map that it does not have is the default one; without song info the last change is
    // the end. Throws Kora_SongException for a document without any map or info, and for places that the
    // invariants rule out, and what reading a document throws.
    void Read(FF_Document& ioDocument, ERate iRate = eRate_Document);

    // Into an open document, in place of the song there. Checks nothing.
    void Write(FF_Document& ioDocument) const;
    // As SMF_TimeMaps::Write, which see.
    SMF_TimeMaps::Report Write(SMF_File& ioFile,
                               SMF_TimeMaps::EDivision iDivision = SMF_TimeMaps::eDivision_Keep) const;
    // As a document, by FF_SafeSave, whose promises hold and whose exceptions come through. A song has none of the
    // notes of the MIDI file, and none of the host's streams of the document, that it was opened from: in that
    // file's place they are gone. Throws what
    // CheckPlaces throws before it touches anything, so that what is saved can be read.
    void Save(const Sys_FileLoc& iLocation) const;

    // Throws Kora_SongException for the first entry, or end, that is no place. Its cost grows with the entries.
    void CheckPlaces() const;

private:
    void AddFirstTempo();

    Time_MeterMap mMeters;
    Time_TempoMap mTempi;
    Time_KeySignatureMap mKeys;
    Time_Converter mConverter;
    Time_Tick mEndTick{cStartTick};
    ETimeCodeFormat mTimeCodeFormat;
};
