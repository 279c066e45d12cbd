#include "Kora/Cnn/Mdl_SimpleValMessage.h"

Mdl_SimpleValMessage::~Mdl_SimpleValMessage() = default;

Mdl_SimpleValMessage_ValChanged::~Mdl_SimpleValMessage_ValChanged() = default;

const void* Mdl_SimpleValMessage_ValChanged::GetDerivedPtr() const { return this; }

Cmn_Int32 Mdl_SimpleValMessage_ValChanged::GetID() const { return cID; }

std::type_index Mdl_SimpleValMessage_ValChanged::GetMessageClassInfo() const
{
    return typeid(Mdl_SimpleValMessage);
}
