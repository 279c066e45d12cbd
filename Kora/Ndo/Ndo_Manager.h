// Ndo_Manager: knows every undoable object by its ID, and the operation that records changes.
//
//                     SetRecordingOperation(op)
//     not recording ────────────────────────────▶ recording      changes of undoable
//                   objects and actions are logged
//                   ◀────────────────────────────                into mRecordingOpP, which does not nest
//                     SetRecordingOperation(0)
//
// Restore mode is apart from that: it holds while Ndo_Operation::Restore runs. In it no object can be
// deleted but the one that the restore itself removes. Restores nest, from listeners; each leaves
// both modes as it found them.
//
// Invariants: (1) IDs ascend from 1 and the counter never hands one out again
//             (2) an entry's count is 1 for a live registration and 1 for each
//                 reference; at 0 the entry goes.
// Threads:    none inside; all undo runs on the application's model thread.
// Ownership:  neither objects nor operations. There is one manager, Ndo_gManager, ready before any
//             constructor of a static object runs and still there after the last destructor.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <map>
#include <string>

class Ndo_Action;
class Ndo_Manager_StRestoreWrapper;
class Ndo_Object;
class Ndo_Operation;

struct Ndo_Manager_Entry
{
    Ndo_Object* mObjP = nullptr; // null once the object is deleted while references to the entry remain
    Cmn_Int32 mRefCount = 0;
};

class KORA_API Ndo_Manager
{
public:
    constexpr Ndo_Manager() = default;
    Ndo_Manager(const Ndo_Manager&) = delete;
    Ndo_Manager& operator=(const Ndo_Manager&) = delete;

    // Registers the object under the next ID and returns the ID; 0 for a null object. Logs a creation.
    Cmn_Int64 RegisterObject(Ndo_Object* iObjP);
    // The same under a given ID. References to a deleted object of that ID resolve to this one from now on.
    void RegisterObjectWithID(Ndo_Object* iObjP, Cmn_Int64 iID);

    // To be called before the object changes: logs its present state.
    void AboutToModifyObject(Ndo_Object* iObjP);
    // To be called before the object is deleted: logs its state and ends its registration. False, with
    // nothing changed, when a restore is running that does not remove this object: it must stay alive.
    [[nodiscard]] bool AboutToDeleteObject(Ndo_Object* iObjP);

    // The object of an ID that is known: null while it is deleted. An unknown ID asserts and gives null.
    Ndo_Object* LookupObject(Cmn_Int64 iID);

    // The operation that records from now on, or null for none. It stays the caller's; one that is destroyed
    // records no more. One that displaces another asserts "mRecordingOpP == 0" and records.
    void SetRecordingOperation(Ndo_Operation* iOp);
    Ndo_Operation* GetRecordingOperation() const { return mRecordingOpP; }
    bool IsRecording() const { return mRecordingOpP != nullptr; }

    // Gives an action that has been carried out to the recording operation; with none, releases its memory
    // without its destructor. Use Ndo_Action::LogAction.
    void LogAction(Ndo_Action* iAction);

    // One line for the manager and one for each entry: its ID, "live" or "deleted", and its count.
    [[nodiscard]] std::string Dump() const;

private:
    friend class Ndo_ExternalRefBase;
    friend class Ndo_Manager_StRestoreWrapper;
    friend class Ndo_Operation;
    friend class Ndo_StOperationRecorder;

    using ObjDict = std::map<Cmn_Int64, Ndo_Manager_Entry>;

    ObjDict& Dict();
    // The position of the object's entry; asserts "iter != mObjDict.end()" when there is none.
    ObjDict::iterator LookupIter(Ndo_Object* iObjP);
    void DecrementEntryRefCount(ObjDict::iterator iEntry);
    // Nobody records into the operation any more, nor do restores that run go back to it.
    void Forget(const Ndo_Operation* iOp);
    // A recorder ends. Within a restore the operation that it displaced, which that
    // restore records into, goes on.
    void EndRecording(const Ndo_Operation* iOp, Ndo_Operation* iDisplacedOp);

    // Made at the first use and never freed, so that the manager needs neither constructor
    // nor destructor at run time.
    ObjDict* mObjDict = nullptr;
    Ndo_Operation* mRecordingOpP = nullptr;
    Cmn_Int64 mNextID = 1;
    bool mRestoring = false;
    Ndo_Object* mRestoreDeleteObjP = nullptr;
    Ndo_Manager_StRestoreWrapper* mRestore = nullptr; // the innermost restore that runs
};

extern KORA_API Ndo_Manager Ndo_gManager;
