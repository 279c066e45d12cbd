#include "Bastel/Sys/Sys_PlatformErrorText_p.h"

#include <system_error>

std::string Sys_PlatformErrorText(Cmn_Int32 iError) { return std::generic_category().message(iError); }
