// Kora_Init: starts the library and counts who uses it.
//
//     Kora_Init::Init();    // before anything else of the library
//     …
//     Kora_Init::Free();    // once for each Init
//
// Kora_InitScope calls both, in every way out of its block.
//
// The first Init binds the trace facility, sets up shared names and tokens, and builds the
// limits and unit names of times. Free releases nothing: limits and names handed out earlier
// stay good until the process ends.
//
// A host that forgot Init meets the assertion "Kora_Init::sInitializedCount > 0" at the first use of
// what it builds: the limits of times, clamped conversions among them, names, listeners and tasks. What
// then happens stands there.
//
// Threads: Init and Free are called by one thread, while no other uses the library: before the
// rest start, after they end.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

class KORA_API Kora_Init
{
public:
    // Starts the library the first time, and counts.
    static void Init();
    // Counts back, and releases nothing.
    static void Free();

    // Calls of Init that Free has not matched yet. More calls of Free than of Init take it below zero without
    // complaint, and only an Init that finds exactly 0 builds.
    static Cmn_Int32 sInitializedCount;
};
