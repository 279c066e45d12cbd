#include "Kora/Cnn/Msg_Receiver.h"

#include "Kora/Cnn/Msg_ObjBase.h"

Msg_Receiver::Msg_Receiver() = default;

Msg_Receiver::Msg_Receiver(const Msg_Receiver&)
    : Cmn_DoublyLinkedListLink()
{
}

Msg_Receiver& Msg_Receiver::operator=(const Msg_Receiver&) { return *this; }

Msg_Receiver::~Msg_Receiver()
{
    if (mObjP != nullptr) mObjP->RemoveReceiver(this);
}

// Apart from BroadcastMessage, into which GCC 12 would inline them and then take the
// pointer for one that dangles.

Msg_ObjBase::StTelling::StTelling(Msg_ObjBase& ioObj)
    : mReceiver(ioObj.mReceivers.GetFirst())
    , mObjP(&ioObj)
    , mOuter(ioObj.mTelling)
{
    mObjP->mTelling = this;
}

Msg_ObjBase::StTelling::~StTelling() { mObjP->mTelling = mOuter; }
