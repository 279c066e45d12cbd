// FF_RepairedTable: fills the table of contents of a repaired document.
//
//   lent       what an old table tells, as far as it is there: descriptions, pieces, items, states
//   rebuilt    what headers alone tell of: keys from the streams around, items from list indexes
//
// An entry is made only where a reader would find what it tells: what FF_DocumentCheck asks of the new file.
// Threads: one at a time. Ownership: all that the constructor is given stays the caller's and outlives it.
#pragma once

#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Rescue/FF_DocumentRepair.h"
#include "Kora/FF/Rescue/FF_LentTable_p.h"
#include "Kora/FF/Rescue/FF_TakenStretches_p.h"

#include <map>
#include <unordered_map>
#include <unordered_set>

class FF_RepairedTable
{
public:
    // iUnsureFrom: from where on damage hides which outermost streams really are outermost.
    // iLength: of the old file.
    FF_RepairedTable(FF_Document::TOC& ioTable, const FF_StreamWalk& iWalk, const FF_LentTable& iLent,
                     const FF_TakenStretches& iTaken, Cmn_Int64 iUnsureFrom, Cmn_Int64 iLength,
                     FF_DocumentRepair::Report& ioReport);

    // Once, in this order.
    void LendEntries();
    void RebuildEntries();
    void RebuildItems();

private:
    using Contexts = std::vector<FF_Document::Context>;
    using Key = FF_Document::TOCKey;
    using Node = FF_StreamWalk::Node;
    using TOC = FF_Document::TOC;
    using Value = FF_Document::TOCValue;
    static constexpr Cmn_Int32 cNotAnItem = -1;

    void AddLost(Cmn_Int64 iOffset, std::string iText);
    // Where a reported node stands in the old file.
    Cmn_Int64 PlaceOf(Cmn_Int32 iNode) const { return mWalk.GetNode(iNode).mPlace; }
    Contexts WithNewParents(Contexts iContexts) const;
    bool AddPiece(TOC::Entry iEntry, Cmn_Int32 iValue, Cmn_Int64 iOffset);

    void LendEntry(TOC::Entry iEntry);
    Value Moved(const Value& iOld, const Key& iKey, Cmn_Int32 iItem);
    bool IsThere(Cmn_Int64 iOffset, const Key& iKey, Cmn_Int32 iItem) const;

    // How much is known of where a stream was.
    enum ESure { eSure_Place, eSure_NotTheOnesAround, eSure_NotTheList };
    ESure GetSure(Cmn_Int32 iNode) const;
    bool IsToBeRebuilt(Cmn_Int32 iNode) const;
    bool NeedsEntry(const FF_TakenStretches::Stretch& iStretch, Cmn_Int32 iNode) const;
    std::string OrphanText(Cmn_Int32 iNode) const;
    void RebuildStream(Cmn_Int32 iNode);
    void RebuildOlder(Cmn_Int32 iNode, TOC::Entry iEntry);
    bool HasNewer(Cmn_Int32 iNode);
    void ReportDoubtfulKey(Cmn_Int32 iNode);
    void ReportMaybeOlder(Cmn_Int32 iNode);
    void RebuildItem(Cmn_Int32 iNode);

    TOC& mTable;
    const FF_StreamWalk& mWalk;
    const FF_LentTable& mLent;
    const FF_TakenStretches& mTaken;
    Cmn_Int64 mUnsureFrom;
    FF_DocumentRepair::Report& mReport;
    std::unordered_set<Cmn_Int64> mRegistered; // offsets that the old table and the new one tell
    // Entries made from headers, with the stream that they lead to.
    std::unordered_map<TOC::Entry, Cmn_Int32> mRebuilt;
    std::map<Cmn_Int16, std::vector<Cmn_Int32>> mByType;
    std::map<Cmn_Int16, std::vector<Cmn_Int32>> mDamaged; // those that are not whole
    Cmn_Int64 mLooksLeft; // so that looking for older and newer ones costs no square
    // Items without a place of their own take a value each: no more of them than the file could have held.
    Cmn_Int64 mMissingLeft;
};

// Whether a node is directly in a document stream, with the index of an item there.
bool FF_IsListItem(const FF_StreamWalk& iWalk, Cmn_Int32 iNode);
// Whether it is an item of a list that is not there, and no table tells of it.
bool FF_IsOrphan(const FF_StreamWalk& iWalk, const FF_LentTable& iLent, Cmn_Int32 iNode);
