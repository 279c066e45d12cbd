// The host's key bindings, the keys as text, and text as keys.
#pragma once

#include "Kora/Commands.h"

#include <optional>
#include <string>

// A key with the modifiers that are held.
struct KeyChord
{
    DAW_EKeyCode mKey = DAW_eKeyCode_Undeclared;
    bool mMenuCommand = false; // Ctrl
    bool mAlternate = false;   // Alt
    bool mShift = false;
};

// Makes the bindings, registers their context and makes it the current one. Commands are registered before.
void RegisterKeys();
// Takes the context out again, and deletes the bindings.
void RemoveKeys();

// As menus show it: "Ctrl+S". Empty for a command without a binding.
std::string ShortcutOf(long iCommandID);
// The reverse: "shift+n", "Ctrl+S", "F5"; none when no key is called so.
std::optional<KeyChord> ParseChord(const std::string& iText);

// One event of a key, as the keyboard or a script brings it; true when a command took it.
bool SendKey(const KeyChord& iChord, bool iPressed, bool iRepeated);
// Why no command took a press: "Ctrl+S: Save is disabled", "F5 has no binding".
std::string WhyNot(const KeyChord& iChord);
// The modifiers of a chord.
Cmn_AliasedRefCountPtr<DAW_EventModifiers> ModifiersOf(const KeyChord& iChord);
