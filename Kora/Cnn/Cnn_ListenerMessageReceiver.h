// Cnn_ListenerMessageReceiver: whom a listener list tells.
//
// Implement it directly to see every message of a class in one function, or own a Cnn_Receiver, which calls
// one member function for each message ID.
#pragma once

#include "Export/Kora_API.h"

#include <typeindex>

class Cnn_ListenerMessage;

class KORA_API Cnn_ListenerMessageReceiver
{
public:
    virtual ~Cnn_ListenerMessageReceiver();
    // A list tells it, on the thread that broadcasts. The message is the list's until this returns.
    virtual void ReceiveMessage(const Cnn_ListenerMessage& iMessage) = 0;
    // The message class that ReceiveMessage takes; lists check it.
    virtual std::type_index GetMessageClassInfo() const = 0;

protected:
    Cnn_ListenerMessageReceiver() = default;
    Cnn_ListenerMessageReceiver(const Cnn_ListenerMessageReceiver&) = default;
    Cnn_ListenerMessageReceiver& operator=(const Cnn_ListenerMessageReceiver&) = default;
};
