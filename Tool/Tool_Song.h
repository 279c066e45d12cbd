// Tool_Song: a song's meter, tempo and key maps with the converter over them.
//
// Units:      ticks of the time line, 960000 to a quarter note. A MIDI file's song starts at
//             cStartTick: bar 1, sample 0.
// Invariants: (1) the meter map and the tempo map have an entry  (2) no entry and no event of the song lies
//             before its start, before sample 0 or past the limits of Time_Typed.
// Globals:    the settings become the process's and must stay so while the song is used: a tempo map takes
//             its sample rate from them, and the converter its frame rate.
// Ownership:  owns its maps; the converter borrows them.
#pragma once

#include "Kora/FF/Song/FF_TimeMaps.h"
#include "Kora/SMF/SMF_TimeMaps.h"
#include "Kora/Time/Convert/Time_Converter.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"
#include "Tool/Tool_MidiFile.h"
#include "Tool/Tool_Settings.h"

#include <memory>
#include <optional>

class FF_Document;
class Tool_Input;

class Tool_Song
{
public:
    static constexpr Cmn_Int64 cTicksPerQuarter = SMF_TimeMaps::cTicksPerQuarter;
    static constexpr Cmn_Int64 cStartTick = SMF_TimeMaps::cStartTick.AsInt64();

    // 120 beats a minute in 4/4, from the start on.
    explicit Tool_Song(const Tool_Settings& iSettings);
    // Of several events of a kind at one tick the last in the file holds. Throws Tool_InputError when an
    // event lies past the time limits.
    Tool_Song(const Tool_MidiFile& iFile, const Tool_Settings& iSettings);
    // The song of an open document, in the settings it was saved in where no others are asked for. A map that
    // the document does not have is the default one; without song info the last change is the end. Throws
    // Tool_InputError for a document without any of them and for places that the invariants rule out, and
    // what reading a document throws.
    Tool_Song(FF_Document& ioDocument, const Tool_AskedSettings& iAsked);
    // The song in a file or a pipe, MIDI or document: what the bytes say, whatever the name is. Throws
    // Tool_InputError for one that cannot be read or understood, and what reading a document throws.
    static std::unique_ptr<Tool_Song> Load(const Tool_Input& iInput, const Tool_AskedSettings& iAsked);
    Tool_Song(const Tool_Song&) = delete;
    Tool_Song& operator=(const Tool_Song&) = delete;

    const Tool_Settings& GetSettings() const { return mSettings; }
    const Time_MeterMap& GetMeterMap() const { return mMeterMap; }
    const Time_TempoMap& GetTempoMap() const { return mTempoMap; }
    const Time_KeySignatureMap& GetKeyMap() const { return mKeyMap; }
    const Time_Converter& GetConverter() const { return mConverter; }
    Time_Tick GetStartTick() const { return mTempoMap.GetSongStartTick(); }
    // The last event of any track.
    Time_Tick GetEndTick() const { return mEndTick; }

    // For edits. After one comes Edited, with where the last event is now, or the last change where
    // that is later. It throws Tool_InputError, in which iName stands for the edit, for places that
    // the invariants rule out.
    Time_MeterMap& GetMeterMap() { return mMeterMap; }
    Time_TempoMap& GetTempoMap() { return mTempoMap; }
    Time_KeySignatureMap& GetKeyMap() { return mKeyMap; }
    void Edited(Time_Tick iEndTick, const std::string& iName);

private:
    Tool_Song(FF_Document& ioDocument, const std::optional<FF_TimeMaps::SongInfo>& iInfo,
              const Tool_AskedSettings& iAsked);

    void AddTempo(Time_Tick iTick, double iBeatsPerMinute);
    void CheckPlaces(const std::string& iName) const;

    Tool_Settings mSettings;
    Time_MeterMap mMeterMap;
    Time_TempoMap mTempoMap;
    Time_KeySignatureMap mKeyMap;
    Time_Converter mConverter;
    Time_Tick mEndTick;
};
