#include "Bastel/Sys/Win32/Sys_WindowsPath_p.h"

#include "Bastel/Sys/Sys_FileSystem.h"

#include <algorithm>
#include <utility>

namespace {

// Folders are limited to a name of 8.3 less than files; the whole path is handed over with its
// limit lifted from there.
constexpr std::size_t cLongPath = MAX_PATH - 12;
std::wstring FullPath(const std::wstring& iPath)
{
    std::wstring full(GetFullPathNameW(iPath.c_str(), 0, nullptr, nullptr), L'\0');
    const DWORD length =
        GetFullPathNameW(iPath.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    full.resize(std::min<std::size_t>(length, full.size()));
    return full;
}

} // namespace

Cmn_Int32 Sys_LastError()
{
    const DWORD error = GetLastError();
    return static_cast<Cmn_Int32>(error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE);
}

Cmn_Int32 Sys_ToWide(const std::string& iPath, std::wstring& oWide)
{
    const int size = static_cast<int>(iPath.size());
    const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, iPath.data(), size, nullptr, 0);
    if (length == 0) return size == 0 ? ERROR_PATH_NOT_FOUND : Sys_LastError();
    oWide.resize(static_cast<std::size_t>(length));
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, iPath.data(), size, oWide.data(), length);
    if (oWide.starts_with(Sys_cUnlimited)) return 0;
    // What cannot be made whole is left for the request itself to refuse.
    std::wstring full = FullPath(oWide);
    if (full.empty()) return 0;
    if (full.size() < cLongPath)
        oWide = std::move(full);
    else if (full.starts_with(Sys_cShare))
        oWide = std::wstring(Sys_cUnlimitedShare) + full.substr(Sys_cShare.size());
    else
        oWide = std::wstring(Sys_cUnlimited) + full;
    return 0;
}

Cmn_Int32 Sys_CreateFile(const std::wstring& iPath, DWORD iAccess, DWORD iShare, DWORD iDisposition,
                         HANDLE& oHandle)
{
    constexpr int cMostPauses = 20;
    constexpr DWORD cPause = 1; // milliseconds
    for (int i = 0;; ++i) {
        oHandle = CreateFileW(iPath.c_str(), iAccess, iShare, nullptr, iDisposition, FILE_ATTRIBUTE_NORMAL,
                              nullptr);
        if (oHandle != INVALID_HANDLE_VALUE) return 0;
        const Cmn_Int32 error = Sys_LastError();
        if (error != ERROR_SHARING_VIOLATION) return error;
        if (i == cMostPauses) return Sys_FileSystem::eError_InUse;
        Sleep(cPause);
    }
}
