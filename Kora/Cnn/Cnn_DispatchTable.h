// Cnn_DispatchTable: which handler takes a message, by the message's ID; shared by all receivers of one kind.
//
// Invariants: (1) the table ends exactly at the highest ID registered  (2) an ID without a handler is null.
// Threads:    none inside; filled once, by the first receiver of its kind.
// Ownership:  the registry owns tables; handlers live as long as the program, so a module that
//             registers handlers stays loaded.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <typeindex>
#include <vector>

class Cnn_ListenerMessage;

class KORA_API Cnn_DispatchTable
{
public:
    // Knows the types that the table has forgotten: makes of the three addresses the receiver, the message of
    // its own class and the handler, and calls it. One serves the whole table.
    using Invoker = void (*)(void* iReceiverP, const void* iMessage, void* iHandler);

    Cnn_DispatchTable();

    // Calls the handler of the message's ID. An ID outside the table asserts "msgID >= 0" or
    // "msgID < (Cmn_Int32)mDispatchTable.size()", one without a handler "mDispatchTable[msgID] != 0"; then
    // nothing is called. What a handler throws reaches the caller.
    void Dispatch(void* iReceiverP, const Cnn_ListenerMessage& iMessage) const;

    // False until the first handler is added.
    bool IsInitialized() const { return mInitialized; }
    // The message class that the table serves; void until it is initialised.
    std::type_index GetMessageClassInfo() const { return mMessageClassInfo; }

private:
    friend class Cnn_Dispatcher; // whose typed front end is Cnn_Receiver

    // The first call fixes the invoker and the message class. IDs come in ascending order: the
    // first handler of an ID stays, and an ID below the highest one so far can no longer be filled.
    // Adding 0, 2, 1 leaves 1 null.
    void AddFunctionCore(Cmn_Int32 iMessageID, void* iHandler, Invoker iInvoker,
                         std::type_index iMessageClassInfo);

    std::vector<void*> mDispatchTable;
    Invoker mInvoker = nullptr;
    std::type_index mMessageClassInfo;
    bool mInitialized = false;
};
