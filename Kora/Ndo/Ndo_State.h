// Ndo_State: a complete snapshot of an undoable object.
//
// Ownership: made by Ndo_Object::NdoGetState for the operation that logs it, which destroys it.
#pragma once

#include "Export/Kora_API.h"

#include <cstddef>

class Ndo_Object;

class KORA_API Ndo_State
{
public:
    // Makes an object of the state's class, constructed with kNoUndo, which the restore then registers under
    // its old ID and fills from the state. The caller owns it.
    virtual Ndo_Object* NdoCreateObject() = 0;
    virtual ~Ndo_State();
    // About how much memory it keeps beside itself, which a history's limit counts. 0 here.
    virtual std::size_t NdoGetByteCount() const noexcept;

protected:
    Ndo_State() = default;
    Ndo_State(const Ndo_State&) = default;
    Ndo_State& operator=(const Ndo_State&) = default;
};
