// Cnn_Receiver: calls one member function of an object for each message of a class.
//
//     class Ruler
//     {
//     public:
//         explicit Ruler(Time_MeterMap& ioMap) { ioMap.GetListenerList().Add(&mReceiver); }
//         // … and Remove at the end
//
//     private:
//         void OnChanged(const Mdl_SimpleValMessage_ValChanged& iMessage);
//
//         Cnn_Receiver<Ruler, Mdl_SimpleValMessage, &Ruler::OnChanged> mReceiver{*this};
//     };
//
// A handler takes `const Message&` and may be const, noexcept or private. Each Message derives from
// MessageClass, has its ID as `static constexpr Cmn_Int32 cID`, and stands once. All messages that
// the list can broadcast need a handler: one without asserts when it comes. Handlers stand before
// the receiver in the class.
//
// Threads:   none inside.
// Ownership: the object stays the caller's; its receiver is a member of it and is not copied with it.
#pragma once

#include "Kora/Cnn/Cnn_DispatchTableRegistry.h"
#include "Kora/Cnn/Cnn_Dispatcher.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <type_traits>

template <class Receiver, class MessageClass, auto... Handlers>
class Cnn_Receiver : public Cnn_Dispatcher
{
public:
    // Calls the handlers of ioReceiver, which outlives it. The first receiver of a kind fills the table for
    // all.
    explicit Cnn_Receiver(Receiver& ioReceiver)
        : Cnn_Dispatcher(&ioReceiver, Cnn_DispatchTableRegistry::FindOrCreate(typeid(MessageClass), Kind()))
    {
        if (NeedsInit()) FillTable();
    }
    Cnn_Receiver(const Cnn_Receiver&) = delete;
    Cnn_Receiver& operator=(const Cnn_Receiver&) = delete;

private:
    // What the table points to for an ID: a plain function around the member function.
    struct Handler
    {
        void (*mCall)(Receiver& ioReceiver, const void* iMessage);
    };

    template <class Object, class Message>
    static std::type_identity<Message> MessageOf(void (Object::*)(const Message&));
    template <class Object, class Message>
    static std::type_identity<Message> MessageOf(void (Object::*)(const Message&) const);

    template <auto MemberFunction>
    using Message = typename decltype(MessageOf(MemberFunction))::type;

    template <auto MemberFunction>
    static inline Handler sHandler{[](Receiver& ioReceiver, const void* iMessage) {
        (ioReceiver.*MemberFunction)(*static_cast<const Message<MemberFunction>*>(iMessage));
    }};

    static void Invoke(void* iReceiverP, const void* iMessage, void* iHandler)
    {
        static_cast<Handler*>(iHandler)->mCall(*static_cast<Receiver*>(iReceiverP), iMessage);
    }

    // An address that only this list of handlers has.
    static Cmn_UInt64 Kind()
    {
        static char sKind;
        return reinterpret_cast<std::uintptr_t>(&sKind);
    }

    struct Row
    {
        Cmn_Int32 mID;
        Handler* mHandler;
    };

    static constexpr bool IdsStandOnce()
    {
        std::array<Cmn_Int32, sizeof...(Handlers)> ids{Message<Handlers>::cID...};
        std::sort(ids.begin(), ids.end());
        return std::adjacent_find(ids.begin(), ids.end()) == ids.end() && ids.front() >= 0;
    }

    // Tables are filled in ascending order, in whichever order the handlers were written.
    void FillTable()
    {
        static_assert(sizeof...(Handlers) > 0, "a receiver has a handler");
        static_assert((std::is_base_of_v<MessageClass, Message<Handlers>> && ...),
                      "a handler's message is of the receiver's message class");
        static_assert(IdsStandOnce(), "each message has one handler, and an ID from 0");
        std::array<Row, sizeof...(Handlers)> rows{Row{Message<Handlers>::cID, &sHandler<Handlers>}...};
        std::sort(rows.begin(), rows.end(), [](const Row& iA, const Row& iB) { return iA.mID < iB.mID; });
        for (const Row& row : rows)
            AddFunction(row.mID, row.mHandler, &Invoke, typeid(MessageClass));
    }
};
