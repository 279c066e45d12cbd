// Msg_Receiver: whom a Msg_ObjBase tells, by a bare value.
//
// Threads:   none inside.
// Ownership: linked into at most one Msg_ObjBase, which does not own it. A copy is not linked.
#pragma once

#include "Bastel/Cmn/Cmn_DoublyLinkedList.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

class Msg_ObjBase;

// Values from 2 are the application's: `static_cast<Msg_EMessage>(2)`.
enum Msg_EMessage : Cmn_Int32 {
    Msg_eMessage_Attached = 0, // to a new receiver only, so that it brings itself up to date
    Msg_eMessage_Destroyed = 1 // the broadcaster is being destroyed
};

class KORA_API Msg_Receiver : public Cmn_DoublyLinkedListLink
{
public:
    Msg_Receiver();
    Msg_Receiver(const Msg_Receiver&);
    Msg_Receiver& operator=(const Msg_Receiver&);
    // Unlinks the receiver from its Msg_ObjBase, whose count goes down by one.
    virtual ~Msg_Receiver();
    // The broadcaster tells it, on the thread that tells.
    virtual void MsgReceive(Msg_EMessage iMessage) = 0;

    // Whom it receives from; null while it is unlinked.
    Msg_ObjBase* GetMsgObj() const { return mObjP; }

private:
    friend class Msg_ObjBase;

    Msg_ObjBase* mObjP = nullptr;
};
