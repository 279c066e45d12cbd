// DAW_EventModifiers: which modifier keys and mouse buttons are down in an event, or
// asked for by a key binding.
//
//     key           Mac       Windows        states: 0 up, 1 down, 2 either: in a
//                   binding, whatever the event has
//     menu command  command   Ctrl           buttons: 0 up, 1 down
//     alternate     option    Alt
//     meta          control   Windows key
//     shift         shift     Shift
//
// Threads:   the user-interface thread.
// Ownership: counted. A binding refers to the object that it was made with: setting a state there changes
//            what it matches, from the next event on.
#pragma once

#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <string>

// Command on a Mac, Ctrl on Windows.
enum DAW_EMenuCommandKeyState : Cmn_Int32 {
    DAW_eMenuCommandKeyState_Up = 0,
    DAW_eMenuCommandKeyState_Down = 1,
    DAW_eMenuCommandKeyState_Either = 2
};
// Option on a Mac, Alt on Windows.
enum DAW_EAlternateKeyState : Cmn_Int32 {
    DAW_eAlternateKeyState_Up = 0,
    DAW_eAlternateKeyState_Down = 1,
    DAW_eAlternateKeyState_Either = 2
};
// Control on a Mac, the Windows key on Windows.
enum DAW_EMetaKeyState : Cmn_Int32 {
    DAW_eMetaKeyState_Up = 0,
    DAW_eMetaKeyState_Down = 1,
    DAW_eMetaKeyState_Either = 2
};
// Shift, either one.
enum DAW_EShiftKeyState : Cmn_Int32 {
    DAW_eShiftKeyState_Up = 0,
    DAW_eShiftKeyState_Down = 1,
    DAW_eShiftKeyState_Either = 2
};
// The button that selects.
enum DAW_ELeftMouseButtonState : Cmn_Int32 {
    DAW_eLeftMouseButtonState_Up = 0,
    DAW_eLeftMouseButtonState_Down = 1
};
// The wheel, on most mice.
enum DAW_EMiddleMouseButtonState : Cmn_Int32 {
    DAW_eMiddleMouseButtonState_Up = 0,
    DAW_eMiddleMouseButtonState_Down = 1
};
// The button that opens context menus.
enum DAW_ERightMouseButtonState : Cmn_Int32 {
    DAW_eRightMouseButtonState_Up = 0,
    DAW_eRightMouseButtonState_Down = 1
};

class KORA_API DAW_EventModifiers : public Cmn_RefCountObject
{
public:
    // With nothing else said, nothing is down.
    static Cmn_AliasedRefCountPtr<DAW_EventModifiers>
    New(DAW_EMenuCommandKeyState iMenuCommand = DAW_eMenuCommandKeyState_Up,
        DAW_EAlternateKeyState iAlternate = DAW_eAlternateKeyState_Up,
        DAW_EMetaKeyState iMeta = DAW_eMetaKeyState_Up, DAW_EShiftKeyState iShift = DAW_eShiftKeyState_Up,
        DAW_ELeftMouseButtonState iLeft = DAW_eLeftMouseButtonState_Up,
        DAW_EMiddleMouseButtonState iMiddle = DAW_eMiddleMouseButtonState_Up,
        DAW_ERightMouseButtonState iRight = DAW_eRightMouseButtonState_Up);

    DAW_EMenuCommandKeyState GetMenuCommandKeyState() const { return mMenuCommand; }
    // Deliberate: spelled so; hosts call it by this name. Test:
    // EventModifiers.EachStateIsWhatItWasMadeOrSetTo
    DAW_EAlternateKeyState GetAlernateKeyState() const { return mAlternate; }
    DAW_EMetaKeyState GetMetaKeyState() const { return mMeta; }
    DAW_EShiftKeyState GetShiftKeyState() const { return mShift; }
    DAW_ELeftMouseButtonState GetLeftMouseButtonState() const { return mLeft; }
    DAW_EMiddleMouseButtonState GetMiddleMouseButtonState() const { return mMiddle; }
    DAW_ERightMouseButtonState GetRightMouseButtonState() const { return mRight; }

    void SetMenuCommandKeyState(DAW_EMenuCommandKeyState iState) { Set(mMenuCommand, iState); }
    void SetAlernateKeyState(DAW_EAlternateKeyState iState) { Set(mAlternate, iState); }
    void SetMetaKeyState(DAW_EMetaKeyState iState) { Set(mMeta, iState); }
    void SetShiftKeyState(DAW_EShiftKeyState iState) { Set(mShift, iState); }
    void SetLeftMouseButtonState(DAW_ELeftMouseButtonState iState) { Set(mLeft, iState); }
    void SetMiddleMouseButtonState(DAW_EMiddleMouseButtonState iState) { Set(mMiddle, iState); }
    void SetRightMouseButtonState(DAW_ERightMouseButtonState iState) { Set(mRight, iState); }

    // --- What is down
    // Each is whether the state is 1; "either" is not down.

    bool MenuCommandKeyIsDown() const { return mMenuCommand == DAW_eMenuCommandKeyState_Down; }
    bool AlternateKeyIsDown() const { return mAlternate == DAW_eAlternateKeyState_Down; }
    bool MetaKeyIsDown() const { return mMeta == DAW_eMetaKeyState_Down; }
    bool ShiftKeyIsDown() const { return mShift == DAW_eShiftKeyState_Down; }
    bool LeftButtonIsDown() const { return mLeft == DAW_eLeftMouseButtonState_Down; }
    bool MiddleButtonIsDown() const { return mMiddle == DAW_eMiddleMouseButtonState_Down; }
    bool RightButtonIsDown() const { return mRight == DAW_eRightMouseButtonState_Down; }

    // --- All of it

    // The very same seven states: "either" equals only itself here.
    bool operator==(const DAW_EventModifiers& iOther) const;
    bool operator!=(const DAW_EventModifiers& iOther) const { return !(*this == iOther); }
    // As a binding asks: each key has the same state or is "either" on one side, each
    // button has the same state.
    [[nodiscard]] bool Matches(const DAW_EventModifiers& iOther) const;

    // The keys that are down, then the optional ones in square brackets: "<Ctrl>+<Shift>+[Alt]", in the names
    // of a Mac with true, "<command>+<shift>+[option]". Not localized. "" for none.
    [[nodiscard]] std::string GetKeyModifiersDescriptiveString(bool iMacNames) const;
    // The buttons that are down in the same style: "<LeftButton>+<RightButton>". "" for none.
    std::string GetMouseModifiersDescriptiveString() const;

protected:
    DAW_EventModifiers(DAW_EMenuCommandKeyState iMenuCommand, DAW_EAlternateKeyState iAlternate,
                       DAW_EMetaKeyState iMeta, DAW_EShiftKeyState iShift, DAW_ELeftMouseButtonState iLeft,
                       DAW_EMiddleMouseButtonState iMiddle, DAW_ERightMouseButtonState iRight);
    ~DAW_EventModifiers() override;

private:
    friend class DAW_KeyBindingMap;
    // Maps keep a digest of the modifiers in them, and make it anew when the count of
    // changes to such ones has moved.
    void SetIsInMap() const { mIsInMap = true; }
    static Cmn_UInt32 GetNumChangesInMaps();
    static void CountChangeInMaps();
    template <class State>
    void Set(State& oState, State iState)
    {
        oState = iState;
        if (mIsInMap) CountChangeInMaps();
    }

    DAW_EMenuCommandKeyState mMenuCommand;
    DAW_EAlternateKeyState mAlternate;
    DAW_EMetaKeyState mMeta;
    DAW_EShiftKeyState mShift;
    DAW_ELeftMouseButtonState mLeft;
    DAW_EMiddleMouseButtonState mMiddle;
    DAW_ERightMouseButtonState mRight;
    mutable bool mIsInMap = false; // stays once set
};

inline bool DAW_EventModifiers::Matches(const DAW_EventModifiers& iOther) const
{
    const auto keyMatches = [](Cmn_Int32 iLeft, Cmn_Int32 iRight) {
        return iLeft == iRight || iLeft == 2 || iRight == 2;
    };
    return keyMatches(mMenuCommand, iOther.mMenuCommand) && keyMatches(mAlternate, iOther.mAlternate) &&
           keyMatches(mMeta, iOther.mMeta) && keyMatches(mShift, iOther.mShift) && mLeft == iOther.mLeft &&
           mMiddle == iOther.mMiddle && mRight == iOther.mRight;
}
