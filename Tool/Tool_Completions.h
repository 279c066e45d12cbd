// Tool_Completions: scripts for bash, zsh and fish that complete kora's commands, options and values.
//
// All they offer comes from the rows of the commands' help.
#pragma once

#include <string>
#include <string_view>

// Empty for a shell that is none of the three.
std::string Tool_Completions(std::string_view iShell);
