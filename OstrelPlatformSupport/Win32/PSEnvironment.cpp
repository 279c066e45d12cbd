#include "OstrelPlatformSupport/PSEnvironment_p.h"

#include "OstrelPlatformSupport/Win32/PSWide_p.h"

#include <windows.h>

// The system's own environment: the C runtime's copy misses what a host with another runtime has set.
std::string PSGetEnvironment(const std::string& iName)
{
    const std::wstring name = PSWideFromUtf8(iName);
    std::wstring value;
    for (DWORD size = GetEnvironmentVariableW(name.c_str(), nullptr, 0); size > value.size();) {
        value.resize(size);
        size = GetEnvironmentVariableW(name.c_str(), value.data(), size);
        // A size that fits is the length without the closing zero.
        if (size < value.size()) {
            value.resize(size);
            break;
        }
    }
    return PSUtf8FromWide(value);
}
