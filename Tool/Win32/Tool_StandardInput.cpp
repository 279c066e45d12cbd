#include "Tool/Tool_StandardInput.h"

#include "Tool/Tool_File.h"

#include <cstring>
#include <windows.h>

bool Tool_IsStandardInput(const std::string& iName)
{
    // Asks for no access at all, so that no one who has the file open stands in the way.
    constexpr DWORD cNoAccess = 0;
    const HANDLE file = CreateFileW(Tool_PathOf(iName).c_str(), cNoAccess,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    FILE_ID_INFO named{};
    FILE_ID_INFO input{};
    const bool isKnown = GetFileInformationByHandleEx(file, FileIdInfo, &named, sizeof named) != FALSE &&
                         GetFileInformationByHandleEx(GetStdHandle(STD_INPUT_HANDLE), FileIdInfo, &input,
                                                      sizeof input) != FALSE;
    CloseHandle(file);
    // A stream that was inherited from outside Windows, as under Wine, has volume 0.
    return isKnown &&
           (named.VolumeSerialNumber == input.VolumeSerialNumber || input.VolumeSerialNumber == 0) &&
           std::memcmp(&named.FileId, &input.FileId, sizeof named.FileId) == 0;
}
