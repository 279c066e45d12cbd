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

void DAW_KeyBindingMap::Candidates::ReserveOneMore()
{
    const std::size_t count = mBindings.size() + 1;
    if (count <= mDigests.capacity()) return;
    mBindings.reserve(2 * count);
    mGroups.reserve(2 * count);
    mDigests.reserve(2 * count);
}

// There is room.
void DAW_KeyBindingMap::Candidates::Append(DAW_KeyBinding& iBinding)
{
    const auto place = static_cast<Cmn_UInt32>(mBindings.size());
    mBindings.push_back({&iBinding, cNone});
    if (mIsStale) return;
    const Cmn_UInt16 digest = DigestOf(*iBinding.GetEventModifiers());
    const auto group = std::find(mDigests.begin(), mDigests.end(), digest);
    AppendToGroup(static_cast<std::size_t>(group - mDigests.begin()), digest, place);
}

void DAW_KeyBindingMap::Candidates::AppendToGroup(std::size_t iGroup, Cmn_UInt16 iDigest, Cmn_UInt32 iPlace)
{
    mBindings[iPlace].mNext = cNone;
    if (iGroup == mGroups.size()) {
        mGroups.push_back({iPlace, iPlace});
        mDigests.push_back(iDigest);
    } else {
        mBindings[mGroups[iGroup].mLast].mNext = iPlace;
        mGroups[iGroup].mLast = iPlace;
    }
}

void DAW_KeyBindingMap::Candidates::Regroup()
{
    // Which group a digest has, and 0 for none, counted from 1; all 0 before and after. The
    // user-interface thread's.
    static Cmn_UInt16 groups[1 << 14];
    mGroups.clear();
    mDigests.clear();
    for (Cmn_UInt32 place = 0; place < mBindings.size(); ++place) {
        const Cmn_UInt16 digest = DigestOf(*mBindings[place].mBinding->GetEventModifiers());
        const bool isNew = groups[digest] == 0;
        if (isNew) groups[digest] = static_cast<Cmn_UInt16>(mGroups.size() + 1);
        AppendToGroup(groups[digest] - std::size_t{1}, digest, place);
    }
    for (const Cmn_UInt16 digest : mDigests)
        groups[digest] = 0;
    mIsStale = false;
}

DAW_KeyBinding* DAW_KeyBindingMap::Candidates::FirstMatch(const DAW_EventModifiers& iModifiers) const
{
    const Cmn_UInt16 given = DigestOf(iModifiers);
    Cmn_UInt32 first = cNone;
    for (std::size_t at = 0; (at = FirstThatMayMatch(mDigests, given, at)) < mGroups.size(); ++at) {
        Cmn_UInt32 place = mGroups[at].mFirst;
        if (place >= first) break;
        // All of a group match or none, but for values that no enumeration has.
        while (place < first && !mBindings[place].mBinding->GetEventModifiers()->Matches(iModifiers))
            place = mBindings[place].mNext;
        first = std::min(first, place);
    }
    return first != cNone ? mBindings[first].mBinding : nullptr;
}

DAW_KeyBindingMap::DAW_KeyBindingMap()
    : mCandidates(cDAW_NumKeyCodes)
    , mNumChangesSeen(DAW_EventModifiers::GetNumChangesInMaps())
{
}

DAW_KeyBindingMap::~DAW_KeyBindingMap() = default;

DAW_KeyBindingMap::Candidates* DAW_KeyBindingMap::ListOf(DAW_EKeyCode iKeyCode) const
{
    if (DAW_IsKeyCode(iKeyCode)) return &mCandidates[static_cast<std::size_t>(iKeyCode)];
    const auto list = mCandidatesOfUnknown.find(iKeyCode);
    return list != mCandidatesOfUnknown.end() ? &list->second : nullptr;
}

void DAW_KeyBindingMap::AddKeyBinding(const Cmn_RefCountPtr<DAW_KeyBinding>& iBinding)
{
    if (!Cmn_ASSERT(iBinding && iBinding->GetKeyEvent() && iBinding->GetEventModifiers())) return;
    const DAW_EKeyCode code = iBinding->GetKeyEvent()->GetKeyCode();
    if (!DAW_IsKeyCode(code)) mCandidatesOfUnknown.try_emplace(code);
    Candidates& list = *ListOf(code);
    list.ReserveOneMore();
    mKeyMap.emplace(iBinding->GetKeyEvent(), iBinding);
    list.Append(*iBinding);
    iBinding->GetEventModifiers()->SetIsInMap();
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
    const DAW_EKeyCode code = binding->GetKeyEvent()->GetKeyCode();
    Candidates& list = *ListOf(code);
    const auto isIt = [&](const Candidates::Candidate& iCandidate) {
        return iCandidate.mBinding == binding.get();
    };
    list.mBindings.erase(std::find_if(list.mBindings.begin(), list.mBindings.end(), isIt));
    list.mIsStale = true;
    if (list.mBindings.empty() && !DAW_IsKeyCode(code)) mCandidatesOfUnknown.erase(code);
}

Cmn_RefCountPtr<DAW_KeyBinding>
DAW_KeyBindingMap::FindMatchingKeyBinding(const Cmn_RefCountPtr<DAW_KeyEvent>& iEvent,
                                          const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers) const
{
    if (!Cmn_ASSERT(iEvent && iModifiers)) return nullptr;
    if (mNumChangesSeen != DAW_EventModifiers::GetNumChangesInMaps()) {
        for (Candidates& list : mCandidates)
            list.mIsStale = true;
        for (auto& [code, list] : mCandidatesOfUnknown)
            list.mIsStale = true;
        mNumChangesSeen = DAW_EventModifiers::GetNumChangesInMaps();
    }
    Candidates* const list = ListOf(iEvent->GetKeyCode());
    if (list == nullptr) return nullptr;
    if (list->mIsStale) list->Regroup();
    return list->FirstMatch(*iModifiers);
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
