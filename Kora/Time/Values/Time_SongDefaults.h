// Time_DefaultSongStart, Time_DefaultTempo: where a song starts and how fast it goes as long
// as nothing says otherwise.
//
// Units: internal ticks; beats per minute. The start is far from zero so that bars before the
//        song stay at positive ticks.
#pragma once

#include "Kora/Time/Values/Time_Tick.h"

// Bases of the classes that show these as theirs. They are not exported: every module then has constants of
// its own, and the Windows library need not hold those that only hosts refer to.
struct Time_DefaultSongStart
{
    static constexpr Time_Tick cDefaultSongStartTick{1000000000000}; // of bar 1
    static constexpr Cmn_Int32 cDefaultSongStartBar = 1;             // the number of the bar there
};

struct Time_DefaultTempo
{
    static constexpr double cDefaultBeatsPerMinute = 120.0; // of the beat below
    // A quarter note.
    static constexpr Time_TickLength cDefaultTicksPerBeat{Time_TickLength::cInternalPerQuarter};
};
