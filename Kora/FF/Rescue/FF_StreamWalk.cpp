#include "Kora/FF/Rescue/FF_StreamWalk_p.h"

#include "Kora/FF/Document/FF_Document_TOCValue.h"

#include <algorithm>
#include <limits>

// Puts frames, in the order in which they were written, into what is around them.
class FF_StreamWalk::Tree
{
public:
    explicit Tree(std::vector<Node>& ioNodes)
        : mNodes(ioNodes)
    {
    }

    void Add(FF_Frame&& iFrame)
    {
        if (!MakeRoom(iFrame) || mOpen.size() == cMaxDepth) return;
        Node node;
        static_cast<FF_Frame&>(node) = std::move(iFrame);
        node.mParent = mOpen.empty() ? cNone : mOpen.back().mNode;
        node.mDepth = static_cast<int>(mOpen.size());
        if (node.mIsOpenEnded && node.mParent != cNone)
            node.mHeader.mEnd = std::min(node.mHeader.mEnd, Get(node.mParent).mHeader.mEnd);
        mOpen.push_back({static_cast<Cmn_Int32>(mNodes.size()), EndOf(node)});
        mNodes.push_back(std::move(node));
    }

private:
    static constexpr Cmn_Int64 cNoEnd = std::numeric_limits<Cmn_Int64>::max();

    struct Open
    {
        Cmn_Int32 mNode;
        Cmn_Int64 mEnd; // as the header says; cNoEnd of one that was never completed
    };

    Node& Get(Cmn_Int32 iNode) { return mNodes[static_cast<std::size_t>(iNode)]; }

    static Cmn_Int64 EndOf(const FF_Frame& iFrame)
    {
        return iFrame.mHeader.mIsComplete ? iFrame.mHeader.mBody + Cmn_Int64{iFrame.mBodySize} : cNoEnd;
    }

    // Leaves open what is around the frame. False where the frame cannot be.
    bool MakeRoom(const FF_Frame& iFrame)
    {
        while (!mOpen.empty() && mOpen.back().mEnd <= iFrame.mHeader.mStart)
            mOpen.pop_back();
        std::size_t numAround = mOpen.size();
        for (; numAround > 0; --numAround) {
            const Open& open = mOpen[numAround - 1];
            const Node& around = Get(open.mNode);
            if (iFrame.mHeader.mStart < around.mHeader.mBody) return false;
            if (EndOf(iFrame) <= open.mEnd) break;
            if (around.mIsWhole || !iFrame.mIsWhole) return false;
        }
        if (StandsOutside(iFrame, numAround)) return false;
        for (std::size_t i = numAround; i < mOpen.size(); ++i)
            Get(mOpen[i].mNode).mIsCrossed = true;
        mOpen.resize(numAround);
        return true;
    }

    // A whole frame has all of its bytes in one piece: what claims a place in it and stands elsewhere is not
    // in it.
    bool StandsOutside(const FF_Frame& iFrame, std::size_t iNumAround)
    {
        for (std::size_t i = 0; i < iNumAround; ++i) {
            const Node& around = Get(mOpen[i].mNode);
            if (around.mIsWhole && around.GetShift() != iFrame.GetShift()) return true;
        }
        return false;
    }

    std::vector<Node>& mNodes;
    std::vector<Open> mOpen; // each within the one before
};

FF_StreamWalk::FF_StreamWalk(FF_StreamWindow& ioWindow, bool iSwap, Cmn_Int64 iFrom, Cmn_Int64 iTo,
                             FF_EMovedFrames iMoved)
{
    FF_FoundFrames found = FF_FindFrames(ioWindow, iSwap, iFrom, iTo, iMoved);
    mNodes.reserve(found.mFrames.size());
    Tree tree(mNodes);
    for (FF_Frame& frame : found.mFrames)
        tree.Add(std::move(frame));
    mDoubles = std::move(found.mDoubles);
}

Cmn_Int32 FF_StreamWalk::Find(Cmn_Int64 iOffset) const
{
    const auto found = std::lower_bound(mNodes.begin(), mNodes.end(), iOffset,
                                        [](const Node& n, Cmn_Int64 o) { return n.mHeader.mStart < o; });
    if (found == mNodes.end() || found->mHeader.mStart != iOffset) return cNone;
    return static_cast<Cmn_Int32>(found - mNodes.begin());
}

Cmn_Int32 FF_StreamWalk::FindAround(Cmn_Int64 iOffset) const
{
    const auto after = std::upper_bound(mNodes.begin(), mNodes.end(), iOffset,
                                        [](Cmn_Int64 o, const Node& n) { return o < n.mHeader.mBody; });
    Cmn_Int32 node = static_cast<Cmn_Int32>(after - mNodes.begin()) - 1;
    while (node != cNone && GetNode(node).mHeader.mEnd <= iOffset)
        node = GetNode(node).mParent;
    return node;
}

Cmn_Int32 FF_StreamWalk::GetDocumentParent(Cmn_Int32 iNode, Cmn_UInt32& oListIndex, Cmn_Int32 iRoot) const
{
    // Headers of other names between two document streams open no level of a key: the
    // outermost of them has the index.
    Cmn_Int32 node = iNode;
    do {
        oListIndex = node == iRoot ? 0 : GetNode(node).mHeader.mListIndex;
        node = GetParent(node, iRoot);
    } while (node != cNone && GetNode(node).mStreamType == FF_Document::cNoStreamType);
    return node;
}

std::vector<FF_Document::Context> FF_StreamWalk::GetPath(Cmn_Int32 iNode) const
{
    std::vector<FF_Document::Context> path;
    Cmn_Int32 itemOfNext = 0;
    for (Cmn_Int32 node = iNode; node != cNone;) {
        Cmn_UInt32 listIndex = 0;
        const Cmn_Int32 parent = GetDocumentParent(node, listIndex);
        const Cmn_Int64 parentPosition = parent == cNone ? 0 : GetNode(parent).mHeader.mStart;
        path.emplace_back(GetNode(node).mStreamType, static_cast<Cmn_UInt32>(parentPosition),
                          GetNode(node).mHeader.mIsList || itemOfNext != 0, itemOfNext);
        itemOfNext = static_cast<Cmn_Int32>(listIndex);
        node = parent;
    }
    std::reverse(path.begin(), path.end());
    return path;
}

FF_StreamInfo FF_StreamWalk::GetInfo(Cmn_Int32 iNode) const
{
    const Node& node = GetNode(iNode);
    const Sys_StdStreamHeaderInfo& header = node.mHeader;
    return {node.mStreamType,  header.mName,   header.mVersion, header.mStart, header.mEnd - header.mStart,
            header.mListIndex, header.mIsList, node.mDepth};
}

std::string FF_StreamWalk::Describe(Cmn_Int32 iNode) const
{
    const Node& node = GetNode(iNode);
    if (node.mStreamType != FF_Document::cNoStreamType)
        return "stream " + FF_Document::TOCKey(GetPath(iNode)).Dump();
    Cmn_UInt32 listIndex = 0;
    const Cmn_Int32 parent = GetDocumentParent(iNode, listIndex);
    const std::string quoted = "\"" + node.mHeader.mName + "\"";
    return parent == cNone ? quoted : quoted + " in " + Describe(parent);
}

// A header of another name has no stream type, which no key has either: a key that says so leads to none.
bool FF_StreamWalk::NamesStreams(const FF_Document::TOCKey& iKey)
{
    const std::vector<FF_Document::Context>& key = iKey.GetContexts();
    return !key.empty() && std::none_of(key.begin(), key.end(), [](const FF_Document::Context& iLevel) {
        return iLevel.GetStreamType() == FF_Document::cNoStreamType;
    });
}

bool FF_StreamWalk::Fits(Cmn_Int32 iNode, const FF_Document::TOCKey& iKey, Cmn_Int32 iRoot) const
{
    // From the inside out. The innermost level has no item open, whatever its own list index is.
    const std::vector<FF_Document::Context>& key = iKey.GetContexts();
    if (!NamesStreams(iKey) || GetNode(iNode).mStreamType != key.back().GetStreamType()) return false;
    auto level = key.rbegin() + 1;
    Cmn_UInt32 item = 0;
    for (Cmn_Int32 node = GetDocumentParent(iNode, item, iRoot); node != cNone; ++level) {
        if (level == key.rend() || GetNode(node).mStreamType != level->GetStreamType() ||
            static_cast<Cmn_Int32>(item) != level->GetListIndex())
            return false;
        node = GetDocumentParent(node, item, iRoot);
    }
    return true;
}

bool FF_StreamWalk::FitsItem(Cmn_Int64 iOffset, const FF_Document::TOCKey& iList, Cmn_Int32 iItem,
                             Cmn_Int32 iRoot) const
{
    if (!NamesStreams(iList)) return false;
    const Cmn_Int32 node = Find(iOffset);
    if (node == cNone) {
        Cmn_Int32 list = FindAround(iOffset);
        // Among the bytes of iRoot's own header nothing is in it.
        if (list != cNone && iRoot != cNone && list < iRoot) return false;
        while (list != cNone && GetNode(list).mStreamType == FF_Document::cNoStreamType &&
               GetNode(list).mHeader.mListIndex == 0)
            list = GetParent(list, iRoot);
        return list != cNone && Fits(list, iList, iRoot);
    }
    Cmn_UInt32 index = 0;
    const Cmn_Int32 parent = GetDocumentParent(node, index, iRoot);
    if (static_cast<Cmn_Int32>(index) == iItem + 1) return parent == cNone || Fits(parent, iList, iRoot);
    if (index != 0) return false;
    // One that was written anew stands by itself; in the list a header without an
    // index is a part of some item.
    for (Cmn_Int32 around = parent; around != cNone; around = GetParent(around, iRoot))
        if (Fits(around, iList, iRoot)) return false;
    return true;
}

const FF_Document::LocalLocation* FF_FindLocal(const FF_Document::TOCValue& iValue)
{
    const FF_Document::Location* last = &iValue.GetLocation();
    while (last->GetNext() != nullptr)
        last = last->GetNext();
    return dynamic_cast<const FF_Document::LocalLocation*>(last);
}
