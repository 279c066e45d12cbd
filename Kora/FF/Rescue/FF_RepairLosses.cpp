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
        mFound.push_back({iWalk.GetNode(i).place, i, false});
    for (const FF_Frame& frame : iWalk.GetDoubles()) {
        const Cmn_Int32 node = iWalk.Find(frame.header.start);
        if (node != Walk::cNone) mFound.push_back({frame.place, node, true});
    }
    std::sort(mFound.begin(), mFound.end(), [](const Found& a, const Found& b) { return a.place < b.place; });
}

bool FF_RepairLosses::IsTable(const Walk& iWalk, Cmn_Int32 iNode)
{
    if (iWalk.GetNode(iNode).streamType != FF_Document::cTOCStreamType) return false;
    for (Cmn_Int32 i = iWalk.GetNode(iNode).parent; i != Walk::cNone; i = iWalk.GetNode(i).parent)
        if (!iWalk.GetNode(i).isOpenEnded) return false;
    return true;
}

void FF_RepairLosses::ReportStretches(Cmn_Int64 iFrom, Cmn_Int64 iTo)
{
    std::vector<std::pair<Cmn_Int64, Cmn_Int64>> taken; // places
    for (const Stretch& stretch : mTaken.Get()) {
        const Cmn_Int64 shift = mWalk.GetNode(stretch.node).GetShift();
        taken.emplace_back(stretch.from + shift, stretch.to + shift);
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
    const auto isBefore = [](const Found& f, Cmn_Int64 p) { return f.place < p; };
    const auto first = std::lower_bound(mFound.begin(), mFound.end(), iFrom, isBefore);
    std::string names;
    int numNames = 0;
    Cmn_Int64 accounted = 0;
    for (auto found = first; found != mFound.end() && found->place < iTo; ++found) {
        const Node& node = mWalk.GetNode(found->node);
        if (!found->isDouble && IsTable(mWalk, found->node) && node.isWhole) {
            accounted += node.header.end - node.header.start;
            continue;
        }
        if (++numNames <= cMostNamed) names += (names.empty() ? "" : ", ") + NameOf(*found);
    }
    if (accounted >= iTo - iFrom) return;
    if (numNames > cMostNamed) names += " and " + std::to_string(numNames - cMostNamed) + " more";
    if (numNames == 0) names = NameOfTheRest(iFrom, first);
    mReport.lost.push_back({iFrom, "expected whole streams, found in " +
                                       std::to_string(iTo - iFrom - accounted) + " bytes: " + names});
}

// Of what begins before a place and ends behind it. iBehind: the first that begins there or behind.
std::string FF_RepairLosses::NameOfTheRest(Cmn_Int64 iPlace, Iterator iBehind) const
{
    if (iBehind == mFound.begin()) return "no stream header";
    Cmn_Int32 around = (iBehind - 1)->node;
    while (around != Walk::cNone && mWalk.GetNode(around).GetPlaceOfEnd() <= iPlace)
        around = mWalk.GetNode(around).parent;
    return around == Walk::cNone ? "no stream header" : "the rest of " + NameOf(around);
}

std::string FF_RepairLosses::NameOf(Cmn_Int32 iNode) const
{
    if (mWalk.GetNode(iNode).header.start == mHeaderStream) return "a header stream";
    return IsTable(mWalk, iNode) ? "the table of contents" : mWalk.Describe(iNode);
}

std::string FF_RepairLosses::NameOf(const Found& iFound) const
{
    const Node& node = mWalk.GetNode(iFound.node);
    const std::string name = NameOf(iFound.node);
    if (iFound.isDouble) return name + ", which stands elsewhere too";
    if (!node.header.isComplete) return name + ", whose writing was interrupted";
    if (node.isOpenEnded) return name + ", cut off";
    if (!node.isWhole) return name + " with a wrong body sum";
    return name + (FF_IsOrphan(mWalk, mLent, iFound.node) ? " of a list that is not found" : "");
}

void FF_RepairLosses::ReportItems(FF_StreamWindow& ioWindow, bool iSwap)
{
    std::vector<Cmn_Int32> numItems(mWalk.GetNodes().size(), 0); // with a header, of the list at each node
    std::vector<Cmn_UInt32> lastItem(mWalk.GetNodes().size(), 0);
    for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
        if (!FF_IsListItem(mWalk, i)) continue;
        const auto list = static_cast<std::size_t>(mWalk.GetNode(i).parent);
        if (lastItem[list] == mWalk.GetNode(i).header.listIndex) continue;
        lastItem[list] = mWalk.GetNode(i).header.listIndex;
        ++numItems[list];
    }
    Sys_TypedInStream typed(ioWindow, iSwap);
    for (Cmn_Int32 i = 0; i < mWalk.GetNumNodes(); ++i) {
        const Node& node = mWalk.GetNode(i);
        constexpr Cmn_Int64 cTypeAndCountSize = FF_Format::cStreamTypeSize + FF_Format::cItemCountSize;
        const Cmn_Int64 size = node.header.end - node.header.body;
        if (!node.isWhole || !node.header.isList || node.header.start < mLent.GetPosition()) continue;
        if (size < cTypeAndCountSize || mTaken.Find(node.header.start) == nullptr) continue;
        const Cmn_Int64 body = node.header.body + node.GetShift();
        typed.SetPosition(body + FF_Format::cStreamTypeSize);
        const Cmn_Int32 count = typed.ReadInt32();
        const Cmn_Int32 found = numItems[static_cast<std::size_t>(i)];
        if (count > found)
            mReport.lost.push_back({body, "expected " + std::to_string(count) + " items of " +
                                              mWalk.Describe(i) + ", found " + std::to_string(found) +
                                              " with a header of their own"});
    }
}
