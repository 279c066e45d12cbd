#include "Bastel/Sys/Sys_OSErrorText.h"

#include <system_error>

std::string Sys_OSErrorText(Cmn_Int32 iError) { return std::generic_category().message(iError); }
