#include "Kora/DAW/DAW_KeyBindingMap.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Kora/DAW/DAW_Command.h"

#include <algorithm>

DAW_KeyBindingMap::DAW_KeyBindingMap()
    : mCandidates(cDAW_NumKeyCodes + 1)
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
    Candidates& list = mCandidates[ListOf(code)];
    list.push_back({code, iBinding->GetEventModifiers().get(), iBinding.get()});
    try {
        mKeyMap.emplace(iBinding->GetKeyEvent(), iBinding);
    } catch (...) {
        list.pop_back();
        throw;
    }
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
    list.erase(std::find_if(list.begin(), list.end(), [&](const Candidate& iCandidate) {
        return iCandidate.mBinding == binding.get();
    }));
}

Cmn_RefCountPtr<DAW_KeyBinding>
DAW_KeyBindingMap::FindMatchingKeyBinding(const Cmn_RefCountPtr<DAW_KeyEvent>& iEvent,
                                          const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers) const
{
    if (!Cmn_ASSERT(iEvent && iModifiers)) return nullptr;
    const DAW_EKeyCode code = iEvent->GetKeyCode();
    for (const Candidate& candidate : mCandidates[ListOf(code)])
        if (candidate.mKeyCode == code && candidate.mModifiers->Matches(*iModifiers))
            return candidate.mBinding;
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
