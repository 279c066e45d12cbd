// Tool_MemoryFile: a file of the library that is bytes in memory: how a document comes out of
// a pipe, or goes into one.
//
// While it lives, the path names these bytes for all that goes through Sys_FileSystem; every other path leads
// where it led before. Several nest.
//
// Threads: one at a time, and no other thread opens files meanwhile.
#pragma once

#include "Bastel/Sys/Sys_MemoryFile.h"

class Tool_MemoryFile final : private Sys_FileSystem
{
public:
    // Files of the path must be closed again before this goes.
    explicit Tool_MemoryFile(std::string iPath, std::string iBytes = {});
    ~Tool_MemoryFile() override;
    Tool_MemoryFile(const Tool_MemoryFile&) = delete;
    Tool_MemoryFile& operator=(const Tool_MemoryFile&) = delete;

    const std::string& GetPath() const { return mPath; }
    const std::string& GetBytes() const { return mFile.GetBytes(); }

private:
    Cmn_Int32 Open(const std::string& iPath, EAccess iAccess, Handle& oHandle) override;
    Cmn_Int32 Close(Handle iHandle) override;
    Cmn_Int32 ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                     std::size_t& oCount) override;
    Cmn_Int32 WriteAt(Handle iHandle, Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount,
                      std::size_t& oCount) override;
    Cmn_Int32 GetLength(Handle iHandle, Cmn_Int64& oLength) override;
    Cmn_Int32 SetLength(Handle iHandle, Cmn_Int64 iLength) override;
    Cmn_Int32 Sync(Handle iHandle) override;
    Cmn_Int32 OpenBeside(const std::string& iTarget, std::string& oPath, Handle& oHandle) override;
    Cmn_Int32 TakePlace(Handle iHandle, const std::string& iFrom, const std::string& iTo,
                        Cmn_UInt32& oNotKept) override;
    Cmn_Int32 SyncFolder(const std::string& iFolder) override;
    Cmn_Int32 Remove(const std::string& iPath) override;
    Cmn_Int32 Resolve(const std::string& iPath, std::string& oPath) override;

    Sys_FileSystem& Of(Handle iHandle);

    std::string mPath;
    Sys_MemoryFile mFile;
    Sys_FileSystem* mBefore; // as Set gave it
    Sys_FileSystem& mOther;
};
