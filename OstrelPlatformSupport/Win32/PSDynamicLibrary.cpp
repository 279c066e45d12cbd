#include "OstrelPlatformSupport/PSDynamicLibrary.h"

#include "OstrelPlatformSupport/Win32/PSWide_p.h"

#include <array>
#include <windows.h>

bool PSDynamicLibrary::Load(const std::string& iFile)
{
    if (IsLoaded() || iFile.empty()) return IsLoaded();
    // Without this the system may ask the user about a file that is missing or broken.
    DWORD before = 0;
    const BOOL quiet = SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before);
    mHandle = LoadLibraryW(PSWideFromUtf8(iFile).c_str());
    if (quiet) SetThreadErrorMode(before, nullptr);
    return IsLoaded();
}

void* PSDynamicLibrary::Find(const char* iEntry) const
{
    return IsLoaded() ? reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(mHandle), iEntry))
                      : nullptr;
}

std::string PSGetSystemDriveRoot()
{
    std::array<wchar_t, MAX_PATH> folder;
    const UINT size = GetSystemDirectoryW(folder.data(), MAX_PATH);
    return size >= 3 && size < MAX_PATH ? PSUtf8FromWide({folder.data(), 3}) : std::string();
}

std::string PSGetDynamicLibraryFileName(const std::string& iName) { return iName + ".dll"; }
