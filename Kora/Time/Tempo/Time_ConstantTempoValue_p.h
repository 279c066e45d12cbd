// Time_ConstantTempoValue: a constant tempo segment as plain bits, all that its stream form has; what undo
// keeps of a map.
#pragma once

#include "Kora/Time/Tempo/Time_ConstantTempoSeg.h"

#include <bit>

struct Time_ConstantTempoValue
{
    // A segment of another class becomes what is read of the stream that it writes, which throws if that
    // cannot be read.
    static Time_ConstantTempoValue Of(const Time_TempoMapSegment& iSegment);
    std::unique_ptr<Time_TempoMapSegment> MakeSegment() const;

    friend bool operator==(const Time_ConstantTempoValue& iA, const Time_ConstantTempoValue& iB)
    {
        return iA.mStart == iB.mStart && iA.mLock == iB.mLock &&
               std::bit_cast<Cmn_UInt64>(iA.mBeatsPerMinute) ==
                   std::bit_cast<Cmn_UInt64>(iB.mBeatsPerMinute) &&
               iA.mTicksPerBeat == iB.mTicksPerBeat && iA.mFlags == iB.mFlags;
    }

    enum EFlag : Cmn_UInt8 { eLocked = 1, eComputed = 2, eSongStart = 4, eCopyAnchor = 8, eUnspecified = 16 };

    Time_Tick mStart;
    Time_Sample mLock;
    double mBeatsPerMinute;
    Cmn_Int64 mTicksPerBeat;
    Cmn_UInt8 mFlags;
};
