// PSEnvironment: what the process was started with.
#pragma once

#include <string>

// The value of an environment variable in UTF-8; empty when there is none.
std::string PSGetEnvironment(const std::string& iName);
