// RefreshCommand: the program refresh-service: serves requests, asks them, and tries every fault.
#pragma once

#include <string>
#include <vector>

// Arguments in UTF-8, without the program's name. Returns the exit code: 0, 1 for no
// answer, 2 for wrong usage.
int RefreshCommand(const std::vector<std::string>& iArguments);
