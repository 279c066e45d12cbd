#include "Bastel/Sys/Posix/Sys_Replacement_p.h"
#include "Bastel/Sys/Sys_FileLoc.h"
#include "Bastel/Sys/Sys_FileSystem.h"

#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <memory>

namespace {

static_assert(sizeof(off_t) == 8, "positions have 64 bits");

constexpr mode_t cNewFileMode = 0666; // less what the user's mask takes away
constexpr int cMostLinks = 40;        // as the system itself follows

int Descriptor(Sys_FileSystem::Handle iHandle) { return static_cast<int>(iHandle); }

int OpenFlags(Sys_FileSystem::EAccess iAccess)
{
    switch (iAccess) {
    case Sys_FileSystem::eAccess_Read:
        return O_RDONLY;
    case Sys_FileSystem::eAccess_New:
        return O_RDWR | O_CREAT;
    default:
        return O_RDWR;
    }
}

Cmn_Int32 Lock(int iDescriptor, const std::string& iPath, Sys_FileSystem::EAccess iAccess)
{
    if (iAccess == Sys_FileSystem::eAccess_Read) return 0;
    const int kind = iAccess == Sys_FileSystem::eAccess_WriteShared ? LOCK_SH : LOCK_EX;
    const Cmn_Int32 error = Sys_Lock(iDescriptor, kind);
    if (error != EWOULDBLOCK) return error;
    // A saver has it for a moment, a writer for long: the folder's lock tells them apart.
    const Sys_StFolderLock lock(iPath);
    return Sys_LockUnlessInUse(iDescriptor, kind);
}

// Whether the path, links followed, still names the file: a save may have put another
// there before it was locked.
bool IsStillAt(int iDescriptor, const std::string& iPath)
{
    struct stat ours;
    struct stat named;
    return fstat(iDescriptor, &ours) == 0 && stat(iPath.c_str(), &named) == 0 &&
           ours.st_dev == named.st_dev && ours.st_ino == named.st_ino;
}

// What the link names; the path itself where it is none.
Cmn_Int32 FollowOnce(std::string& ioPath, bool& oIsLink)
{
    std::string name(PATH_MAX, '\0');
    const ssize_t length = readlink(ioPath.c_str(), name.data(), name.size());
    oIsLink = length > 0;
    if (!oIsLink) return length == 0 || errno == EINVAL || errno == ENOENT ? 0 : errno;
    name.resize(static_cast<std::size_t>(length));
    ioPath = name.front() == '/' ? name : Sys_FileLoc(ioPath).GetFolder().GetPath() + "/" + name;
    return 0;
}

class PosixFileSystem final : public Sys_FileSystem
{
public:
    Cmn_Int32 Open(const std::string& iPath, EAccess iAccess, Handle& oHandle) override
    {
        // A file system whose files have no steady identity must not keep us here.
        constexpr int cMostTries = 64;
        for (int tries = 1;; ++tries) {
            Sys_StDescriptor file;
            Cmn_Int32 error = Sys_OpenDescriptor(iPath, OpenFlags(iAccess), cNewFileMode, file);
            if (error == 0) error = Sys_RefuseUnlessRegular(file.Get());
            if (error == 0) error = Lock(file.Get(), iPath, iAccess);
            if (error != 0) return error;
            if (iAccess != eAccess_Read && tries < cMostTries && !IsStillAt(file.Get(), iPath)) continue;
            if (iAccess == eAccess_New) error = SetLength(file.Get(), 0);
            if (error == 0) oHandle = file.Release();
            return error;
        }
    }

    Cmn_Int32 Close(Handle iHandle) override
    {
        // Not made again after a signal: the descriptor is gone, and may be another thread's by now.
        return close(Descriptor(iHandle)) == 0 || errno == EINTR ? 0 : errno;
    }

    Cmn_Int32 ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                     std::size_t& oCount) override
    {
        oCount = 0;
        while (oCount < iCount) {
            ssize_t count = 0;
            const Cmn_Int32 error = Sys_Ask([&] {
                return count = pread(Descriptor(iHandle), static_cast<char*>(oBytes) + oCount,
                                     iCount - oCount, iPosition + static_cast<off_t>(oCount));
            });
            if (error != 0) return error;
            if (count == 0) return 0;
            oCount += static_cast<std::size_t>(count);
        }
        return 0;
    }

    Cmn_Int32 WriteAt(Handle iHandle, Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount,
                      std::size_t& oCount) override
    {
        oCount = 0;
        while (oCount < iCount) {
            ssize_t count = 0;
            const Cmn_Int32 error = Sys_Ask([&] {
                return count = pwrite(Descriptor(iHandle), static_cast<const char*>(iBytes) + oCount,
                                      iCount - oCount, iPosition + static_cast<off_t>(oCount));
            });
            if (error != 0) return error;
            if (count == 0) return EIO;
            oCount += static_cast<std::size_t>(count);
        }
        // Long writes are on their way to the disk while the program goes on, so that a Sync has less to wait
        // for: the whole stretches that they filled, each large against the cost of a request to the disk. A
        // mere hint: what it cannot do, Sync does and reports.
        constexpr std::size_t cLong = std::size_t{128} << 10;
        constexpr Cmn_Int64 cStretch = Cmn_Int64{1} << 20;
        const Cmn_Int64 from = iPosition / cStretch * cStretch;
        const Cmn_Int64 to = (iPosition + static_cast<Cmn_Int64>(iCount)) / cStretch * cStretch;
        if (iCount >= cLong && from < to)
            sync_file_range(Descriptor(iHandle), from, to - from, SYNC_FILE_RANGE_WRITE);
        return 0;
    }

    Cmn_Int32 GetLength(Handle iHandle, Cmn_Int64& oLength) override
    {
        struct stat status;
        if (fstat(Descriptor(iHandle), &status) != 0) return errno;
        oLength = status.st_size;
        return 0;
    }

    Cmn_Int32 SetLength(Handle iHandle, Cmn_Int64 iLength) override
    {
        return Sys_Ask([&] { return ftruncate(Descriptor(iHandle), iLength); });
    }

    Cmn_Int32 Sync(Handle iHandle) override
    {
        return Sys_Ask([&] { return fsync(Descriptor(iHandle)); });
    }

    Cmn_Int32 OpenBeside(const std::string& iTarget, std::string& oPath, Handle& oHandle) override
    {
        Sys_StDescriptor file;
        const Cmn_Int32 error = Sys_OpenBeside(iTarget, oPath, file);
        oHandle = error == 0 ? file.Release() : cNoHandle;
        return error;
    }

    Cmn_Int32 TakePlace(Handle iHandle, const std::string& iFrom, const std::string& iTo,
                        Cmn_UInt32& oNotKept) override
    {
        return Sys_TakePlace(Descriptor(iHandle), iFrom, iTo, oNotKept);
    }

    Cmn_Int32 SyncFolder(const std::string& iFolder) override
    {
        Sys_StDescriptor folder;
        const Cmn_Int32 opened = Sys_OpenDescriptor(iFolder, O_RDONLY | O_DIRECTORY, 0, folder);
        if (opened != 0) return opened;
        const Cmn_Int32 synced = Sync(folder.Get());
        return synced == EINVAL ? 0 : synced; // what a file system answers that cannot sync folders
    }

    Cmn_Int32 Remove(const std::string& iPath) override { return unlink(iPath.c_str()) == 0 ? 0 : errno; }

    Cmn_Int32 Resolve(const std::string& iPath, std::string& oPath) override
    {
        oPath = iPath;
        for (int links = 0; links < cMostLinks; ++links) {
            const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(oPath.c_str(), nullptr),
                                                                       &std::free);
            if (resolved == nullptr && errno != ENOENT) return errno;
            if (resolved != nullptr) oPath = resolved.get();
            bool isLink = false;
            const Cmn_Int32 error = resolved != nullptr ? 0 : FollowOnce(oPath, isLink);
            if (error != 0 || !isLink) return error;
        }
        return ELOOP;
    }
};

} // namespace

Sys_FileSystem& Sys_FileSystem::GetPlatform()
{
    // Never destroyed: statics of a host may close their files after this library's statics are gone.
    static PosixFileSystem* const sSystem = new PosixFileSystem;
    return *sSystem;
}
