// Time_TickPieces: where each tick of a song went in an edit of its time.
//
//     Move(b, c, d)    old  | A |  B  | C | D →        new  | A | C |  B  | D →
//                               b     c   d                 b         d
//
// The new time line is a list of stretches of the old one. Old ticks that no piece holds are deleted; new
// ticks that no piece covers are inserted, and empty or filled by what is pasted there.
//
// A host moves what it keeps on the time line piece by piece: what begins in [mOldStart, mOldEnd) goes to
// mNewStart plus its distance from mOldStart. Of a copy the original stays where another piece puts it,
// and one more comes here.
//
// Units:      internal ticks; ranges are [start, end).
// Invariants: (1) new ranges ascend and do not overlap  (2) at most one piece that is not a copy holds an old
//             tick  (3) the first piece begins at cLowest, the last one ends at cHighest.
#pragma once

#include "Kora/Time/Values/Time_Tick.h"

#include <optional>
#include <string>
#include <vector>

// Not in the exported class, so that every module has them as constants of its own.
struct Time_TickEnds
{
    // The least and the greatest tick that 64 bits hold.
    static constexpr Time_Tick cLowest{-0x7fffffffffffffff - 1};
    // As cLowest, at the other end.
    static constexpr Time_Tick cHighest{0x7fffffffffffffff};
};

class KORA_API Time_TickPieces : public Time_TickEnds
{
public:
    struct Piece
    {
        Time_Tick mOldStart;
        Time_Tick mOldEnd;
        Time_Tick mNewStart;
        bool mIsCopy = false;
    };

    // Nothing moved.
    Time_TickPieces();
    // What deletes nothing, inserts nothing, repeats 0 times or moves into its own range moves nothing.
    [[nodiscard]] static Time_TickPieces Delete(Time_Tick iFrom, Time_Tick iTo);
    // What is at iAt or later moves by the length.
    [[nodiscard]] static Time_TickPieces Insert(Time_Tick iAt, const Time_TickLength& iLength);
    // iCount copies behind the range.
    [[nodiscard]] static Time_TickPieces Repeat(Time_Tick iFrom, Time_Tick iTo, std::size_t iCount);
    // iPosition is an old tick.
    [[nodiscard]] static Time_TickPieces Move(Time_Tick iFrom, Time_Tick iTo, Time_Tick iPosition);

    // The pieces by where they are now.
    const std::vector<Piece>& Get() const { return mPieces; }
    bool IsNothing() const { return mPieces.size() == 1; }

    // Where what begins at an old tick begins now, copies apart; nothing where it is deleted.
    [[nodiscard]] std::optional<Time_Tick> OldToNew(Time_Tick iOld) const;
    // Where what ends at an old tick ends now: behind the last tick that it fills, or where that is
    // deleted, at the deletion. Delete(b, c): what ends at b, inside, or at c ends at b. Insert(b, …):
    // what ends at b still does.
    [[nodiscard]] Time_Tick OldEndToNew(Time_Tick iOldEnd) const;

    // A line a piece: "960000 … 1920000 → 2880000, copy"
    [[nodiscard]] std::string Dump() const;

private:
    void Add(Time_Tick iOldStart, Time_Tick iOldEnd, Time_Tick iNewStart, bool iIsCopy = false);

    std::vector<Piece> mPieces;
};
