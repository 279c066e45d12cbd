#include "Kora/FF/Rescue/FF_DocumentRepair.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Kora/FF/Document/FF_SafeSave.h"
#include "Kora/FF/Rescue/FF_DocumentFile_p.h"
#include "Kora/FF/Rescue/FF_FrameCopy_p.h"
#include "Kora/FF/Rescue/FF_RepairLosses_p.h"
#include "Kora/FF/Rescue/FF_RepairedTable_p.h"

#include <algorithm>
#include <limits>

namespace {

using Node = FF_StreamWalk::Node;
using Walk = FF_StreamWalk;

// One repair: takes stretches of the old file over into a new, empty document, then
// tells its table about them.
class Repairer
{
public:
    Repairer(FF_DocumentFile& ioFile, FF_Document& ioDocument)
        : mFile(ioFile)
        , mDocument(ioDocument)
        , mWalk(ioFile.GetWindow(), ioFile.IsSwapped(), 0, ioFile.GetLength(), eMovedFrames_Take)
    {
    }

    FF_DocumentRepair::Report Run()
    {
        mReport.mHeader = mFile.GetFaults();
        FindHeaderStream();
        LendTable();
        Take();
        FF_RepairLosses losses(mWalk, mLent, mTaken, mFile.GetHeaderStream(), mReport);
        losses.ReportStretches(mFile.GetFirstStream(), mEnd);
        FF_RepairedTable table(mDocument.GetTOC(), mWalk, mLent, mTaken, FindUnsure(), mFile.GetLength(),
                               mReport);
        table.LendEntries();
        table.RebuildEntries();
        table.RebuildItems();
        ReportStreams();
        losses.ReportItems(mFile.GetWindow(), mFile.IsSwapped());
        const auto before = [](const FF_Fault& a, const FF_Fault& b) { return a.mOffset < b.mOffset; };
        std::stable_sort(mReport.mLost.begin(), mReport.mLost.end(), before);
        return std::move(mReport);
    }

private:
    // Where streams of the application were written first, and which table the document names.
    void FindHeaderStream()
    {
        mFirst = mFile.GetFirstStream();
        mToldTable = mFile.GetToldTOC();
        const Cmn_Int32 found = mWalk.Find(mFile.GetHeaderStream());
        if (found == Walk::cNone || !mWalk.GetNode(found).mIsWhole) return;
        const Node& node = mWalk.GetNode(found);
        mFirst = node.mHeader.mEnd;
        if (node.mHeader.mEnd - node.mHeader.mBody < FF_Format::cTOCOffsetSize) return;
        Sys_TypedInStream typed(mFile.GetWindow(), mFile.IsSwapped());
        typed.SetPosition(node.mHeader.mBody + node.GetShift());
        mToldTable = Cmn_Int64{typed.ReadUInt32()};
    }

    // The table that the document names, or else the last one that was written. What was written behind the
    // one that is named was given up.
    void LendTable()
    {
        const auto lend = [&](Cmn_Int32 i) {
            return i != Walk::cNone && mWalk.GetNode(i).mIsWhole && FF_RepairLosses::IsTable(mWalk, i) &&
                   mLent.Read(mFile.GetWindow(), mFile.IsSwapped(), mWalk.GetNode(i));
        };
        mEnd = mFile.GetLength();
        const Cmn_Int32 told = mWalk.Find(mToldTable);
        if (lend(told)) {
            mBehind = mToldTable;
            mEnd = mWalk.GetNode(told).mPlace;
        }
        for (Cmn_Int32 i = mWalk.GetNumNodes() - 1; !mLent.IsLent() && i >= 0; --i)
            lend(i);
        mReport.mHadTOC = mLent.IsLent();
        mLent.Match(mWalk);
    }

    bool IsApplications(Cmn_Int32 iNode) const
    {
        const Cmn_Int64 start = mWalk.GetNode(iNode).mHeader.mStart;
        return start >= mFirst && start < mBehind;
    }

    bool IsWorthTaking(Cmn_Int32 iNode) const
    {
        const Node& node = mWalk.GetNode(iNode);
        if (!IsApplications(iNode) || node.mStreamType == FF_Document::cTOCStreamType) return false;
        if (!node.mIsWhole) return false;
        if (mLent.Knows(node.mHeader.mStart)) return true;
        if (node.mParent == Walk::cNone && !FF_IsOrphan(mWalk, mLent, iNode)) return true;
        // Without the stream around it a header of another name has a place only as a list item.
        return node.mStreamType != FF_Document::cNoStreamType || FF_IsListItem(mWalk, iNode);
    }

    void Take()
    {
        Sys_TypedOutStream out = mDocument.MakeTypedOutStream();
        mDocument.SeekToEnd(out);
        Cmn_Int64 taken = 0;
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
            const Node& node = mWalk.GetNode(i);
            if (node.mHeader.mStart < taken || !IsWorthTaking(i)) continue;
            mTaken.Add({node.mHeader.mStart, node.mHeader.mEnd, out.GetPosition(), i});
            FF_CopyFrame(mFile.GetWindow(), mWalk, node, out);
            taken = node.mHeader.mEnd;
        }
    }

    // Outermost streams were written one behind the other. Where one is missing in the row, those behind it
    // may have been nested in it.
    Cmn_Int64 FindUnsure() const
    {
        Cmn_Int64 at = mFirst;
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
            const Node& node = mWalk.GetNode(i);
            if (node.mParent != Walk::cNone || node.mHeader.mStart < mFirst) continue;
            if (node.mHeader.mStart != at) return at;
            at = node.mHeader.mEnd;
        }
        return at;
    }

    void ReportStreams()
    {
        for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
            const Node& node = mWalk.GetNode(i);
            const FF_TakenStretches::Stretch* const stretch = mTaken.Find(node.mHeader.mStart);
            if (stretch == nullptr || !node.mIsWhole) continue;
            FF_StreamInfo info = mWalk.GetInfo(i);
            info.mPosition = mTaken.NewPlace(info.mPosition);
            info.mDepth -= mWalk.GetNode(stretch->mNode).mDepth;
            mReport.mStreams.push_back(std::move(info));
            if (node.mStreamType != FF_Document::cNoStreamType) ++mReport.mRecovered;
        }
    }

    FF_DocumentFile& mFile;
    FF_Document& mDocument;
    Walk mWalk;
    FF_LentTable mLent;
    FF_TakenStretches mTaken;
    Cmn_Int64 mFirst = 0;                                      // as they were written, both
    Cmn_Int64 mBehind = std::numeric_limits<Cmn_Int64>::max(); // the streams of the document
    Cmn_Int64 mToldTable = FF_DocumentFile::cNone;
    Cmn_Int64 mEnd = 0; // of what is told about, as it stands
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
    if (iEvenIfEmpty || !report.mStreams.empty()) save.Commit();
    return report;
}
