// UTF-8 to the system's UTF-16, and back.
#pragma once

#include <string>
#include <windows.h>

inline std::wstring Wide(const std::string& iText)
{
    const int bytes = static_cast<int>(iText.size());
    std::wstring text(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, iText.data(), bytes, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, iText.data(), bytes, text.data(), static_cast<int>(text.size()));
    return text;
}

inline std::string Narrow(const std::wstring& iText)
{
    const int units = static_cast<int>(iText.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, iText.data(), units, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, iText.data(), units, text.data(), bytes, nullptr, nullptr);
    return text;
}
