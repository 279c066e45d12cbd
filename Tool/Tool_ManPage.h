// Tool_ManPage: the manual pages, section 1: what the help says, in the man macros that groff and mandoc both read.
#pragma once

#include "Tool/Tool_Commands.h"

#include <string>

// "kora-song.1"; "kora.1" for null.
std::string Tool_ManPageName(const Tool_CommandEntry* iCommand);
// The page of a command; of kora itself for null.
std::string Tool_ManPage(const Tool_CommandEntry* iCommand);
