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

// At most iCount bytes from a file's start; throws as Tool_ReadFile.
std::string Tool_ReadStart(const std::string& iName, std::size_t iCount);

// Everything up to the stream's end.
std::string Tool_ReadAll(std::istream& iStream);

// The last part of a name: "first light.mid" of "songs/first light.mid".
std::string Tool_BaseName(const std::string& iName);
// Whether both names lead to one file that is there.
bool Tool_IsSameFile(const std::string& iA, const std::string& iB);

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
