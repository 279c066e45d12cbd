// Sys_FileSystem: what the library asks of the system's files, one virtual call for each request.
//
// Sys_File and the safe save go through the one in force, so that a test can put another in its place that fails at
// the n-th request, or keeps files in memory.
//
// Units:   positions and lengths in bytes. Paths are UTF-8.
// Errors:  every request returns the system's error code, 0 for success: errno on Linux, GetLastError on Windows.
//          Requests interrupted by a signal are made again.
// Threads: requests on different handles may be made at the same time.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <cstddef>
#include <string>

class KORA_API Sys_FileSystem
{
public:
    using Handle = Cmn_Int64;
    static constexpr Handle cNoHandle = -1;

    enum EAccess : Cmn_Int32 {
        eAccess_Read = 0,
        eAccess_Write = 1,       // reads and writes an existing file; nobody else opens it to write meanwhile
        eAccess_WriteShared = 2, // the same beside others of its kind, whose order is their own affair
        eAccess_New = 3,         // as 1, of a file that is made, or emptied once it is this one's alone
    };

    virtual ~Sys_FileSystem();

    // Takes regular files alone. Readers are never refused for a writer's sake, and refuse none.
    virtual Cmn_Int32 Open(const std::string& iPath, EAccess iAccess, Handle& oHandle) = 0;
    virtual Cmn_Int32 Close(Handle iHandle) = 0;
    // oCount is below iCount at the end of the file alone; both transfer as often as the system needs.
    virtual Cmn_Int32 ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                             std::size_t& oCount) = 0;
    virtual Cmn_Int32 WriteAt(Handle iHandle, Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount,
                              std::size_t& oCount) = 0;
    virtual Cmn_Int32 GetLength(Handle iHandle, Cmn_Int64& oLength) = 0;
    virtual Cmn_Int32 SetLength(Handle iHandle, Cmn_Int64 iLength) = 0;
    // Returns when the file's bytes and length are on the disk.
    virtual Cmn_Int32 Sync(Handle iHandle) = 0;

    // Gives iFrom's file iTo's name in one step: whoever opens iTo gets the old file or the new one, whole. Neither
    // may be open on Windows. Where iTo exists, iFrom's file takes over its permissions first.
    virtual Cmn_Int32 Replace(const std::string& iFrom, const std::string& iTo) = 0;
    // Returns when the names in the folder are on the disk; success where the system has no such request.
    virtual Cmn_Int32 SyncFolder(const std::string& iFolder) = 0;
    virtual Cmn_Int32 Remove(const std::string& iPath) = 0;
    // The path with every symbolic link followed, so that a save replaces the file and not the link; the same path
    // where there is no file.
    virtual Cmn_Int32 Resolve(const std::string& iPath, std::string& oPath) = 0;

    // The one in force: the system's own unless another was set.
    static Sys_FileSystem& Get();
    // The system's own, for others to pass on to.
    static Sys_FileSystem& GetPlatform();
    // Puts another in force and returns the one before; null is the system's own. It must outlive every file
    // opened through it. Any thread.
    static Sys_FileSystem* Set(Sys_FileSystem* iSystem) noexcept;

    class StSystem;
};

// Another file system for a scope.
class Sys_FileSystem::StSystem
{
public:
    explicit StSystem(Sys_FileSystem& iSystem)
        : mBefore(Set(&iSystem))
    {
    }
    ~StSystem() { Set(mBefore); }
    StSystem(const StSystem&) = delete;
    StSystem& operator=(const StSystem&) = delete;

private:
    Sys_FileSystem* mBefore;
};
