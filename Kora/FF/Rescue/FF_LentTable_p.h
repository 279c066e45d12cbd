// FF_LentTable: an old table of contents, held against what a damaged file still has.
//
// What it tells of a place counts only where a whole stream that fits the key begins. Streams, and the table
// itself, say where they were written: what the table tells is found wherever damage took it.
//
// Threads: one at a time.
#pragma once

#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Rescue/FF_StreamWalk_p.h"

#include <unordered_set>

class FF_LentTable
{
public:
    static constexpr Cmn_Int64 cNoPlace = -1;

    // Reads the table that a frame holds: false, and nothing is lent, where it is no sound one. Throws what
    // the window's source throws.
    bool Read(FF_StreamWindow& ioWindow, bool iSwap, const FF_Frame& iFrame);
    bool IsLent() const { return mPosition != cNoPlace; }
    // Where it was written.
    Cmn_Int64 GetPosition() const { return mPosition; }
    const FF_Document::TOC& Get() const { return mTable; }

    // Finds what it tells of among the streams of a file, before Knows is asked.
    void Match(const FF_StreamWalk& iWalk);
    // Whether it tells of the whole stream that was written at iOffset.
    bool Knows(Cmn_Int64 iOffset) const { return mKnown.contains(iOffset); }

    static std::vector<Cmn_UInt32> OffsetsOf(const FF_Document::TOCValue& iValue);

private:
    FF_Document::TOC mTable;
    Cmn_Int64 mPosition = cNoPlace;
    std::unordered_set<Cmn_Int64> mKnown;
};
