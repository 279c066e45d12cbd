// Sys_FileSystem: what the library asks of the system's files, one virtual call for each request.
//
// Sys_File and the safe save go through the one in force, so that a test can put another in its place that
// fails at the n-th request, or keeps files in memory.
//
// Units:   positions and lengths in bytes. Paths are UTF-8.
// Errors:  every request returns 0 for success, the system's error code (errno on Linux, GetLastError on
//          Windows), or one of EError. Requests interrupted by a signal are made again.
// Locks:   a writer's file is locked for it. Where a file system has no locks (ENOLCK, ENOSYS,
//          EOPNOTSUPP), files are opened and replaced all the same: nothing keeps writers apart there, and
//          what dead ones left stays.
// Threads: requests on different handles may be made at the same time.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"

#include <cstddef>
#include <string>

// Not in the exported class, so that every module has it as a constant of its own.
struct Sys_FileHandle
{
    // An open file, as its file system numbers it.
    using Handle = Cmn_Int64;
    // No open file has it.
    static constexpr Handle cNoHandle = -1;
};

class KORA_API Sys_FileSystem : public Sys_FileHandle
{
public:
    // What a file is opened for.
    enum EAccess : Cmn_Int32 {
        eAccess_Read = 0,
        eAccess_Write = 1,       // reads and writes an existing file; nobody else opens it to write meanwhile
        eAccess_WriteShared = 2, // the same beside others of its kind, whose order is their own affair
        eAccess_New = 3,         // as 1, of a file that is made, or emptied once it is this one's alone
        eAccess_Move = 4,        // as 1, of a file that TakePlace is to give another name
    };
    // Where the system's own words would not tell a user what is wrong; Sys_OSErrorText has the words.
    enum EError : Cmn_Int32 {
        eError_InUse = -9201,          // somebody has it open for writing
        eError_WriteProtected = -9202, // nobody may write it, or the caller may not
        eError_NoFolder = -9203,       // the folder that it belongs in is not there
        eError_NoMemory = -9204,       // of a file in memory
        eError_NoOthers = -9205,       // a file in memory has none beside it
    };
    // What a file in another's place could not take over from it.
    enum ENotKept : Cmn_UInt32 {
        eNotKept_Owner = 1,
        eNotKept_Group = 2,
        eNotKept_Permissions = 4, // mode and access list; what is there instead gives nobody more
        eNotKept_Attributes = 8,  // extended ones
    };

    virtual ~Sys_FileSystem();

    // Takes regular files alone. Readers are never refused for a writer's sake, and refuse none.
    virtual Cmn_Int32 Open(const std::string& iPath, EAccess iAccess, Handle& oHandle) = 0;
    // Gives up the handle, whatever is returned.
    virtual Cmn_Int32 Close(Handle iHandle) = 0;
    // oCount is below iCount at the end of the file alone; both transfer as often as the system needs.
    virtual Cmn_Int32 ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                             std::size_t& oCount) = 0;
    // The same for writing, where fewer are a failure.
    virtual Cmn_Int32 WriteAt(Handle iHandle, Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount,
                              std::size_t& oCount) = 0;
    // In bytes.
    virtual Cmn_Int32 GetLength(Handle iHandle, Cmn_Int64& oLength) = 0;
    // Cuts the file off, or fills it up with zeros.
    virtual Cmn_Int32 SetLength(Handle iHandle, Cmn_Int64 iLength) = 0;
    // Returns when the file's bytes and length are on the disk.
    virtual Cmn_Int32 Sync(Handle iHandle) = 0;

    // --- A file that is to take another's place is written beside it first

    // Makes that file and opens it to write, locked until it is closed: in iTarget's folder, under a name
    // that nobody has (NameBeside), never through a link, with no more rights than iTarget's owner has there,
    // or those of any new file where there is no iTarget. Removes what earlier ones left whose owners died.
    // Refuses, and makes nothing, where iTarget is write-protected, or open for writing. iTarget is resolved.
    virtual Cmn_Int32 OpenBeside(const std::string& iTarget, std::string& oPath, Handle& oHandle) = 0;
    // Gives the open file iFrom the name iTo in one step: whoever opens iTo gets the old file or the new
    // one, whole. Where iTo exists, its owner, permissions and attributes are taken over first, as far as
    // the system lets us; oNotKept (ENotKept) says how far. Refuses as OpenBeside does, and waits while
    // another file takes the same place. The file stays open, and from then on a writer may open it beside
    // iHandle where the system has locks of its own. Under Windows before 10, and Wine, it is refused
    // while anybody has iTo open.
    virtual Cmn_Int32 TakePlace(Handle iHandle, const std::string& iFrom, const std::string& iTo,
                                Cmn_UInt32& oNotKept) = 0;
    // TakePlace of a file that is closed.
    Cmn_Int32 Replace(const std::string& iFrom, const std::string& iTo);
    // What the names of files that OpenBeside makes for iTarget begin with, and such a name. All of them are
    // short and equally long, so that they fit wherever iTarget's does.
    [[nodiscard]] static std::string PrefixBeside(const std::string& iTarget);
    // Another each time.
    [[nodiscard]] static std::string NameBeside(const std::string& iTarget);

    // Returns when the names in the folder are on the disk; success where the system has no such request.
    virtual Cmn_Int32 SyncFolder(const std::string& iFolder) = 0;
    // The file of that name; a link goes itself.
    virtual Cmn_Int32 Remove(const std::string& iPath) = 0;
    // The path with every symbolic link followed, so that a save replaces the file and not the link. Of a
    // link that leads to no file, the path of the file that it names; on Windows that is refused. The same
    // path where there is neither.
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
class [[nodiscard]] Sys_FileSystem::StSystem
{
public:
    // The system must outlive the scope.
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
