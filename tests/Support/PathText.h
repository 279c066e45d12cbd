// PathText: paths as the library takes them.
#pragma once

#include <filesystem>
#include <string>

inline std::string Utf8(const std::filesystem::path& iPath)
{
    const std::u8string text = iPath.u8string();
    return {text.begin(), text.end()};
}
