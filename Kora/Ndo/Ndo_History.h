// Ndo_History: a document's finished operations in their order: undo, redo, and whether
// the document is as saved.
//
//     Ndo_StOperationRecorder recorder;
//     map.AddMeterChange(…);
//     history.Add(recorder.OperationComplete(), "Add Meter Change");
//     history.Undo();                                     // GetRedoName() is "Add Meter Change"
//
//     steps       | draw | move | cut | paste |           GetNumberOfSteps() is 4
//     positions   0      1      2     3       4           before the first step to behind the last
//                        ▲saved       ▲GetPosition() is 3: "paste" was undone
//                                      (Redo brings it back, Add drops it)
//
// Merging:   a step that is added with the merge ID of the one before it becomes part of that one, which
//            keeps its name and the state that it leads back to: dragging is one step. It does not when
//            anything came between them, be it Undo, Redo, GoTo or StopMerging, nor when the document was
//            saved there: the step that follows is one of its own, so that undo stops at what was saved.
// Saved:     a new history stands for a document as saved. Where the saved position is lost, because
//            the steps to it were dropped, the document is not as saved any more until MarkSaved,
//            wherever undo and redo lead.
// Limits:    when they are exceeded the oldest steps are dropped first, then those that lie farthest
//            ahead; the last one to go is the one that Undo takes. The limit of bytes leaves one
//            step, however big it is.
// Restoring: while a step is restored the history is busy. What is called then from a map's or an
//            object's listener to change it is refused: Undo, Redo and GoTo are false, all others assert
//            "!mIsBusy" and change nothing.
// Threads:   none inside; the application's model thread.
// Ownership: owns its operations, not its listeners. It is destroyed neither while it is
// busy nor from a listener.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class Ndo_HistoryListener;
class Ndo_Operation;

// Not in the exported class, so that every module has them as constants of its own.
struct Ndo_HistoryConstants
{
    // For SetLimits: no limit of that kind.
    static constexpr std::size_t cUnlimited = static_cast<std::size_t>(-1);
    // The merge ID of a step that stays one of its own.
    static constexpr Cmn_Int64 cNeverMerge = 0;
};

class KORA_API Ndo_History : public Ndo_HistoryConstants
{
public:
    Ndo_History();
    Ndo_History(const Ndo_History&) = delete;
    Ndo_History& operator=(const Ndo_History&) = delete;
    ~Ndo_History();

    // --- Steps

    // Takes an operation that was completed just now; steps that could be redone go. An empty one is taken
    // and freed, and nothing else happens. False when it is null, which asserts "ioOperation != 0", or the
    // history is busy: then, and where the memory for one more step is not there (std::bad_alloc), it stays
    // the caller's and nothing is changed.
    bool Add(std::unique_ptr<Ndo_Operation>&& ioOperation, const std::string& iName,
             Cmn_Int64 iMergeID = cNeverMerge);
    // The next step does not merge: the mouse was let go.
    void StopMerging();
    // Forgets all steps. The document stays as it is, and as saved if it is that.
    void Clear();

    bool CanUndo() const { return !mIsBusy && mPosition > 0; }
    bool CanRedo() const;
    // One step back or ahead; false, and nothing happens, when there is none or the history is busy. So is,
    // with the assertion "!Ndo_gManager.IsRecording()", a call while an operation records.
    //
    // An exception from the objects of the step reaches the caller. The document is then as it was before the
    // call. Where no state had been put back, as when memory runs out, the step may be restored again. Else it
    // cannot, nor can those beyond it, and they are dropped; the steps to the other side are still there. (Where
    // taking back what was half restored throws too, nobody knows what the document is: all steps go and it is
    // not as saved.)
    bool Undo();
    // To the other side, as Undo.
    bool Redo();
    // Undoes or redoes up to a position, with one message at the end; false as above, and for a position that
    // is not there. After an exception the position is where the last good step led.
    bool GoTo(std::size_t iPosition);

    std::size_t GetNumberOfSteps() const;
    std::size_t GetPosition() const { return mPosition; }
    // Of the step between the positions iStep and iStep + 1; empty when there is none.
    std::string GetStepName(std::size_t iStep) const;
    // Of the step that is next; empty when there is none.
    std::string GetUndoName() const { return mPosition > 0 ? GetStepName(mPosition - 1) : std::string(); }
    std::string GetRedoName() const { return GetStepName(mPosition); }

    // --- Limits, of the steps to both sides together

    // Bytes count what the states and actions say of themselves (Ndo_State::NdoGetByteCount,
    // Ndo_Action::GetByteCount).
    void SetLimits(std::size_t iMaxSteps, std::size_t iMaxBytes);
    std::size_t GetByteCount() const { return mNumBytes; }

    // --- Saved

    // The document was saved as it is now, or is from now on unlike any file, such as one that was rescued.
    void MarkSaved();
    // From now on unlike any file, wherever undo and redo lead, until MarkSaved.
    void MarkUnsaved();
    bool IsSaved() const { return !mIsBusy && mSaved == mPosition; }
    // Where undo and redo lead to the document as saved, if they do.
    std::optional<std::size_t> GetSavedPosition() const { return mSaved; }

    // --- Listeners, told in the order in which they were added

    // One that is added by another is told from the next change on; one that is removed by
    // another is not told any more.
    void AddListener(Ndo_HistoryListener* iListenerP);
    // Nothing if it is absent.
    void RemoveListener(Ndo_HistoryListener* iListenerP);

    // A line a step, with marks for the position and the saved one: "> 1 saved", "  draw, 120 bytes".
    std::string Dump() const;

private:
    struct Step;
    class StBusy;
    class StChange;

    bool CanChange() const;
    bool TryMerge(Ndo_Operation& ioOperation, Cmn_Int64 iMergeID);
    // Restores the step to a side of the position, which moves.
    void Restore(bool iBack);
    void RestoreRecorded(Step& ioStep, bool iBack);
    void DropFailed(bool iBack, bool iIsDocumentKnown);
    void EraseAll();
    void EraseSteps(std::size_t iFirst, std::size_t iLast);
    void KeepLimits();
    void TellListeners();

    std::vector<Step> mSteps;
    std::size_t mPosition = 0;
    std::optional<std::size_t> mSaved = 0;
    Cmn_Int64 mMergeID = cNeverMerge; // of the step before the position, while one may merge into it
    std::size_t mNumBytes = 0;
    std::size_t mMaxSteps = cUnlimited;
    std::size_t mMaxBytes = cUnlimited;
    bool mIsBusy = false;

    std::vector<Ndo_HistoryListener*> mListeners; // null where one was removed while they are told
    int mTellingDepth = 0;
};
