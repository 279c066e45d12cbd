#include "Kora/FF/FF_StreamWalk_p.h"

#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_StdStreamHeader_p.h"
#include "Kora/FF/FF_Document_TOCValue.h"

#include <algorithm>
#include <cstring>

namespace {

using Fields = Sys_StdStreamHeaderFields;

// Name of the headers of document streams, and what follows the header: the stream type.
constexpr char cDocumentName[] = "Z";
constexpr Cmn_Int64 cTypeSize = 2;

// Where the magic stands in the bytes, or where a part of it may begin at their end.
std::size_t FindMagic(std::span<const Cmn_UInt8> iBytes)
{
    const auto& magic = Fields::cMagic;
    std::size_t at = 0;
    while (at < iBytes.size()) {
        const void* found = std::memchr(iBytes.data() + at, magic[0], iBytes.size() - at);
        if (found == nullptr) return iBytes.size();
        at = static_cast<std::size_t>(static_cast<const Cmn_UInt8*>(found) - iBytes.data());
        if (std::memcmp(iBytes.data() + at, magic.data(), std::min(magic.size(), iBytes.size() - at)) == 0)
            return at;
        ++at;
    }
    return at;
}

} // namespace

FF_StreamWindow::FF_StreamWindow(Source iSource, Cmn_Int64 iLength)
    : mSource(std::move(iSource))
    , mLength(iLength)
{
}

FF_StreamWindow::~FF_StreamWindow() = default;

void FF_StreamWindow::SetPosition(Cmn_Int64 iPosition)
{
    if (!Cmn_ASSERT(iPosition >= 0 && iPosition <= mLength)) return;
    mPosition = iPosition;
}

void FF_StreamWindow::Forget()
{
    Sys_InStream::Forget();
    mBytes.clear();
    mNextRead = cFirstRead;
}

std::span<const Cmn_UInt8> FF_StreamWindow::At(Cmn_Int64 iPosition, std::size_t iCount)
{
    const auto end = [this] { return mStart + static_cast<Cmn_Int64>(mBytes.size()); };
    const Cmn_Int64 left = std::max<Cmn_Int64>(mLength - iPosition, 0);
    const Cmn_Int64 wanted = std::min(static_cast<Cmn_Int64>(iCount), left);
    if (iPosition < mStart || iPosition + wanted > end()) {
        const bool isInSequence = !mBytes.empty() && iPosition >= mStart && iPosition <= end();
        mNextRead = isInSequence ? std::min(mNextRead * 2, cSize) : cFirstRead;
        const std::size_t count = std::max(iCount, mNextRead);
        mBytes.resize(static_cast<std::size_t>(std::min(static_cast<Cmn_Int64>(count), left)));
        mBytes.resize(mSource(iPosition, mBytes.data(), mBytes.size()));
        mStart = iPosition;
    }
    if (iPosition >= end()) return {};
    return std::span<const Cmn_UInt8>(mBytes).subspan(static_cast<std::size_t>(iPosition - mStart));
}

std::size_t FF_StreamWindow::Read(void* oBytes, std::size_t iCount)
{
    std::size_t done = 0;
    while (done < iCount) {
        const std::span<const Cmn_UInt8> bytes = At(mPosition);
        const std::size_t count = std::min(bytes.size(), iCount - done);
        if (count == 0) break;
        std::memcpy(static_cast<Cmn_UInt8*>(oBytes) + done, bytes.data(), count);
        done += count;
        mPosition += static_cast<Cmn_Int64>(count);
    }
    return done;
}

// One pass. Holds between steps: everything before mDone is searched and summed; mOpen are the streams around mDone,
// each within the one before.
struct FF_StreamWalk::Pass
{
    FF_StreamWindow& mWindow;
    Sys_TypedInStream mTyped;
    Cmn_Int64 mDone;
    Cmn_Int64 mEnd;
    std::vector<Node>& mNodes;
    Cmn_UInt32 mSum = 0; // of [where the walk began, mDone)
    struct Open
    {
        Cmn_Int32 node;
        Cmn_UInt32 sumBefore; // of what stands before its body
    };
    std::vector<Open> mOpen;
    Cmn_Int64 mAhead; // how many bytes may yet be summed ahead

    const Node* GetInnermost() const
    {
        return mOpen.empty() ? nullptr : &mNodes[static_cast<std::size_t>(mOpen.back().node)];
    }
    Cmn_Int64 GetInnermostEnd() const { return mOpen.empty() ? mEnd : GetInnermost()->header.end; }

    void Sum(Cmn_Int64 iTo)
    {
        while (mDone < iTo) {
            const std::span<const Cmn_UInt8> bytes = mWindow.At(mDone);
            if (bytes.empty()) throw Sys_StreamReadException(mDone); // the file became shorter
            const Cmn_Int64 count = std::min(static_cast<Cmn_Int64>(bytes.size()), iTo - mDone);
            mSum = Sys_Crc32C(mSum, bytes.data(), static_cast<std::size_t>(count));
            mDone += count;
        }
    }

    // Ends the streams that end at or before iTo, and goes there.
    void Advance(Cmn_Int64 iTo)
    {
        while (!mOpen.empty() && GetInnermostEnd() <= iTo) {
            Node& node = mNodes[static_cast<std::size_t>(mOpen.back().node)];
            Sum(node.header.end);
            const auto size = static_cast<Cmn_UInt64>(node.header.end - node.header.body);
            node.sum = mSum ^ Sys_Crc32CCombine(mOpen.back().sumBefore, 0, size);
            node.isWhole = !node.isOpenEnded && !node.isEndMoved && node.sum == node.header.bodySum;
            mOpen.pop_back();
        }
        Sum(iTo);
    }

    // The header at mDone, when there is one that may stand there.
    bool Peek(Node& oNode)
    {
        // Header and stream type in memory, so that a header that is none costs no reading.
        mWindow.At(mDone, Fields::cMaxSize + cTypeSize);
        mTyped.SetPosition(mDone);
        try {
            Fields fields = Fields::Read(mTyped);
            if (!fields.IsGenuine() || !fields.HasSums()) return false;
            if (!Place(fields, mTyped.GetPosition(), oNode)) return false;
            oNode.header.name = std::move(fields.name);
        } catch (const Sys_StreamReadException&) {
            return false; // the file ends within what would be a header
        }
        const Sys_StdStreamHeaderInfo& header = oNode.header;
        if (header.name == cDocumentName && header.end - header.body >= cTypeSize)
            oNode.streamType = mTyped.ReadInt16();
        return true;
    }

    // Whether the body that ends at iEnd, behind the stream around it, has the right sum.
    bool IsWholeAhead(const Fields& iFields, Cmn_Int64 iBody, Cmn_Int64 iEnd)
    {
        const Cmn_Int64 size = iEnd - iBody;
        if (iEnd > mEnd || mOpen.empty() || GetInnermost()->isOpenEnded || size > mAhead) return false;
        mAhead -= size;
        return mWindow.SumOf(iBody, size) == iFields.bodySum;
    }

    // A whole stream from mDone to iEnd lies across the ends of open ones: these are not where their headers say. One that the
    // whole stream is mostly behind has ended, as where bytes were taken out; one that it is mostly in reaches as far, as
    // where bytes were put in.
    void MoveEnds(Cmn_Int64 iEnd)
    {
        bool hasEnded = true;
        for (auto open = mOpen.rbegin(); open != mOpen.rend(); ++open) {
            Node& node = mNodes[static_cast<std::size_t>(open->node)];
            if (node.header.end >= iEnd) break;
            hasEnded = hasEnded && node.header.end - mDone < iEnd - node.header.end;
            node.header.end = hasEnded ? mDone : iEnd;
            node.isEndMoved = true;
        }
        Advance(mDone);
    }

    // A header with a right sum at mDone, its body at iBody, takes its place among the open streams.
    bool Place(const Fields& iFields, Cmn_Int64 iBody, Node& oNode)
    {
        Cmn_Int64 ownEnd = iBody + (iFields.IsComplete() ? Cmn_Int64{iFields.bodySize} : 0);
        if (iFields.IsComplete() && ownEnd > GetInnermostEnd() && IsWholeAhead(iFields, iBody, ownEnd))
            MoveEnds(ownEnd);
        const Node* const around = GetInnermost();
        const Cmn_Int64 end = GetInnermostEnd();
        oNode.isOpenEnded = !iFields.IsComplete() || ownEnd > end;
        if (oNode.isOpenEnded) {
            if (iBody > end || (around != nullptr && !around->isOpenEnded)) return false;
            ownEnd = end;
        }
        oNode.header = {{},
                        iFields.version,
                        iFields.listIndex,
                        iFields.IsList(),
                        iFields.HasSums(),
                        iFields.IsComplete(),
                        iFields.bodySum,
                        mDone,
                        iBody,
                        ownEnd};
        oNode.bodySize = iFields.bodySize;
        oNode.depth = static_cast<int>(mOpen.size());
        oNode.parent = mOpen.empty() ? cNone : mOpen.back().node;
        return true;
    }

    void Run()
    {
        while (mDone < mEnd) {
            std::span<const Cmn_UInt8> bytes = mWindow.At(mDone, Fields::cMagic.size());
            const Cmn_Int64 left = mEnd - mDone;
            if (static_cast<Cmn_Int64>(bytes.size()) > left)
                bytes = bytes.first(static_cast<std::size_t>(left));
            const std::size_t found = FindMagic(bytes);
            Advance(mDone + static_cast<Cmn_Int64>(found));
            if (found == bytes.size()) continue;
            Node node;
            if (mOpen.size() == cMaxDepth || !Peek(node)) {
                Advance(mDone + 1);
                continue;
            }
            const Cmn_Int64 body = node.header.body;
            mNodes.push_back(std::move(node));
            Sum(body);
            mOpen.push_back({static_cast<Cmn_Int32>(mNodes.size() - 1), mSum});
        }
        Advance(mEnd);
    }
};

FF_StreamWalk::FF_StreamWalk(FF_StreamWindow& ioWindow, bool iSwap, Cmn_Int64 iFrom, Cmn_Int64 iTo)
{
    Pass pass{
        ioWindow,         Sys_TypedInStream(ioWindow, iSwap), iFrom, std::max(iFrom, iTo), mNodes, 0, {},
        2 * (iTo - iFrom)};
    pass.Run();
}

Cmn_Int32 FF_StreamWalk::Find(Cmn_Int64 iOffset) const
{
    const auto found = std::lower_bound(mNodes.begin(), mNodes.end(), iOffset,
                                        [](const Node& n, Cmn_Int64 o) { return n.header.start < o; });
    if (found == mNodes.end() || found->header.start != iOffset) return cNone;
    return static_cast<Cmn_Int32>(found - mNodes.begin());
}

Cmn_Int32 FF_StreamWalk::FindAround(Cmn_Int64 iOffset) const
{
    const auto after = std::upper_bound(mNodes.begin(), mNodes.end(), iOffset,
                                        [](Cmn_Int64 o, const Node& n) { return o < n.header.body; });
    Cmn_Int32 node = static_cast<Cmn_Int32>(after - mNodes.begin()) - 1;
    while (node != cNone && GetNode(node).header.end <= iOffset)
        node = GetNode(node).parent;
    return node;
}

Cmn_Int32 FF_StreamWalk::GetDocumentParent(Cmn_Int32 iNode, Cmn_UInt32& oListIndex) const
{
    // Headers of other names between two document streams open no level of a key: the outermost of them has the index.
    Cmn_Int32 node = iNode;
    do {
        oListIndex = GetNode(node).header.listIndex;
        node = GetNode(node).parent;
    } while (node != cNone && GetNode(node).streamType == FF_Document::cNoStreamType);
    return node;
}

std::vector<FF_Document::Context> FF_StreamWalk::GetPath(Cmn_Int32 iNode) const
{
    std::vector<FF_Document::Context> path;
    Cmn_Int32 itemOfNext = 0;
    for (Cmn_Int32 node = iNode; node != cNone;) {
        Cmn_UInt32 listIndex = 0;
        const Cmn_Int32 parent = GetDocumentParent(node, listIndex);
        const Cmn_Int64 parentPosition = parent == cNone ? 0 : GetNode(parent).header.start;
        path.emplace_back(GetNode(node).streamType, static_cast<Cmn_UInt32>(parentPosition),
                          GetNode(node).header.isList || itemOfNext != 0, itemOfNext);
        itemOfNext = static_cast<Cmn_Int32>(listIndex);
        node = parent;
    }
    std::reverse(path.begin(), path.end());
    return path;
}

FF_StreamInfo FF_StreamWalk::GetInfo(Cmn_Int32 iNode) const
{
    const Node& node = GetNode(iNode);
    const Sys_StdStreamHeaderInfo& header = node.header;
    return {node.streamType,           header.name,      header.version, header.start,
            header.end - header.start, header.listIndex, header.isList,  node.depth};
}

std::string FF_StreamWalk::Describe(Cmn_Int32 iNode) const
{
    const Node& node = GetNode(iNode);
    if (node.streamType != FF_Document::cNoStreamType)
        return "stream " + FF_Document::TOCKey(GetPath(iNode)).Dump();
    Cmn_UInt32 listIndex = 0;
    const Cmn_Int32 parent = GetDocumentParent(iNode, listIndex);
    const std::string quoted = "\"" + node.header.name + "\"";
    return parent == cNone ? quoted : quoted + " in " + Describe(parent);
}

bool FF_StreamWalk::HasTypeOf(Cmn_Int32 iNode, const FF_Document::TOCKey& iKey) const
{
    const std::vector<FF_Document::Context>& key = iKey.GetContexts();
    return !key.empty() && GetNode(iNode).streamType == key.back().GetStreamType();
}

bool FF_StreamWalk::Fits(Cmn_Int32 iNode, const FF_Document::TOCKey& iKey) const
{
    if (!HasTypeOf(iNode, iKey)) return false;
    // From the inside out. The innermost level has no item open, whatever its own list index is.
    const std::vector<FF_Document::Context>& key = iKey.GetContexts();
    auto level = key.rbegin() + 1;
    Cmn_UInt32 item = 0;
    for (Cmn_Int32 node = GetDocumentParent(iNode, item); node != cNone; ++level) {
        if (level == key.rend() || GetNode(node).streamType != level->GetStreamType() ||
            static_cast<Cmn_Int32>(item) != level->GetListIndex())
            return false;
        node = GetDocumentParent(node, item);
    }
    return true;
}

bool FF_StreamWalk::FitsWithout(Cmn_Int32 iNode, Cmn_Int32 iOutermost, const FF_Document::TOCKey& iKey) const
{
    if (!HasTypeOf(iNode, iKey)) return false;
    const std::vector<FF_Document::Context>& key = iKey.GetContexts();
    std::size_t level = key.size() - 1;
    const auto hasLevel = [&](Cmn_Int32 iAround, std::size_t iInside) {
        return std::any_of(key.begin(), key.begin() + static_cast<std::ptrdiff_t>(iInside),
                           [&](const auto& c) { return c.GetStreamType() == GetNode(iAround).streamType; });
    };
    bool isLost =
        iNode == iOutermost; // whether headers may be missing between the node and what is around it
    for (Cmn_Int32 node = iNode;;) {
        Cmn_UInt32 item = 0;
        node = GetDocumentParent(node, item);
        if (item != 0 && (level == 0 || static_cast<Cmn_Int32>(item) != key[level - 1].GetListIndex()))
            return false;
        while (node != cNone && GetNode(node).isEndMoved && !hasLevel(node, level))
            node = GetDocumentParent(node, item); // it only seems to be around
        if (node == cNone) return true;
        const std::size_t inside = level;
        do {
            if (level == 0) return false;
            --level;
        } while (isLost && key[level].GetStreamType() != GetNode(node).streamType);
        if (key[level].GetStreamType() != GetNode(node).streamType) return false;
        if (level + 1 == inside && static_cast<Cmn_Int32>(item) != key[level].GetListIndex()) return false;
        isLost = isLost || node == iOutermost;
    }
}

bool FF_StreamWalk::FitsItem(Cmn_Int64 iOffset, const FF_Document::TOCKey& iList, Cmn_Int32 iItem) const
{
    const Cmn_Int32 node = Find(iOffset);
    if (node == cNone) return FindListOf(iOffset, iList) != cNone;
    Cmn_UInt32 index = 0;
    const Cmn_Int32 parent = GetDocumentParent(node, index);
    if (static_cast<Cmn_Int32>(index) == iItem + 1) return parent == cNone || Fits(parent, iList);
    if (index != 0) return false;
    // One that was written anew stands by itself; in the list a header without an index is a part of some item.
    for (Cmn_Int32 around = parent; around != cNone; around = GetNode(around).parent)
        if (Fits(around, iList)) return false;
    return true;
}

Cmn_Int32 FF_StreamWalk::FindListOf(Cmn_Int64 iOffset, const FF_Document::TOCKey& iList) const
{
    Cmn_Int32 around = FindAround(iOffset);
    while (around != cNone && GetNode(around).streamType == FF_Document::cNoStreamType &&
           GetNode(around).header.listIndex == 0)
        around = GetNode(around).parent;
    return around != cNone && Fits(around, iList) ? around : cNone;
}

Cmn_Int32 FF_StreamWalk::GetOutermostWhole(Cmn_Int32 iNode) const
{
    Cmn_Int32 node = iNode;
    while (GetNode(node).parent != cNone && GetNode(GetNode(node).parent).isWhole)
        node = GetNode(node).parent;
    return node;
}

const FF_Document::LocalLocation* FF_FindLocal(const FF_Document::TOCValue& iValue)
{
    const FF_Document::Location* last = &iValue.GetLocation();
    while (last->GetNext() != nullptr)
        last = last->GetNext();
    return dynamic_cast<const FF_Document::LocalLocation*>(last);
}
