// Msg_ObjBase: tells the receivers linked to it a bare value, first to last.
//
// What a receiver throws ends here: it is asserted ("a receiver threw an exception")
// and the next one is told.
//
// Threads:   none inside.
// Ownership: receivers stay the caller's; those still linked are told of the destruction and unlinked.
#pragma once

#include "Kora/Cnn/Msg_Receiver.h"

class KORA_API Msg_ObjBase
{
public:
    Msg_ObjBase();
    Msg_ObjBase(const Msg_ObjBase&) = delete;
    Msg_ObjBase& operator=(const Msg_ObjBase&) = delete;
    // Tells every receiver Msg_eMessage_Destroyed, then unlinks them all.
    ~Msg_ObjBase();

    // Links the receiver at the end and tells it, and only it, Msg_eMessage_Attached. One that is linked
    // already asserts "iReceiverP->mObjP == 0" and is unlinked first.
    void AddReceiver(Msg_Receiver* iReceiverP);
    // Unlinks the receiver; one that is not linked here asserts "iReceiverP->mObjP == this".
    void RemoveReceiver(Msg_Receiver* iReceiverP);
    // Tells the receivers from first to last. Each one's link leads on to the next when its MsgReceive is
    // through, so both have to stay linked until then. One that unlinks itself nonetheless, or is destroyed,
    // asserts and ends the broadcast, whether or not it is linked again.
    void BroadcastMessage(Msg_EMessage iMessage);

    Cmn_Int32 GetNumberOfReceivers() const { return mCount; }

private:
    // A broadcast that runs; they nest.
    struct [[nodiscard]] StTelling
    {
        explicit StTelling(Msg_ObjBase& ioObj);
        StTelling(const StTelling&) = delete;
        StTelling& operator=(const StTelling&) = delete;
        ~StTelling();

        Msg_Receiver* mReceiver; // null once it is unlinked
        Msg_ObjBase* mObjP;
        StTelling* mOuter;
    };

    Cmn_DoublyLinkedList<Msg_Receiver> mReceivers;
    Cmn_Int32 mCount = 0;
    StTelling* mTelling = nullptr; // the innermost
};
