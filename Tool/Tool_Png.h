// Tool_Png: a picture as PNG, by the program rsvg-convert where the machine has it.
#pragma once

#include <string>

// Throws Tool_InputError, in which iName stands for the output, where the program is not there or fails.
std::string Tool_PngOf(const std::string& iSvg, const std::string& iName);
