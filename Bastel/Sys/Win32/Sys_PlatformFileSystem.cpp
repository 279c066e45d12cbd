#include "Bastel/Cmn/Cmn_Utf8.h"
#include "Bastel/Sys/Sys_FileSystem.h"
#include "Bastel/Sys/Win32/Sys_Replacement_p.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <windows.h>

namespace {

HANDLE SystemHandle(Sys_FileSystem::Handle iHandle) { return reinterpret_cast<HANDLE>(iHandle); }

std::string WithoutUnlimited(std::wstring iPath)
{
    if (iPath.starts_with(Sys_cUnlimitedShare))
        iPath.replace(0, Sys_cUnlimitedShare.size(), Sys_cShare);
    else if (iPath.starts_with(Sys_cUnlimited))
        iPath.erase(0, Sys_cUnlimited.size());
    return Cmn_Utf8FromUtf16(std::u16string(iPath.begin(), iPath.end()));
}

struct HowToOpen
{
    DWORD mAccess;
    DWORD mShare;
    DWORD mDisposition;
};

// A handle is refused that does what an older one does not share, and one that does not share what an older
// one does. So an exclusive writer shares reading alone: with its own document's reading handle, which shares
// everything, and with no other writer, shared ones included.
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
    case Sys_FileSystem::eAccess_Move:
        return {cBoth | DELETE, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING};
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

// 0 where there is nothing, not even a link that leads nowhere; the error otherwise.
Cmn_Int32 IsFree(const std::wstring& iPath, Cmn_Int32 iError)
{
    return Sys_IsNotThere(iError) && GetFileAttributesW(iPath.c_str()) == INVALID_FILE_ATTRIBUTES ? 0
                                                                                                  : iError;
}

class WindowsFileSystem final : public Sys_FileSystem
{
public:
    Cmn_Int32 Open(const std::string& iPath, EAccess iAccess, Handle& oHandle) override
    {
        std::wstring path;
        const Cmn_Int32 named = Sys_ToWide(iPath, path);
        if (named != 0) return named;
        const HowToOpen how = WaysOf(iAccess);
        HANDLE handle = INVALID_HANDLE_VALUE;
        const Cmn_Int32 opened = Sys_CreateFile(path, how.mAccess, how.mShare, how.mDisposition, handle);
        if (opened != 0) return opened;
        // A name like "COM1" opens a device, a folder does not open at all.
        Cmn_Int32 error = GetFileType(handle) == FILE_TYPE_DISK ? 0 : ERROR_NOT_SUPPORTED;
        if (error == 0 && iAccess == eAccess_New) error = SetLength(reinterpret_cast<Handle>(handle), 0);
        if (error == 0)
            oHandle = reinterpret_cast<Handle>(handle);
        else
            CloseHandle(handle);
        return error;
    }

    Cmn_Int32 Close(Handle iHandle) override { return Sys_ErrorOf(CloseHandle(SystemHandle(iHandle))); }

    Cmn_Int32 ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                     std::size_t& oCount) override
    {
        oCount = 0;
        while (oCount < iCount) {
            OVERLAPPED at = At(iPosition + static_cast<Cmn_Int64>(oCount));
            DWORD count = 0;
            if (!ReadFile(SystemHandle(iHandle), static_cast<char*>(oBytes) + oCount, PartOf(iCount - oCount),
                          &count, &at))
                return GetLastError() == ERROR_HANDLE_EOF ? 0 : Sys_LastError();
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
                return Sys_LastError();
            if (count == 0) return ERROR_WRITE_FAULT;
            oCount += count;
        }
        return 0;
    }

    Cmn_Int32 GetLength(Handle iHandle, Cmn_Int64& oLength) override
    {
        LARGE_INTEGER length = {};
        const Cmn_Int32 error = Sys_ErrorOf(GetFileSizeEx(SystemHandle(iHandle), &length));
        oLength = length.QuadPart;
        return error;
    }

    Cmn_Int32 SetLength(Handle iHandle, Cmn_Int64 iLength) override
    {
        LARGE_INTEGER length = {};
        length.QuadPart = iLength;
        const HANDLE handle = SystemHandle(iHandle);
        return Sys_ErrorOf(SetFilePointerEx(handle, length, nullptr, FILE_BEGIN) && SetEndOfFile(handle));
    }

    Cmn_Int32 Sync(Handle iHandle) override { return Sys_ErrorOf(FlushFileBuffers(SystemHandle(iHandle))); }

    Cmn_Int32 OpenBeside(const std::string& iTarget, std::string& oPath, Handle& oHandle) override
    {
        HANDLE handle = INVALID_HANDLE_VALUE;
        const Cmn_Int32 error = Sys_OpenBeside(iTarget, oPath, handle);
        oHandle = error == 0 ? reinterpret_cast<Handle>(handle) : cNoHandle;
        return error;
    }

    Cmn_Int32 TakePlace(Handle iHandle, const std::string& iFrom, const std::string& iTo,
                        Cmn_UInt32& oNotKept) override
    {
        return Sys_TakePlace(SystemHandle(iHandle), iFrom, iTo, oNotKept);
    }

    // A replacement is written through, and there is nothing to ask for beyond that.
    Cmn_Int32 SyncFolder(const std::string&) override { return 0; }

    Cmn_Int32 Remove(const std::string& iPath) override
    {
        std::wstring path;
        const Cmn_Int32 error = Sys_ToWide(iPath, path);
        return error != 0 ? error : Sys_ErrorOf(DeleteFileW(path.c_str()));
    }

    Cmn_Int32 Resolve(const std::string& iPath, std::string& oPath) override
    {
        std::wstring path;
        const Cmn_Int32 error = Sys_ToWide(iPath, path);
        if (error != 0) return error;
        oPath = iPath;
        constexpr DWORD cShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        const HANDLE handle = CreateFileW(path.c_str(), 0, cShareAll, nullptr, OPEN_EXISTING,
                                          FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        if (handle == INVALID_HANDLE_VALUE) return IsFree(path, Sys_LastError());
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
