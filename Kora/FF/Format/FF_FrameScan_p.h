// FF_FrameScan: the standard stream headers of a file, found by their bytes in one pass.
//
// The scan searches for the magic and reads what follows it. A header's sum tells where the header was
// written, so that a frame is known for what it is wherever damage took it: a scan that takes moved frames
// believes that of a header whose body has the right sum, and of others that were moved as far as one of
// these. What stands in a whole frame is its owner's: copies of frames there are none.
//
// Whatever a file claims, every byte is read once and summed once. Body sums come from one running sum:
//
//   sum of [a, b)  =  sum of [s, b)  xor  (sum of [s, a) shifted by b − a)
#pragma once

#include "Bastel/Sys/Sys_StdStreamHeader.h"
#include "Kora/FF/Format/FF_StreamWindow_p.h"

// A header, and what it frames.
struct FF_Frame
{
    Sys_StdStreamHeaderInfo mHeader; // places where it was written: the frame stands there, or was moved
    Cmn_Int64 mPlace = 0;            // where the header stands
    Cmn_Int16 mStreamType = 0;       // 0 for what is no document stream
    Cmn_UInt32 mSum = 0;             // of the body as it stands; 0 where it is open-ended
    Cmn_UInt32 mBodySize = 0;        // as the header claims
    bool mIsOpenEnded = false;       // never completed, or its body goes on behind the end of the file
    bool mIsWhole = false;           // complete, with a right body sum

    // How far it was moved.
    Cmn_Int64 GetShift() const { return mPlace - mHeader.mStart; }
    Cmn_Int64 GetPlaceOfEnd() const { return mHeader.mEnd + GetShift(); }
};

enum FF_EMovedFrames { eMovedFrames_Ignore, eMovedFrames_Take };

struct FF_FoundFrames
{
    // In the order in which they were written. Of those from one place one is here: a whole one, one that
    // was not moved, the first.
    std::vector<FF_Frame> mFrames;
    std::vector<FF_Frame> mDoubles; // the others
};
// The frames whose headers begin in [iFrom, iTo). Throws what the window's source throws,
// and nothing for any bytes.
FF_FoundFrames FF_FindFrames(FF_StreamWindow& ioWindow, bool iSwap, Cmn_Int64 iFrom, Cmn_Int64 iTo,
                             FF_EMovedFrames iMoved);
// Where the magic of a header stands in the bytes, or where a part of it may begin at their end.
std::size_t FF_FindMagic(std::span<const Cmn_UInt8> iBytes);
