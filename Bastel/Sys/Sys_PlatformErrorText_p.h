// Sys_PlatformErrorText: the system's words for one of its codes; what else
// Sys_OSErrorText promises holds for it.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>

std::string Sys_PlatformErrorText(Cmn_Int32 iError);
