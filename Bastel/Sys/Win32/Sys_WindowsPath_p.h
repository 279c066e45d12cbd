// What the requests on files share: errors, and paths as the system takes them.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <string>
#include <string_view>
#include <windows.h>

inline constexpr std::wstring_view Sys_cUnlimited = L"\\\\?\\";
inline constexpr std::wstring_view Sys_cUnlimitedShare = L"\\\\?\\UNC\\";
inline constexpr std::wstring_view Sys_cShare = L"\\\\";

// A failed request must never look like success, whatever the last error says.
Cmn_Int32 Sys_LastError();
inline Cmn_Int32 Sys_ErrorOf(BOOL iIsDone) { return iIsDone ? 0 : Sys_LastError(); }
inline bool Sys_IsNotThere(Cmn_Int32 iError)
{
    return iError == ERROR_FILE_NOT_FOUND || iError == ERROR_PATH_NOT_FOUND;
}
// The path as the system takes it. Bytes that are no UTF-8 are refused: they would name another file.
Cmn_Int32 Sys_ToWide(const std::string& iPath, std::wstring& oWide);
// CreateFileW; where others have the file open in a way that this one does not go with, it is tried again for
// some milliseconds, which is longer than a save keeps anybody out. eError_InUse after that.
Cmn_Int32 Sys_CreateFile(const std::wstring& iPath, DWORD iAccess, DWORD iShare, DWORD iDisposition,
                         HANDLE& oHandle);
