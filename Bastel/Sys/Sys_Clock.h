// Sys_Clock: the time of day and a counter that never goes back, in microseconds.
//
// Threads: any. Real time: one call of the system's clock, which on today's systems
// does not leave the process.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

class KORA_API Sys_Clock
{
public:
    // Where the readings come from.
    struct Source
    {
        Cmn_Int64 (*mTimeOfDay)();
        Cmn_Int64 (*mCounter)();
    };

    // Since 1970-01-01 00:00 UTC; jumps when the system's clock is set.
    static Cmn_Int64 GetMicroseconds();
    // Since some moment before the first call; for durations and deadlines.
    static Cmn_Int64 GetMonotonicMicroseconds();

    // Puts another source in place of the system's, so that what derives from the time can be repeated, and
    // returns the one before. The source must live as long as it is in place; null brings back the system's.
    static const Source* SetSource(const Source* iSource) noexcept;

    class StSource;
};

// Another source for a scope.
class [[nodiscard]] Sys_Clock::StSource
{
public:
    // The source must outlive the scope.
    explicit StSource(const Source& iSource)
        : mBefore(SetSource(&iSource))
    {
    }
    ~StSource() { SetSource(mBefore); }
    StSource(const StSource&) = delete;
    StSource& operator=(const StSource&) = delete;

private:
    const Source* mBefore;
};
