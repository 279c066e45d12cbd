#include "Kora/DAW/DAW_KeyBindingMap.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/DAW/DAW_Command.h"
#include "Kora/DAW/DAW_KeyConversionUtils.h"

#include <algorithm>

namespace {

// A digest has two bits for each of the seven states, 1 for up and 2 for down; "either", and values
// that no enumeration has, set both. Two modifiers that match share a bit in every pair; the rule
// itself has the last word.
constexpr Cmn_UInt16 cLowBits = 0x1555;

Cmn_UInt16 DigestOf(const DAW_EventModifiers& iModifiers)
{
    const Cmn_Int32 states[] = {iModifiers.GetMenuCommandKeyState(),  iModifiers.GetAlernateKeyState(),
                                iModifiers.GetMetaKeyState(),         iModifiers.GetShiftKeyState(),
                                iModifiers.GetLeftMouseButtonState(), iModifiers.GetMiddleMouseButtonState(),
                                iModifiers.GetRightMouseButtonState()};
    unsigned digest = 0;
    for (const Cmn_Int32 state : states)
        digest = digest << 2 | (state == 0 || state == 1 ? static_cast<unsigned>(state) + 1 : 3);
    return static_cast<Cmn_UInt16>(digest);
}

// The first place from iFrom on whose digest may match, or the end. Whole blocks are looked at without a
// branch, which lets the compiler compare eight digests at a time.
std::size_t FirstThatMayMatch(const std::vector<Cmn_UInt16>& iDigests, Cmn_UInt16 iGiven, std::size_t iFrom)
{
    constexpr std::size_t cBlock = 32;
    const auto mayMatch = [iGiven](Cmn_UInt16 iDigest) {
        const Cmn_UInt16 shared = iDigest & iGiven;
        return static_cast<Cmn_UInt16>((shared | shared >> 1) & cLowBits) == cLowBits;
    };
    std::size_t at = iFrom;
    for (; at + cBlock <= iDigests.size(); at += cBlock) {
        Cmn_UInt16 any = 0;
        for (std::size_t i = 0; i < cBlock; ++i)
            any |= static_cast<Cmn_UInt16>(mayMatch(iDigests[at + i]));
        if (any != 0) break;
    }
    while (at < iDigests.size() && !mayMatch(iDigests[at]))
        ++at;
    return at;
}

std::string BindingText(const DAW_KeyBinding& iBinding)
{
    const DAW_EventModifiers& modifiers = *iBinding.GetEventModifiers();
    std::string text;
    for (const std::string& part :
         {modifiers.GetKeyModifiersDescriptiveString(false), modifiers.GetMouseModifiersDescriptiveString()})
        if (!part.empty()) text += part + '+';
    const DAW_KeyEvent& event = *iBinding.GetKeyEvent();
    text += DAW_KeyConversionUtils::DAW_EKeyCodeToDescriptiveString(event.GetKeyCode());
    if (event.IsAutoKey()) text += " repeating";
    const DAW_Command* const command = iBinding.GetCommand();
    if (command == nullptr) return text + ": no command";
    return text + ": " + std::to_string(command->GetCommandID()) + ' ' + command->GetName();
}

} // namespace

DAW_KeyBindingMap::DAW_KeyBindingMap()
    : mCandidates(cDAW_NumKeyCodes + 1)
    , mNumChangesSeen(DAW_EventModifiers::GetNumChangesInMaps())
{
}

DAW_KeyBindingMap::~DAW_KeyBindingMap() = default;

std::size_t DAW_KeyBindingMap::ListOf(DAW_EKeyCode iKeyCode)
{
    return static_cast<std::size_t>(DAW_IsKeyCode(iKeyCode) ? iKeyCode : cDAW_NumKeyCodes);
}

void DAW_KeyBindingMap::AddKeyBinding(const Cmn_RefCountPtr<DAW_KeyBinding>& iBinding)
{
    if (!Cmn_ASSERT(iBinding && iBinding->GetKeyEvent() && iBinding->GetEventModifiers())) return;
    const DAW_EKeyCode code = iBinding->GetKeyEvent()->GetKeyCode();
    const DAW_EventModifiers& modifiers = *iBinding->GetEventModifiers();
    Candidates& list = mCandidates[ListOf(code)];
    const auto entry = mKeyMap.emplace(iBinding->GetKeyEvent(), iBinding);
    try {
        list.mDigests.push_back(DigestOf(modifiers));
        list.mBindings.push_back({code, iBinding.get()});
    } catch (...) {
        list.mDigests.resize(list.mBindings.size());
        mKeyMap.erase(entry);
        throw;
    }
    modifiers.SetIsInMap();
}

void DAW_KeyBindingMap::DeleteKeyBinding(const Cmn_RefCountPtr<DAW_KeyBinding>& iBinding)
{
    if (!Cmn_ASSERT(iBinding && iBinding->GetKeyEvent())) return;
    // The argument may be the map's own reference.
    const Cmn_RefCountPtr<DAW_KeyBinding> binding = iBinding;
    const auto [first, last] = mKeyMap.equal_range(binding->GetKeyEvent());
    const auto entry =
        std::find_if(first, last, [&](const auto& iEntry) { return iEntry.second == binding; });
    if (entry == last) return;
    mKeyMap.erase(entry);
    Candidates& list = mCandidates[ListOf(binding->GetKeyEvent()->GetKeyCode())];
    const auto place =
        std::find_if(list.mBindings.begin(), list.mBindings.end(),
                     [&](const Candidate& iCandidate) { return iCandidate.mBinding == binding.get(); });
    list.mDigests.erase(list.mDigests.begin() + (place - list.mBindings.begin()));
    list.mBindings.erase(place);
}

void DAW_KeyBindingMap::RefreshDigests() const
{
    for (Candidates& list : mCandidates)
        for (std::size_t at = 0; at < list.mBindings.size(); ++at)
            list.mDigests[at] = DigestOf(*list.mBindings[at].mBinding->GetEventModifiers());
    mNumChangesSeen = DAW_EventModifiers::GetNumChangesInMaps();
}

Cmn_RefCountPtr<DAW_KeyBinding>
DAW_KeyBindingMap::FindMatchingKeyBinding(const Cmn_RefCountPtr<DAW_KeyEvent>& iEvent,
                                          const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers) const
{
    if (!Cmn_ASSERT(iEvent && iModifiers)) return nullptr;
    const DAW_EKeyCode code = iEvent->GetKeyCode();
    if (mNumChangesSeen != DAW_EventModifiers::GetNumChangesInMaps()) RefreshDigests();
    const Candidates& list = mCandidates[ListOf(code)];
    const Cmn_UInt16 given = DigestOf(*iModifiers);
    for (std::size_t at = 0; (at = FirstThatMayMatch(list.mDigests, given, at)) < list.mBindings.size(); ++at)
    {
        const Candidate& candidate = list.mBindings[at];
        if (candidate.mKeyCode == code && candidate.mBinding->GetEventModifiers()->Matches(*iModifiers))
            return candidate.mBinding;
    }
    return nullptr;
}

const DAW_KeyBindingMap::KeyMap& DAW_KeyBindingMap::GetKeyMap() const { return mKeyMap; }

Cmn_RefCountPtr<DAW_KeyBinding> DAW_KeyBindingMap::FindKeyBindingByID(long iCommandID) const
{
    for (const auto& [event, binding] : mKeyMap)
        if (binding->GetCommand() != nullptr && binding->GetCommand()->GetCommandID() == iCommandID)
            return binding;
    return nullptr;
}

std::string DAW_KeyBindingMap::Dump() const
{
    std::string text;
    for (const auto& [event, binding] : mKeyMap)
        text += BindingText(*binding) + '\n';
    return text;
}
