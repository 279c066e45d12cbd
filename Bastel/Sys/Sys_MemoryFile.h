// Sys_MemoryFile: one file whose bytes are in memory, as a file system that knows no other.
//
//     Sys_MemoryFile file(std::move(bytes));
//     FF_Document document(Sys_FileLoc("from the network"), …);
//     document.SetFileSystem(&file);
//     document.Open(Sys_Store::eOpenFlag_Read);
//
// Every path names these bytes; in messages it tells where they came from. Nothing locks: readers and one writer may
// have the file open, and a writer that makes it anew takes the bytes from all. What is written is "on the disk" at
// once. What takes another file (OpenBeside, TakePlace, Remove) is eError_NoOthers.
//
// Errors:  eError_NoMemory where the bytes have no room, and nothing is written then.
// Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_FileSystem.h"

class KORA_API Sys_MemoryFile : public Sys_FileSystem
{
public:
    // A file of these bytes.
    explicit Sys_MemoryFile(std::string iBytes = {});
    ~Sys_MemoryFile() override;
    Sys_MemoryFile(const Sys_MemoryFile&) = delete;
    Sys_MemoryFile& operator=(const Sys_MemoryFile&) = delete;

    // Whether a handle is one of this file's; no other file system's is.
    bool Owns(Handle iHandle) const { return iHandle == mHandle; }
    // All of them, as they are now.
    const std::string& GetBytes() const { return mBytes; }

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

private:
    std::string mBytes;
    const Handle mHandle;
};
