#include "Kora/C/C_Give_p.h"
#include "Kora/C/C_Song_p.h"
#include "Kora/Ndo/Ndo_History.h"
#include "Kora/Ndo/Ndo_Manager.h"
#include "Kora/Ndo/Ndo_Operation.h"
#include "Kora/Ndo/Ndo_StOperationRecorder.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

// A song has any number of histories, of which each knows the steps that it recorded. What else changes the song (an
// edit outside of a step, another history) leaves the steps as they are, but the song is not as it was marked.
struct kora_history : C_Handle
{
    static constexpr EKind cKind = eKind_History;

    explicit kora_history(kora_song& ioSong)
        : C_Handle(cKind, &C_Delete<kora_history>)
        , mSong(ioSong)
    {
    }
    // What was begun is taken back.
    ~kora_history() { Stop(); }

    // Around what changes the song by this history's steps.
    class [[nodiscard]] StOwnChange
    {
    public:
        explicit StOwnChange(kora_history& ioHistory)
            : mHistory(ioHistory)
        {
            mHistory.NoteOthers();
        }
        ~StOwnChange()
        {
            mHistory.mSong->TellKeys();
            mHistory.mSeen = mHistory.mSong->GetChanges();
        }
        StOwnChange(const StOwnChange&) = delete;
        StOwnChange& operator=(const StOwnChange&) = delete;

    private:
        kora_history& mHistory;
    };
    void NoteOthers()
    {
        if (mSeen != mSong->GetChanges()) mHistory.MarkUnsaved();
    }
    bool IsSaved() const { return mSeen == mSong->GetChanges() && mHistory.IsSaved(); }
    void MarkSaved()
    {
        mSong->CheckNoCallback();
        C_Require(!mSong->mIsRecorded, "a step of the song is open", KORA_BUSY);
        mSeen = mSong->GetChanges();
        mHistory.MarkSaved();
    }

    void Stop()
    {
        if (!mRecorder) return;
        const kora_song::StTellBehind tell(*mSong);
        mRecorder.reset();
        mSong->mIsRecorded = false;
        mSong->TellKeys();
        mSeen = mSong->GetChanges(); // its own, as far as it recorded
    }
    // Out of memory, either goes on recording as if it had not been called.
    void End(const char* iName, std::int64_t iMergeID)
    {
        std::unique_ptr<Ndo_Operation> done = Recorder().OperationComplete();
        try {
            mHistory.Add(std::move(done), iName, iMergeID);
        } catch (...) {
            mRecorder->Resume(std::move(done));
            throw;
        }
        Stop();
    }
    void Cancel()
    {
        const kora_song::StTellBehind tell(*mSong);
        std::unique_ptr<Ndo_Operation> begun = Recorder().OperationComplete();
        const Ndo_Operation::Size before = begun->GetSize();
        try {
            Ndo_StOperationRecorder back; // takes back what was half taken back
            begun->Restore();
            static_cast<void>(back.OperationComplete());
        } catch (...) {
            if (begun->GetSize() == before) {
                mRecorder->Resume(std::move(begun));
            } else {
                Stop();
                mHistory.MarkUnsaved();
            }
            throw;
        }
        Stop();
    }
    Ndo_StOperationRecorder& Recorder()
    {
        mSong->CheckNoCallback();
        C_Require(mRecorder.has_value(), "this history does not record", KORA_BUSY);
        return *mRecorder;
    }
    Ndo_History& Idle()
    {
        mSong->CheckNoCallback();
        C_Require(!Ndo_gManager.IsRecording(), "a history records", KORA_BUSY);
        return mHistory;
    }

    C_Ref<kora_song> mSong; // first: the steps are of its maps
    Ndo_History mHistory;
    std::optional<Ndo_StOperationRecorder> mRecorder;
    std::uint64_t mSeen = mSong->GetChanges(); // of the song's changes, those that are known
};

kora_status kora_history_new(kora_song* song, kora_history** out)
{
    return C_GuardModel([&] {
        kora_song& of = C_Get(song, "song");
        kora_history*& history = C_Out(out, "out");
        history = new kora_history(of);
    });
}

kora_status kora_history_begin(kora_history* history)
{
    return C_GuardModel([&] {
        kora_history& of = C_Get(history, "history");
        (void)of.Idle();
        of.NoteOthers();
        of.mRecorder.emplace();
        of.mSong->mIsRecorded = true;
    });
}

kora_status kora_history_end(kora_history* history, const char* name, int64_t merge_id)
{
    return C_GuardModel([&] {
        kora_history& of = C_Get(history, "history");
        C_Out(name, "name");
        of.End(name, merge_id);
    });
}

kora_status kora_history_cancel(kora_history* history)
{
    return C_GuardModel([&] { C_Get(history, "history").Cancel(); });
}

kora_status kora_history_undo(kora_history* history)
{
    return C_GuardModel([&] {
        Ndo_History& of = C_Get(history, "history").Idle();
        const kora_song::StTellBehind tell(*history->mSong);
        const kora_history::StOwnChange change(*history);
        C_Require(of.Undo(), "there is no step to undo", KORA_NOT_FOUND);
    });
}

kora_status kora_history_redo(kora_history* history)
{
    return C_GuardModel([&] {
        Ndo_History& of = C_Get(history, "history").Idle();
        const kora_song::StTellBehind tell(*history->mSong);
        const kora_history::StOwnChange change(*history);
        C_Require(of.Redo(), "there is no step to redo", KORA_NOT_FOUND);
    });
}

kora_status kora_history_count(kora_history* history, size_t* steps, size_t* position)
{
    return C_GuardModel([&] {
        const Ndo_History& of = C_Get(history, "history").mHistory;
        C_Out(steps, "steps");
        C_Out(position, "position");
        *steps = of.GetNumberOfSteps();
        *position = of.GetPosition();
    });
}

kora_status kora_history_step_name(kora_history* history, size_t step, char* buffer, size_t capacity,
                                   size_t* size)
{
    return C_GuardModel([&] {
        const Ndo_History& of = C_Get(history, "history").mHistory;
        C_Out(size, "size");
        C_Require(step < of.GetNumberOfSteps(), "there is no such step", KORA_NOT_FOUND);
        C_GiveText(of.GetStepName(step), buffer, capacity, size);
    });
}

kora_status kora_history_mark_saved(kora_history* history)
{
    return C_GuardModel([&] { C_Get(history, "history").MarkSaved(); });
}

kora_status kora_history_is_saved(kora_history* history, int32_t* out)
{
    return C_GuardModel([&] {
        const kora_history& of = C_Get(history, "history");
        C_Out(out, "out") = of.IsSaved() ? 1 : 0;
    });
}
