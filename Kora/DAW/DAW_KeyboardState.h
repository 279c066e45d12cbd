// DAW_KeyboardState: which keys of the keyboard were down at the moment of an event.
//
// Threads:   the user-interface thread; a state never changes.
// Ownership: counted; holds a copy of the array.
#pragma once

#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Export/Kora_API.h"
#include "Kora/DAW/DAW_EKeyCode.h"
#include "Kora/DAW/DAW_KeyStateArray.h"

class KORA_API DAW_KeyboardState : public Cmn_RefCountObject
{
public:
    // A snapshot of the bits, which never changes.
    [[nodiscard]] static Cmn_RefCountPtr<DAW_KeyboardState> New(const DAW_KeyStateArray& iKeys,
                                                                DAW_EKeyStateArrayFormat iFormat);

    // False for keys that the format's platform does not have, and for unknown codes. An
    // unknown format asserts "0".
    [[nodiscard]] virtual bool KeyIsDown(DAW_EKeyCode iKeyCode) const;
    const DAW_KeyStateArray& GetKeyStateArray() const { return mKeys; }
    DAW_EKeyStateArrayFormat GetKeyStateArrayFormat() const { return mFormat; }

protected:
    DAW_KeyboardState(const DAW_KeyStateArray& iKeys, DAW_EKeyStateArrayFormat iFormat);
    ~DAW_KeyboardState() override;

private:
    DAW_KeyStateArray mKeys;
    DAW_EKeyStateArrayFormat mFormat;
};
