// Time_KeySignatureMap: which key the music is in, from which tick on.
//
// Units:      ticks, 960000 to a quarter note; ranges are [start, end). Before the first
//             entry C major is in force.
// Invariants: (1) ticks ascend strictly, one key a tick.
// Undo:       every edit tells the undo manager before it writes; an edit that has nothing to do (an empty
//             range, no entry in it) tells nobody. Storing a key always counts as an edit.
// Times:      typed times become ticks through Time_Convert; times in ticks need no converter for that, the
//             neighbour searches do.
// Threads:    the document's thread only. The map has no listeners.
#pragma once

#include "Kora/Ndo/Ndo_Object.h"
#include "Kora/Time/Key/Time_KeySignature.h"
#include "Kora/Time/Values/Time_Tick.h"
#include "Kora/Time/Values/Time_Typed.h"

#include <memory>
#include <string>
#include <vector>

class Cmn_XMLNode;
class Sys_TypedInStream;
class Sys_TypedOutStream;
template <class Key>
class Time_SearchIndex;
template <class Value>
class Time_SharedRowTaker;

class KORA_API Time_KeySignatureMap : public Ndo_Object
{
public:
    // No keys: C major throughout. An undoable map is the document's own.
    explicit Time_KeySignatureMap(EUndoFlag iUndoable = kNoUndo);
    // A copy has the same keys, is not undoable and counts as unmodified.
    Time_KeySignatureMap(const Time_KeySignatureMap& iOther);
    // The same as ReplaceWith.
    Time_KeySignatureMap& operator=(const Time_KeySignatureMap& iOther);
    ~Time_KeySignatureMap() override;

    // Set by every edit and by undo; whoever saves the document clears it.
    bool IsModified() const { return mIsModified; }
    void SetModified(bool iModified) { mIsModified = iModified; }

    // --- Queries
    // They allocate nothing; a place is found in a few nanoseconds, however many entries there
    // are, and in O(log n) where entries crowd.

    // That of the last entry at or before the time; C major before the first.
    Time_KeySignature GetKeySignatureAtTime(const Time_Typed& iTime) const;

    // The last entry at or before iTime less one unit of its own (a sample, a tick, a frame), but not before
    // the session start. The outs are written only when there is one.
    [[nodiscard]] bool FindKeySignatureBeforeTime(const Time_Typed& iTime, Time_Tick& oTick,
                                                  Time_KeySignature& oKey) const;
    // The first entry at or after iTime plus one unit, or at or after iTime itself when the flag is set; the
    // time searched from is at most the session end.
    [[nodiscard]] bool FindKeySignatureAfterTime(const Time_Typed& iTime, Time_Tick& oTick,
                                                 Time_KeySignature& oKey, bool iIncludeTime) const;

    [[nodiscard]] bool empty() const { return mKeys.empty(); }
    long size() const { return static_cast<long>(mKeys.size()); }
    // Index, from 0 in tick order, of the entry exactly at the tick; false, with the
    // out untouched, without one.
    [[nodiscard]] bool GetIndexAtTick(Time_Tick iTick, long& oIndex) const;
    // False, with the outs untouched and "IsIndex(iIndex)" asserted, for an index outside 0 … size() - 1.
    [[nodiscard]] bool GetKeysSignature(long iIndex, Time_Tick& oTick, Time_KeySignature& oKey) const;
    // The key of an entry; a bad index asserts as above and gives C major.
    Time_KeySignature at(long iIndex) const;

    // The smallest range that holds every entry: from the first entry's tick to one past the last's. False,
    // with the outs untouched, for an empty map.
    [[nodiscard]] bool GetKeySignaturesRange(Time_Tick& oStart, Time_Tick& oEnd) const;
    // Whether an entry lies in [start, end).
    [[nodiscard]] bool RangeContainsData(Time_Tick iStart, Time_Tick iEnd) const;

    // --- Edits

    // Puts a key at the tick, in place of one that is there.
    void SetKeySignature(Time_Tick iTick, const Time_KeySignature& iKey);
    void remove(long iIndex); // a bad index asserts "IsIndex(iIndex)"
    void clear();
    // Removes the entries in [start, end); the key in force before them then holds there.
    void Erase(Time_Tick iStart, Time_Tick iEnd);

    // Takes [start, end) out of the time line: entries inside go, later ones move back by end - start. The
    // key in force at the end is put at the start, always, so that what follows sounds as before.
    void DeleteTime(Time_Tick iStart, Time_Tick iEnd);
    // Opens iLength ticks: entries at or after iAt move forward. The source's entries, when one is given, are
    // pasted into the gap. Asserts "the shifted entries stay in range" and does nothing when the last entry
    // would leave the 64 bits.
    void InsertTime(Time_Tick iAt, const Time_TickLength& iLength, const Time_KeySignatureMap* iSource);

    // Fills another map (emptied first) with the entries of [start, end) based at tick 0, where it
    // puts the key in force at the start: the copy answers at t as this map does at start + t.
    // Copying to itself is allowed.
    void Copy(Time_KeySignatureMap* oDest, Time_Tick iStart, Time_Tick iEnd) const;
    // Replaces the entries of [start, end) by the source's, whose tick 0 comes to lie at the start: those
    // from tick 0 to before end - start. An entry at tick 0 that repeats the key already in force at the
    // start is left out, and what was in force at the end is in force there afterwards, by an entry at the
    // end where needed. Pasting a map into itself uses it as it was before.
    void Paste(Time_Tick iStart, Time_Tick iEnd, const Time_KeySignatureMap* iSource);
    // Takes another map's keys. Out of memory, the map is as it was.
    void ReplaceWith(const Time_KeySignatureMap& iOther);
    // The same of a map that nobody needs any more, whose keys are not defined afterwards. Nothing throws
    // behind the undo notice. Nothing for the map itself.
    void ReplaceWith(Time_KeySignatureMap&& ioOther);

    // --- Undo, persistence, diagnostics

    // A state has what the stream form has, shared with the state before where nothing changed in between. To
    // restore it replaces what differs; out of memory, it throws std::bad_alloc and leaves the map as it was.
    Ndo_State* NdoGetState() override;
    void NdoRestoreState(Ndo_State* iState) override;

    // Stream "KeySignatures", version 1: count (32 bits), then for each entry tick (64), major (bool), sharps
    // (bool), accidentals (8). A negative count, one that the bytes cannot hold, or ticks that do not ascend
    // raise Sys_StreamReadException and leave the map as it was.
    void StreamOut(Sys_TypedOutStream& ioStream) const;
    // Replaces the content by what StreamOut wrote.
    void StreamIn(Sys_TypedInStream& ioStream);
    // <KeySignatureMap><nKeyCount>…<Keys><Key><nTick>…<mIsMajor>…<mIsSharps>…<nAccidentals>…
    Cmn_XMLNode GetAsXML() const;
    // A line for each entry: "  960000  G major (1 sharps)".
    [[nodiscard]] std::string Dump() const;

private:
    friend class Time_KeySignatureMap_TState;
    struct Entry
    {
        bool operator==(const Entry&) const = default;

        Time_Tick mTick;
        Time_KeySignature mKey;
    };
    using Entries = std::vector<Entry>;

    void AboutToModify();
    bool IsIndex(long iIndex) const { return iIndex >= 0 && iIndex < size(); }
    std::size_t CountUpTo(Time_Tick iTick) const;
    Entries::const_iterator FirstAtOrAfter(Time_Tick iTick) const;
    Time_KeySignature KeyInForce(Time_Tick iTick) const;
    void Store(Time_Tick iTick, const Time_KeySignature& iKey);
    void EraseEntries(Time_Tick iStart, Time_Tick iEnd);
    void PasteEntries(Time_Tick iStart, Time_Tick iEnd, const Entries& iSource);
    void Changed(std::size_t iFront, std::size_t iBack = 0);

    bool mIsModified = false;
    // Ordered by tick. A sorted vector, so that an index is a place and a query touches little memory.
    Entries mKeys;
    std::unique_ptr<Time_SearchIndex<Cmn_Int64>> mIndex; // of their ticks
    std::unique_ptr<Time_SharedRowTaker<Entry>> mRowTaker;
};
