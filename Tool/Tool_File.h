// Tool_File: bytes out of streams, and whole outputs in files. Names are UTF-8.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>

// A path of a std::string would be read in the system's own code page on Windows.
std::filesystem::path Tool_PathOf(const std::string& iName);

// Reads to the stream's end, or until more than iLimit bytes are there.
std::string Tool_ReadUpTo(std::istream& ioStream, std::size_t iLimit);

// The last part of a name: "first light.mid" of "songs/first light.mid".
std::string Tool_BaseName(const std::string& iName);
// Whether both names lead to one file that is there.
bool Tool_IsSameFile(const std::string& iA, const std::string& iB);

// Whether a folder, a pipe, a device or the like has the name.
bool Tool_IsOther(const std::string& iName);

// Throws Tool_InputError where something that is no plain file has the name: no file takes its place.
void Tool_CheckPlainFile(const std::string& iName);

// A file that is written beside its place and takes it when it is whole; without Commit it is removed. A symbolic link
// stays, and the file that it names is replaced.
class Tool_StPartFile
{
public:
    // Throws as Tool_CheckPlainFile.
    explicit Tool_StPartFile(const std::string& iName);
    ~Tool_StPartFile();
    Tool_StPartFile(const Tool_StPartFile&) = delete;
    Tool_StPartFile& operator=(const Tool_StPartFile&) = delete;

    // What to write to.
    const std::string& GetName() const { return mPart; }
    // Throws Tool_InputError where the file cannot take its place.
    void Commit();

private:
    std::string mName;
    std::string mTarget;
    std::string mPart;
    bool mIsCommitted = false;
};

// Writes a file whole or leaves it as it was. What is no plain file, such as /dev/stdout, is written directly. Throws
// Tool_InputError where that fails.
void Tool_WriteFile(const std::string& iName, const std::string& iBytes);
