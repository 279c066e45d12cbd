// DAW_KeyBindingMap: the key bindings of an input context, and which of them an event means.
//
// Order:     ascending key codes; bindings of one key code in the order in which they were added. Of those
//            that match an event the first wins.
// Invariant: the candidates are the bindings of mKeyMap, those of each key in the same order. No
// digest rules a match out.
// Threads:   the user-interface thread only; nothing is locked.
// Ownership: refers to its bindings. What a binding refers to stays alive with it, its command does not.
// Real time: FindMatchingKeyBinding looks at two bytes for each combination of states that bindings of
//            the key ask for, of which there are 648, however many the bindings are; and at each binding
//            that asks for a value that no enumeration has. It allocates nothing. The first one after a
//            binding of the key was deleted, or a state of bound modifiers was set, looks at all
//            bindings of the key once.
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
    // Bindings by their key, those of one key in the order in which they were added.
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
    // The bindings of one key code, in their order, and chained in groups whose modifiers have the same
    // digest. Groups stand in the order of their first bindings.
    struct Candidates
    {
        static constexpr Cmn_UInt32 cNone = 0xFFFFFFFF;
        struct Candidate
        {
            DAW_KeyBinding* mBinding; // kept alive by the map's entry
            Cmn_UInt32 mNext;         // in its group
        };
        struct Group
        {
            Cmn_UInt32 mFirst;
            Cmn_UInt32 mLast;
        };
        std::vector<Candidate> mBindings;
        std::vector<Group> mGroups;       // with room for one of each binding
        std::vector<Cmn_UInt16> mDigests; // at the same places
        bool mIsStale = false;            // the groups are to be made anew

        void ReserveOneMore();
        void Append(DAW_KeyBinding& iBinding);
        void Regroup();
        void AppendToGroup(std::size_t iGroup, Cmn_UInt16 iDigest, Cmn_UInt32 iPlace);
        DAW_KeyBinding* FirstMatch(const DAW_EventModifiers& iModifiers) const;
    };
    // Null for an unknown code without bindings.
    Candidates* ListOf(DAW_EKeyCode iKeyCode) const;

    KeyMap mKeyMap;
    mutable std::vector<Candidates> mCandidates;
    mutable std::map<DAW_EKeyCode, Candidates> mCandidatesOfUnknown; // codes that are no keys'
    mutable Cmn_UInt32 mNumChangesSeen;
};
