// DAW_KeyboardInputContext: a part of the application that keys can go to, and what they mean there.
//
//     application ── HandleKeyEvent ─▶ current context ── DoKeyEvent ─▶ key binding map: the binding
//                                                                          │
//                       one-shot:  press → DoCommand                       ▼
//                       momentary: press → DoCommandStart, release → DoCommandEnd      its command
//
// A release is looked up with the modifiers of its own moment, in the context that is current then. So a
// momentary command whose user may let go of a modifier first is bound with "either"; and one that runs
// while another context becomes current hears of its end only if that context binds the key to it too:
// whoever switches sees to it.
//
// A command may do anything while it runs: make another context current, delete this context, its map or the
// binding, remove or replace itself, handle further events. DoKeyEvent holds the binding, the event, the
// modifiers and the keyboard state until the command returns, and looks at nothing else afterwards.
//
// Threads:   the user-interface thread only; nothing is locked.
// Ownership: the context is its registry's once registered, and then one made by new; the binding map
//            stays the application's.
#pragma once

#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/DAW/DAW_EventModifiers.h"
#include "Kora/DAW/DAW_KeyEvent.h"
#include "Kora/DAW/DAW_KeyboardState.h"

#include <string>

class DAW_KeyBindingMap;

class KORA_API DAW_KeyboardInputContext
{
public:
    // Not registered, not current, and without bindings. The number is the application's.
    DAW_KeyboardInputContext(Cmn_Int32 iContextID, std::string iContextName);
    // Takes the context out of the registry, and leaves no context current if it is this one.
    virtual ~DAW_KeyboardInputContext();
    DAW_KeyboardInputContext(const DAW_KeyboardInputContext&) = delete;
    DAW_KeyboardInputContext& operator=(const DAW_KeyboardInputContext&) = delete;

    // True when an enabled command took the event, which it has too when it does nothing on it: a one-shot
    // command on a release, or on a repeat that its binding does not ask for. A command of an unknown type
    // asserts "0". iKeyboardState may be null, for commands that do not ask it; the others are not.
    [[nodiscard]] virtual bool DoKeyEvent(const Cmn_RefCountPtr<DAW_KeyEvent>& iEvent,
                                          const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers,
                                          const Cmn_RefCountPtr<DAW_KeyboardState>& iKeyboardState);

    // What the current context's DoKeyEvent returns; false without one. No other context is asked.
    [[nodiscard]] static bool HandleKeyEvent(const Cmn_RefCountPtr<DAW_KeyEvent>& iEvent,
                                             const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers,
                                             const Cmn_RefCountPtr<DAW_KeyboardState>& iKeyboardState);

    static DAW_KeyboardInputContext* GetCurrentKeyboardInputContext();
    // Null: keys go nowhere. The context need not be registered.
    static void SetCurrentKeyboardInputContext(DAW_KeyboardInputContext* iContext);

    Cmn_Int32 GetContextID() const { return mContextID; }
    const std::string& GetContextName() const { return mContextName; }
    // Null: the context takes no keys.
    DAW_KeyBindingMap* GetKeyBindingMap() const { return mKeyBindingMap; }
    void SetKeyBindingMap(DAW_KeyBindingMap* iKeyBindingMap) { mKeyBindingMap = iKeyBindingMap; }

private:
    static DAW_KeyboardInputContext* sCurrentContext;

    Cmn_Int32 mContextID;
    std::string mContextName;
    DAW_KeyBindingMap* mKeyBindingMap = nullptr;
};
