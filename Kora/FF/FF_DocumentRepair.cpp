#include "Kora/FF/FF_DocumentRepair.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/FF/FF_LentTable_p.h"
#include "Kora/FF/FF_SafeSave.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace {

using Contexts = std::vector<FF_Document::Context>;
using Key = FF_Document::TOCKey;
using Node = FF_StreamWalk::Node;
using TOC = FF_Document::TOC;
using Value = FF_Document::TOCValue;
using Walk = FF_StreamWalk;

constexpr Cmn_Int64 cNoPlace = -1;
constexpr Cmn_Int32 cNotAnItem = FF_LentTable::cNotAnItem;

// One repair: takes stretches of the old file over into a new, empty document, then tells its table about them.
//
// Holds throughout: mTaken ascends in the old and in the new file, each stretch one whole stream with all it holds.
class Repairer
{
public:
    Repairer(FF_DocumentFile& ioFile, FF_Document& ioDocument)
        : mFile(ioFile)
        , mDocument(ioDocument)
        , mHasNamedTOC(ioFile.GetTOC() != FF_DocumentFile::cNone && mLent.Read(ioFile, ioFile.GetTOC()))
        , mEnd(mHasNamedTOC ? ioFile.GetTOC() : ioFile.GetLength())
        , mWalk(ioFile.GetWindow(), ioFile.IsSwapped(), ioFile.GetFirstStream(), mEnd)
    {
    }

    FF_DocumentRepair::Report Run()
    {
        mReport.header = mFile.GetFaults();
        for (Cmn_Int32 i = mWalk.GetNumNodes() - 1; !mLent.IsLent() && i >= 0; --i)
            if (IsTOC(i) && mWalk.GetNode(i).isWhole) mLent.Read(mFile, mWalk.GetNode(i).header.start);
        mReport.hadTOC = mLent.IsLent();
        FindHeaderStreams();
        mLent.Match(mWalk, mLent.IsLent() && mToldTOC != cNoPlace ? mLent.GetPosition() - mToldTOC : 0);
        mIsMoved = !mHasNamedTOC && mLent.HasMissed();
        FindUnsure();
        Take();
        ReportLostStretches();
        LendEntries();
        RebuildEntries();
        RebuildItems();
        ReportLostEntries();
        ReportStreams();
        ReportLostItems();
        const auto before = [](const FF_Fault& a, const FF_Fault& b) { return a.offset < b.offset; };
        std::stable_sort(mReport.lost.begin(), mReport.lost.end(), before);
        return std::move(mReport);
    }

private:
    struct Stretch
    {
        Cmn_Int64 from;
        Cmn_Int64 to;
        Cmn_Int64 newFrom;
        Cmn_Int32 node;
    };

    void AddLost(Cmn_Int64 iOffset, std::string iText)
    {
        mReport.lost.push_back({iOffset, std::move(iText)});
    }

    // A table of a flush that was interrupted is outermost, or seems to stand in a stream that was never completed.
    bool IsTOC(Cmn_Int32 iNode) const
    {
        if (mWalk.GetNode(iNode).streamType != FF_Document::cTOCStreamType) return false;
        for (Cmn_Int32 i = mWalk.GetNode(iNode).parent; i != Walk::cNone; i = mWalk.GetNode(i).parent)
            if (!mWalk.GetNode(i).isOpenEnded) return false;
        return true;
    }

    // --- the header stream

    // One that is not where it belongs, because bytes were put in before it or it stands there twice, would pass for a
    // stream of the application: what it says is a place, not a stream type.
    void FindHeaderStreams()
    {
        mToldTOC = mFile.GetToldTOC();
        const bool isMissing = mToldTOC == cNoPlace;
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
            if (!LooksLikeHeaderStream(i)) continue;
            const Cmn_Int64 told = ReadUInt32(mWalk.GetNode(i).header.body);
            if (isMissing && mWalk.GetNode(i).parent != Walk::cNone) continue;
            if (isMissing ? mHeaderStreams.empty() && MayTell(i, told) : told == mToldTOC) {
                mHeaderStreams.insert(i);
                mToldTOC = told;
            }
        }
    }

    bool LooksLikeHeaderStream(Cmn_Int32 iNode) const
    {
        const Node& node = mWalk.GetNode(iNode);
        const Sys_StdStreamHeaderInfo& header = node.header;
        return node.isWhole && node.streamType != FF_Document::cNoStreamType && header.version == 1 &&
               header.listIndex == 0 && !header.isList &&
               header.end - header.body == Cmn_Int64{sizeof(Cmn_UInt32)};
    }

    // The first stream of all, which says where the table is, as far from there as it is itself from where it belongs.
    bool MayTell(Cmn_Int32 iNode, Cmn_Int64 iTold) const
    {
        const Cmn_Int64 shift = mWalk.GetNode(iNode).header.start - mFile.GetHeaderStream();
        if (iNode != 0) return false;
        if (mLent.IsLent()) return mLent.GetPosition() == iTold + shift;
        return iTold + shift >= mWalk.GetNode(iNode).header.end && iTold < mFile.GetLength();
    }

    Cmn_Int64 ReadUInt32(Cmn_Int64 iPosition)
    {
        Sys_TypedInStream typed(mFile.GetWindow(), mFile.IsSwapped());
        typed.SetPosition(iPosition);
        return Cmn_Int64{typed.ReadUInt32()};
    }

    // --- streams

    // From where on damage hides which outermost streams really are outermost.
    void FindUnsure()
    {
        mUnsureFrom = mFile.GetFirstStream();
        for (const Node& node : mWalk.GetNodes())
            if (node.parent == Walk::cNone) {
                if (node.header.start != mUnsureFrom) return;
                mUnsureFrom = node.header.end;
            }
    }
    bool IsUnsure(Cmn_Int32 iNode) const { return mWalk.GetNode(iNode).header.start >= mUnsureFrom; }

    // A stream of a list that is not there, or not to be told from others.
    bool IsOrphan(Cmn_Int32 iNode) const
    {
        const Node& node = mWalk.GetNode(iNode);
        return node.parent == Walk::cNone && node.header.listIndex != 0 && !mLent.Knows(node.header.start);
    }

    bool IsWorthTaking(Cmn_Int32 iNode) const
    {
        const Node& node = mWalk.GetNode(iNode);
        if (node.streamType == FF_Document::cTOCStreamType) return false;
        if (!node.isWhole || IsOrphan(iNode) || mHeaderStreams.contains(iNode)) return false;
        if (node.parent == Walk::cNone || mLent.Knows(node.header.start)) return true;
        // Without the stream around it a header of another name has a place only as a list item.
        return node.streamType != FF_Document::cNoStreamType || IsListItem(iNode);
    }

    void Take()
    {
        Sys_TypedOutStream out = mDocument.MakeTypedOutStream();
        mDocument.SeekToEnd(out);
        Cmn_Int64 taken = 0;
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
            const Sys_StdStreamHeaderInfo& header = mWalk.GetNode(i).header;
            if (header.start < taken || !IsWorthTaking(i)) continue;
            mTaken.push_back({header.start, header.end, out.GetPosition(), i});
            Copy(header.start, header.end, out);
            taken = header.end;
        }
    }

    void Copy(Cmn_Int64 iFrom, Cmn_Int64 iTo, Sys_TypedOutStream& ioOut)
    {
        while (iFrom < iTo) {
            const std::span<const Cmn_UInt8> bytes = mFile.GetWindow().At(iFrom);
            if (bytes.empty()) throw Sys_StreamReadException(iFrom); // the file became shorter
            const Cmn_Int64 count = std::min(static_cast<Cmn_Int64>(bytes.size()), iTo - iFrom);
            ioOut.WriteBytes(bytes.data(), static_cast<std::size_t>(count));
            iFrom += count;
        }
    }

    const Stretch* FindStretch(Cmn_Int64 iOffset) const
    {
        const auto after = std::upper_bound(mTaken.begin(), mTaken.end(), iOffset,
                                            [](Cmn_Int64 o, const Stretch& s) { return o < s.from; });
        if (after == mTaken.begin() || iOffset >= (after - 1)->to) return nullptr;
        return &*(after - 1);
    }
    // Where a byte of the old file is in the new one; cNoPlace where it was left out.
    Cmn_Int64 NewPlace(Cmn_Int64 iOffset) const
    {
        const Stretch* const stretch = FindStretch(iOffset);
        return stretch == nullptr ? cNoPlace : iOffset - stretch->from + stretch->newFrom;
    }

    // --- entries that the old table tells

    void LendEntries()
    {
        for (TOC::Entry entry = 0; mLent.IsLent() && entry < mLent.Get().GetNumKeys(); ++entry)
            LendEntry(entry);
    }

    void LendEntry(TOC::Entry iEntry)
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
        TOC& toc = mDocument.GetTOC();
        const TOC::Entry entry = toc.Insert(WithNewParents(key.GetContexts()));
        for (std::size_t i = 0; i < values.size(); ++i) {
            toc.AddValue(entry, {});
            toc.SetValue(entry, static_cast<Cmn_Int32>(i), values[i]);
        }
    }

    // The value with the places that its pieces have now; invalid when it had some and none is left.
    Value Moved(const Value& iOld, const Key& iKey, Cmn_Int32 iItem)
    {
        const std::vector<Cmn_UInt32> old = FF_LentTable::OffsetsOf(iOld);
        if (old.empty()) return iOld;
        auto local = std::make_unique<FF_Document::LocalLocation>();
        for (const Cmn_UInt32 offset : old) {
            const Cmn_Int64 place = mLent.Find(offset, iKey, iItem);
            if (place != cNoPlace && NewPlace(place) != cNoPlace) {
                local->AddOffset(static_cast<Cmn_UInt32>(NewPlace(place)));
                mRegistered.insert(place);
                continue;
            }
            const std::string item = iItem == cNotAnItem ? "" : "item " + std::to_string(iItem) + " of ";
            mMissed.push_back({iKey, iItem, offset,
                               "expected " + item + "stream " + iKey.Dump() + " \"" +
                                   iOld.GetDisplayInfo().GetText() + "\", found nothing whole"});
        }
        const bool isLost = local->GetOffsets().empty();
        // What stood before it in the chain says nothing but that it follows.
        std::unique_ptr<FF_Document::Location> chain = std::move(local);
        for (const FF_Document::Location* at = &iOld.GetLocation(); at->GetNext() != nullptr;
             at = at->GetNext()) {
            auto before = std::make_unique<FF_Document::Location>();
            before->SetNext(std::move(chain));
            chain = std::move(before);
        }
        Value value(std::move(chain), iOld.GetDisplayInfo().Clone(), iOld.GetIndexInfo().Clone());
        if (isLost) value.Invalidate();
        return value;
    }

    Contexts WithNewParents(Contexts iContexts) const
    {
        for (FF_Document::Context& context : iContexts) {
            const Cmn_UInt32 parent = context.GetParentPosition();
            const Cmn_Int64 place = NewPlace(parent);
            if (parent == 0) continue; // of an outermost stream
            context.SetParentPosition(place == cNoPlace ? FF_Document::Context::cNoParent
                                                        : static_cast<Cmn_UInt32>(place));
        }
        return iContexts;
    }

    // --- entries that are rebuilt from the headers

    // Those that lie before any damage first, then the others, and of each the newest first: what readers get under a key.
    void RebuildEntries()
    {
        for (const bool unsure : {false, true})
            for (Cmn_Int32 i = mWalk.GetNumNodes() - 1; i >= 0; --i)
                if (IsUnsure(i) == unsure && IsToBeRebuilt(i)) RebuildStream(i);
    }

    bool IsToBeRebuilt(Cmn_Int32 iNode) const
    {
        const Node& node = mWalk.GetNode(iNode);
        const Stretch* const stretch = FindStretch(node.header.start);
        if (stretch == nullptr || !node.isWhole || mRegistered.contains(node.header.start)) return false;
        return node.header.start >= mLent.GetPosition() || mIsMoved || NeedsEntry(*stretch, iNode);
    }

    // What the old table could have told of but did not had no entry, or was written anew elsewhere. A stream that lost the
    // one around it needs an entry now, since nothing else leads to it any more; and so does an older version whose newer
    // one is not whole.
    bool NeedsEntry(const Stretch& iStretch, Cmn_Int32 iNode) const
    {
        const Contexts path = mWalk.GetPath(iNode);
        if (mLent.Get().Find(path) != TOC::cNone) return mDocument.GetTOC().Find(path) == TOC::cNone;
        return iStretch.node == iNode && (mWalk.GetNode(iNode).parent != Walk::cNone || IsUnsure(iNode));
    }

    void RebuildStream(Cmn_Int32 iNode)
    {
        const Node& node = mWalk.GetNode(iNode);
        if (node.streamType == FF_Document::cNoStreamType || node.streamType == FF_Document::cTOCStreamType)
            return;
        TOC& toc = mDocument.GetTOC();
        const Contexts path = mWalk.GetPath(iNode);
        TOC::Entry entry = toc.Find(path);
        if (entry != TOC::cNone) return RebuildOlder(iNode, entry);
        entry = toc.Insert(WithNewParents(path));
        toc.AddValue(entry, {});
        if (node.header.isList) toc.SetIsList(entry, true);
        AddPiece(entry, 0, node.header.start);
        mRebuilt[entry] = iNode;
        ++mReport.withoutDescription;
        if (!mIsMoved && mLent.Get().Find(path) != TOC::cNone)
            AddLost(node.header.start,
                    "expected the newest " + mWalk.Describe(iNode) + ", found an older one that readers get");
        ReportMaybeOlder(iNode);
    }

    // Values behind the first are streams that share the key, but for lists, whose items they are.
    void RebuildOlder(Cmn_Int32 iNode, TOC::Entry iEntry)
    {
        TOC& toc = mDocument.GetTOC();
        const Cmn_Int64 start = mWalk.GetNode(iNode).header.start;
        const bool isFurther =
            mRebuilt.contains(iEntry) && !toc.IsList(iEntry) && !mWalk.GetNode(iNode).header.isList;
        std::string text = "expected one " + mWalk.Describe(iNode) + ", found another one that readers get";
        if (isFurther) {
            toc.AddValue(iEntry, {});
            AddPiece(iEntry, toc.GetNumValues(iEntry) - 1, start);
            ++mReport.withoutDescription;
            text += "; this is value " + std::to_string(toc.GetNumValues(iEntry) - 1);
        }
        AddLost(start, text);
    }

    // Without a table nothing tells that a stream, or the one around it, was written in the place of an older one that
    // stands deeper: the older one's key ends as this one's path does.
    void ReportMaybeOlder(Cmn_Int32 iNode)
    {
        if (mLent.IsLent()) return;
        const int depth = mWalk.GetNode(iNode).depth;
        if (mByType.empty())
            for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i)
                mByType[mWalk.GetNode(i).streamType].push_back(i);
        std::string names;
        for (const Cmn_Int32 i : mByType[mWalk.GetNode(iNode).streamType]) {
            if (i >= iNode || --mLooksLeft < 0) break;
            if (mWalk.GetNode(i).depth <= depth || !mWalk.Fits(iNode, Key(mWalk.GetPath(i)))) continue;
            names += (names.empty() ? "" : ", ") + mWalk.Describe(i);
        }
        if (!names.empty())
            AddLost(mWalk.GetNode(iNode).header.start, "expected a table of contents that tells whether " +
                                                           mWalk.Describe(iNode) +
                                                           " was written in place of " + names);
    }

    bool AddPiece(TOC::Entry iEntry, Cmn_Int32 iValue, Cmn_Int64 iOffset)
    {
        try {
            mDocument.GetTOC().AddOffset(iEntry, iValue, static_cast<Cmn_UInt32>(NewPlace(iOffset)));
            return true;
        } catch (const std::length_error&) {
            AddLost(iOffset, "expected at most 8191 pieces of stream " +
                                 mDocument.GetTOC().GetKey(iEntry).Dump() + ", found one more");
            return false;
        }
    }

    // Directly in a document stream, with the index of an item there.
    bool IsListItem(Cmn_Int32 iNode) const
    {
        const Node& node = mWalk.GetNode(iNode);
        return node.header.listIndex != 0 && node.parent != Walk::cNone &&
               mWalk.GetNode(node.parent).streamType != FF_Document::cNoStreamType;
    }

    // The newest list of a key has its items in their places; those of another one are named.
    void RebuildItems()
    {
        std::vector<Cmn_Int32> items;
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i)
            if (IsListItem(i) && IsToBeRebuilt(i)) items.push_back(i);
        const auto newestListFirst = [this](Cmn_Int32 a, Cmn_Int32 b) {
            return mWalk.GetNode(a).parent > mWalk.GetNode(b).parent;
        };
        std::stable_sort(items.begin(), items.end(), newestListFirst);
        for (const Cmn_Int32 item : items)
            RebuildItem(item);
    }

    void RebuildItem(Cmn_Int32 iNode)
    {
        const Node& node = mWalk.GetNode(iNode);
        TOC& toc = mDocument.GetTOC();
        const Contexts list = WithNewParents(mWalk.GetPath(node.parent));
        const TOC::Entry known = toc.Find(list);
        const Cmn_Int64 numValues = known == TOC::cNone ? 0 : toc.GetNumValues(known);
        const Cmn_Int64 item = Cmn_Int64{node.header.listIndex};
        const auto rebuilt = known == TOC::cNone ? mRebuilt.end() : mRebuilt.find(known);
        if (rebuilt != mRebuilt.end() && rebuilt->second != node.parent)
            return AddLost(node.header.start, "expected one list " + Key(list).Dump() + ", found item " +
                                                  std::to_string(item - 1) + " of another");
        // Items before it without a place of their own take one value each: no more than the file could have held.
        const Cmn_Int64 numMissing = std::max<Cmn_Int64>(item - numValues, 0);
        if (numMissing > mMissingLeft)
            return AddLost(node.header.start, "expected fewer items in stream " + Key(list).Dump() +
                                                  ", found item " + std::to_string(item - 1));
        mMissingLeft -= numMissing;
        const TOC::Entry entry = toc.Insert(list);
        if (known == TOC::cNone) mRebuilt[entry] = node.parent;
        const auto value = static_cast<Cmn_Int32>(item);
        while (toc.GetNumValues(entry) <= value) {
            toc.AddValue(entry, {});
            toc.Invalidate(entry, toc.GetNumValues(entry) - 1);
        }
        toc.SetIsList(entry, true);
        Cmn_UInt32 first = 0;
        if (toc.GetFirstOffset(entry, value, first)) return; // an item of several streams begins at the first
        if (AddPiece(entry, value, node.header.start) && node.streamType == FF_Document::cNoStreamType)
            ++mReport.withoutDescription;
    }

    // --- what is told

    void ReportStreams()
    {
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
            const Node& node = mWalk.GetNode(i);
            const Stretch* const stretch = FindStretch(node.header.start);
            if (stretch == nullptr || !node.isWhole) continue;
            FF_StreamInfo info = mWalk.GetInfo(i);
            info.position = NewPlace(info.position);
            info.depth -= mWalk.GetNode(stretch->node).depth;
            mReport.streams.push_back(std::move(info));
            if (node.streamType != FF_Document::cNoStreamType) ++mReport.recovered;
        }
    }

    // Of what the old table told and nothing whole was found for, the headers may have brought something back.
    void ReportLostEntries()
    {
        const TOC& toc = mDocument.GetTOC();
        for (Missed& missed : mMissed) {
            const TOC::Entry entry = toc.Find(missed.key);
            const Cmn_Int32 value = missed.item == cNotAnItem ? 0 : missed.item + 1;
            Cmn_UInt32 offset = 0;
            const bool isBack = mIsMoved && entry != TOC::cNone && value < toc.GetNumValues(entry) &&
                                toc.GetFirstOffset(entry, value, offset);
            if (!isBack) AddLost(missed.offset, std::move(missed.text));
        }
    }

    void ReportLostStretches()
    {
        Cmn_Int64 at = mFile.GetFirstStream();
        Cmn_Int32 node = 0;
        for (const Stretch& stretch : mTaken) {
            if (stretch.from > at) ReportLostStretch(at, stretch.from, node);
            at = stretch.to;
        }
        if (mEnd > at) ReportLostStretch(at, mEnd, node);
    }

    // ioNode: the first stream that begins in the stretch or behind it; moves on to behind it.
    void ReportLostStretch(Cmn_Int64 iFrom, Cmn_Int64 iTo, Cmn_Int32& ioNode)
    {
        constexpr int cMostNamed = 3;
        std::string names;
        int numNames = 0;
        Cmn_Int64 accounted = 0;
        while (ioNode < mWalk.GetNumNodes() && mWalk.GetNode(ioNode).header.start < iTo) {
            const Cmn_Int32 i = ioNode++;
            const Node& node = mWalk.GetNode(i);
            if (node.header.start < iFrom) continue;
            if (IsTOC(i) && node.isWhole) {
                accounted += node.header.end - node.header.start;
                continue;
            }
            if (++numNames <= cMostNamed) names += (names.empty() ? "" : ", ") + LostName(i);
        }
        if (accounted == iTo - iFrom) return;
        if (numNames > cMostNamed) names += " and " + std::to_string(numNames - cMostNamed) + " more";
        const Cmn_Int32 around = mWalk.FindAround(iFrom);
        if (numNames == 0)
            names = around == Walk::cNone ? "no stream header" : "the rest of " + mWalk.Describe(around);
        AddLost(iFrom, "expected whole streams, found in " + std::to_string(iTo - iFrom - accounted) +
                           " bytes: " + names);
    }

    std::string LostName(Cmn_Int32 iNode) const
    {
        const Node& node = mWalk.GetNode(iNode);
        if (mHeaderStreams.contains(iNode)) return "a header stream";
        const std::string name = IsTOC(iNode) ? "the table of contents" : mWalk.Describe(iNode);
        if (!node.header.isComplete) return name + ", whose writing was interrupted";
        if (node.isOpenEnded) return name + ", cut off";
        if (!node.isWhole) return name + " with a wrong body sum";
        return name + (IsOrphan(iNode) ? " of a list that is not found" : "");
    }

    // Items of a list that are plain data are known to a table alone.
    void ReportLostItems()
    {
        std::vector<Cmn_Int32> numItems(mWalk.GetNodes().size(),
                                        0); // with a header, of the list at each node
        std::vector<Cmn_UInt32> lastItem(mWalk.GetNodes().size(), 0);
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
            if (!IsListItem(i)) continue;
            const auto list = static_cast<std::size_t>(mWalk.GetNode(i).parent);
            if (lastItem[list] == mWalk.GetNode(i).header.listIndex) continue;
            lastItem[list] = mWalk.GetNode(i).header.listIndex;
            ++numItems[list];
        }
        Sys_TypedInStream typed(mFile.GetWindow(), mFile.IsSwapped());
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
            const Node& node = mWalk.GetNode(i);
            constexpr Cmn_Int64 cTypeSize = 2;
            constexpr Cmn_Int64 cTypeAndCountSize = 6;
            const Cmn_Int64 size = node.header.end - node.header.body;
            if (!node.isWhole || !node.header.isList || node.header.start < mLent.GetPosition()) continue;
            if (size < cTypeAndCountSize || FindStretch(node.header.start) == nullptr) continue;
            typed.SetPosition(node.header.body + cTypeSize);
            const Cmn_Int32 count = typed.ReadInt32();
            const Cmn_Int32 found = numItems[static_cast<std::size_t>(i)];
            if (count > found)
                AddLost(node.header.body, "expected " + std::to_string(count) + " items of " +
                                              mWalk.Describe(i) + ", found " + std::to_string(found) +
                                              " with a header of their own");
        }
    }

    struct Missed
    {
        Key key;
        Cmn_Int32 item;
        Cmn_UInt32 offset;
        std::string text;
    };

    FF_DocumentFile& mFile;
    FF_Document& mDocument;
    FF_LentTable mLent;
    std::unordered_set<Cmn_Int64> mRegistered; // places that the old table and the new one tell
    std::vector<Missed> mMissed;               // what the old one alone tells
    bool mHasNamedTOC;
    bool mIsMoved = false; // the old table is not where its document says, and tells of places that are not
    Cmn_Int64 mToldTOC = cNoPlace;
    std::unordered_set<Cmn_Int32> mHeaderStreams; // that stand among the streams
    Cmn_Int64 mEnd;                               // of what is walked
    Walk mWalk;
    Cmn_Int64 mUnsureFrom = 0;
    Cmn_Int64 mMissingLeft = 1024 + mEnd / 64;
    std::vector<Stretch> mTaken;
    // Entries made from headers, with the stream that they lead to.
    std::unordered_map<TOC::Entry, Cmn_Int32> mRebuilt;
    std::map<Cmn_Int16, std::vector<Cmn_Int32>> mByType;               // filled when somebody asks
    Cmn_Int64 mLooksLeft = 4096 + Cmn_Int64{16} * mWalk.GetNumNodes(); // so that asking costs no square
    FF_DocumentRepair::Report mReport;
};

} // namespace

FF_DocumentRepair::Report FF_DocumentRepair::Repair(const Sys_FileLoc& iFrom, const Sys_FileLoc& iTo,
                                                    bool iEvenIfEmpty)
{
    auto file = std::make_unique<FF_DocumentFile>(iFrom);
    FF_SafeSave save(iTo, file->GetEncryptionType(), eTextEncoding_Utf8, false);
    if (file->IsSwapped()) save.GetDocument().SwapNewHeader();
    Report report = Repairer(*file, save.GetDocument()).Run();
    file.reset(); // iTo may be the same file, and open files are not replaced everywhere
    if (iEvenIfEmpty || !report.streams.empty()) save.Commit();
    return report;
}
