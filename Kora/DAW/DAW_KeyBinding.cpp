#include "Kora/DAW/DAW_KeyBinding.h"

Cmn_RefCountPtr<DAW_KeyBinding>
DAW_KeyBinding::New(const Cmn_RefCountPtr<DAW_KeyEvent>& iKeyEvent,
                    const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iEventModifiers, DAW_Command* iCommand)
{
    return new DAW_KeyBinding(iKeyEvent, iEventModifiers, iCommand);
}

DAW_KeyBinding::DAW_KeyBinding(const Cmn_RefCountPtr<DAW_KeyEvent>& iKeyEvent,
                               const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iEventModifiers,
                               DAW_Command* iCommand)
    : mKeyEvent(iKeyEvent)
    , mEventModifiers(iEventModifiers)
    , mCommand(iCommand)
{
}

DAW_KeyBinding::~DAW_KeyBinding() = default;
