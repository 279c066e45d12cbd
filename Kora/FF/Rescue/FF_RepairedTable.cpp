#include "Kora/FF/Rescue/FF_RepairedTable_p.h"

#include "Kora/FF/Document/FF_Document_TOCValue.h"

#include <algorithm>
#include <stdexcept>

using Walk = FF_StreamWalk;

FF_RepairedTable::FF_RepairedTable(TOC& ioTable, const Walk& iWalk, const FF_LentTable& iLent,
                                   const FF_TakenStretches& iTaken, Cmn_Int64 iUnsureFrom, Cmn_Int64 iLength,
                                   FF_DocumentRepair::Report& ioReport)
    : mTable(ioTable)
    , mWalk(iWalk)
    , mLent(iLent)
    , mTaken(iTaken)
    , mUnsureFrom(iUnsureFrom)
    , mReport(ioReport)
    , mLooksLeft(4096 + Cmn_Int64{16} * iWalk.GetNumNodes())
    , mMissingLeft(1024 + iLength / 64)
{
    for (Cmn_Int32 i = 0; i < iWalk.GetNumNodes(); ++i) {
        const Node& node = iWalk.GetNode(i);
        mByType[node.mStreamType].push_back(i);
        if (!node.mIsWhole) mDamaged[node.mStreamType].push_back(i);
    }
}

bool FF_IsListItem(const Walk& iWalk, Cmn_Int32 iNode)
{
    const Walk::Node& node = iWalk.GetNode(iNode);
    return node.mHeader.mListIndex != 0 && node.mParent != Walk::cNone &&
           iWalk.GetNode(node.mParent).mStreamType != FF_Document::cNoStreamType;
}

bool FF_IsOrphan(const Walk& iWalk, const FF_LentTable& iLent, Cmn_Int32 iNode)
{
    const Walk::Node& node = iWalk.GetNode(iNode);
    return node.mParent == Walk::cNone && node.mHeader.mListIndex != 0 && !iLent.Knows(node.mHeader.mStart);
}

void FF_RepairedTable::AddLost(Cmn_Int64 iOffset, std::string iText)
{
    mReport.mLost.push_back({iOffset, std::move(iText)});
}

FF_RepairedTable::Contexts FF_RepairedTable::WithNewParents(Contexts iContexts) const
{
    for (FF_Document::Context& context : iContexts) {
        const Cmn_UInt32 parent = context.GetParentPosition();
        if (parent == 0) continue; // of an outermost stream
        const Cmn_Int64 place = mTaken.NewPlace(parent);
        context.SetParentPosition(place == FF_TakenStretches::cNoPlace ? FF_Document::Context::cNoParent
                                                                       : static_cast<Cmn_UInt32>(place));
    }
    return iContexts;
}

bool FF_RepairedTable::AddPiece(TOC::Entry iEntry, Cmn_Int32 iValue, Cmn_Int64 iOffset)
{
    try {
        mTable.AddOffset(iEntry, iValue, static_cast<Cmn_UInt32>(mTaken.NewPlace(iOffset)));
        return true;
    } catch (const std::length_error&) {
        AddLost(PlaceOf(mWalk.Find(iOffset)), "expected at most 8191 pieces of stream " +
                                                  mTable.GetKey(iEntry).Dump() + ", found one more");
        return false;
    }
}

// --- Entries that the old table tells

void FF_RepairedTable::LendEntries()
{
    for (TOC::Entry entry = 0; mLent.IsLent() && entry < mLent.Get().GetNumKeys(); ++entry)
        LendEntry(entry);
}

void FF_RepairedTable::LendEntry(TOC::Entry iEntry)
{
    const TOC& lent = mLent.Get();
    const Key key = lent.GetKey(iEntry);
    std::vector<Value> values;
    bool hadPieces = false;
    bool hasPieces = false;
    for (Cmn_Int32 i = 0; i < lent.GetNumValues(iEntry); ++i) {
        const bool isItem = i > 0 && lent.IsList(iEntry);
        const Value old = lent.GetValue(iEntry, i);
        values.push_back(Moved(old, key, isItem ? i - 1 : cNotAnItem));
        hadPieces = hadPieces || !FF_LentTable::OffsetsOf(old).empty();
        hasPieces = hasPieces || !FF_LentTable::OffsetsOf(values.back()).empty();
    }
    if (hadPieces && !hasPieces) return;
    const TOC::Entry entry = mTable.Insert(WithNewParents(key.GetContexts()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        mTable.AddValue(entry, {});
        mTable.SetValue(entry, static_cast<Cmn_Int32>(i), values[i]);
    }
}

bool FF_RepairedTable::IsThere(Cmn_Int64 iOffset, const Key& iKey, Cmn_Int32 iItem) const
{
    const FF_TakenStretches::Stretch* const stretch = mTaken.Find(iOffset);
    if (stretch == nullptr) return false;
    const Cmn_Int32 node = mWalk.Find(iOffset);
    if (node != Walk::cNone && !mWalk.GetNode(node).mIsWhole) return false;
    if (iItem != cNotAnItem) return mWalk.FitsItem(iOffset, iKey, iItem, stretch->mNode);
    return node != Walk::cNone && mWalk.Fits(node, iKey, stretch->mNode);
}

// The value with the places that its pieces have now; invalid when it had some and none is left.
FF_RepairedTable::Value FF_RepairedTable::Moved(const Value& iOld, const Key& iKey, Cmn_Int32 iItem)
{
    const std::vector<Cmn_UInt32> old = FF_LentTable::OffsetsOf(iOld);
    if (old.empty()) return iOld;
    auto local = std::make_unique<FF_Document::LocalLocation>();
    for (const Cmn_UInt32 offset : old) {
        if (IsThere(offset, iKey, iItem)) {
            local->AddOffset(static_cast<Cmn_UInt32>(mTaken.NewPlace(offset)));
            mRegistered.insert(offset);
            continue;
        }
        const std::string item = iItem == cNotAnItem ? "" : "item " + std::to_string(iItem) + " of ";
        AddLost(offset, "expected " + item + "stream " + iKey.Dump() + " \"" +
                            iOld.GetDisplayInfo().GetText() + "\", found nothing whole");
    }
    const bool isLost = local->GetOffsets().empty();
    // What stood before it in the chain says nothing but that it follows.
    std::unique_ptr<FF_Document::Location> chain = std::move(local);
    for (const FF_Document::Location* at = &iOld.GetLocation(); at->GetNext() != nullptr; at = at->GetNext())
    {
        auto before = std::make_unique<FF_Document::Location>();
        before->SetNext(std::move(chain));
        chain = std::move(before);
    }
    Value value(std::move(chain), iOld.GetDisplayInfo().Clone(), iOld.GetIndexInfo().Clone());
    if (isLost) value.Invalidate();
    return value;
}

// --- Entries that are rebuilt from the headers

FF_RepairedTable::ESure FF_RepairedTable::GetSure(Cmn_Int32 iNode) const
{
    if (FF_IsOrphan(mWalk, mLent, iNode)) return eSure_NotTheList;
    return mWalk.GetNode(iNode).mHeader.mStart < mUnsureFrom ? eSure_Place : eSure_NotTheOnesAround;
}

// Those that lie before any damage first, and of each kind the newest first: what readers get under a key.
void FF_RepairedTable::RebuildEntries()
{
    for (const ESure sure : {eSure_Place, eSure_NotTheOnesAround, eSure_NotTheList})
        for (Cmn_Int32 i = mWalk.GetNumNodes() - 1; i >= 0; --i)
            if (GetSure(i) == sure && IsToBeRebuilt(i)) RebuildStream(i);
    // What is not whole may have been the newest of something too.
    for (const auto& [type, nodes] : mDamaged)
        for (const Cmn_Int32 i : nodes)
            if (type != FF_Document::cNoStreamType && type != FF_Document::cTOCStreamType)
                ReportMaybeOlder(i);
}

bool FF_RepairedTable::IsToBeRebuilt(Cmn_Int32 iNode) const
{
    const Node& node = mWalk.GetNode(iNode);
    const FF_TakenStretches::Stretch* const stretch = mTaken.Find(node.mHeader.mStart);
    if (stretch == nullptr || !node.mIsWhole || mRegistered.contains(node.mHeader.mStart)) return false;
    return node.mHeader.mStart >= mLent.GetPosition() || NeedsEntry(*stretch, iNode);
}

// What the old table could have told of but did not had no entry, or was written anew elsewhere. A stream
// that lost the one around it needs an entry now, since nothing else leads to it any more; and so does an
// older version whose newer one is not whole.
bool FF_RepairedTable::NeedsEntry(const FF_TakenStretches::Stretch& iStretch, Cmn_Int32 iNode) const
{
    const ESure sure = GetSure(iNode);
    if (sure == eSure_NotTheList) return true;
    const Contexts path = mWalk.GetPath(iNode);
    if (mLent.Get().Find(path) != TOC::cNone) return mTable.Find(path) == TOC::cNone;
    return iStretch.mNode == iNode && (mWalk.GetNode(iNode).mParent != Walk::cNone || sure != eSure_Place);
}

std::string FF_RepairedTable::OrphanText(Cmn_Int32 iNode) const
{
    return "expected the list around " + mWalk.Describe(iNode) + ", found item " +
           std::to_string(mWalk.GetNode(iNode).mHeader.mListIndex - 1) + " alone";
}

void FF_RepairedTable::RebuildStream(Cmn_Int32 iNode)
{
    const Node& node = mWalk.GetNode(iNode);
    if (node.mStreamType == FF_Document::cNoStreamType || node.mStreamType == FF_Document::cTOCStreamType)
        return;
    const Contexts path = mWalk.GetPath(iNode);
    TOC::Entry entry = mTable.Find(path);
    if (entry != TOC::cNone) return RebuildOlder(iNode, entry);
    entry = mTable.Insert(WithNewParents(path));
    mTable.AddValue(entry, {});
    if (node.mHeader.mIsList) mTable.SetIsList(entry, true);
    AddPiece(entry, 0, node.mHeader.mStart);
    mRebuilt[entry] = iNode;
    ++mReport.mWithoutDescription;
    if (GetSure(iNode) == eSure_NotTheList)
        AddLost(node.mPlace, OrphanText(iNode));
    else if (mLent.Get().Find(path) != TOC::cNone || HasNewer(iNode))
        AddLost(node.mPlace,
                "expected the newest " + mWalk.Describe(iNode) + ", found an older one that readers get");
    ReportDoubtfulKey(iNode);
    ReportMaybeOlder(iNode);
}

// Values behind the first are streams that share the key, but for lists, whose items they are.
void FF_RepairedTable::RebuildOlder(Cmn_Int32 iNode, TOC::Entry iEntry)
{
    const Node& node = mWalk.GetNode(iNode);
    const bool isOrphan = GetSure(iNode) == eSure_NotTheList;
    const bool isNew = mRebuilt.contains(iEntry) || isOrphan;
    const bool isFurther = isNew && !mTable.IsList(iEntry) && !node.mHeader.mIsList;
    std::string text = isOrphan
                           ? OrphanText(iNode)
                           : "expected one " + mWalk.Describe(iNode) + ", found another one that readers get";
    if (isFurther) {
        mTable.AddValue(iEntry, {});
        AddPiece(iEntry, mTable.GetNumValues(iEntry) - 1, node.mHeader.mStart);
        ++mReport.mWithoutDescription;
        text += "; this is value " + std::to_string(mTable.GetNumValues(iEntry) - 1);
    }
    AddLost(node.mPlace, text);
    ReportDoubtfulKey(iNode);
    ReportMaybeOlder(iNode);
}

// A type is no part of what a header's sum covers, and a header between the two may be gone.
void FF_RepairedTable::ReportDoubtfulKey(Cmn_Int32 iNode)
{
    const Node& node = mWalk.GetNode(iNode);
    if (mLent.IsLent() || node.mParent == Walk::cNone || mTaken.Find(node.mHeader.mStart)->mNode != iNode)
        return;
    AddLost(node.mPlace, "expected whole streams around " + mWalk.Describe(iNode) +
                             ", found damage: it and what it holds may have had other keys");
}

// Whether one under the same key was written behind it and is not whole: of those that are it is the newest.
bool FF_RepairedTable::HasNewer(Cmn_Int32 iNode)
{
    const std::vector<Cmn_Int32>& nodes = mDamaged[mWalk.GetNode(iNode).mStreamType];
    const Key key(mWalk.GetPath(iNode));
    for (auto i = nodes.rbegin(); i != nodes.rend() && *i > iNode && --mLooksLeft >= 0; ++i)
        if (mWalk.GetNode(*i).mDepth == mWalk.GetNode(iNode).mDepth && mWalk.Fits(*i, key)) return true;
    return false;
}

// Without a table nothing tells that a stream, or the one around it, was written in the place of an older one
// that stands deeper: the older one's key ends as this one's path does.
void FF_RepairedTable::ReportMaybeOlder(Cmn_Int32 iNode)
{
    if (mLent.IsLent()) return;
    const int depth = mWalk.GetNode(iNode).mDepth;
    std::string names;
    for (const Cmn_Int32 i : mByType[mWalk.GetNode(iNode).mStreamType]) {
        if (i >= iNode || --mLooksLeft < 0) break;
        if (mWalk.GetNode(i).mDepth <= depth || !mWalk.Fits(iNode, Key(mWalk.GetPath(i)))) continue;
        names += (names.empty() ? "" : ", ") + mWalk.Describe(i);
    }
    if (!names.empty())
        AddLost(PlaceOf(iNode), "expected a table of contents that tells whether " + mWalk.Describe(iNode) +
                                    " was written in place of " + names);
}

// The newest list of a key has its items in their places; those of another one are named.
void FF_RepairedTable::RebuildItems()
{
    std::vector<Cmn_Int32> items;
    for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i)
        if (FF_IsListItem(mWalk, i) && IsToBeRebuilt(i)) items.push_back(i);
    const auto newestListFirst = [this](Cmn_Int32 a, Cmn_Int32 b) {
        return mWalk.GetNode(a).mParent > mWalk.GetNode(b).mParent;
    };
    std::stable_sort(items.begin(), items.end(), newestListFirst);
    for (const Cmn_Int32 item : items)
        RebuildItem(item);
}

void FF_RepairedTable::RebuildItem(Cmn_Int32 iNode)
{
    const Node& node = mWalk.GetNode(iNode);
    const Contexts list = WithNewParents(mWalk.GetPath(node.mParent));
    const TOC::Entry known = mTable.Find(list);
    const Cmn_Int64 numValues = known == TOC::cNone ? 0 : mTable.GetNumValues(known);
    const Cmn_Int64 item = Cmn_Int64{node.mHeader.mListIndex};
    const auto rebuilt = known == TOC::cNone ? mRebuilt.end() : mRebuilt.find(known);
    // Further values of what is no list are streams that share the key.
    const bool isShared = numValues > 1 && !mTable.IsList(known);
    if (isShared || (rebuilt != mRebuilt.end() && rebuilt->second != node.mParent))
        return AddLost(node.mPlace, "expected one list " + Key(list).Dump() + ", found item " +
                                        std::to_string(item - 1) + " of another");
    const Cmn_Int64 numMissing = std::max<Cmn_Int64>(item - numValues, 0);
    if (numMissing > mMissingLeft)
        return AddLost(node.mPlace, "expected fewer items in stream " + Key(list).Dump() + ", found item " +
                                        std::to_string(item - 1));
    mMissingLeft -= numMissing;
    const TOC::Entry entry = mTable.Insert(list);
    if (known == TOC::cNone) mRebuilt[entry] = node.mParent;
    const auto value = static_cast<Cmn_Int32>(item);
    while (mTable.GetNumValues(entry) <= value) {
        mTable.AddValue(entry, {});
        mTable.Invalidate(entry, mTable.GetNumValues(entry) - 1);
    }
    mTable.SetIsList(entry, true);
    Cmn_UInt32 first = 0;
    if (mTable.GetFirstOffset(entry, value, first)) return; // an item of several streams begins at the first
    if (AddPiece(entry, value, node.mHeader.mStart) && node.mStreamType == FF_Document::cNoStreamType)
        ++mReport.mWithoutDescription;
}
