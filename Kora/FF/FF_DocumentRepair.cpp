#include "Kora/FF/FF_DocumentRepair.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/FF/FF_DocumentFile_p.h"
#include "Kora/FF/FF_Document_TOC.h"
#include "Kora/FF/FF_SafeSave.h"

#include <algorithm>
#include <unordered_set>

namespace {

using Contexts = std::vector<FF_Document::Context>;
using Key = FF_Document::TOCKey;
using Node = FF_StreamWalk::Node;
using TOC = FF_Document::TOC;
using Value = FF_Document::TOCValue;
using Walk = FF_StreamWalk;

constexpr Cmn_Int64 cNoPlace = -1;

// One repair: takes stretches of the old file over into a new, empty document, then tells its table about them.
//
// Holds throughout: mTaken ascends in the old and in the new file, each stretch one whole stream with all it holds.
class Repairer
{
public:
    Repairer(FF_DocumentFile& ioFile, FF_Document& ioDocument)
        : mFile(ioFile)
        , mDocument(ioDocument)
        , mHasNamedTOC(ioFile.GetTOC() != FF_DocumentFile::cNone && Lend(ioFile.GetTOC()))
        , mEnd(mHasNamedTOC ? ioFile.GetTOC() : ioFile.GetLength())
        , mWalk(ioFile.GetWindow(), ioFile.IsSwapped(), ioFile.GetFirstStream(), mEnd)
    {
    }

    FF_DocumentRepair::Report Run()
    {
        mReport.header = mFile.GetFaults();
        for (Cmn_Int32 i = mWalk.GetNumNodes() - 1; mLentAt == cNoPlace && i >= 0; --i)
            if (IsTOC(i) && mWalk.GetNode(i).isWhole) Lend(mWalk.GetNode(i).header.start);
        mReport.hadTOC = mLentAt != cNoPlace;
        FindUnsure();
        Take();
        ReportLostStretches();
        LendEntries();
        RebuildEntries(false);
        RebuildEntries(true);
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

    // --- the old table

    bool Lend(Cmn_Int64 iPosition)
    {
        try {
            Sys_TypedInStream typed(mFile.GetWindow(), mFile.IsSwapped());
            typed.SetPosition(iPosition);
            mLent.StreamIn(typed, iPosition);
        } catch (const Cmn_Exception& failure) {
            if (failure.GetMessageID() == Cmn_eMessage_OSError) throw;
            return false;
        }
        mLentAt = iPosition;
        for (TOC::Entry entry = 0; entry < mLent.GetNumKeys(); ++entry)
            for (Cmn_Int32 i = 0; i < mLent.GetNumValues(entry); ++i)
                for (const Cmn_UInt32 offset : OffsetsOf(mLent.GetValue(entry, i)))
                    mKnown.insert(offset);
        return true;
    }

    // A table of a flush that was interrupted is outermost, or seems to stand in a stream that was never completed.
    bool IsTOC(Cmn_Int32 iNode) const
    {
        if (mWalk.GetNode(iNode).streamType != FF_Document::cTOCStreamType) return false;
        for (Cmn_Int32 i = mWalk.GetNode(iNode).parent; i != Walk::cNone; i = mWalk.GetNode(i).parent)
            if (!mWalk.GetNode(i).isOpenEnded) return false;
        return true;
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
        return node.parent == Walk::cNone && node.header.listIndex != 0 &&
               !mKnown.contains(node.header.start);
    }

    bool IsWorthTaking(Cmn_Int32 iNode) const
    {
        const Node& node = mWalk.GetNode(iNode);
        if (!node.isWhole || IsTOC(iNode) || IsOrphan(iNode)) return false;
        if (node.parent == Walk::cNone || mKnown.contains(node.header.start)) return true;
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
        for (TOC::Entry entry = 0; mLentAt != cNoPlace && entry < mLent.GetNumKeys(); ++entry)
            LendEntry(entry);
    }

    static std::vector<Cmn_UInt32> OffsetsOf(const Value& iValue)
    {
        const FF_Document::LocalLocation* const local = FF_FindLocal(iValue);
        return local == nullptr ? std::vector<Cmn_UInt32>() : local->GetOffsets();
    }

    void LendEntry(TOC::Entry iEntry)
    {
        const Key key = mLent.GetKey(iEntry);
        std::vector<Value> values;
        bool hadPieces = false;
        bool hasPieces = false;
        for (Cmn_Int32 i = 0; i < mLent.GetNumValues(iEntry); ++i) {
            const bool isItem = i > 0 && mLent.IsList(iEntry);
            const Value old = mLent.GetValue(iEntry, i);
            values.push_back(Moved(old, key, isItem ? i - 1 : cNotAnItem));
            hadPieces = hadPieces || !OffsetsOf(old).empty();
            hasPieces = hasPieces || !OffsetsOf(values.back()).empty();
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
        const std::vector<Cmn_UInt32> old = OffsetsOf(iOld);
        if (old.empty()) return iOld;
        auto local = std::make_unique<FF_Document::LocalLocation>();
        for (const Cmn_UInt32 offset : old) {
            if (IsThere(offset, iKey, iItem)) {
                local->AddOffset(static_cast<Cmn_UInt32>(NewPlace(offset)));
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

    // Whether what the old table says of a place holds for what was taken. Headers around it may be gone: the table knows
    // better what it was in.
    bool IsThere(Cmn_Int64 iOffset, const Key& iKey, Cmn_Int32 iItem) const
    {
        if (NewPlace(iOffset) == cNoPlace) return false;
        const Cmn_Int32 node = mWalk.Find(iOffset);
        if (iItem != cNotAnItem && node == Walk::cNone) {
            // Plain data is an item as long as the list is there that says so.
            const Cmn_Int32 list = mWalk.FindListAround(iOffset, iKey);
            return list != Walk::cNone && NewPlace(mWalk.GetNode(list).header.start) != cNoPlace;
        }
        if (iItem != cNotAnItem) return true;
        return node != Walk::cNone && mWalk.GetNode(node).isWhole && mWalk.HasTypeOf(node, iKey);
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

    void RebuildEntries(bool iUnsure)
    {
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
            const Node& node = mWalk.GetNode(i);
            const Stretch* const stretch = FindStretch(node.header.start);
            if (stretch == nullptr || !node.isWhole || IsUnsure(i) != iUnsure) continue;
            if (mRegistered.contains(node.header.start)) continue;
            if (node.header.start < mLentAt && !NeedsEntry(*stretch, i)) continue;
            const bool isRebuilt = RebuildStream(i);
            const bool isItem = RebuildItem(i);
            if (isRebuilt || isItem) ++mReport.withoutDescription;
        }
    }

    // What the old table could have told of but did not had no entry, or was written anew elsewhere. Only a stream that
    // lost the one around it needs one now, since nothing else leads to it any more.
    bool NeedsEntry(const Stretch& iStretch, Cmn_Int32 iNode) const
    {
        return iStretch.node == iNode && mWalk.GetNode(iNode).parent != Walk::cNone &&
               mLent.Find(mWalk.GetPath(iNode)) == TOC::cNone;
    }

    bool RebuildStream(Cmn_Int32 iNode)
    {
        const Node& node = mWalk.GetNode(iNode);
        if (node.streamType == FF_Document::cNoStreamType) return false;
        TOC& toc = mDocument.GetTOC();
        const TOC::Entry entry = toc.Insert(WithNewParents(mWalk.GetPath(iNode)));
        if (toc.GetNumValues(entry) == 0) toc.AddValue(entry, {});
        if (node.header.isList) toc.SetIsList(entry, true);
        return AddPiece(entry, 0, node.header.start);
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

    bool RebuildItem(Cmn_Int32 iNode)
    {
        if (!IsListItem(iNode)) return false;
        const Node& node = mWalk.GetNode(iNode);
        TOC& toc = mDocument.GetTOC();
        Contexts list = WithNewParents(mWalk.GetPath(node.parent));
        const TOC::Entry known = toc.Find(list);
        const Cmn_Int64 numValues = known == TOC::cNone ? 0 : toc.GetNumValues(known);
        const Cmn_Int64 item = Cmn_Int64{node.header.listIndex};
        // Items before it without a place of their own take one value each: no more than the file could have held.
        const Cmn_Int64 numMissing = std::max<Cmn_Int64>(item - numValues, 0);
        if (numMissing > mMissingLeft) {
            AddLost(node.header.start, "expected fewer items in stream " + Key(list).Dump() +
                                           ", found item " + std::to_string(item - 1));
            return false;
        }
        mMissingLeft -= numMissing;
        const TOC::Entry entry = toc.Insert(list);
        const auto value = static_cast<Cmn_Int32>(item);
        while (toc.GetNumValues(entry) <= value) {
            toc.AddValue(entry, {});
            toc.Invalidate(entry, toc.GetNumValues(entry) - 1);
        }
        toc.SetIsList(entry, true);
        Cmn_UInt32 first = 0;
        if (toc.GetFirstOffset(entry, value, first))
            return false; // an item of several streams begins at the first
        return AddPiece(entry, value, node.header.start);
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
            if (!node.isWhole || !node.header.isList || node.header.start < mLentAt) continue;
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

    static constexpr Cmn_Int32 cNotAnItem = -1;

    FF_DocumentFile& mFile;
    FF_Document& mDocument;
    TOC mLent;
    Cmn_Int64 mLentAt = cNoPlace;
    std::unordered_set<Cmn_Int64> mKnown;      // offsets that the old table tells
    std::unordered_set<Cmn_Int64> mRegistered; // of them: those that the new one tells
    bool mHasNamedTOC;
    Cmn_Int64 mEnd; // of what is walked
    Walk mWalk;
    Cmn_Int64 mUnsureFrom = 0;
    Cmn_Int64 mMissingLeft = 1024 + mEnd / 64;
    std::vector<Stretch> mTaken;
    FF_DocumentRepair::Report mReport;
};

} // namespace

FF_DocumentRepair::Report FF_DocumentRepair::Repair(const Sys_FileLoc& iFrom, const Sys_FileLoc& iTo)
{
    auto file = std::make_unique<FF_DocumentFile>(iFrom);
    FF_SafeSave save(iTo, file->GetEncryptionType(), eTextEncoding_Utf8, false);
    if (file->IsSwapped()) save.GetDocument().SwapNewHeader();
    Report report = Repairer(*file, save.GetDocument()).Run();
    file.reset(); // iTo may be the same file, and open files are not replaced everywhere
    save.Commit();
    return report;
}
