#include "Kora/Cnn/Msg_ObjBase.h"

#include "Bastel/Cmn/Cmn_Assert.h"

namespace {

void Tell(Msg_Receiver& ioReceiver, Msg_EMessage iMessage)
{
    bool threw = false;
    try {
        ioReceiver.MsgReceive(iMessage);
    } catch (...) {
        threw = true;
    }
    Cmn_ASSERT_TEXT(!threw, "a receiver threw an exception");
}

} // namespace

Msg_ObjBase::Msg_ObjBase() = default;

Msg_ObjBase::~Msg_ObjBase()
{
    BroadcastMessage(Msg_eMessage_Destroyed);
    while (!mReceivers.IsEmpty())
        RemoveReceiver(mReceivers.GetFirst());
}

void Msg_ObjBase::AddReceiver(Msg_Receiver* iReceiverP)
{
    if (!Cmn_ASSERT(iReceiverP != 0)) return;
    if (!Cmn_ASSERT(iReceiverP->mObjP == 0)) iReceiverP->mObjP->RemoveReceiver(iReceiverP);
    mReceivers.PushBack(*iReceiverP);
    iReceiverP->mObjP = this;
    ++mCount;
    Tell(*iReceiverP, Msg_eMessage_Attached);
}

void Msg_ObjBase::RemoveReceiver(Msg_Receiver* iReceiverP)
{
    if (!Cmn_ASSERT(iReceiverP != 0)) return;
    if (!Cmn_ASSERT(iReceiverP->mObjP == this)) return;
    for (StTelling* telling = mTelling; telling != nullptr; telling = telling->mOuter)
        if (telling->mReceiver == iReceiverP) telling->mReceiver = nullptr;
    mReceivers.Remove(*iReceiverP);
    iReceiverP->mObjP = nullptr;
    --mCount;
}

void Msg_ObjBase::BroadcastMessage(Msg_EMessage iMessage)
{
    StTelling telling(*this);
    while (telling.mReceiver != nullptr) {
        Tell(*telling.mReceiver, iMessage);
        if (!Cmn_ASSERT_TEXT(telling.mReceiver != nullptr, "a receiver stays linked during a broadcast"))
            return;
        telling.mReceiver = mReceivers.GetNext(*telling.mReceiver);
    }
}
