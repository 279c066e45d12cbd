#include "OstrelTracePlatform.h"

#include <windows.h>

namespace {

std::wstring Wide(const std::string& iText)
{
    const int size =
        MultiByteToWideChar(CP_UTF8, 0, iText.data(), static_cast<int>(iText.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, iText.data(), static_cast<int>(iText.size()), wide.data(), size);
    return wide;
}

std::string Utf8(const std::wstring& iWide)
{
    const int wideSize = static_cast<int>(iWide.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, iWide.data(), wideSize, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, iWide.data(), wideSize, text.data(), size, nullptr, nullptr);
    return text;
}

} // namespace

std::string OstrelTraceEnvironment(const char* iName)
{
    std::wstring value(32767, L'\0');
    const DWORD size =
        GetEnvironmentVariableW(Wide(iName).c_str(), value.data(), static_cast<DWORD>(value.size()));
    value.resize(size < value.size() ? size : 0);
    return Utf8(value);
}

std::FILE* OstrelTraceOpen(const std::string& iPath) { return _wfopen(Wide(iPath).c_str(), L"ab"); }

std::string OstrelTraceStackText()
{
    void* frames[64];
    const int count = CaptureStackBackTrace(0, 64, frames, nullptr);
    std::string text;
    for (int frame = 0; frame < count; ++frame) {
        HMODULE module = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                               GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           static_cast<LPCWSTR>(frames[frame]), &module);
        wchar_t name[MAX_PATH];
        const DWORD size = module != nullptr ? GetModuleFileNameW(module, name, MAX_PATH) : 0;
        const auto offset = static_cast<char*>(frames[frame]) - reinterpret_cast<char*>(module);
        char line[32];
        std::snprintf(line, sizeof line, "+0x%llx\n", static_cast<unsigned long long>(offset));
        text += "    " + Utf8(std::wstring(name, size)) + line;
    }
    return text;
}
