// FF_LentTable: an old table of contents, held against what a damaged file still has.
//
// What it tells of a place counts only where a whole stream that fits the key begins. Bytes that were put in or taken out
// move everything behind them by the same distance, the table included: so each place is looked for where the table says,
// and that far from there. Of the two, what lies before the likeliest point of the change is where it was, what lies
// behind it has moved.
//
// Threads: one at a time. Ownership: the walk stays the caller's and outlives it.
#pragma once

#include "Kora/FF/FF_DocumentFile_p.h"
#include "Kora/FF/FF_Document_TOC.h"

#include <unordered_set>

class FF_LentTable
{
public:
    static constexpr Cmn_Int64 cNoPlace = -1;
    static constexpr Cmn_Int32 cNotAnItem = -1;

    // Reads the table at a place of the file: false, and nothing is lent, where no sound one stands there.
    bool Read(FF_DocumentFile& ioFile, Cmn_Int64 iPosition);
    bool IsLent() const { return mPosition != cNoPlace; }
    Cmn_Int64 GetPosition() const { return mPosition; }
    const FF_Document::TOC& Get() const { return mTable; }

    // Finds everything in the file. iShift: how far the table stands behind where its document says.
    void Match(const FF_StreamWalk& iWalk, Cmn_Int64 iShift);
    // After Match: where what the table says of iOffset is in the file; cNoPlace where nothing whole that fits is.
    Cmn_Int64 Find(Cmn_UInt32 iOffset, const FF_Document::TOCKey& iKey, Cmn_Int32 iItem) const;
    // Whether the table tells of what stands at a place of the file.
    bool Knows(Cmn_Int64 iPlace) const { return mPlaces.contains(iPlace); }
    // Whether some of what it tells was not found where it says.
    bool HasMissed() const { return mHasMissed; }

    static std::vector<Cmn_UInt32> OffsetsOf(const FF_Document::TOCValue& iValue);

private:
    struct Told
    {
        Cmn_UInt32 offset;
        bool isHere;
        bool isMoved;
    };

    bool Fits(Cmn_Int64 iPlace, Cmn_Int64 iShift, const FF_Document::TOCKey& iKey, Cmn_Int32 iItem) const;
    bool FitsItem(Cmn_Int64 iPlace, Cmn_Int64 iShift, const FF_Document::TOCKey& iKey, Cmn_Int32 iItem) const;
    static Cmn_Int64 PointOfChange(std::vector<Told>& ioTold);

    FF_Document::TOC mTable;
    Cmn_Int64 mPosition = cNoPlace;
    const FF_StreamWalk* mWalk = nullptr;
    Cmn_Int64 mShift = 0;
    Cmn_Int64 mChangeAt = 0; // what the table says to lie before it is there; what lies behind has moved
    bool mHasMissed = false;
    std::unordered_set<Cmn_Int64> mPlaces;
};
