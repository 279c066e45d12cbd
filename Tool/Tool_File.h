// Tool_File: whole inputs in memory.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

// Far above any song; keeps a device that never ends from filling the memory.
inline constexpr std::size_t Tool_cMaxFileSize = std::size_t{256} << 20;

// The bytes of a file whose name is UTF-8. Throws Tool_InputError for one that is missing, a folder, unreadable or
// larger than Tool_cMaxFileSize.
std::string Tool_ReadFile(const std::string& iName);

// Everything up to the stream's end.
std::string Tool_ReadAll(std::istream& iStream);
