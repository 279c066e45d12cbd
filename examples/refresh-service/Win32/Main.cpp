// Arguments become UTF-8.
#include "refresh-service/RefreshCommand.h"

#include <windows.h>

int wmain(int iCount, wchar_t** iArguments)
{
    std::vector<std::string> arguments;
    for (int i = 1; i < iCount; ++i) {
        const int size = WideCharToMultiByte(CP_UTF8, 0, iArguments[i], -1, nullptr, 0, nullptr, nullptr);
        std::string text(size > 0 ? static_cast<std::size_t>(size) - 1 : 0, '\0');
        WideCharToMultiByte(CP_UTF8, 0, iArguments[i], -1, text.data(), size, nullptr, nullptr);
        arguments.push_back(text);
    }
    return RefreshCommand(arguments);
}
