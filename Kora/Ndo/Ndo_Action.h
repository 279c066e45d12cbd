// Ndo_Action: a reversible step that is not a change of an undoable object.
//
//     (new MoveFader(fader, -6.0))->LogAction(); // moves it; undone and redone with what records
//
// Ownership: see LogAction.
#pragma once

#include "Export/Kora_API.h"

#include <cstddef>

class KORA_API Ndo_Action
{
public:
    virtual ~Ndo_Action();
    // Carries the action out; true on success.
    [[nodiscard]] virtual bool Do() = 0;
    // Reverses it; called when the operation that holds the action is restored.
    virtual void Undo() = 0;

    // Carries the action out and, where that succeeds, gives it to the recording operation. The action was
    // made with `new`, without an over-aligned type or an `operator new` of its own, and now:
    //     Do succeeded, an operation records     the operation owns it
    //     Do succeeded, none records             released as memory WITHOUT its destructor: it owns nothing
    //     Do failed, AutoDeleteOnFail() is true  it is destroyed
    //     Do failed, AutoDeleteOnFail() is false it stays the caller's
    // What Do throws reaches the caller, whose the action stays.
    void LogAction();

protected:
    Ndo_Action() = default;
    Ndo_Action(const Ndo_Action&) = default;
    Ndo_Action& operator=(const Ndo_Action&) = default;

    virtual bool AutoDeleteOnFail();

public:
    // About how much memory it keeps beside itself, which a history's limit counts. 0 here.
    virtual std::size_t GetByteCount() const noexcept;
};
