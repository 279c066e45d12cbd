#include "Kora/DAW/DAW_CommandOption.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/DAW/DAW_EventModifiers.h"
#include "Kora/DAW/DAW_KeyboardState.h"

#include <utility>

namespace {

// The kinds of the four modifier keys. A key that is "either" is not down.
bool ModifierIsDown(DAW_EModifierKind iKind, const DAW_EventModifiers& iModifiers)
{
    switch (iKind) {
    case DAW_eModifierKind_MenuCommand:
        return iModifiers.MenuCommandKeyIsDown();
    case DAW_eModifierKind_Alternate:
        return iModifiers.AlternateKeyIsDown();
    case DAW_eModifierKind_Meta:
        return iModifiers.MetaKeyIsDown();
    case DAW_eModifierKind_Shift:
        return iModifiers.ShiftKeyIsDown();
    default:
        return false;
    }
}

} // namespace

Cmn_RefCountPtr<DAW_CommandOption> DAW_CommandOption::New(Cmn_Int32 iOwnerCommandID, std::string iOptionName,
                                                          DAW_EModifierKind iModifierKey, bool iDefaultState,
                                                          DAW_EKeyCode iKeyCode)
{
    return new DAW_CommandOption(iOwnerCommandID, std::move(iOptionName), iModifierKey, iDefaultState,
                                 iKeyCode);
}

DAW_CommandOption::DAW_CommandOption(Cmn_Int32 iOwnerCommandID, std::string iOptionName,
                                     DAW_EModifierKind iModifierKey, bool iDefaultState,
                                     DAW_EKeyCode iKeyCode)
    : mOwnerCommandID(iOwnerCommandID)
    , mOptionName(std::move(iOptionName))
    , mModifierKey(iModifierKey)
    , mDefaultState(iDefaultState)
    , mKeyCode(iKeyCode)
{
}

DAW_CommandOption::~DAW_CommandOption() = default;

bool DAW_CommandOption::GetOptionState(const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers,
                                       const Cmn_RefCountPtr<DAW_KeyboardState>& iKeyboardState) const
{
    bool isDown = false;
    switch (mModifierKey) {
    case DAW_eModifierKind_Key:
        isDown = Cmn_ASSERT(iKeyboardState) && iKeyboardState->KeyIsDown(mKeyCode);
        break;
    case DAW_eModifierKind_MenuCommand:
    case DAW_eModifierKind_Alternate:
    case DAW_eModifierKind_Meta:
    case DAW_eModifierKind_Shift:
        isDown = Cmn_ASSERT(iModifiers) && ModifierIsDown(mModifierKey, *iModifiers);
        break;
    default:
        Cmn_ASSERT(0);
    }
    return isDown != mDefaultState;
}
