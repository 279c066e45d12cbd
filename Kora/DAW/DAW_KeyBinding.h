// DAW_KeyBinding: a key with its modifiers, and the command that it invokes.
//
// Threads:   the user-interface thread.
// Ownership: counted; refers to its event and modifiers. The command is the command registry's: its bindings
//            are deleted from their maps before the command is.
#pragma once

#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Export/Kora_API.h"
#include "Kora/DAW/DAW_EventModifiers.h"
#include "Kora/DAW/DAW_KeyEvent.h"

class DAW_Command;

class KORA_API DAW_KeyBinding : public Cmn_RefCountObject
{
public:
    // A null command makes a binding that keeps the key from later ones and does nothing.
    static Cmn_RefCountPtr<DAW_KeyBinding>
    New(const Cmn_RefCountPtr<DAW_KeyEvent>& iKeyEvent,
        const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iEventModifiers, DAW_Command* iCommand);

    const Cmn_RefCountPtr<DAW_KeyEvent>& GetKeyEvent() const { return mKeyEvent; }
    const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& GetEventModifiers() const { return mEventModifiers; }
    DAW_Command* GetCommand() const { return mCommand; }

protected:
    DAW_KeyBinding(const Cmn_RefCountPtr<DAW_KeyEvent>& iKeyEvent,
                   const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iEventModifiers, DAW_Command* iCommand);
    ~DAW_KeyBinding() override;

private:
    Cmn_RefCountPtr<DAW_KeyEvent> mKeyEvent;
    Cmn_AliasedRefCountPtr<DAW_EventModifiers> mEventModifiers;
    DAW_Command* mCommand;
};
