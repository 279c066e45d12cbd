#include "Kora/FF/Rescue/FF_RepairLosses_p.h"

#include "Kora/FF/Format/FF_Format_p.h"
#include "Kora/FF/Rescue/FF_RepairedTable_p.h"

#include <algorithm>

using Node = FF_StreamWalk::Node;
using Stretch = FF_TakenStretches::Stretch;
using Walk = FF_StreamWalk;

FF_RepairLosses::FF_RepairLosses(const Walk& iWalk, const FF_LentTable& iLent,
                                 const FF_TakenStretches& iTaken, Cmn_Int64 iHeaderStream,
                                 FF_DocumentRepair::Report& ioReport)
    : mWalk(iWalk)
    , mLent(iLent)
    , mTaken(iTaken)
    , mHeaderStream(iHeaderStream)
    , mReport(ioReport)
{
    for (Cmn_Int32 i = 0; i < iWalk.GetNumNodes(); ++i)
        mFound.push_back({iWalk.GetNode(i).mPlace, i, false});
    for (const FF_Frame& frame : iWalk.GetDoubles()) {
        const Cmn_Int32 node = iWalk.Find(frame.mHeader.mStart);
        if (node != Walk::cNone) mFound.push_back({frame.mPlace, node, true});
    }
    std::sort(mFound.begin(), mFound.end(),
              [](const Found& a, const Found& b) { return a.mPlace < b.mPlace; });
}

bool FF_RepairLosses::IsTable(const Walk& iWalk, Cmn_Int32 iNode)
{
    if (iWalk.GetNode(iNode).mStreamType != FF_Document::cTOCStreamType) return false;
    for (Cmn_Int32 i = iWalk.GetNode(iNode).mParent; i != Walk::cNone; i = iWalk.GetNode(i).mParent)
        if (!iWalk.GetNode(i).mIsOpenEnded) return false;
    return true;
}

void FF_RepairLosses::ReportStretches(Cmn_Int64 iFrom, Cmn_Int64 iTo)
{
    std::vector<std::pair<Cmn_Int64, Cmn_Int64>> taken; // places
    for (const Stretch& stretch : mTaken.Get()) {
        const Cmn_Int64 shift = mWalk.GetNode(stretch.mNode).GetShift();
        taken.emplace_back(stretch.mFrom + shift, stretch.mTo + shift);
    }
    std::sort(taken.begin(), taken.end());
    Cmn_Int64 at = iFrom;
    for (const auto& [from, to] : taken) {
        if (from >= iTo) break;
        if (from > at) ReportStretch(at, from);
        at = std::max(at, to);
    }
    if (iTo > at) ReportStretch(at, iTo);
}

void FF_RepairLosses::ReportStretch(Cmn_Int64 iFrom, Cmn_Int64 iTo)
{
    constexpr int cMostNamed = 3;
    const auto isBefore = [](const Found& f, Cmn_Int64 p) { return f.mPlace < p; };
    const auto first = std::lower_bound(mFound.begin(), mFound.end(), iFrom, isBefore);
    std::string names;
    int numNames = 0;
    Cmn_Int64 accounted = 0;
    for (auto found = first; found != mFound.end() && found->mPlace < iTo; ++found) {
        const Node& node = mWalk.GetNode(found->mNode);
        if (!found->mIsDouble && IsTable(mWalk, found->mNode) && node.mIsWhole) {
            accounted += node.mHeader.mEnd - node.mHeader.mStart;
            continue;
        }
        if (++numNames <= cMostNamed) names += (names.empty() ? "" : ", ") + NameOf(*found);
    }
    if (accounted >= iTo - iFrom) return;
    if (numNames > cMostNamed) names += " and " + std::to_string(numNames - cMostNamed) + " more";
    if (numNames == 0) names = NameOfTheRest(iFrom, first);
    mReport.mLost.push_back({iFrom, "expected whole streams, found in " +
                                        std::to_string(iTo - iFrom - accounted) + " bytes: " + names});
}

// Of what begins before a place and ends behind it. iBehind: the first that begins there or behind.
std::string FF_RepairLosses::NameOfTheRest(Cmn_Int64 iPlace, Iterator iBehind) const
{
    if (iBehind == mFound.begin()) return "no stream header";
    Cmn_Int32 around = (iBehind - 1)->mNode;
    while (around != Walk::cNone && mWalk.GetNode(around).GetPlaceOfEnd() <= iPlace)
        around = mWalk.GetNode(around).mParent;
    return around == Walk::cNone ? "no stream header" : "the rest of " + NameOf(around);
}

std::string FF_RepairLosses::NameOf(Cmn_Int32 iNode) const
{
    if (mWalk.GetNode(iNode).mHeader.mStart == mHeaderStream) return "a header stream";
    return IsTable(mWalk, iNode) ? "the table of contents" : mWalk.Describe(iNode);
}

std::string FF_RepairLosses::NameOf(const Found& iFound) const
{
    const Node& node = mWalk.GetNode(iFound.mNode);
    const std::string name = NameOf(iFound.mNode);
    if (iFound.mIsDouble) return name + ", which stands elsewhere too";
    if (!node.mHeader.mIsComplete) return name + ", whose writing was interrupted";
    if (node.mIsOpenEnded) return name + ", cut off";
    if (!node.mIsWhole) return name + " with a wrong body sum";
    return name + (FF_IsOrphan(mWalk, mLent, iFound.mNode) ? " of a list that is not found" : "");
}

void FF_RepairLosses::ReportItems(FF_StreamWindow& ioWindow, bool iSwap)
{
    std::vector<Cmn_Int32> numItems(mWalk.GetNodes().size(), 0); // with a header, of the list at each node
    std::vector<Cmn_UInt32> lastItem(mWalk.GetNodes().size(), 0);
    for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
        if (!FF_IsListItem(mWalk, i)) continue;
        const auto list = static_cast<std::size_t>(mWalk.GetNode(i).mParent);
        if (lastItem[list] == mWalk.GetNode(i).mHeader.mListIndex) continue;
        lastItem[list] = mWalk.GetNode(i).mHeader.mListIndex;
        ++numItems[list];
    }
    Sys_TypedInStream typed(ioWindow, iSwap);
    for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
        const Node& node = mWalk.GetNode(i);
        constexpr Cmn_Int64 cTypeAndCountSize = FF_Format::cStreamTypeSize + FF_Format::cItemCountSize;
        const Cmn_Int64 size = node.mHeader.mEnd - node.mHeader.mBody;
        if (!node.mIsWhole || !node.mHeader.mIsList || node.mHeader.mStart < mLent.GetPosition()) continue;
        if (size < cTypeAndCountSize || mTaken.Find(node.mHeader.mStart) == nullptr) continue;
        const Cmn_Int64 body = node.mHeader.mBody + node.GetShift();
        typed.SetPosition(body + FF_Format::cStreamTypeSize);
        const Cmn_Int32 count = typed.ReadInt32();
        const Cmn_Int32 found = numItems[static_cast<std::size_t>(i)];
        if (count > found)
            mReport.mLost.push_back({body, "expected " + std::to_string(count) + " items of " +
                                               mWalk.Describe(i) + ", found " + std::to_string(found) +
                                               " with a header of their own"});
    }
}
