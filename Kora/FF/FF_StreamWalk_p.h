// FF_StreamWindow, FF_StreamWalk: the nested stream headers of a file, found by its bytes in one pass.
//
// The walk searches for the magic, and takes for a stream what follows it with a right header sum and an end within the
// stream around it. A header that is not taken costs one byte of progress: whatever a file claims, the walk reads every
// byte once, and sums it once. Body sums of nested streams come from one running sum:
//
//   sum of [a, b)  =  sum of [s, b)  xor  (sum of [s, a) shifted by b − a)
//
// A header that was never completed, or whose body goes on behind the end of the file, ends where what is around it ends.
// Only such headers lie around it: a complete one was written after everything inside it.
//
// A header whose body goes on behind the end of a complete stream around it is taken where that body has the right sum: it
// is whole, so the one around it is damaged, and its end elsewhere. Such bodies are summed ahead, twice the file at most.
#pragma once

#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Kora/FF/FF_Document_TOCKey.h"
#include "Kora/FF/FF_StreamInfo.h"

#include <functional>
#include <span>

// A stretch of a file in memory that moves along. Positions, and what is read, are those of the source.
class FF_StreamWindow : public Sys_InStream
{
public:
    static constexpr std::size_t cSize = std::size_t{256} << 10;
    static constexpr std::size_t cFirstRead = 512; // after a jump; doubles while reading goes on in sequence

    // Reads bytes at a position, unmasked; fewer than asked only at the end.
    using Source = std::function<std::size_t(Cmn_Int64 iPosition, void* oBytes, std::size_t iCount)>;
    FF_StreamWindow(Source iSource, Cmn_Int64 iLength);
    ~FF_StreamWindow() override;

    std::size_t Read(void* oBytes, std::size_t iCount) override;
    Cmn_Int64 GetPosition() const override { return mPosition; }
    void SetPosition(Cmn_Int64 iPosition) override;
    Cmn_Int64 GetLength() const override { return mLength; }
    bool HasSums() const override { return true; }
    void Forget() override;

    // The bytes in memory from iPosition on, at least iCount of them unless the file ends before.
    std::span<const Cmn_UInt8> At(Cmn_Int64 iPosition, std::size_t iCount = 1);

private:
    Source mSource;
    Cmn_Int64 mLength;
    Cmn_Int64 mPosition = 0;
    Cmn_Int64 mStart = 0; // of the bytes in memory
    std::size_t mNextRead = cFirstRead;
    std::vector<Cmn_UInt8> mBytes;
};

class FF_StreamWalk
{
public:
    static constexpr int cMaxDepth = 64;
    static constexpr Cmn_Int32 cNone = -1;

    struct Node
    {
        Sys_StdStreamHeaderInfo header; // its end is the one that is known, or assumed where it is open-ended
        Cmn_Int16 streamType = 0;       // 0 for what is no document stream
        Cmn_Int32 parent = cNone;
        int depth = 0;
        Cmn_UInt32 sum = 0;      // of the body as it stands
        Cmn_UInt32 bodySize = 0; // as the header claims
        bool isOpenEnded = false;
        bool isEndMoved = false; // a whole stream lies across the end that its header tells
        bool isWhole = false;    // complete, with a right body sum
    };

    // Walks [iFrom, iTo). Throws what the window's source throws, and nothing for any bytes.
    FF_StreamWalk(FF_StreamWindow& ioWindow, bool iSwap, Cmn_Int64 iFrom, Cmn_Int64 iTo);

    // In the order of the file, a stream before what it holds.
    const std::vector<Node>& GetNodes() const { return mNodes; }
    const Node& GetNode(Cmn_Int32 iNode) const { return mNodes[static_cast<std::size_t>(iNode)]; }
    Cmn_Int32 GetNumNodes() const { return static_cast<Cmn_Int32>(mNodes.size()); }
    // The stream that starts at iOffset, and the innermost one whose body holds it; cNone otherwise.
    Cmn_Int32 Find(Cmn_Int64 iOffset) const;
    Cmn_Int32 FindAround(Cmn_Int64 iOffset) const;
    // The document streams around a document stream and itself, outermost first, with the list indexes between them.
    std::vector<FF_Document::Context> GetPath(Cmn_Int32 iNode) const;
    // The innermost document stream around a node, and the list index that the node's part of it has there.
    Cmn_Int32 GetDocumentParent(Cmn_Int32 iNode, Cmn_UInt32& oListIndex) const;
    // The outermost of the whole streams around a whole one, or itself.
    Cmn_Int32 GetOutermostWhole(Cmn_Int32 iNode) const;
    FF_StreamInfo GetInfo(Cmn_Int32 iNode) const;
    // "stream 4[1]/7", or "\"Meter\" in stream 16": for texts.
    std::string Describe(Cmn_Int32 iNode) const;

    bool HasTypeOf(Cmn_Int32 iNode, const FF_Document::TOCKey& iKey) const;
    // Whether the stream at a node may stand under a key: its type, and what is around it, are the key's innermost
    // levels. Streams that were written anew, or repaired, stand further out than their key says.
    bool Fits(Cmn_Int32 iNode, const FF_Document::TOCKey& iKey) const;
    // The same where streams outside of iOutermost, which iNode is in or is, may have lost their headers: those that are left
    // around it are levels of the key in their order.
    bool FitsWithout(Cmn_Int32 iNode, Cmn_Int32 iOutermost, const FF_Document::TOCKey& iKey) const;
    // Whether item iItem of the key's list may begin at iOffset: at a header of that index or of none, or among the list's
    // own bytes, which no item's header frames.
    bool FitsItem(Cmn_Int64 iOffset, const FF_Document::TOCKey& iList, Cmn_Int32 iItem) const;
    // The list of the key whose own bytes hold the place, cNone where there is none.
    Cmn_Int32 FindListOf(Cmn_Int64 iOffset, const FF_Document::TOCKey& iList) const;

private:
    struct Pass;
    std::vector<Node> mNodes;
};

// The places in this file that a value of a table names, wherever in its chain of locations; null where there are none.
const FF_Document::LocalLocation* FF_FindLocal(const FF_Document::TOCValue& iValue);
