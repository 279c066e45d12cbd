// Ndo_Operation: what happened to undoable objects in one user step, and the way back.
//
//     Ndo_StOperationRecorder recorder;
//     map.AddMeterChange(…);                                            // logs itself
//     std::unique_ptr<Ndo_Operation> undo = recorder.OperationComplete();
//     …
//     Ndo_StOperationRecorder redoRecorder;
//     undo->Restore();                                                  // as before; undo is empty now
//     std::unique_ptr<Ndo_Operation> redo = redoRecorder.OperationComplete();
//
//     recording ──OperationComplete──▶ finished ──Restore──▶ restored (empty)
//     the manager logs into it         the application        may be destroyed
//                                      owns it                or used again
//
// From a listener, while a restore runs:
//     the same operation is restored    asserts "!IsRestoring()" and changes nothing
//     another operation is restored     is a restore of its own; then the outer one goes
//                                       on in the mode that it had
//     the operation is destroyed        allowed: the restore goes on to its end, without it
//
// Invariants: (1) a state in mModifiedStates is the object as it was before its first change within the
//             operation; a null there marks an object that was created within it  (2) mDeletedStates has
//             the objects that were there before and were deleted within it, as they were then  (3) an ID
//             is in one of the two at most.
// Threads:    none inside; the application's model thread.
// Ownership:  owns its states and actions, never an object. The application owns finished operations: how
//             many, and in which order they are restored, is its choice.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

class Ndo_Action;
class Ndo_Manager_StRestoreWrapper;
class Ndo_Object;
class Ndo_State;

class KORA_API Ndo_Operation
{
public:
    Ndo_Operation();
    // What an operation holds has one owner: copying one that is not empty asserts
    // "iOther.IsEmpty()", and the copy is empty.
    Ndo_Operation(const Ndo_Operation& iOther);
    Ndo_Operation& operator=(const Ndo_Operation& iOther);
    ~Ndo_Operation();

    // Takes the document back to where the operation began, objects first, then actions, and leaves the
    // operation empty. What another operation records meanwhile is the way forward again (redo).
    //
    // While that runs, what is not yet restored is out of everybody's reach, and the operation reads as
    // empty. An exception from an object, state or action leaves at once, with the mode as it was before.
    // What is not yet restored comes back here then and is freed with the operation; a recorder around the
    // restore rolls back what had been done. An object that cannot be found (it was deleted while nobody
    // recorded) is reported by the manager and skipped.
    void Restore();

    // Makes what was recorded next part of this operation, which then leads back from behind both; ioLater is
    // empty afterwards. Out of memory leaves both as they were. Asserts "!IsRestoring()", and does nothing,
    // while either is restored or they are the same.
    void Append(Ndo_Operation& ioLater);

    [[nodiscard]] bool IsEmpty() const;
    // What the states and actions say that they keep.
    [[nodiscard]] std::size_t GetByteCount() const;
    bool IsRestoring() const { return mRestoring != nullptr; }
    // How much it holds, and of what. One that holds as much after a Restore that threw as before it was not used
    // up: it may be restored again once the document is what it was.
    struct Size
    {
        std::size_t mModified, mDeleted, mActions;
        bool operator==(const Size&) const = default;
    };
    [[nodiscard]] Size GetSize() const
    {
        return {mModifiedStates.size(), mDeletedStates.size(), mActions.size()};
    }
    // One line for each object and one for the number of actions.
    [[nodiscard]] std::string Dump() const;

    // Switch off the logging of modifications [0], creations [1] and deletions [2] in all operations. They
    // are the application's to set.
    static bool sDisableLog[3];

private:
    friend class Ndo_Manager;
    class StRestoring;

    using States = std::map<Cmn_Int64, std::unique_ptr<Ndo_State>>;
    using Actions = std::vector<std::unique_ptr<Ndo_Action>>;

    void LogModify(Ndo_Object* iObjP);
    void LogCreate(Cmn_Int64 iID);
    void LogDelete(Ndo_Object* iObjP);
    void LogAction(Ndo_Action* iAction);

    void Take(Ndo_Operation& ioOther);

    // The steps of Restore.
    void RestoreContent(Ndo_Manager_StRestoreWrapper& ioMode);
    void BringDeletedObjectsBack();
    void PutStatesBack();
    void CleanUpAndRemoveCreatedObjects(Ndo_Manager_StRestoreWrapper& ioMode);
    void UndoActions();

    // Destroys the actions from the last to the first.
    static void FreeActions(Actions& ioActions);

    States mModifiedStates;
    States mDeletedStates;
    Actions mActions; // in the order they were logged
    StRestoring* mRestoring = nullptr;
};
