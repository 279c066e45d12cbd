#include "Support/ProcessHandles.h"

#include <cstdint>
#include <windows.h>

int CountProcessHandles()
{
    DWORD count = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &count) && count > 0) return static_cast<int>(count);
    // Wine does not count. There as elsewhere handles are multiples of 4, the lowest that is free.
    constexpr std::intptr_t most = 0x400;
    int open = 0;
    for (std::intptr_t handle = 4; handle < most; handle += 4) {
        DWORD flags = 0;
        open += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) ? 1 : 0;
    }
    return open;
}
