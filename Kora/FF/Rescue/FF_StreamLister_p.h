// FF_StreamLister: the streams of a sound document one after the other, in memory that
// does not grow with them.
//
// What FF_StreamWalk finds in a damaged file takes all frames at a time; where every outermost frame is
// whole, a frame is known for what it is when it is met.
// Ownership: the stream stays the caller's; its position ends anywhere. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_TypedStream.h"
#include "Kora/FF/Format/FF_StreamWindow_p.h"
#include "Kora/FF/Rescue/FF_StreamInfo.h"

class FF_StreamLister
{
public:
    using Visit = std::function<void(const FF_StreamInfo&)>;

    // Outermost frames stand in [iFrom, iTo), one behind the other.
    FF_StreamLister(Sys_TypedInStream& ioStream, Cmn_Int64 iFrom, Cmn_Int64 iTo);

    // Throws Sys_StreamReadException with the place of the first that is not whole,
    // before anything is visited.
    void Run(const Visit& iVisit);

private:
    struct Open
    {
        Cmn_Int64 mBody;
        Cmn_Int64 mEnd;
    };

    void CheckRow();
    void Look(std::span<const Cmn_UInt8> iBytes, const Visit& iVisit);

    Sys_TypedInStream& mTyped;
    Cmn_Int64 mFrom;
    Cmn_Int64 mTo;
    Cmn_Int64 mAt;
    FF_StreamWindow mWindow;
    std::vector<Open> mOpen; // each within the one before
};
