// Cnn_ListenerMessage: what a listener list broadcasts; one of the messages of a message class.
//
// A message class is the base class of a family of messages (Mdl_SimpleValMessage). It keys listener lists
// and dispatch tables by its type information; within it each message has a small ID from 0. Type
// information is compared as std::type_index, which tells classes apart by name, and so agrees on both
// sides of a DLL's boundary.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <typeindex>

class KORA_API Cnn_ListenerMessage
{
public:
    virtual ~Cnn_ListenerMessage();
    // The whole message's address, which the dispatcher turns into the type that a handler takes.
    virtual const void* GetDerivedPtr() const = 0;
    // The ID within the message class, from 0. A message that Cnn_Receiver handles has it as `cID` too.
    virtual Cmn_Int32 GetID() const = 0;
    // The message class, not the message's own.
    virtual std::type_index GetMessageClassInfo() const = 0;

protected:
    Cnn_ListenerMessage() = default;
    Cnn_ListenerMessage(const Cnn_ListenerMessage&) = default;
    Cnn_ListenerMessage& operator=(const Cnn_ListenerMessage&) = default;
};
