// Time_EType, Time_EContext: the unit of a typed time, and what a collection of times means.
//
// Both values are saved in documents.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

// What a count counts. Values above 2 are invalid.
enum Time_EType : Cmn_UInt32 {
    Time_eType_Samples = 0, // audio samples at the session's rate
    Time_eType_Ticks = 1,   // internal ticks, 960000 to a quarter note
    Time_eType_Frames = 2,  // video frames at the session's frame rate
};

// What the counts of a vector mean.
enum Time_EContext : Cmn_UInt32 {
    Time_eContext_GlobalPosition = 0, // positions on the session's time line
    Time_eContext_LocalPosition = 1,  // positions from the start of a container
    Time_eContext_RelativeLength = 2, // distances
};

static_assert(sizeof(Time_EType) == 4 && sizeof(Time_EContext) == 4);
