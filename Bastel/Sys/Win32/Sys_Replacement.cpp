#include "Bastel/Sys/Win32/Sys_Replacement_p.h"

#include "Bastel/Sys/Sys_FileLoc.h"
#include "Bastel/Sys/Sys_FileSystem.h"

#include <aclapi.h>
#include <cstddef>
#include <cstring>
#include <vector>

namespace {

constexpr DWORD cPause = 1; // milliseconds
// Other savers have the target for some system calls; where readers keep it from being
// replaced, they have a moment.
constexpr int cMostPauses = 2000;
constexpr int cMostTries = 64;

// Savers of one document take turns by a mutex of the session, whose owner may die; without it, as with one
// on another machine, they meet as they do with anybody who has the document open for a moment.
class StTurn
{
public:
    explicit StTurn(const std::string& iTarget)
        : mMutex(
              CreateMutexA(nullptr, FALSE, ("Local\\Kora" + Sys_FileSystem::PrefixBeside(iTarget)).c_str()))
    {
        const DWORD waited = mMutex != nullptr ? WaitForSingleObject(mMutex, cMostWait) : WAIT_FAILED;
        mIsMine = waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
    }
    ~StTurn()
    {
        if (mIsMine) ReleaseMutex(mMutex);
        if (mMutex != nullptr) CloseHandle(mMutex);
    }
    StTurn(const StTurn&) = delete;
    StTurn& operator=(const StTurn&) = delete;

private:
    static constexpr DWORD cMostWait = 2000; // milliseconds
    HANDLE mMutex;
    bool mIsMine = false;
};

// A descriptor of a file's owner and access list, null where the file system has none, as on memory sticks.
class StSecurity
{
public:
    explicit StSecurity(std::wstring iPath)
    {
        if (GetNamedSecurityInfoW(iPath.data(), SE_FILE_OBJECT,
                                  OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &mOwner, nullptr,
                                  &mList, nullptr, &mDescriptor) != ERROR_SUCCESS)
            mDescriptor = nullptr;
    }
    ~StSecurity() { LocalFree(mDescriptor); }
    StSecurity(const StSecurity&) = delete;
    StSecurity& operator=(const StSecurity&) = delete;

    PSECURITY_DESCRIPTOR Get() const { return mDescriptor; }
    PACL List() const { return mDescriptor != nullptr ? mList : nullptr; }
    bool IsProtected() const
    {
        SECURITY_DESCRIPTOR_CONTROL control = 0;
        DWORD revision = 0;
        GetSecurityDescriptorControl(mDescriptor, &control, &revision);
        return (control & SE_DACL_PROTECTED) != 0;
    }
    bool HasOwnerOf(const StSecurity& iOther) const
    {
        if (mDescriptor == nullptr || iOther.mDescriptor == nullptr) return true; // there are no owners
        return mOwner != nullptr && iOther.mOwner != nullptr && EqualSid(mOwner, iOther.mOwner);
    }

private:
    PSECURITY_DESCRIPTOR mDescriptor = nullptr;
    PSID mOwner = nullptr;
    PACL mList = nullptr;
};

bool HasNoLists(DWORD iError)
{
    return iError == ERROR_NOT_SUPPORTED || iError == ERROR_INVALID_FUNCTION ||
           iError == ERROR_CALL_NOT_IMPLEMENTED;
}

// Whether there is a target, and whether it may be replaced as far as can be told beforehand.
Cmn_Int32 CheckTarget(const std::wstring& iPath, bool& oIsThere)
{
    const DWORD attributes = GetFileAttributesW(iPath.c_str());
    oIsThere = attributes != INVALID_FILE_ATTRIBUTES;
    if (!oIsThere) return Sys_IsNotThere(Sys_LastError()) ? 0 : Sys_LastError();
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return ERROR_ACCESS_DENIED;
    if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) return Sys_FileSystem::eError_WriteProtected;
    HANDLE handle = INVALID_HANDLE_VALUE;
    const Cmn_Int32 error = Sys_CreateFile(iPath, GENERIC_READ | GENERIC_WRITE,
                                           FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING, handle);
    if (error == 0) {
        const bool isFile = GetFileType(handle) == FILE_TYPE_DISK;
        CloseHandle(handle);
        return isFile ? 0 : ERROR_NOT_SUPPORTED;
    }
    if (error == ERROR_ACCESS_DENIED) return Sys_FileSystem::eError_WriteProtected;
    if (!Sys_IsNotThere(error)) return error;
    oIsThere = false; // gone meanwhile
    return 0;
}

// What can be opened to delete it beside nobody that writes has no living saver.
void RemoveIfDead(const std::wstring& iPath)
{
    const HANDLE handle = CreateFileW(iPath.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return;
    FILE_DISPOSITION_INFO disposition = {};
    disposition.DeleteFile = TRUE;
    SetFileInformationByHandle(handle, FileDispositionInfo, &disposition, sizeof disposition);
    CloseHandle(handle);
}

void RemoveDead(const std::string& iTarget)
{
    const std::string folder = Sys_FileLoc(iTarget).GetFolder().GetPath() + "\\";
    const std::string name = Sys_FileSystem::NameBeside(iTarget);
    std::wstring pattern;
    if (Sys_ToWide(folder + Sys_FileSystem::PrefixBeside(iTarget), pattern) != 0) return;
    WIN32_FIND_DATAW found = {};
    const HANDLE listing = FindFirstFileW((pattern + L"*").c_str(), &found);
    if (listing == INVALID_HANDLE_VALUE) return;
    do {
        const std::wstring_view foundName = found.cFileName;
        const bool isPlain =
            (found.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0;
        if (isPlain && foundName.size() == name.size())
            RemoveIfDead(pattern.substr(0, pattern.find_last_of(L'\\') + 1) + std::wstring(foundName));
    } while (FindNextFileW(listing, &found));
    FindClose(listing);
}

// The class and flags of a renaming that does not mind readers are those of Windows 10;
// older headers lack them.
constexpr auto cRenameEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
constexpr DWORD cReplace = 1;
constexpr DWORD cBesideReaders = 2;

Cmn_Int32 RenameOpen(HANDLE iFile, const std::wstring& iTo, FILE_INFO_BY_HANDLE_CLASS iClass, DWORD iFlags)
{
    const std::size_t bytes = iTo.size() * sizeof(wchar_t);
    std::vector<std::byte> buffer(sizeof(FILE_RENAME_INFO) + bytes);
    auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
    std::memcpy(info, &iFlags, sizeof iFlags); // stands where ReplaceIfExists does
    info->FileNameLength = static_cast<DWORD>(bytes);
    std::memcpy(info->FileName, iTo.data(), bytes);
    return Sys_ErrorOf(SetFileInformationByHandle(iFile, iClass, info, static_cast<DWORD>(buffer.size())));
}

Cmn_Int32 Rename(HANDLE iFile, const std::wstring& iTo, bool iReplaces)
{
    const DWORD flags = iReplaces ? cReplace : 0;
    const Cmn_Int32 error = RenameOpen(iFile, iTo, cRenameEx, flags | cBesideReaders);
    const bool isUnknown = error == ERROR_INVALID_PARAMETER || error == ERROR_INVALID_FUNCTION ||
                           error == ERROR_NOT_SUPPORTED || error == ERROR_CALL_NOT_IMPLEMENTED;
    return isUnknown ? RenameOpen(iFile, iTo, FileRenameInfo, flags) : error;
}

Cmn_UInt32 TakeOver(std::wstring iFrom, const std::wstring& iTo)
{
    Cmn_UInt32 notKept = 0;
    const DWORD kept = GetFileAttributesW(iTo.c_str()) & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    if (kept != 0 && !SetFileAttributesW(iFrom.c_str(), kept | FILE_ATTRIBUTE_ARCHIVE))
        notKept |= Sys_FileSystem::eNotKept_Attributes;
    const StSecurity old(iTo);
    if (old.List() == nullptr) return notKept;
    if (!old.HasOwnerOf(StSecurity(iFrom))) notKept |= Sys_FileSystem::eNotKept_Owner;
    const DWORD inheritance =
        old.IsProtected() ? PROTECTED_DACL_SECURITY_INFORMATION : UNPROTECTED_DACL_SECURITY_INFORMATION;
    const DWORD error =
        SetNamedSecurityInfoW(iFrom.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | inheritance, nullptr,
                              nullptr, old.List(), nullptr);
    if (error != ERROR_SUCCESS && !HasNoLists(error)) notKept |= Sys_FileSystem::eNotKept_Permissions;
    return notKept;
}

} // namespace

Cmn_Int32 Sys_OpenBeside(const std::string& iTarget, std::string& oPath, HANDLE& oNew)
{
    std::wstring target;
    bool isThere = false;
    Cmn_Int32 error = Sys_ToWide(iTarget, target);
    if (error == 0) {
        const StTurn turn(iTarget);
        error = CheckTarget(target, isThere);
    }
    if (error != 0) return error;
    RemoveDead(iTarget);
    // Nobody gets at it before it has the target's own list.
    const StSecurity security(isThere ? target : std::wstring());
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, security.Get(), FALSE};
    for (int tries = 1;; ++tries) {
        oPath = Sys_FileLoc(iTarget).GetFolder().GetPath() + "/" + Sys_FileSystem::NameBeside(iTarget);
        std::wstring path;
        error = Sys_ToWide(oPath, path);
        if (error != 0) return error;
        oNew = CreateFileW(
            path.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_READ | FILE_SHARE_DELETE,
            security.Get() != nullptr ? &attributes : nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (oNew != INVALID_HANDLE_VALUE) return 0;
        error = Sys_LastError();
        if (Sys_IsNotThere(error)) return Sys_FileSystem::eError_NoFolder;
        if (error != ERROR_FILE_EXISTS || tries == cMostTries) return error;
    }
}

Cmn_Int32 Sys_TakePlace(HANDLE iNew, const std::string& iFrom, const std::string& iTo, Cmn_UInt32& oNotKept)
{
    oNotKept = 0;
    std::wstring from;
    std::wstring to;
    Cmn_Int32 error = Sys_ToWide(iFrom, from);
    if (error == 0) error = Sys_ToWide(iTo, to);
    const StTurn turn(iTo);
    for (int i = 0; error == 0 && i < cMostPauses; ++i) {
        bool isThere = false;
        error = CheckTarget(to, isThere);
        if (error != 0) return error;
        if (isThere) oNotKept = TakeOver(from, to);
        error = Rename(iNew, to, isThere);
        if (error == 0) {
            // The data was waited for; where the name cannot be, the system brings it to
            // the disk in its own time.
            FlushFileBuffers(iNew);
            return 0;
        }
        const bool isInUse = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
        const bool appeared = error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS;
        if (!isInUse && !appeared) return error;
        if (isInUse) Sleep(cPause);
        if (i + 1 < cMostPauses) error = 0;
    }
    return error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION
               ? Cmn_Int32{Sys_FileSystem::eError_InUse}
               : error;
}
