// Tool_Input: what a FILE argument names: a file, a pipe, a device or, as "-", standard input.
//
// A regular file stays where it is and may be of any size: documents are read where they seek to. Anything
// else is read once, whole, when this is made, since a pipe can neither be opened twice nor sought in. Its
// bytes are then a file in memory under the same name for as long as this lives.
#pragma once

#include "Bastel/Sys/Sys_FileLoc.h"
#include "Tool/Tool_MemoryFile.h"

#include <iosfwd>
#include <optional>
#include <string>

// Why a file could not be opened for reading, in words for users: "no such file".
std::string Tool_WhyNotOpened(const std::string& iName);

class Tool_Input
{
public:
    // Far above any song; keeps a device that never ends from filling the memory.
    // Holds for what is read whole.
    static constexpr std::size_t cMaxSize = std::size_t{256} << 20;
    // As many bytes as tell what a file is.
    static constexpr std::size_t cStartSize = 20;
    static constexpr char cStandardInput[] = "-";

    // Throws Tool_InputError for what is missing, a folder or unreadable; for a pipe or a device also where
    // nothing comes out of it, or more than cMaxSize.
    Tool_Input(const std::string& iArgument, std::istream& ioStandardInput);

    // As messages name it: as the user did, "standard input" for "-".
    const std::string& Name() const { return mName; }
    // As the library finds it.
    Sys_FileLoc Location() const { return Sys_FileLoc(mName); }
    // The first cStartSize bytes, or all where there are fewer.
    const std::string& Start() const { return mStart; }
    // All bytes. Throws Tool_InputError for a regular file of more than cMaxSize, or one that is gone.
    std::string ReadAll() const;
    // Whether the name leads to the file that this is read from.
    bool IsSameFile(const std::string& iName) const;

private:
    bool mIsStandardInput;
    std::string mName;
    std::string mStart;
    std::optional<Tool_MemoryFile> mMemory;
};
