#include "Support/ProcessHandles.h"

#include <filesystem>

int CountProcessHandles()
{
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return static_cast<int>(std::distance(begin(open), end(open)));
}
