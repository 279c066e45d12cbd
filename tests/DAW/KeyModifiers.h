// MakeModifiers: event modifiers from plain numbers, 0 up, 1 down, 2 either: menu command, alternate, meta,
// shift, then the left, middle and right button.
#pragma once

#include "Kora/DAW/DAW_EventModifiers.h"

#include <array>

using ModifierStates = std::array<int, 7>;

struct AnyState
{
    template <class Enum>
    operator Enum() const
    {
        return static_cast<Enum>(mState);
    }
    int mState;
};

inline Cmn_AliasedRefCountPtr<DAW_EventModifiers> MakeModifiers(const ModifierStates& iStates)
{
    const auto state = [&](std::size_t iAt) { return AnyState{iStates[iAt]}; };
    return DAW_EventModifiers::New(state(0), state(1), state(2), state(3), state(4), state(5), state(6));
}
