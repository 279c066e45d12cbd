// kora_song: a song of the C interface: its three maps, the converter over them, and what else its file says.
//
// Invariants: the meter map is real and the tempo map not empty; every entry and the end is a place: from the song's
// first tick on, inside the limits of typed times, at a bar of 32 bits. What is read is checked, edits go through
// calls that refuse what leads out.
// Undo:       the maps are undoable, but come and go without a notice: a song is no part of an operation.
#pragma once

#include "Kora/C/C_Handle_p.h"
#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/FF/Song/FF_TimeMaps.h"
#include "Kora/Time/Convert/Time_Converter.h"
#include "Kora/Time/Key/Time_KeySignatureMap.h"
#include "Kora/Time/Meter/Time_MeterMap.h"
#include "Kora/Time/Tempo/Time_TempoMap.h"

#include <string>

class SMF_File;

struct kora_song : C_Handle
{
    static constexpr EKind cKind = eKind_Song;

    // Of the session's rate and format; a song of no file begins with 120 quarters a minute in 4/4.
    kora_song();
    ~kora_song() override;

    void Read(const SMF_File& iFile);
    void Read(FF_Document& ioDocument);
    // Asserts nothing and throws where another history, or someone else's recorder, would get the edit.
    void CheckMayEdit() const;
    void SetListener(kora_song_listener iListener, void* iUser);
    Time_Tick GetEnd() const;

    Time_MeterMap mMeters{Ndo_Object::kUndoable};
    Time_TempoMap mTempi{Ndo_Object::kUndoable};
    Time_KeySignatureMap mKeys{Ndo_Object::kUndoable};
    Time_Converter mConverter;
    FF_TimeMaps::SongInfo mInfo;
    bool mIsRecorded = false; // by its history

private:
    void CheckPlaces() const;
    void AddFirstTempo();
    void TempiChanged(const Mdl_SimpleValMessage_ValChanged&) { Tell(KORA_CHANGED_TEMPI); }
    void MetersChanged(const Mdl_SimpleValMessage_ValChanged&) { Tell(KORA_CHANGED_METERS); }
    void Tell(std::uint32_t iWhat)
    {
        if (mListener != nullptr) mListener(mUser, this, iWhat);
    }

    using Tempi = Cnn_Receiver<kora_song, Mdl_SimpleValMessage, &kora_song::TempiChanged>;
    using Meters = Cnn_Receiver<kora_song, Mdl_SimpleValMessage, &kora_song::MetersChanged>;

    kora_song_listener mListener = nullptr;
    void* mUser = nullptr;
    Tempi mTempiReceiver{*this};
    Meters mMetersReceiver{*this};
};

// A handle of one of a song's maps.
template <class Map, Map kora_song::*tMap, C_Handle::EKind tKind>
struct C_MapHandle : C_Handle
{
    static constexpr EKind cKind = tKind;

    explicit C_MapHandle(kora_song& ioSong)
        : C_Handle(tKind)
        , mSong(ioSong)
    {
    }
    Map& Get() const { return (*mSong).*tMap; }
    Map& ForEdit() const
    {
        mSong->CheckMayEdit();
        return Get();
    }

    C_Ref<kora_song> mSong;
};

struct kora_tempo_map : C_MapHandle<Time_TempoMap, &kora_song::mTempi, C_Handle::eKind_TempoMap>
{
    using C_MapHandle::C_MapHandle;
};
struct kora_meter_map : C_MapHandle<Time_MeterMap, &kora_song::mMeters, C_Handle::eKind_MeterMap>
{
    using C_MapHandle::C_MapHandle;
};
struct kora_key_map : C_MapHandle<Time_KeySignatureMap, &kora_song::mKeys, C_Handle::eKind_KeyMap>
{
    using C_MapHandle::C_MapHandle;
};

// A tick that a map's entry, or a range's end, may have.
Time_Tick C_Tick(std::int64_t iTick, const char* iName);
// A range of such ticks, not backwards.
void C_CheckRange(std::int64_t iFrom, std::int64_t iTo);
