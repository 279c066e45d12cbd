#include "Kora/Cnn/Cnn_Dispatcher.h"

Cnn_Dispatcher::Cnn_Dispatcher(void* iReceiverP, Cnn_DispatchTable* iTable)
    : mReceiver(iReceiverP)
    , mTable(iTable)
{
}

Cnn_Dispatcher::~Cnn_Dispatcher() = default;

void Cnn_Dispatcher::ReceiveMessage(const Cnn_ListenerMessage& iMessage)
{
    mTable->Dispatch(mReceiver, iMessage);
}

std::type_index Cnn_Dispatcher::GetMessageClassInfo() const { return mTable->GetMessageClassInfo(); }

void Cnn_Dispatcher::AddFunction(Cmn_Int32 iMessageID, void* iHandler, Cnn_DispatchTable::Invoker iInvoker,
                                 std::type_index iMessageClassInfo)
{
    mTable->AddFunctionCore(iMessageID, iHandler, iInvoker, iMessageClassInfo);
}
