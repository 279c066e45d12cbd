#include "Kora/FF/Rescue/FF_DocumentCheck.h"

#include "Bastel/Cmn/Cmn_CountText.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_StreamThrow_p.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Rescue/FF_DocumentFile_p.h"
#include "Kora/FF/Rescue/FF_StreamLister_p.h"

#include <algorithm>
#include <set>

namespace {

using Node = FF_StreamWalk::Node;

std::string Bytes(Cmn_Int64 iCount) { return Cmn_CountText(iCount, "byte"); }

class Checker
{
public:
    explicit Checker(const Sys_FileLoc& iLocation)
        : mFile(iLocation)
        , mFaults(mFile.GetFaults())
        , mEnd(mFile.GetTOC() == FF_DocumentFile::cNone ? mFile.GetLength() : mFile.GetTOC())
    {
    }

    std::vector<FF_Fault> Run()
    {
        if (!mFile.IsReadable()) return mFaults;
        const FF_StreamWalk walk(mFile.GetWindow(), mFile.IsSwapped(), mFile.GetFirstStream(), mEnd);
        CheckRow(walk);
        CheckBodies(walk);
        if (mFile.GetTOC() != FF_DocumentFile::cNone) CheckTOC(walk);
        const auto before = [](const FF_Fault& a, const FF_Fault& b) { return a.mOffset < b.mOffset; };
        std::stable_sort(mFaults.begin(), mFaults.end(), before);
        return mFaults;
    }

private:
    void Add(Cmn_Int64 iOffset, std::string iText) { mFaults.push_back({iOffset, std::move(iText)}); }

    // Outermost streams follow one another without a gap, from the header stream to the table.
    void CheckRow(const FF_StreamWalk& iWalk)
    {
        Cmn_Int64 expected = mFile.GetFirstStream();
        for (Cmn_Int32 i = 0; i < iWalk.GetNumNodes(); ++i) {
            const Node& node = iWalk.GetNode(i);
            if (node.mParent != FF_StreamWalk::cNone || node.mHeader.mStart < expected) continue;
            if (node.mHeader.mStart > expected) expected = CheckGap(iWalk, expected, node.mHeader.mStart);
            if (node.mHeader.mStart < expected) continue;
            if (node.mIsOpenEnded) Add(node.mHeader.mStart, OpenEndText(iWalk, i));
            expected = node.mHeader.mEnd;
        }
        if (expected < mEnd) CheckGap(iWalk, expected, mEnd);
    }

    static std::string OpenEndText(const FF_StreamWalk& iWalk, Cmn_Int32 iNode)
    {
        const Node& node = iWalk.GetNode(iNode);
        const std::string name = iWalk.Describe(iNode);
        if (!node.mHeader.mIsComplete)
            return "expected a complete stream, found " + name + " whose writing was interrupted";
        return "expected a body of " + Bytes(node.mBodySize) + " of " + name + ", found " +
               Bytes(node.mHeader.mEnd - node.mHeader.mBody) + " before the end";
    }

    // Something that is no sound header stands at iFrom. A header whose own sum alone is wrong
    // still tells where it ends: what is nested in it is then not taken for more of the same
    // fault. Returns where to go on.
    Cmn_Int64 CheckGap(const FF_StreamWalk& iWalk, Cmn_Int64 iFrom, Cmn_Int64 iTo)
    {
        mGaps.insert(iFrom);
        // The table that should be there was missed before.
        if (!mFaults.empty() && mFaults.back().mOffset == iFrom) return iTo;
        try {
            Sys_TypedInStream typed(mFile.GetWindow(), mFile.IsSwapped());
            typed.SetPosition(iFrom);
            const Sys_StdStreamHeaderFields fields = Sys_StdStreamHeaderFields::Read(typed);
            const Cmn_Int64 body = typed.GetPosition();
            const Cmn_Int64 end = body + Cmn_Int64{fields.mBodySize};
            if (IsWholeElsewhere(fields, body, iTo)) {
                Add(iFrom, "expected a stream header, found that of a stream that was written at byte " +
                               std::to_string(fields.GetOrigin()));
                return end;
            }
            if (end == mEnd || iWalk.Find(end) != FF_StreamWalk::cNone) {
                Add(iFrom, FF_SumText("header sum", fields.mHeaderSum, fields.mComputedSum));
                return end;
            }
        } catch (const Sys_StreamReadException&) {
            // No magic, or the file ends: nothing more can be told.
        }
        Add(iFrom, "expected a stream header, found " + Bytes(iTo - iFrom) + " that hold none");
        return iTo;
    }

    // A frame that got here from elsewhere. It lies before iTo, so that no byte is summed for many.
    bool IsWholeElsewhere(const Sys_StdStreamHeaderFields& iFields, Cmn_Int64 iBody, Cmn_Int64 iTo)
    {
        if (!iFields.IsGenuineElsewhere() || !iFields.HasSums() || !iFields.IsComplete()) return false;
        return iBody + Cmn_Int64{iFields.mBodySize} <= iTo &&
               mFile.GetWindow().SumOf(iBody, Cmn_Int64{iFields.mBodySize}) == iFields.GetBodySumElsewhere();
    }

    // A wrong sum of a nested body makes those around it wrong too: the innermost is where the damage is.
    void CheckBodies(const FF_StreamWalk& iWalk)
    {
        std::vector<bool> isExplained(iWalk.GetNodes().size(), false);
        for (Cmn_Int32 i = iWalk.GetNumNodes() - 1; i >= 0; --i) {
            const Node& node = iWalk.GetNode(i);
            if (node.mIsWhole || node.mIsOpenEnded) continue;
            if (!isExplained[static_cast<std::size_t>(i)])
                Add(node.mHeader.mBody,
                    FF_SumText("body sum of " + iWalk.Describe(i), node.mHeader.mBodySum, node.mSum));
            if (node.mParent != FF_StreamWalk::cNone)
                isExplained[static_cast<std::size_t>(node.mParent)] = true;
        }
    }

    void CheckTOC(const FF_StreamWalk& iWalk)
    {
        FF_StreamWindow& window = mFile.GetWindow();
        Sys_TypedInStream typed(window, mFile.IsSwapped());
        typed.SetPosition(mEnd);
        Sys_StdStreamHeaderInfo header;
        static_cast<void>(Sys_StdStreamHeaderReader::Peek(typed, header));
        if (header.mEnd < window.GetLength())
            Add(header.mEnd, "expected the end of the file, found " +
                                 Bytes(window.GetLength() - header.mEnd) + " behind the table of contents");
        const Cmn_UInt32 sum = window.SumOf(header.mBody, header.mEnd - header.mBody);
        if (sum != header.mBodySum)
            return Add(header.mBody, FF_SumText("body sum of the table of contents", header.mBodySum, sum));
        FF_Document::TOC toc;
        try {
            toc.StreamIn(typed, mEnd);
            if (!toc.FitsIndex(typed, header))
                Add(header.mEnd, "expected the index of the table of contents, found another");
        } catch (const Cmn_Exception& failure) {
            return Add(std::max(failure.GetOffset(), mEnd),
                       std::string("expected entries of the table of contents, found: ") + failure.what());
        }
        for (FF_Document::TOC::Entry entry = 0; entry < toc.GetNumKeys(); ++entry) {
            const FF_Document::TOCKey key = toc.GetKey(entry);
            const bool isList = toc.IsList(entry);
            for (Cmn_Int32 value = 0; value < toc.GetNumValues(entry); ++value)
                CheckValue(iWalk, key, toc.GetValue(entry, value), isList && value > 0 ? value - 1 : cNoItem);
        }
    }

    void CheckValue(const FF_StreamWalk& iWalk, const FF_Document::TOCKey& iKey,
                    const FF_Document::TOCValue& iValue, Cmn_Int32 iItem)
    {
        const FF_Document::LocalLocation* const local = FF_FindLocal(iValue);
        if (local == nullptr) return;
        for (const Cmn_UInt32 offset : local->GetOffsets()) {
            if (LeadsThere(iWalk, iKey, iItem, offset)) continue;
            if (mGaps.contains(offset)) continue; // that no header stands there was told
            const Cmn_Int32 node = iWalk.Find(offset);
            const std::string what =
                iItem == cNoItem ? std::string("stream ") : "item " + std::to_string(iItem) + " of stream ";
            Add(offset, "expected " + what + iKey.Dump() + " of the table of contents, found " +
                            (node == FF_StreamWalk::cNone ? "no stream header" : iWalk.Describe(node)));
        }
    }

    static bool LeadsThere(const FF_StreamWalk& iWalk, const FF_Document::TOCKey& iKey, Cmn_Int32 iItem,
                           Cmn_UInt32 iOffset)
    {
        if (iItem != cNoItem) return iWalk.FitsItem(iOffset, iKey, iItem);
        const Cmn_Int32 node = iWalk.Find(iOffset);
        return node != FF_StreamWalk::cNone && iWalk.Fits(node, iKey);
    }

    static constexpr Cmn_Int32 cNoItem = -1;

    FF_DocumentFile mFile;
    std::vector<FF_Fault> mFaults;
    Cmn_Int64 mEnd;            // of the streams
    std::set<Cmn_Int64> mGaps; // where a header should begin and does not
};

// Puts the position of a stream back.
class StPosition
{
public:
    explicit StPosition(Sys_InStream& ioStream)
        : mStream(ioStream)
        , mBefore(ioStream.GetPosition())
    {
    }
    ~StPosition() { mStream.SetPosition(mBefore); }
    StPosition(const StPosition&) = delete;
    StPosition& operator=(const StPosition&) = delete;

private:
    Sys_InStream& mStream;
    Cmn_Int64 mBefore;
};

} // namespace

std::vector<FF_Fault> FF_DocumentCheck::Check(const Sys_FileLoc& iLocation)
{
    return Checker(iLocation).Run();
}

std::vector<FF_StreamInfo> FF_DocumentCheck::ListStreams(FF_Document& iDocument)
{
    std::vector<FF_StreamInfo> streams;
    ForEachStream(iDocument, [&](const FF_StreamInfo& iStream) { streams.push_back(iStream); });
    return streams;
}

void FF_DocumentCheck::ForEachStream(FF_Document& iDocument,
                                     const std::function<void(const FF_StreamInfo&)>& iVisit)
{
    const Cmn_Int64 toc = iDocument.GetTOCOffset();
    const Cmn_Int64 data = FF_Format::GetHeaderStream(iDocument.GetEncryptionType());
    // A new document that was not flushed yet has nothing in its file.
    if (toc <= data + FF_Format::cHeaderStreamSize) return;

    Sys_TypedInStream typed = iDocument.MakeTypedInStream();
    const StPosition position(typed.GetStream());
    typed.SetPosition(data);
    Sys_StdStreamHeaderInfo header;
    if (!Sys_StdStreamHeaderReader::Peek(typed, header))
        Sys_ThrowFrom<Sys_StreamReadException>(typed.GetStream(), data);
    FF_StreamLister(typed, header.mEnd, toc).Run(iVisit);
}
