#include "Keys.h"

#include "Commands.h"
#include "Kora/Commands.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr long cMainContext = 1;

struct Row
{
    CommandID mCommand;
    DAW_EKeyCode mKey;
    DAW_EMenuCommandKeyState mMenuCommand;
    DAW_EShiftKeyState mShift;
    DAW_EAutoKey mRepeats;
};

constexpr Row cKeys[] = {
    {eCommand_New, DAW_eKeyCode_N, DAW_eMenuCommandKeyState_Down, DAW_eShiftKeyState_Up, DAW_eAutoKey_No},
    {eCommand_Save, DAW_eKeyCode_S, DAW_eMenuCommandKeyState_Down, DAW_eShiftKeyState_Up, DAW_eAutoKey_No},
    {eCommand_Quit, DAW_eKeyCode_Q, DAW_eMenuCommandKeyState_Down, DAW_eShiftKeyState_Up, DAW_eAutoKey_No},
    {eCommand_Loop, DAW_eKeyCode_L, DAW_eMenuCommandKeyState_Up, DAW_eShiftKeyState_Up, DAW_eAutoKey_No},
    // Shift makes it coarse, so it matches with and without; held down, it goes on.
    {eCommand_Nudge, DAW_eKeyCode_RightArrow, DAW_eMenuCommandKeyState_Up, DAW_eShiftKeyState_Either,
     DAW_eAutoKey_Yes},
    {eCommand_Scrub, DAW_eKeyCode_Space, DAW_eMenuCommandKeyState_Up, DAW_eShiftKeyState_Up, DAW_eAutoKey_No},
};

Cmn_AliasedRefCountPtr<DAW_EventModifiers> Modifiers(DAW_EMenuCommandKeyState iMenuCommand,
                                                     DAW_EShiftKeyState iShift)
{
    return DAW_EventModifiers::New(iMenuCommand, DAW_eAlternateKeyState_Up, DAW_eMetaKeyState_Up, iShift);
}

DAW_KeyBindingMap& Bindings()
{
    static DAW_KeyBindingMap sMap;
    return sMap;
}

// Of ASCII letters.
std::string Lower(std::string iText)
{
    std::transform(iText.begin(), iText.end(), iText.begin(),
                   [](unsigned char iLetter) { return static_cast<char>(std::tolower(iLetter)); });
    return iText;
}

std::string TextOf(const KeyChord& iChord)
{
    return std::string(iChord.mMenuCommand ? "Ctrl+" : "") + (iChord.mAlternate ? "Alt+" : "") +
           (iChord.mShift ? "Shift+" : "") + DAW_KeyConversionUtils::DAW_EKeyCodeToDisplayString(iChord.mKey);
}

bool SkipPrefix(std::string& ioText, const char* iPrefix)
{
    if (!ioText.starts_with(iPrefix)) return false;
    ioText.erase(0, std::string(iPrefix).size());
    return true;
}

} // namespace

void RegisterKeys()
{
    for (const Row& row : cKeys) {
        Bindings().AddKeyBinding(DAW_KeyBinding::New(
            DAW_KeyEvent::New(row.mKey, row.mRepeats, "", DAW_eKeyState_Down),
            Modifiers(row.mMenuCommand, row.mShift), DAW_CommandRegistry::FindCommandByID(row.mCommand)));
    }
    auto* const context = new DAW_KeyboardInputContext(cMainContext, "Main"); // the registry's from here on
    context->SetKeyBindingMap(&Bindings());
    DAW_KeyContextRegistry::RegisterKeyContext(context);
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(context);
}

void RemoveKeys()
{
    delete DAW_KeyContextRegistry::FindKeyContextByID(cMainContext);
    while (!Bindings().GetKeyMap().empty())
        Bindings().DeleteKeyBinding(Bindings().GetKeyMap().begin()->second);
}

std::string ShortcutOf(long iCommandID)
{
    const Cmn_RefCountPtr<DAW_KeyBinding> binding = Bindings().FindKeyBindingByID(iCommandID);
    if (!binding) return "";
    const auto& modifiers = *binding->GetEventModifiers();
    return TextOf({binding->GetKeyEvent()->GetKeyCode(), modifiers.MenuCommandKeyIsDown(),
                   modifiers.AlternateKeyIsDown(), modifiers.ShiftKeyIsDown()});
}

std::optional<KeyChord> ParseChord(const std::string& iText)
{
    KeyChord chord;
    std::string rest = Lower(iText);
    for (bool more = true; more;) {
        more = false;
        if (SkipPrefix(rest, "ctrl+")) more = chord.mMenuCommand = true;
        if (SkipPrefix(rest, "alt+")) more = chord.mAlternate = true;
        if (SkipPrefix(rest, "shift+")) more = chord.mShift = true;
    }
    for (int code = DAW_eKeyCode_BackSpace; code < cDAW_NumKeyCodes; ++code) {
        chord.mKey = static_cast<DAW_EKeyCode>(code);
        if (Lower(DAW_KeyConversionUtils::DAW_EKeyCodeToDisplayString(chord.mKey)) == rest) return chord;
    }
    return std::nullopt;
}

Cmn_AliasedRefCountPtr<DAW_EventModifiers> ModifiersOf(const KeyChord& iChord)
{
    return DAW_EventModifiers::New(
        iChord.mMenuCommand ? DAW_eMenuCommandKeyState_Down : DAW_eMenuCommandKeyState_Up,
        iChord.mAlternate ? DAW_eAlternateKeyState_Down : DAW_eAlternateKeyState_Up, DAW_eMetaKeyState_Up,
        iChord.mShift ? DAW_eShiftKeyState_Down : DAW_eShiftKeyState_Up);
}

bool SendKey(const KeyChord& iChord, bool iPressed, bool iRepeated)
{
    DAW_KeyStateArray down;
    down.SetBit(static_cast<Cmn_UInt32>(iChord.mKey), iPressed);
    const char typed = DAW_KeyConversionUtils::DAW_EKeyCodeToChar(iChord.mKey);
    return DAW_KeyboardInputContext::HandleKeyEvent(
        DAW_KeyEvent::New(iChord.mKey, iRepeated ? DAW_eAutoKey_Yes : DAW_eAutoKey_No,
                          typed != 0 ? std::string(1, typed) : std::string(),
                          iPressed ? DAW_eKeyState_Down : DAW_eKeyState_Up),
        ModifiersOf(iChord), DAW_KeyboardState::New(down, DAW_eKeyStateArrayFormat_ByKeyCode));
}

std::string WhyNot(const KeyChord& iChord)
{
    const Cmn_RefCountPtr<DAW_KeyBinding> binding =
        Bindings().FindMatchingKeyBinding(DAW_KeyEvent::New(iChord.mKey), ModifiersOf(iChord));
    const DAW_Command* const command = binding ? binding->GetCommand() : nullptr;
    return TextOf(iChord) +
           (command != nullptr ? ": " + command->GetName() + " is disabled" : " has no binding");
}
