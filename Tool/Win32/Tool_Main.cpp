// The command's entry point: arguments become UTF-8 and the streams binary, so that output has the
// same bytes as elsewhere.
#include "Tool/Tool_Command.h"

#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <windows.h>

namespace {

std::string ToUtf8(const wchar_t* iText)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, iText, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return {};
    std::string text(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, iText, -1, text.data(), size, nullptr, nullptr);
    text.pop_back(); // the terminating zero
    return text;
}

} // namespace

int wmain(int iCount, wchar_t** iArguments)
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    std::vector<std::string> arguments;
    for (int i = 1; i < iCount; ++i)
        arguments.push_back(ToUtf8(iArguments[i]));
    return Tool_Main(arguments);
}
