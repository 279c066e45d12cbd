// Splice: the ticks [iFrom, iTo) of a tempo map replaced by [iFrom, iJoin), with tempi of their own or with
// the one in force before; what lies behind moves along, its locks by whole samples.
#pragma once

#include "Kora/Time/Tempo/Time_TempoEdit_p.h"

namespace Time_TempoEditDetail {

class Splice
{
public:
    Splice(const Time_TempoMap& iMap, Time_Tick iFrom, Time_Tick iTo, Time_Tick iJoin,
           const std::vector<Piece>& iPieces);

    // Refuses where a lock would not stay behind the one before, or the tempo between would leave the limits.
    Result Run(Change& oChange);

private:
    void TakeWhatIsBefore();
    void AddPieces();
    void Put(const Piece& iPiece);
    void AddJoin();
    void MoveWhatIsBehind();
    std::size_t NextLock() const;
    void Rearrange(std::size_t iNext);
    Result CheckStretch(std::size_t iNext) const;

    const Time_TempoMap& mMap;
    const Time_Tick mFrom, mTo, mJoin;
    const std::vector<Piece>& mPieces;
    const Piece mTail;
    bool mStays = false; // the song start is at mFrom
    bool mIsRearranged = false;
    Time_Tick mStart; // of what is laid out anew
    std::vector<SegmentPtr> mSegments;
};

} // namespace Time_TempoEditDetail
