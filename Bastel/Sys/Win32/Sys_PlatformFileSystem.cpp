#include "Bastel/Cmn/Cmn_Utf8.h"
#include "Bastel/Sys/Sys_FileSystem.h"

#include <aclapi.h>
#include <algorithm>
#include <string_view>
#include <utility>
#include <windows.h>

namespace {

// A failed request must never look like success, whatever the last error says.
Cmn_Int32 LastError()
{
    const DWORD error = GetLastError();
    return static_cast<Cmn_Int32>(error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE);
}

Cmn_Int32 ErrorOf(BOOL iIsDone) { return iIsDone ? 0 : LastError(); }

bool IsNotThere(Cmn_Int32 iError) { return iError == ERROR_FILE_NOT_FOUND || iError == ERROR_PATH_NOT_FOUND; }

HANDLE SystemHandle(Sys_FileSystem::Handle iHandle) { return reinterpret_cast<HANDLE>(iHandle); }

// Folders are limited to a name of 8.3 less than files; the whole path is handed over with its limit lifted from there.
constexpr std::size_t cLongPath = MAX_PATH - 12;
constexpr std::wstring_view cUnlimited = L"\\\\?\\";
constexpr std::wstring_view cUnlimitedShare = L"\\\\?\\UNC\\";
constexpr std::wstring_view cShare = L"\\\\";

std::wstring FullPath(const std::wstring& iPath)
{
    std::wstring full(GetFullPathNameW(iPath.c_str(), 0, nullptr, nullptr), L'\0');
    const DWORD length =
        GetFullPathNameW(iPath.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    full.resize(std::min<std::size_t>(length, full.size()));
    return full;
}

// The path as the system takes it. Bytes that are no UTF-8 are refused: they would name another file.
Cmn_Int32 ToWide(const std::string& iPath, std::wstring& oWide)
{
    const int size = static_cast<int>(iPath.size());
    const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, iPath.data(), size, nullptr, 0);
    if (length == 0) return size == 0 ? ERROR_PATH_NOT_FOUND : LastError();
    oWide.resize(static_cast<std::size_t>(length));
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, iPath.data(), size, oWide.data(), length);
    if (oWide.starts_with(cUnlimited)) return 0;
    // What cannot be made whole is left for the request itself to refuse.
    std::wstring full = FullPath(oWide);
    if (full.empty()) return 0;
    if (full.size() < cLongPath)
        oWide = std::move(full);
    else if (full.starts_with(cShare))
        oWide = std::wstring(cUnlimitedShare) + full.substr(cShare.size());
    else
        oWide = std::wstring(cUnlimited) + full;
    return 0;
}

std::string WithoutUnlimited(std::wstring iPath)
{
    if (iPath.starts_with(cUnlimitedShare))
        iPath.replace(0, cUnlimitedShare.size(), cShare);
    else if (iPath.starts_with(cUnlimited))
        iPath.erase(0, cUnlimited.size());
    return Cmn_Utf8FromUtf16(std::u16string(iPath.begin(), iPath.end()));
}

struct HowToOpen
{
    DWORD access;
    DWORD share;
    DWORD disposition;
};

// A handle is refused that does what an older one does not share, and one that does not share what an older one does.
// So an exclusive writer shares reading alone: with its own document's reading handle, which shares everything, and
// with no other writer, shared ones included.
HowToOpen WaysOf(Sys_FileSystem::EAccess iAccess)
{
    constexpr DWORD cBoth = GENERIC_READ | GENERIC_WRITE;
    constexpr DWORD cShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    switch (iAccess) {
    case Sys_FileSystem::eAccess_Read:
        return {GENERIC_READ, cShareAll, OPEN_EXISTING};
    case Sys_FileSystem::eAccess_WriteShared:
        return {cBoth, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING};
    case Sys_FileSystem::eAccess_New:
        return {cBoth, FILE_SHARE_READ, OPEN_ALWAYS};
    default:
        return {cBoth, FILE_SHARE_READ, OPEN_EXISTING};
    }
}

OVERLAPPED At(Cmn_Int64 iPosition)
{
    OVERLAPPED at = {};
    at.Offset = static_cast<DWORD>(iPosition & 0xFFFFFFFF);
    at.OffsetHigh = static_cast<DWORD>(iPosition >> 32);
    return at;
}

// Of one request; the system counts in 32 bits.
DWORD PartOf(std::size_t iLeft)
{
    return static_cast<DWORD>(std::min<std::size_t>(iLeft, std::size_t{1} << 30));
}

Cmn_Int32 TakeOverAccessList(std::wstring& iFrom, std::wstring& iTo)
{
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    DWORD error = GetNamedSecurityInfoW(iTo.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                        nullptr, &list, nullptr, &descriptor);
    // Without a list, as on memory sticks, there is nothing to take over.
    if (error == ERROR_SUCCESS && list != nullptr) {
        SECURITY_DESCRIPTOR_CONTROL control = 0;
        DWORD revision = 0;
        GetSecurityDescriptorControl(descriptor, &control, &revision);
        const DWORD inheritance = (control & SE_DACL_PROTECTED) != 0 ? PROTECTED_DACL_SECURITY_INFORMATION
                                                                     : UNPROTECTED_DACL_SECURITY_INFORMATION;
        error = SetNamedSecurityInfoW(iFrom.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | inheritance,
                                      nullptr, nullptr, list, nullptr);
    }
    LocalFree(descriptor);
    const bool hasNoLists = error == ERROR_NOT_SUPPORTED || error == ERROR_INVALID_FUNCTION ||
                            error == ERROR_CALL_NOT_IMPLEMENTED;
    return hasNoLists ? 0 : static_cast<Cmn_Int32>(error);
}

Cmn_Int32 TakeOverPermissions(std::wstring& iFrom, std::wstring& iTo)
{
    const DWORD attributes = GetFileAttributesW(iTo.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return IsNotThere(LastError()) ? 0 : LastError();
    const DWORD kept = attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    if (kept != 0 && !SetFileAttributesW(iFrom.c_str(), kept | FILE_ATTRIBUTE_ARCHIVE)) return LastError();
    return TakeOverAccessList(iFrom, iTo);
}

class WindowsFileSystem final : public Sys_FileSystem
{
public:
    Cmn_Int32 Open(const std::string& iPath, EAccess iAccess, Handle& oHandle) override
    {
        std::wstring path;
        const Cmn_Int32 named = ToWide(iPath, path);
        if (named != 0) return named;
        const HowToOpen how = WaysOf(iAccess);
        const HANDLE handle = CreateFileW(path.c_str(), how.access, how.share, nullptr, how.disposition,
                                          FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle == INVALID_HANDLE_VALUE) return LastError();
        // A name like "COM1" opens a device, a folder does not open at all.
        Cmn_Int32 error = GetFileType(handle) == FILE_TYPE_DISK ? 0 : ERROR_NOT_SUPPORTED;
        if (error == 0 && iAccess == eAccess_New) error = SetLength(reinterpret_cast<Handle>(handle), 0);
        if (error == 0)
            oHandle = reinterpret_cast<Handle>(handle);
        else
            CloseHandle(handle);
        return error;
    }

    Cmn_Int32 Close(Handle iHandle) override { return ErrorOf(CloseHandle(SystemHandle(iHandle))); }

    Cmn_Int32 ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                     std::size_t& oCount) override
    {
        oCount = 0;
        while (oCount < iCount) {
            OVERLAPPED at = At(iPosition + static_cast<Cmn_Int64>(oCount));
            DWORD count = 0;
            if (!ReadFile(SystemHandle(iHandle), static_cast<char*>(oBytes) + oCount, PartOf(iCount - oCount),
                          &count, &at))
                return GetLastError() == ERROR_HANDLE_EOF ? 0 : LastError();
            if (count == 0) return 0;
            oCount += count;
        }
        return 0;
    }

    Cmn_Int32 WriteAt(Handle iHandle, Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount,
                      std::size_t& oCount) override
    {
        oCount = 0;
        while (oCount < iCount) {
            OVERLAPPED at = At(iPosition + static_cast<Cmn_Int64>(oCount));
            DWORD count = 0;
            if (!WriteFile(SystemHandle(iHandle), static_cast<const char*>(iBytes) + oCount,
                           PartOf(iCount - oCount), &count, &at))
                return LastError();
            if (count == 0) return ERROR_WRITE_FAULT;
            oCount += count;
        }
        return 0;
    }

    Cmn_Int32 GetLength(Handle iHandle, Cmn_Int64& oLength) override
    {
        LARGE_INTEGER length = {};
        const Cmn_Int32 error = ErrorOf(GetFileSizeEx(SystemHandle(iHandle), &length));
        oLength = length.QuadPart;
        return error;
    }

    Cmn_Int32 SetLength(Handle iHandle, Cmn_Int64 iLength) override
    {
        LARGE_INTEGER length = {};
        length.QuadPart = iLength;
        const HANDLE handle = SystemHandle(iHandle);
        return ErrorOf(SetFilePointerEx(handle, length, nullptr, FILE_BEGIN) && SetEndOfFile(handle));
    }

    Cmn_Int32 Sync(Handle iHandle) override { return ErrorOf(FlushFileBuffers(SystemHandle(iHandle))); }

    Cmn_Int32 Replace(const std::string& iFrom, const std::string& iTo) override
    {
        std::wstring from;
        std::wstring to;
        Cmn_Int32 error = ToWide(iFrom, from);
        if (error == 0) error = ToWide(iTo, to);
        if (error == 0) error = TakeOverPermissions(from, to);
        if (error != 0) return error;
        return ErrorOf(
            MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
    }

    // A replacement is written through, and there is nothing to ask for beyond that.
    Cmn_Int32 SyncFolder(const std::string&) override { return 0; }

    Cmn_Int32 Remove(const std::string& iPath) override
    {
        std::wstring path;
        const Cmn_Int32 error = ToWide(iPath, path);
        return error != 0 ? error : ErrorOf(DeleteFileW(path.c_str()));
    }

    Cmn_Int32 Resolve(const std::string& iPath, std::string& oPath) override
    {
        std::wstring path;
        const Cmn_Int32 error = ToWide(iPath, path);
        if (error != 0) return error;
        oPath = iPath;
        constexpr DWORD cShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        const HANDLE handle = CreateFileW(path.c_str(), 0, cShareAll, nullptr, OPEN_EXISTING,
                                          FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        if (handle == INVALID_HANDLE_VALUE) return IsNotThere(LastError()) ? 0 : LastError();
        // Drives that tell no final path, which some in memory do not, have no links either.
        std::wstring found(GetFinalPathNameByHandleW(handle, nullptr, 0, 0), L'\0');
        const DWORD length =
            GetFinalPathNameByHandleW(handle, found.data(), static_cast<DWORD>(found.size()), 0);
        CloseHandle(handle);
        if (length != 0 && length < found.size()) oPath = WithoutUnlimited(found.substr(0, length));
        return 0;
    }
};

} // namespace

Sys_FileSystem& Sys_FileSystem::GetPlatform()
{
    // Never destroyed: statics of a host may close their files after this library's statics are gone.
    static WindowsFileSystem* const sSystem = new WindowsFileSystem;
    return *sSystem;
}
