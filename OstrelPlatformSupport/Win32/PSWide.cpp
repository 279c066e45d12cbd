#include "OstrelPlatformSupport/Win32/PSWide_p.h"

#include <windows.h>

std::wstring PSWideFromUtf8(std::string_view iText)
{
    const int size = static_cast<int>(iText.size());
    std::wstring wide(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, iText.data(), size, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, iText.data(), size, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string PSUtf8FromWide(std::wstring_view iText)
{
    const int size = static_cast<int>(iText.size());
    std::string text(static_cast<std::size_t>(
                         WideCharToMultiByte(CP_UTF8, 0, iText.data(), size, nullptr, 0, nullptr, nullptr)),
                     '\0');
    WideCharToMultiByte(CP_UTF8, 0, iText.data(), size, text.data(), static_cast<int>(text.size()), nullptr,
                        nullptr);
    return text;
}
