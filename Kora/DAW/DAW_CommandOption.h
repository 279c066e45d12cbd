// DAW_CommandOption: a variant of a command that is on or off by default, and the other
// way while a key is held.
//
//     "Nudge" with the option "by a beat", off, on shift:   off; on while shift is down
//     "Snap"  with the option "to grid",   on,  on option:  on; off while the option key is down
//
// Threads:   the user-interface thread.
// Ownership: lives as long as a reference to it; the registry holds one.
#pragma once

#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/DAW/DAW_EKeyCode.h"

#include <string>

class DAW_EventModifiers;
class DAW_KeyboardState;

// What turns an option round.
enum DAW_EModifierKind : Cmn_Int32 {
    DAW_eModifierKind_Key = 0, // the option's own key code, down in the keyboard state
    DAW_eModifierKind_MenuCommand = 1,
    DAW_eModifierKind_Alternate = 2,
    DAW_eModifierKind_Meta = 3,
    DAW_eModifierKind_Shift = 4
};

class KORA_API DAW_CommandOption : public Cmn_RefCountObject
{
public:
    // iKeyCode counts for DAW_eModifierKind_Key only.
    [[nodiscard]] static Cmn_RefCountPtr<DAW_CommandOption>
    New(Cmn_Int32 iOwnerCommandID, std::string iOptionName, DAW_EModifierKind iModifierKey,
        bool iDefaultState, DAW_EKeyCode iKeyCode = DAW_eKeyCode_Undeclared);

    // What the command is to do, with the references that it was invoked with. An unknown kind asserts "0"; a
    // null reference is asserted when it is the one that is asked; both give the default state.
    [[nodiscard]] bool GetOptionState(const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers,
                                      const Cmn_RefCountPtr<DAW_KeyboardState>& iKeyboardState) const;
    Cmn_Int32 GetOwnerCommandID() const { return mOwnerCommandID; }
    const std::string& GetOptionName() const { return mOptionName; }
    DAW_EModifierKind GetModifierKey() const { return mModifierKey; }
    bool GetDefaultState() const { return mDefaultState; }
    DAW_EKeyCode GetKeyCode() const { return mKeyCode; }

protected:
    DAW_CommandOption(Cmn_Int32 iOwnerCommandID, std::string iOptionName, DAW_EModifierKind iModifierKey,
                      bool iDefaultState, DAW_EKeyCode iKeyCode);
    ~DAW_CommandOption() override;

private:
    Cmn_Int32 mOwnerCommandID;
    std::string mOptionName;
    DAW_EModifierKind mModifierKey;
    bool mDefaultState;
    DAW_EKeyCode mKeyCode;
};
