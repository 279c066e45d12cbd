#include "Support/ProcessHandles.h"

#include <windows.h>

int CountProcessHandles()
{
    DWORD count = 0;
    return GetProcessHandleCount(GetCurrentProcess(), &count) ? static_cast<int>(count) : -1;
}
