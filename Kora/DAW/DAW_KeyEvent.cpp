#include "Kora/DAW/DAW_KeyEvent.h"

#include <utility>

Cmn_RefCountPtr<DAW_KeyEvent> DAW_KeyEvent::New(DAW_EKeyCode iKeyCode, DAW_EAutoKey iAutoKey,
                                                std::string iText, DAW_EKeyState iKeyState)
{
    return new DAW_KeyEvent(iKeyCode, iAutoKey, std::move(iText), iKeyState);
}

DAW_KeyEvent::DAW_KeyEvent(DAW_EKeyCode iKeyCode, DAW_EAutoKey iAutoKey, std::string iText,
                           DAW_EKeyState iKeyState)
    : mKeyCode(iKeyCode)
    , mAutoKey(iAutoKey)
    , mText(std::move(iText))
    , mKeyState(iKeyState)
{
}

DAW_KeyEvent::~DAW_KeyEvent() = default;

DAW_EKeyCode DAW_KeyEvent::GetKeyCode() const { return mKeyCode; }

const std::string& DAW_KeyEvent::GetText() const { return mText; }

bool DAW_KeyEvent::IsAutoKey() const { return mAutoKey != DAW_eAutoKey_No; }

DAW_EKeyState DAW_KeyEvent::GetKeyState() const { return mKeyState; }

bool DAW_KeyEvent::operator==(const DAW_KeyEvent& iOther) const
{
    return mKeyCode == iOther.mKeyCode && mText == iOther.mText;
}
