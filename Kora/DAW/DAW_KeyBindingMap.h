// DAW_KeyBindingMap: the key bindings of an input context, and which of them an event means.
//
// Order:     ascending key codes; bindings of one key code in the order in which they were added. Of those
//            that match an event the first wins.
// Invariant: mCandidates holds the bindings of mKeyMap, those of each key in the same order. No
// digest rules a match out.
// Threads:   the user-interface thread only; nothing is locked.
// Ownership: refers to its bindings. What a binding refers to stays alive with it, its command does not.
// Real time: FindMatchingKeyBinding looks at two bytes for each binding of the key, and allocates nothing.
//            The first one after a state of bound modifiers was set looks at all bindings once.
#pragma once

#include "Bastel/Cmn/Cmn_RefCount.h"
#include "Export/Kora_API.h"
#include "Kora/DAW/DAW_KeyBinding.h"

#include <map>
#include <string>
#include <vector>

// By key codes; neither event is null.
struct DAW_KeyEventCompare
{
    bool operator()(const Cmn_RefCountPtr<DAW_KeyEvent>& iLeft,
                    const Cmn_RefCountPtr<DAW_KeyEvent>& iRight) const
    {
        return *iLeft < *iRight;
    }
};

class KORA_API DAW_KeyBindingMap
{
public:
    using KeyMap =
        std::multimap<Cmn_RefCountPtr<DAW_KeyEvent>, Cmn_RefCountPtr<DAW_KeyBinding>, DAW_KeyEventCompare>;

    DAW_KeyBindingMap();
    virtual ~DAW_KeyBindingMap();
    DAW_KeyBindingMap(const DAW_KeyBindingMap&) = delete;
    DAW_KeyBindingMap& operator=(const DAW_KeyBindingMap&) = delete;

    // Behind the bindings of the same key. A null binding, key event or modifiers is asserted and not added.
    virtual void AddKeyBinding(const Cmn_RefCountPtr<DAW_KeyBinding>& iBinding);
    // This very binding, not one that is like it; one that was added twice stays once.
    // Nothing when it is not here.
    virtual void DeleteKeyBinding(const Cmn_RefCountPtr<DAW_KeyBinding>& iBinding);
    // The first binding with the event's key code whose modifiers match
    // (DAW_EventModifiers::Matches), or null. Text, repeat and press or release are not looked at. A
    // null argument is asserted and matches none.
    virtual Cmn_RefCountPtr<DAW_KeyBinding>
    FindMatchingKeyBinding(const Cmn_RefCountPtr<DAW_KeyEvent>& iEvent,
                           const Cmn_AliasedRefCountPtr<DAW_EventModifiers>& iModifiers) const;
    virtual const KeyMap& GetKeyMap() const;

    // The first one in the map's order whose command has the number, or null; O(n).
    [[nodiscard]] Cmn_RefCountPtr<DAW_KeyBinding> FindKeyBindingByID(long iCommandID) const;
    // A line a binding, in the map's order, with the names of Windows:
    // "<Ctrl>+<Shift>+[Alt]+'A': 1201 Bounce".
    [[nodiscard]] std::string Dump() const;

private:
    // The bindings of one key code; those of unknown codes share a list.
    struct Candidate
    {
        DAW_EKeyCode mKeyCode;
        DAW_KeyBinding* mBinding; // kept alive by the map's entry
    };
    struct Candidates
    {
        std::vector<Candidate> mBindings;
        std::vector<Cmn_UInt16> mDigests; // of the modifiers, at the same places
    };
    static std::size_t ListOf(DAW_EKeyCode iKeyCode);
    void RefreshDigests() const;

    KeyMap mKeyMap;
    mutable std::vector<Candidates> mCandidates;
    mutable Cmn_UInt32 mNumChangesSeen;
};
