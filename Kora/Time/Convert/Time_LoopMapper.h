// Time_LoopMapper: where the playback of a loop stands in the loop, and how much time has passed meanwhile.
//
//   loop 100–200    elapsed  0 … 199   200 … 299   300 … 399
//                   local    0 … 199   100 … 199   100 … 199
//                   passes      0          1           2
//
// Units:  any one unit; start, end and arguments of different units are reported as "time_type_mismatch".
//         Results have the argument's unit.
#pragma once

#include "Kora/Time/Values/Time_Typed.h"

class Time_LoopMapper
{
public:
    // An empty loop at 0 samples.
    constexpr Time_LoopMapper() = default;
    constexpr Time_LoopMapper(const Time_Typed& iStart, const Time_Typed& iEnd)
        : mStart(iStart)
        , mEnd(iEnd)
    {
    }

    constexpr const Time_Typed& GetStart() const { return mStart; }
    constexpr const Time_Typed& GetEnd() const { return mEnd; }

    // The length of iPasses passes.
    constexpr Time_TypedLength GetLoopOffset(Cmn_Int64 iPasses) const { return (mEnd - mStart) * iPasses; }

    // iLocal after iPasses passes: (150, 2) is 350. Before the loop's start time passes
    // but once: (50, 2) is 50.
    // Deliberate: times at or after the loop's end are moved too, ElapsedToLocalTime folds only those.
    // Test: LocalTimesPastTheEndMoveToo
    constexpr Time_Typed LocalToElapsedTime(const Time_Typed& iLocal, Cmn_Int64 iPasses) const
    {
        return iLocal >= mStart ? iLocal + GetLoopOffset(iPasses) : iLocal;
    }

    // iElapsed folded into the loop, with the passes made: 350 is 150 after 2, the end itself the start
    // after 1. Times before the end, and all times of a loop of no or negative length, stay, with 0
    // passes. oPasses may be null.
    constexpr Time_Typed ElapsedToLocalTime(Cmn_Int64* oPasses, const Time_Typed& iElapsed) const
    {
        Cmn_Int64 passes = 0;
        if (iElapsed >= mEnd && mEnd > mStart)
            passes = Cmn_Float64ToInt64((iElapsed - mStart) / (mEnd - mStart));
        if (oPasses != nullptr) *oPasses = passes;
        return passes != 0 ? iElapsed - GetLoopOffset(passes) : iElapsed;
    }

private:
    Time_Typed mStart;
    Time_Typed mEnd;
};
