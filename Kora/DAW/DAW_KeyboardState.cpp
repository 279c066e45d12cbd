#include "Kora/DAW/DAW_KeyboardState.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/DAW/DAW_KeyConversionUtils.h"

Cmn_RefCountPtr<DAW_KeyboardState> DAW_KeyboardState::New(const DAW_KeyStateArray& iKeys,
                                                          DAW_EKeyStateArrayFormat iFormat)
{
    return new DAW_KeyboardState(iKeys, iFormat);
}

DAW_KeyboardState::DAW_KeyboardState(const DAW_KeyStateArray& iKeys, DAW_EKeyStateArrayFormat iFormat)
    : mKeys(iKeys)
    , mFormat(iFormat)
{
}

DAW_KeyboardState::~DAW_KeyboardState() = default;

bool DAW_KeyboardState::KeyIsDown(DAW_EKeyCode iKeyCode) const
{
    using Utils = DAW_KeyConversionUtils;
    if (!DAW_IsKeyCode(iKeyCode)) return false;
    bool isExtended = false;
    switch (mFormat) {
    case DAW_eKeyStateArrayFormat_ByKeyCode:
        return mKeys.GetBit(static_cast<Cmn_UInt32>(iKeyCode));
    case DAW_eKeyStateArrayFormat_ByWindowsKeyCode: {
        const Cmn_UInt16 code = Utils::DAW_EKeyCodeToWindowsKeyCode(iKeyCode, isExtended);
        return code != Utils::cNoWindowsKeyCode && mKeys.GetBit(code);
    }
    case DAW_eKeyStateArrayFormat_ByMacKeyCode:
        return mKeys.GetBit(Utils::DAW_EKeyCodeToMacKeyCode(iKeyCode));
    }
    Cmn_ASSERT(0);
    return false;
}
