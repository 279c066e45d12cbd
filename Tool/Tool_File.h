// Tool_File: whole inputs in memory, and whole outputs in files. Names are UTF-8.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>

// Far above any song; keeps a device that never ends from filling the memory.
inline constexpr std::size_t Tool_cMaxFileSize = std::size_t{256} << 20;

// The bytes of a file. Throws Tool_InputError for one that is missing, a folder, unreadable or
// larger than Tool_cMaxFileSize.
std::string Tool_ReadFile(const std::string& iName);

// Everything up to the stream's end.
std::string Tool_ReadAll(std::istream& iStream);

// The last part of a name: "first light.mid" of "songs/first light.mid".
std::string Tool_BaseName(const std::string& iName);
// Whether both names lead to one file that is there.
bool Tool_IsSameFile(const std::string& iA, const std::string& iB);

// Writes a file whole or leaves it as it was: the bytes go to a file beside it, which takes its name at the end. What
// is no plain file, such as /dev/stdout, is written directly. Throws Tool_InputError where that fails.
void Tool_WriteFile(const std::string& iName, const std::string& iBytes);
