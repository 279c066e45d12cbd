// Cnn_ListenerList: tells the receivers of one message class, in order, what changed.
//
//     Cnn_ListenerList<Mdl_SimpleValMessage> list;
//     list.Add(&ruler);                                          // at the end
//     list.Add(&cache, Cnn_ListenerListBase::kPriorityHigh);     // before all that were added earlier
//     list.Broadcast(Mdl_SimpleValMessage_ValChanged());         // cache, then ruler
//
// Threads:   none inside; one thread adds, removes and broadcasts.
// Ownership: receivers stay the caller's, who removes them before they die. Destroying a list tells nobody.
#pragma once

#include "Export/Kora_API.h"

#include <cstddef>
#include <typeindex>
#include <vector>

class Cnn_ListenerMessage;
class Cnn_ListenerMessageReceiver;

class KORA_API Cnn_ListenerListBase
{
public:
    // Where a receiver comes to stand among those that are told.
    enum EPriority {
        kPriorityNormal = 0, // told after all that are in the list
        kPriorityHigh = 1    // told before all that are in the list
    };

    // An empty list for messages of a class, by its typeid: receivers of another one assert in Add.
    explicit Cnn_ListenerListBase(std::type_index iMessageClassInfo);
    // The copy tells the same receivers.
    Cnn_ListenerListBase(const Cnn_ListenerListBase&);
    Cnn_ListenerListBase& operator=(const Cnn_ListenerListBase& iOther);
    ~Cnn_ListenerListBase();

    // A receiver of another message class asserts and is added nonetheless. One that is
    // added twice is told twice.
    void Add(Cnn_ListenerMessageReceiver* iListenerP, EPriority iPriority = kPriorityNormal);
    // Removes the receiver's first occurrence; nothing if it is absent.
    void Remove(Cnn_ListenerMessageReceiver* iListenerP);

    // Tells each receiver, front to back. What a receiver throws ends here: it is asserted ("a receiver threw
    // an exception") and the next receiver is told, so that one faulty listener neither cuts off the others
    // nor breaks into the edit that broadcasts. (A host's assertion handler may throw out of it.)
    //
    // Receivers are not added or removed during a broadcast. Who does so nonetheless, be it one for the
    // other, meets an assertion ("listeners unchanged during a broadcast") at its end; a receiver
    // added at the end is not told this time, and a change in front of the one being told makes the one
    // behind it be left out or told twice.
    void Broadcast(const Cnn_ListenerMessage& iMessage) const;

    std::size_t GetNumberOfListeners() const { return mListeners.size(); }
    std::type_index GetMessageClassInfo() const { return mMessageClassInfo; }

private:
    std::vector<Cnn_ListenerMessageReceiver*> mListeners; // in delivery order
    std::type_index mMessageClassInfo;
    std::size_t mChangeCount = 0; // of receivers added and removed: tells a broadcast what the size cannot
};

// The list of a message class: only messages of the class can be broadcast.
template <class MessageClass>
class Cnn_ListenerList : public Cnn_ListenerListBase
{
public:
    Cnn_ListenerList()
        : Cnn_ListenerListBase(typeid(MessageClass))
    {
    }

    // As Cnn_ListenerListBase::Broadcast.
    void Broadcast(const MessageClass& iMessage) const { Cnn_ListenerListBase::Broadcast(iMessage); }
};
