// Tool_File: bytes out of streams, and whole outputs in files. Names are UTF-8.
#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

// A path of a std::string would be read in the system's own code page on Windows.
std::filesystem::path Tool_PathOf(const std::string& iName);

// Reads to the stream's end, or until more than iLimit bytes are there; tells ioWork how many it has.
class Tool_StWork;
std::string Tool_ReadUpTo(std::istream& ioStream, std::size_t iLimit, Tool_StWork* ioWork = nullptr);

// The last part of a name: "first light.mid" of "songs/first light.mid".
std::string Tool_BaseName(const std::string& iName);
// Whether a name has an ending, whatever its case: "A.PNG" ends in ".png".
bool Tool_EndsIn(std::string_view iName, std::string_view iEnding);
// Whether both names lead to one file that is there.
bool Tool_IsSameFile(const std::string& iA, const std::string& iB);

// Whether a folder, a pipe, a device or the like has the name.
bool Tool_IsOther(const std::string& iName);

// Throws Tool_InputError where something that is no plain file has the name: no file takes its place.
void Tool_CheckPlainFile(const std::string& iName);

// Writes a file whole, beside its place first, or leaves it as it was. A symbolic link stays, and the file
// that it names is replaced. What is no plain file, such as /dev/stdout, is written directly. Throws
// Tool_InputError where that fails.
void Tool_WriteFile(const std::string& iName, const std::string& iBytes);
// The same of a file that is made block by block: iWrite(take) calls take(bytes) for each.
using Tool_TakeBytes = std::function<void(const std::string&)>;
void Tool_WriteFile(const std::string& iName, const std::function<void(const Tool_TakeBytes&)>& iWrite);
