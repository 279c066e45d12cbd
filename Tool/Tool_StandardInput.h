// Tool_StandardInput: whether a name leads to where the process's standard input comes from.
#pragma once

#include <string>

// A file, a pipe or a device that it was redirected from; false where the system cannot tell.
bool Tool_IsStandardInput(const std::string& iName);
