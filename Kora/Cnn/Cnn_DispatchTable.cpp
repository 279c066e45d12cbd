#include "Kora/Cnn/Cnn_DispatchTable.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/Cnn/Cnn_ListenerMessage.h"

Cnn_DispatchTable::Cnn_DispatchTable()
    : mMessageClassInfo(typeid(void))
{
}

void Cnn_DispatchTable::Dispatch(void* iReceiverP, const Cnn_ListenerMessage& iMessage) const
{
    const Cmn_Int32 msgID = iMessage.GetID();
    if (!Cmn_ASSERT(msgID >= 0)) return;
    if (!Cmn_ASSERT(msgID < (Cmn_Int32)mDispatchTable.size())) return;
    if (!Cmn_ASSERT(mDispatchTable[msgID] != 0)) return;
    mInvoker(iReceiverP, iMessage.GetDerivedPtr(), mDispatchTable[msgID]);
}

void Cnn_DispatchTable::AddFunctionCore(Cmn_Int32 iMessageID, void* iHandler, Invoker iInvoker,
                                        std::type_index iMessageClassInfo)
{
    if (!mInitialized) {
        mInvoker = iInvoker;
        mMessageClassInfo = iMessageClassInfo;
        mInitialized = true;
    }
    if (!Cmn_ASSERT(iMessageID >= 0)) return;
    const std::size_t slot = static_cast<std::size_t>(iMessageID);
    // Deliberate: a slot that exists is not filled again, null or not; tables are filled
    // once, in ascending order.
    // Test: IdsBelowTheHighestCanNoLongerBeFilled
    if (slot < mDispatchTable.size()) return;
    mDispatchTable.resize(slot);
    mDispatchTable.push_back(iHandler);
}
