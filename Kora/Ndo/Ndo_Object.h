// Ndo_Object: an object whose changes can be undone.
//
// A derived class calls NdoAboutToModify() before each change of what it persists, gives its whole content
// as a state and takes it back; deletion goes through NdoDelete(). The ID, not the address, is the
// object's identity: one that is deleted and brought back by undo is the same object to all who hold its
// ID or an Ndo_ExternalRef.
//
// Threads:   none inside; the application's model thread.
// Ownership: the application's. The manager knows undoable objects but owns none.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

class Ndo_State;

class KORA_API Ndo_Object
{
public:
    // Whether the manager knows an object, so that its changes are recorded.
    enum EUndoFlag { kNoUndo = 0, kUndoable = 1 };

    // With kUndoable, registers the object under the next ID, which a recording operation logs as a creation.
    // Every other value leaves it outside of undo, as scratch copies are.
    explicit Ndo_Object(EUndoFlag iUndoFlag);
    // A copy has the original's ID but is not registered: whoever copies an undoable object sees to that.
    Ndo_Object(const Ndo_Object&);
    Ndo_Object& operator=(const Ndo_Object&);

    // Neither unregisters nor logs: an undoable object is deleted through NdoDelete.
    virtual ~Ndo_Object();
    // Deletes the object, which was made with `new`; logs the deletion when it is undoable. While a restore
    // runs that does not itself remove the object, nothing happens: it stays alive and registered.
    virtual void NdoDelete();
    // A new snapshot of all that a restore puts back; the caller owns it.
    virtual Ndo_State* NdoGetState() = 0;
    // Sets the object to a snapshot of its class, which stays the caller's.
    virtual void NdoRestoreState(Ndo_State* iStateP) = 0;
    // Called once for each restored object when all objects of the operation have been
    // restored. Does nothing here.
    virtual void NdoCleanup();

    // By its ID: undoable objects have one.
    EUndoFlag NdoIsUndoable() const { return mID != cNoID ? kUndoable : kNoUndo; }
    // From 1; -1 for an object outside of undo.
    Cmn_Int64 NdoGetID() const { return mID; }
    // Takes the next ID and logs a creation; nothing if the object is undoable.
    void NdoMakeUndoable();
    // Registers a fresh object under the ID of the one that it stands for; asserts "!this->NdoIsUndoable()".
    void NdoRestoreUndoable(Cmn_Int64 iID);

protected:
    // Each edit calls it before it changes anything: what an operation's first call finds
    // is what undo brings back.
    void NdoAboutToModify();

private:
    static constexpr Cmn_Int64 cNoID = -1;

    bool mDeleteWasCalled = false;
    Cmn_Int64 mID = cNoID;
};
