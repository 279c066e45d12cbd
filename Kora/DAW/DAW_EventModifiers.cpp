#include "Kora/DAW/DAW_EventModifiers.h"

#include <iterator>

namespace {

struct KeyText
{
    const char* mMac;
    const char* mWindows;
};
// In the order of the states.
constexpr KeyText cKeyTexts[] = {
    {"command", "Ctrl"}, {"option", "Alt"}, {"control", "Winkey"}, {"shift", "Shift"}};
constexpr const char* cButtonTexts[] = {"LeftButton", "MiddleButton", "RightButton"};

Cmn_UInt32 sNumChangesInMaps = 0;

void Append(std::string& ioText, char iOpen, const char* iName, char iClose)
{
    if (!ioText.empty()) ioText += '+';
    ioText += iOpen;
    ioText += iName;
    ioText += iClose;
}

} // namespace

Cmn_AliasedRefCountPtr<DAW_EventModifiers>
DAW_EventModifiers::New(DAW_EMenuCommandKeyState iMenuCommand, DAW_EAlternateKeyState iAlternate,
                        DAW_EMetaKeyState iMeta, DAW_EShiftKeyState iShift, DAW_ELeftMouseButtonState iLeft,
                        DAW_EMiddleMouseButtonState iMiddle, DAW_ERightMouseButtonState iRight)
{
    return Cmn_RefCountPtr<DAW_EventModifiers>(
        new DAW_EventModifiers(iMenuCommand, iAlternate, iMeta, iShift, iLeft, iMiddle, iRight));
}

DAW_EventModifiers::DAW_EventModifiers(DAW_EMenuCommandKeyState iMenuCommand,
                                       DAW_EAlternateKeyState iAlternate, DAW_EMetaKeyState iMeta,
                                       DAW_EShiftKeyState iShift, DAW_ELeftMouseButtonState iLeft,
                                       DAW_EMiddleMouseButtonState iMiddle, DAW_ERightMouseButtonState iRight)
    : mMenuCommand(iMenuCommand)
    , mAlternate(iAlternate)
    , mMeta(iMeta)
    , mShift(iShift)
    , mLeft(iLeft)
    , mMiddle(iMiddle)
    , mRight(iRight)
{
}

DAW_EventModifiers::~DAW_EventModifiers() = default;

Cmn_UInt32 DAW_EventModifiers::GetNumChangesInMaps() { return sNumChangesInMaps; }

void DAW_EventModifiers::CountChangeInMaps() { ++sNumChangesInMaps; }

bool DAW_EventModifiers::operator==(const DAW_EventModifiers& iOther) const
{
    return mMenuCommand == iOther.mMenuCommand && mAlternate == iOther.mAlternate && mMeta == iOther.mMeta &&
           mShift == iOther.mShift && mLeft == iOther.mLeft && mMiddle == iOther.mMiddle &&
           mRight == iOther.mRight;
}

std::string DAW_EventModifiers::GetKeyModifiersDescriptiveString(bool iMacNames) const
{
    const Cmn_Int32 states[] = {mMenuCommand, mAlternate, mMeta, mShift};
    std::string text;
    const auto appendKeys = [&](Cmn_Int32 iState, char iOpen, char iClose) {
        for (std::size_t key = 0; key < std::size(states); ++key)
            if (states[key] == iState)
                Append(text, iOpen, iMacNames ? cKeyTexts[key].mMac : cKeyTexts[key].mWindows, iClose);
    };
    appendKeys(1, '<', '>');
    appendKeys(2, '[', ']');
    return text;
}

std::string DAW_EventModifiers::GetMouseModifiersDescriptiveString() const
{
    const bool isDown[] = {LeftButtonIsDown(), MiddleButtonIsDown(), RightButtonIsDown()};
    std::string text;
    for (std::size_t button = 0; button < std::size(isDown); ++button)
        if (isDown[button]) Append(text, '<', cButtonTexts[button], '>');
    return text;
}
