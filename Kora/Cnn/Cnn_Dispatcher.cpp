#include "Kora/Cnn/Cnn_Dispatcher.h"

Cnn_Dispatcher::Cnn_Dispatcher(void* iReceiverP, Cnn_DispatchTable* iTableP)
    : mReceiverP(iReceiverP)
    , mTableP(iTableP)
{
}

Cnn_Dispatcher::~Cnn_Dispatcher() = default;

void Cnn_Dispatcher::ReceiveMessage(const Cnn_ListenerMessage& iMessage)
{
    mTableP->Dispatch(mReceiverP, iMessage);
}

std::type_index Cnn_Dispatcher::GetMessageClassInfo() const { return mTableP->GetMessageClassInfo(); }

void Cnn_Dispatcher::AddFunction(Cmn_Int32 iMessageID, void* iHandlerP, Cnn_DispatchTable::Invoker iInvoker,
                                 std::type_index iMessageClassInfo)
{
    mTableP->AddFunctionCore(iMessageID, iHandlerP, iInvoker, iMessageClassInfo);
}
