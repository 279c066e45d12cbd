#include "Kora/DAW/DAW_KeyboardInputContext.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/DAW/DAW_Command.h"
#include "Kora/DAW/DAW_KeyBindingMap.h"
#include "Kora/DAW/DAW_KeyContextRegistry.h"

#include <utility>

DAW_KeyboardInputContext* DAW_KeyboardInputContext::sCurrentContext = nullptr;

namespace {

// By value: the caller's own references may change while the command runs.
void Invoke(DAW_Command& ioCommand, DAW_EKeyState iKeyState,
            Cmn_AliasedRefCountPtr<DAW_EventModifiers> iModifiers,
            Cmn_RefCountPtr<DAW_KeyboardState> iKeyboardState)
{
    const bool isPress = iKeyState == DAW_eKeyState_Down;
    switch (ioCommand.GetCommandType()) {
    case DAW_eCommandType_OneShot:
        if (isPress) ioCommand.DoCommand(iModifiers, iKeyboardState);
        return;
    case DAW_eCommandType_Momentary:
        if (isPress)
            ioCommand.DoCommandStart(iModifiers, iKeyboardState);
        else
            ioCommand.DoCommandEnd(iModifiers, iKeyboardState);
        return;
    }
    Cmn_ASSERT(0);
}

} // namespace

DAW_KeyboardInputContext::DAW_KeyboardInputContext(Cmn_Int32 iContextID, std::string iContextName)
    : mContextID(iContextID)
    , mContextName(std::move(iContextName))
{
}

DAW_KeyboardInputContext::~DAW_KeyboardInputContext()
{
    if (sCurrentContext == this) sCurrentContext = nullptr;
    DAW_KeyContextRegistry::Forget(this);
}

bool DAW_KeyboardInputContext::DoKeyEvent(const Cmn_RefCountPtr<DAW_KeyEvent>& iEvent,
                                          const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers,
                                          const Cmn_RefCountPtr<DAW_KeyboardState>& iKeyboardState)
{
    if (mKeyBindingMap == nullptr) return false;
    const Cmn_RefCountPtr<DAW_KeyEvent> event = iEvent;
    const Cmn_RefCountPtr<DAW_KeyBinding> binding = mKeyBindingMap->FindMatchingKeyBinding(event, iModifiers);
    if (!binding || binding->GetCommand() == nullptr) return false;
    DAW_Command& command = *binding->GetCommand();
    if (!command.IsEnabled(false)) return false;
    const bool isUnwantedRepeat = event->IsAutoKey() && !binding->GetKeyEvent()->IsAutoKey();
    if (!isUnwantedRepeat) Invoke(command, event->GetKeyState(), iModifiers, iKeyboardState);
    return true;
}

bool DAW_KeyboardInputContext::HandleKeyEvent(const Cmn_RefCountPtr<DAW_KeyEvent>& iEvent,
                                              const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers,
                                              const Cmn_RefCountPtr<DAW_KeyboardState>& iKeyboardState)
{
    return sCurrentContext != nullptr && sCurrentContext->DoKeyEvent(iEvent, iModifiers, iKeyboardState);
}

DAW_KeyboardInputContext* DAW_KeyboardInputContext::GetCurrentKeyboardInputContext()
{
    return sCurrentContext;
}

void DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(DAW_KeyboardInputContext* iContext)
{
    sCurrentContext = iContext;
}
