#include "OstrelTracePlatform.h"

#include <cstdlib>
#include <execinfo.h>

std::string OstrelTraceEnvironment(const char* iName)
{
    const char* const value = std::getenv(iName);
    return value != nullptr ? value : "";
}

std::FILE* OstrelTraceOpen(const std::string& iPath) { return std::fopen(iPath.c_str(), "ab"); }

std::string OstrelTraceStackText()
{
    void* frames[64];
    const int count = backtrace(frames, 64);
    char** const names = backtrace_symbols(frames, count);
    std::string text;
    for (int frame = 0; names != nullptr && frame < count; ++frame)
        text += "    " + std::string(names[frame]) + "\n";
    std::free(names);
    return text;
}
