#include "OstrelPlatformSupport/PSDynamicLibrary.h"

#include <dlfcn.h>

bool PSDynamicLibrary::Load(const std::string& iFile)
{
    // dlopen takes an empty name for the program itself.
    if (mHandle == nullptr && !iFile.empty()) mHandle = dlopen(iFile.c_str(), RTLD_NOW | RTLD_LOCAL);
    return IsLoaded();
}

void* PSDynamicLibrary::Find(const char* iEntry) const
{
    return IsLoaded() ? dlsym(mHandle, iEntry) : nullptr;
}

std::string PSGetSystemDriveRoot() { return {}; }

std::string PSGetDynamicLibraryFileName(const std::string& iName) { return "lib" + iName + ".so"; }
