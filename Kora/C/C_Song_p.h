// kora_song: a song of the C interface.
//
// Invariants: the meter map is real and the tempo map not empty; every entry is from the song's first tick on and
// inside the limits of ticks. What is read is checked, edits go through calls that refuse what leads out. Tempi may
// bring an entry past the limits of samples: conversions stop there, and saving is refused.
// Undo:       the maps are undoable, but come and go without a notice: a song is no part of an operation.
#pragma once

#include "Kora/C/C_Handle_p.h"
#include "Kora/Cnn/Cnn_Receiver.h"
#include "Kora/Kora_Song.h"
#include "Kora/Ndo/Ndo_StDisableRecording.h"

#include <memory>
#include <string>
#include <utility>

struct kora_song : C_Handle
{
    static constexpr EKind cKind = eKind_Song;

    // Of the session's rate and format; a song of no file begins with 120 quarters a minute in 4/4.
    kora_song();
    ~kora_song();

    Kora_Song& Get() { return mSong; }
    const Kora_Song& Get() const { return mSong; }
    // On the model. Asserts nothing and throws where another history, or someone else's recorder, would get the edit.
    void CheckMayEdit() const;
    void SetListener(kora_song_listener iListener, void* iUser);
    // The key map has no listeners of its own: whoever may have edited it says so here.
    void TellKeys()
    {
        Time_KeySignatureMap& keys = mSong.GetKeyMap();
        if (!keys.IsModified()) return;
        keys.SetModified(false);
        Tell(KORA_CHANGED_KEYS);
    }
    // Tells of all that changes in a scope once, at its end. Scopes nest. With eAllOrNothing an exception on its way
    // says that nothing has changed, though maps whose edit began may have said so.
    class [[nodiscard]] StTellBehind
    {
    public:
        enum EChanges { eAny, eAllOrNothing };
        explicit StTellBehind(kora_song& ioSong, EChanges iChanges = eAny)
            : mSong(ioSong)
            , mIsAllOrNothing(iChanges == eAllOrNothing)
            , mExceptions(std::uncaught_exceptions())
            , mBefore(ioSong.mChanges)
        {
            ++mSong.mHolds;
        }
        ~StTellBehind()
        {
            mSong.TellKeys();
            if (mIsAllOrNothing && std::uncaught_exceptions() > mExceptions) {
                mSong.mChanges = mBefore;
                mSong.mHeld = 0;
            }
            if (--mSong.mHolds == 0) mSong.CallListener(std::exchange(mSong.mHeld, 0u));
        }
        StTellBehind(const StTellBehind&) = delete;
        StTellBehind& operator=(const StTellBehind&) = delete;

    private:
        kora_song& mSong;
        const bool mIsAllOrNothing;
        const int mExceptions; // on their way already
        const std::uint64_t mBefore;
    };
    // While a callback runs, in which the song is not edited.
    class [[nodiscard]] StCallback
    {
    public:
        explicit StCallback(kora_song& ioSong)
            : mSong(ioSong)
        {
            ++mSong.mCallbacks;
        }
        ~StCallback() { --mSong.mCallbacks; }
        StCallback(const StCallback&) = delete;
        StCallback& operator=(const StCallback&) = delete;

    private:
        kora_song& mSong;
    };
    // Throws within a callback.
    void CheckNoCallback() const
    {
        C_Require(mCallbacks == 0, "the song is not edited within a callback of its own", KORA_BUSY);
    }

    // Goes on with every change, whoever makes it.
    std::uint64_t GetChanges() const { return mChanges; }

    bool mIsRecorded = false; // by a history of its own

private:
    void TempiChanged(const Mdl_SimpleValMessage_ValChanged&) { Tell(KORA_CHANGED_TEMPI); }
    void MetersChanged(const Mdl_SimpleValMessage_ValChanged&) { Tell(KORA_CHANGED_METERS); }
    void Tell(std::uint32_t iWhat)
    {
        if (iWhat != 0) ++mChanges;
        if (mHolds > 0) {
            mHeld |= iWhat;
        } else {
            CallListener(iWhat);
        }
    }
    void CallListener(std::uint32_t iWhat)
    {
        if (mListener == nullptr || iWhat == 0) return;
        const StCallback callback(*this);
        mListener(mUser, this, iWhat);
    }

    using Tempi = Cnn_Receiver<kora_song, Mdl_SimpleValMessage, &kora_song::TempiChanged>;
    using Meters = Cnn_Receiver<kora_song, Mdl_SimpleValMessage, &kora_song::MetersChanged>;

    Kora_Song mSong{Ndo_Object::kUndoable};
    kora_song_listener mListener = nullptr;
    void* mUser = nullptr;
    std::uint64_t mChanges = 0;
    int mHolds = 0;          // scopes that tell behind …
    std::uint32_t mHeld = 0; // … and what
    int mCallbacks = 0;      // that run
    Tempi mTempiReceiver{*this};
    Meters mMetersReceiver{*this};
};

// A handle of one of a song's maps.
template <class Handle, class Map, Map& (Kora_Song::*tMap)(), C_Handle::EKind tKind>
struct C_MapHandle : C_Handle
{
    static constexpr EKind cKind = tKind;

    explicit C_MapHandle(kora_song& ioSong)
        : C_Handle(tKind, &C_Delete<Handle>)
        , mSong(ioSong)
    {
    }
    Map& Get() const { return (mSong->Get().*tMap)(); }
    Map& ForEdit() const
    {
        mSong->CheckMayEdit();
        return Get();
    }

    C_Ref<kora_song> mSong;
};

struct kora_tempo_map
    : C_MapHandle<kora_tempo_map, Time_TempoMap, &Kora_Song::GetTempoMap, C_Handle::eKind_TempoMap>
{
    using C_MapHandle::C_MapHandle;
};
struct kora_meter_map
    : C_MapHandle<kora_meter_map, Time_MeterMap, &Kora_Song::GetMeterMap, C_Handle::eKind_MeterMap>
{
    using C_MapHandle::C_MapHandle;
};
struct kora_key_map
    : C_MapHandle<kora_key_map, Time_KeySignatureMap, &Kora_Song::GetKeyMap, C_Handle::eKind_KeyMap>
{
    using C_MapHandle::C_MapHandle;
};

// A new song that iFill reads, if it does not throw. Reading is no step of a history that records.
template <class Fill>
kora_song* C_MakeSong(const Fill& iFill)
{
    struct Discard
    {
        void operator()(kora_song* iSong) const { iSong->Release(); }
    };
    const C_StModel model;
    const Ndo_StDisableRecording disabled;
    std::unique_ptr<kora_song, Discard> song(new kora_song);
    iFill(song->Get());
    song->Get().GetKeyMap().SetModified(false);
    return song.release();
}

// A tick that a map's entry, or a range's end, may have.
Time_Tick C_Tick(std::int64_t iTick, const char* iName);
// A range of such ticks, not backwards.
void C_CheckRange(std::int64_t iFrom, std::int64_t iTo);
