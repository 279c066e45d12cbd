// Tool_Song: a song in the settings that the command was given; its units and invariants are Kora_Song's.
//
// Globals:    the settings become the process's and must stay so while the song is used: a tempo map takes
//             its sample rate from them, and the converter its frame rate.
#pragma once

#include "Kora/Kora_Song.h"
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
    static constexpr Cmn_Int64 cStartTick = Kora_Song::cStartTick.AsInt64();

    // 120 beats a minute in 4/4, from the start on.
    explicit Tool_Song(const Tool_Settings& iSettings);
    // Of several events of a kind at one tick the last in the file holds. Throws Tool_InputError when an
    // event lies past the time limits.
    Tool_Song(Tool_MidiFile iFile, const Tool_Settings& iSettings);
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
    const Kora_Song& GetSong() const { return mSong; }
    const Time_MeterMap& GetMeterMap() const { return mSong.GetMeterMap(); }
    const Time_TempoMap& GetTempoMap() const { return mSong.GetTempoMap(); }
    const Time_KeySignatureMap& GetKeyMap() const { return mSong.GetKeyMap(); }
    const Time_Converter& GetConverter() const { return mSong.GetConverter(); }
    Time_Tick GetStartTick() const { return mSong.GetStartTick(); }
    // The last event of any track.
    Time_Tick GetEndTick() const { return mSong.GetEndTick(); }

    // For edits. After one comes Edited, with where the last event is now, or the last change where
    // that is later. It throws Tool_InputError, in which iName stands for the edit, for places that
    // the invariants rule out.
    Time_MeterMap& GetMeterMap() { return mSong.GetMeterMap(); }
    Time_TempoMap& GetTempoMap() { return mSong.GetTempoMap(); }
    Time_KeySignatureMap& GetKeyMap() { return mSong.GetKeyMap(); }
    void Edited(Time_Tick iEndTick, const std::string& iName);

private:
    Tool_Song(FF_Document& ioDocument, const std::optional<FF_TimeMaps::SongInfo>& iInfo,
              const Tool_AskedSettings& iAsked);

    Tool_Settings mSettings;
    Kora_Song mSong;
};
