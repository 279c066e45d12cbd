// FF_StreamWalk: the nested streams of a file, as they were written.
//
// Frames tell where they were written (FF_FrameScan), so that what was around what is known from the places
// of that time, wherever damage took the bytes. All positions here are of that time; FF_Frame::place is where
// a header stands now. The two are the same unless moved frames are taken.
//
//   of two frames that cross    the one that is whole is taken; the other has another's bytes in its place
//   a frame that says that it   is not there: what is whole has all its bytes in one piece
//   stood in a whole one, and
//   stands elsewhere
//   a header never completed    goes on to the end of what is around it, and only such headers are around it:
//                               a complete one was written after everything inside it
//
// Threads: one at a time.
#pragma once

#include "Kora/FF/Document/FF_Document_TOCKey.h"
#include "Kora/FF/Format/FF_FrameScan_p.h"
#include "Kora/FF/Rescue/FF_StreamInfo.h"

class FF_StreamWalk
{
public:
    static constexpr int cMaxDepth = 64;
    static constexpr Cmn_Int32 cNone = -1;

    struct Node : FF_Frame
    {
        Cmn_Int32 mParent = cNone;
        int mDepth = 0;
        bool mIsCrossed = false; // a whole one begins inside it and ends behind it
    };

    // Walks [iFrom, iTo). Throws what the window's source throws, and nothing for any bytes.
    FF_StreamWalk(FF_StreamWindow& ioWindow, bool iSwap, Cmn_Int64 iFrom, Cmn_Int64 iTo,
                  FF_EMovedFrames iMoved = eMovedFrames_Ignore);

    // In the order in which they were written, a stream before what it holds.
    const std::vector<Node>& GetNodes() const { return mNodes; }
    const Node& GetNode(Cmn_Int32 iNode) const { return mNodes[static_cast<std::size_t>(iNode)]; }
    Cmn_Int32 GetNumNodes() const { return static_cast<Cmn_Int32>(mNodes.size()); }
    // What stands in the file once more.
    const std::vector<FF_Frame>& GetDoubles() const { return mDoubles; }
    // The stream that starts at iOffset, and the innermost one whose body holds it; cNone otherwise.
    Cmn_Int32 Find(Cmn_Int64 iOffset) const;
    Cmn_Int32 FindAround(Cmn_Int64 iOffset) const;
    // The document streams around a document stream and itself, outermost first, with the
    // list indexes between them.
    std::vector<FF_Document::Context> GetPath(Cmn_Int32 iNode) const;
    // The innermost document stream around a node, and the list index that the node's part of it has there.
    // What is around iRoot counts for nothing here and below: iRoot is, or will be, an outermost stream.
    Cmn_Int32 GetDocumentParent(Cmn_Int32 iNode, Cmn_UInt32& oListIndex, Cmn_Int32 iRoot = cNone) const;
    FF_StreamInfo GetInfo(Cmn_Int32 iNode) const;
    // "stream 4[1]/7", or "\"Meter\" in stream 16": for texts.
    std::string Describe(Cmn_Int32 iNode) const;

    // Whether the stream at a node may stand under a key: its type, and what is around it, are the key's
    // innermost levels. Streams that were written anew, or repaired, stand further out than their key says.
    bool Fits(Cmn_Int32 iNode, const FF_Document::TOCKey& iKey, Cmn_Int32 iRoot = cNone) const;
    // Whether item iItem of the key's list may begin at iOffset: at a header of that index or of none, or
    // among the list's own bytes, which no item's header frames.
    bool FitsItem(Cmn_Int64 iOffset, const FF_Document::TOCKey& iList, Cmn_Int32 iItem,
                  Cmn_Int32 iRoot = cNone) const;

private:
    static bool NamesStreams(const FF_Document::TOCKey& iKey);
    class Tree;
    Cmn_Int32 GetParent(Cmn_Int32 iNode, Cmn_Int32 iRoot) const
    {
        return iNode == iRoot ? cNone : GetNode(iNode).mParent;
    }

    std::vector<Node> mNodes;
    std::vector<FF_Frame> mDoubles;
};

// The places in this file that a value of a table names, wherever in its chain of locations;
// null where there are none.
const FF_Document::LocalLocation* FF_FindLocal(const FF_Document::TOCValue& iValue);
