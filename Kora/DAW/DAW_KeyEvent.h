// DAW_KeyEvent: one key going down, repeating or going up; in a key binding, the key that is asked for.
//
// Threads:   the user-interface thread; an event never changes.
// Ownership: counted.
#pragma once

#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "Kora/DAW/DAW_EKeyCode.h"

#include <string>

// Whether the key was down already and repeats by itself.
enum DAW_EAutoKey : Cmn_Int32 { DAW_eAutoKey_No = 0, DAW_eAutoKey_Yes = 1 };
// Every value but 0 is a release.
enum DAW_EKeyState : Cmn_Int32 { DAW_eKeyState_Down = 0, DAW_eKeyState_Up = 1 };

class KORA_API DAW_KeyEvent : public Cmn_RefCountObject
{
public:
    // iText: the characters that the key produced, UTF-8; they take no part in finding a binding.
    [[nodiscard]] static Cmn_RefCountPtr<DAW_KeyEvent> New(DAW_EKeyCode iKeyCode,
                                                           DAW_EAutoKey iAutoKey = DAW_eAutoKey_No,
                                                           std::string iText = {},
                                                           DAW_EKeyState iKeyState = DAW_eKeyState_Down);

    virtual DAW_EKeyCode GetKeyCode() const;
    virtual const std::string& GetText() const;
    [[nodiscard]] virtual bool IsAutoKey() const;
    virtual DAW_EKeyState GetKeyState() const;

    // The same key and the same text.
    bool operator==(const DAW_KeyEvent& iOther) const;
    bool operator!=(const DAW_KeyEvent& iOther) const { return !(*this == iOther); }
    // Deliberate: by key codes only, which is the order of the binding map; neither less nor greater does not
    // mean equal. Test: KeyEvent.EqualityLooksAtTheTextAndOrderDoesNot
    bool operator<(const DAW_KeyEvent& iOther) const { return mKeyCode < iOther.mKeyCode; }
    bool operator>(const DAW_KeyEvent& iOther) const { return iOther < *this; }

protected:
    DAW_KeyEvent(DAW_EKeyCode iKeyCode, DAW_EAutoKey iAutoKey, std::string iText, DAW_EKeyState iKeyState);
    ~DAW_KeyEvent() override;

private:
    DAW_EKeyCode mKeyCode;
    DAW_EAutoKey mAutoKey;
    std::string mText;
    DAW_EKeyState mKeyState;
};
