#include "Tool/Tool_StandardInput.h"

#include "Tool/Tool_File.h"

#include <windows.h>

bool Tool_IsStandardInput(const std::string& iName)
{
    // Asks for no access at all, so that no one who has the file open stands in the way.
    constexpr DWORD cNoAccess = 0;
    const HANDLE file = CreateFileW(Tool_PathOf(iName).c_str(), cNoAccess,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    BY_HANDLE_FILE_INFORMATION named{};
    BY_HANDLE_FILE_INFORMATION input{};
    const bool isKnown = GetFileInformationByHandle(file, &named) != FALSE &&
                         GetFileInformationByHandle(GetStdHandle(STD_INPUT_HANDLE), &input) != FALSE;
    CloseHandle(file);
    return isKnown && named.dwVolumeSerialNumber == input.dwVolumeSerialNumber &&
           named.nFileIndexHigh == input.nFileIndexHigh && named.nFileIndexLow == input.nFileIndexLow;
}
