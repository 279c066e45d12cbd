// What the trace library needs of the operating system. Texts are UTF-8.
#pragma once

#include <cstdio>
#include <string>

// Empty when there is none.
std::string OstrelTraceEnvironment(const char* iName);
// Opens for appending, without line-end translation; null on failure.
std::FILE* OstrelTraceOpen(const std::string& iPath);
// The calling thread's stack, one frame a line.
std::string OstrelTraceStackText();
