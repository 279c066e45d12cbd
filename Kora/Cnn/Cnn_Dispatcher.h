// Cnn_Dispatcher: receives messages for an object and calls the handler of each message's ID.
//
// Use it through Cnn_Receiver, which knows the types.
//
// Threads:   none inside.
// Ownership: neither the object, which usually owns the dispatcher, nor the table.
#pragma once

#include "Kora/Cnn/Cnn_DispatchTable.h"
#include "Kora/Cnn/Cnn_ListenerMessageReceiver.h"

class KORA_API Cnn_Dispatcher : public Cnn_ListenerMessageReceiver
{
public:
    // iTable is not null.
    Cnn_Dispatcher(void* iReceiverP, Cnn_DispatchTable* iTable);
    ~Cnn_Dispatcher() override;

    void ReceiveMessage(const Cnn_ListenerMessage& iMessage) override;
    std::type_index GetMessageClassInfo() const override;

    // True while nobody has filled the table: the first receiver of a kind does, later ones skip it.
    bool NeedsInit() const { return !mTable->IsInitialized(); }

protected:
    // Adds a handler to the table, as Cnn_DispatchTable::AddFunctionCore says.
    void AddFunction(Cmn_Int32 iMessageID, void* iHandler, Cnn_DispatchTable::Invoker iInvoker,
                     std::type_index iMessageClassInfo);

private:
    void* mReceiver;
    Cnn_DispatchTable* mTable;
};
