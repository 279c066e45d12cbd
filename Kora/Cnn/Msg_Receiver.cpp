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
