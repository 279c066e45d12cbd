// FF_RepairLosses: what a repair says of the bytes of the old file that it left out, and of list items that
// no header frames. Places are those of the old file as it stands.
//
// Threads: one at a time. Ownership: all that the constructor is given stays the caller's and outlives it.
#pragma once

#include "Kora/FF/Rescue/FF_DocumentRepair.h"
#include "Kora/FF/Rescue/FF_LentTable_p.h"
#include "Kora/FF/Rescue/FF_TakenStretches_p.h"

class FF_RepairLosses
{
public:
    // iHeaderStream: where the header stream belongs.
    FF_RepairLosses(const FF_StreamWalk& iWalk, const FF_LentTable& iLent, const FF_TakenStretches& iTaken,
                    Cmn_Int64 iHeaderStream, FF_DocumentRepair::Report& ioReport);

    // Stretches of [iFrom, iTo) that hold no whole stream, with what seems to have been there.
    void ReportStretches(Cmn_Int64 iFrom, Cmn_Int64 iTo);
    // Items of whole lists that are plain data: a table alone tells of them, and of lists
    // that were written before it.
    void ReportItems(FF_StreamWindow& ioWindow, bool iSwap);

    // A table of a flush that was interrupted is outermost, or seems to stand in a stream
    // that was never completed.
    static bool IsTable(const FF_StreamWalk& iWalk, Cmn_Int32 iNode);

private:
    // What begins somewhere: a stream of the walk, or one that stands in the file once more.
    struct Found
    {
        Cmn_Int64 mPlace;
        Cmn_Int32 mNode;
        bool mIsDouble;
    };
    using Iterator = std::vector<Found>::const_iterator;

    void ReportStretch(Cmn_Int64 iFrom, Cmn_Int64 iTo);
    std::string NameOfTheRest(Cmn_Int64 iPlace, Iterator iBehind) const;
    std::string NameOf(Cmn_Int32 iNode) const;
    std::string NameOf(const Found& iFound) const;

    const FF_StreamWalk& mWalk;
    const FF_LentTable& mLent;
    const FF_TakenStretches& mTaken;
    Cmn_Int64 mHeaderStream;
    FF_DocumentRepair::Report& mReport;
    std::vector<Found> mFound; // in the order of their places
};
