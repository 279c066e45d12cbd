// Tool_EUnit: the units in which a user writes positions.
#pragma once

#include "Kora/Time/Values/Time_EType.h"

#include <string>
#include <string_view>
#include <vector>

enum Tool_EUnit {
    Tool_eUnit_Ticks,     // internal ticks, 960000 to a quarter note
    Tool_eUnit_Samples,   //
    Tool_eUnit_Frames,    // of the timecode format, from sample 0
    Tool_eUnit_Bars,      // bar|beat|tick with internal ticks
    Tool_eUnit_Timecode,  // the label of a frame
    Tool_eUnit_Seconds,   // from sample 0
    Tool_eUnit_Subframes, // the label with hundredths of a frame
    Tool_eUnit_MinSec,    // minutes:seconds.milliseconds from sample 0
    Tool_eUnit_Feet,      // feet+frames of film
};

// "ticks", "samples", …
std::string_view Tool_UnitName(Tool_EUnit iUnit);
// All of them, "ticks, samples, …", for messages and help.
std::string Tool_UnitNames();
// False, with the out untouched, for anything but a name.
bool Tool_ParseUnit(std::string_view iName, Tool_EUnit& oUnit);
// A list "samples,bars"; false when it is empty or one of its names is none.
bool Tool_ParseUnits(std::string_view iNames, std::vector<Tool_EUnit>& oUnits);

// The library's unit in which a position of this unit is counted.
Time_EType Tool_CountedIn(Tool_EUnit iUnit);
// Whether the unit has positions before sample 0.
bool Tool_HasPositionsBefore0(Tool_EUnit iUnit);
