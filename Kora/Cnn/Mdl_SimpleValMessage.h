// Mdl_SimpleValMessage: says that a value is another one now; ValChanged is its only message.
//
// The maps broadcast it after each edit. It carries nothing: listeners ask the map.
#pragma once

#include "Kora/Cnn/Cnn_ListenerMessage.h"

class KORA_API Mdl_SimpleValMessage : public Cnn_ListenerMessage
{
public:
    ~Mdl_SimpleValMessage() override;
};

class KORA_API Mdl_SimpleValMessage_ValChanged : public Mdl_SimpleValMessage
{
public:
    // What dispatch tables know the message by.
    static constexpr Cmn_Int32 cID = 0;

    ~Mdl_SimpleValMessage_ValChanged() override;
    const void* GetDerivedPtr() const override;
    Cmn_Int32 GetID() const override;
    std::type_index GetMessageClassInfo() const override;
};
