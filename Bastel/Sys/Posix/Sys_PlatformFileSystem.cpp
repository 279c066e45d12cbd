#include "Bastel/Sys/Sys_FileSystem.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

static_assert(sizeof(off_t) == 8, "positions have 64 bits");

constexpr mode_t cNewFileMode = 0666; // less what the user's mask takes away

// Makes a request again as long as a signal interrupts it; 0 or the error.
template <class Request>
Cmn_Int32 Ask(Request iRequest)
{
    while (iRequest() == -1) {
        if (errno != EINTR) return errno;
    }
    return 0;
}

int Descriptor(Sys_FileSystem::Handle iHandle) { return static_cast<int>(iHandle); }

int OpenFlags(Sys_FileSystem::EAccess iAccess)
{
    // Without O_NONBLOCK the opening of a pipe would wait for its other end before it could be refused.
    constexpr int cAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    switch (iAccess) {
    case Sys_FileSystem::eAccess_Read:
        return cAlways | O_RDONLY;
    case Sys_FileSystem::eAccess_New:
        return cAlways | O_RDWR | O_CREAT;
    default:
        return cAlways | O_RDWR;
    }
}

Cmn_Int32 RefuseUnlessRegular(int iDescriptor)
{
    struct stat status;
    if (fstat(iDescriptor, &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    return S_ISREG(status.st_mode) ? 0 : EOPNOTSUPP;
}

Cmn_Int32 Lock(int iDescriptor, Sys_FileSystem::EAccess iAccess)
{
    if (iAccess == Sys_FileSystem::eAccess_Read) return 0;
    const int kind = iAccess == Sys_FileSystem::eAccess_WriteShared ? LOCK_SH : LOCK_EX;
    const Cmn_Int32 error = Ask([&] { return flock(iDescriptor, kind | LOCK_NB); });
    return error == EWOULDBLOCK ? EBUSY : error; // "Resource temporarily unavailable" tells a user nothing
}

// Whether the path still names the file: a safe save may have renamed another over it before it was locked.
bool IsStillAt(int iDescriptor, const std::string& iPath)
{
    struct stat ours;
    struct stat named;
    return fstat(iDescriptor, &ours) == 0 && stat(iPath.c_str(), &named) == 0 &&
           ours.st_dev == named.st_dev && ours.st_ino == named.st_ino;
}

class PosixFileSystem final : public Sys_FileSystem
{
public:
    Cmn_Int32 Open(const std::string& iPath, EAccess iAccess, Handle& oHandle) override
    {
        // A file system whose files have no steady identity must not keep us here.
        constexpr int cMostTries = 8;
        for (int tries = 1;; ++tries) {
            int descriptor = -1;
            Cmn_Int32 error =
                Ask([&] { return descriptor = open(iPath.c_str(), OpenFlags(iAccess), cNewFileMode); });
            if (error != 0) return error;
            error = RefuseUnlessRegular(descriptor);
            if (error == 0) error = Lock(descriptor, iAccess);
            const bool isIt = iAccess == eAccess_Read || tries == cMostTries || IsStillAt(descriptor, iPath);
            if (error == 0 && isIt && iAccess == eAccess_New) error = SetLength(descriptor, 0);
            if (error == 0 && isIt) {
                oHandle = descriptor;
                return 0;
            }
            close(descriptor);
            if (error != 0) return error;
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
            const Cmn_Int32 error = Ask([&] {
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
            const Cmn_Int32 error = Ask([&] {
                return count = pwrite(Descriptor(iHandle), static_cast<const char*>(iBytes) + oCount,
                                      iCount - oCount, iPosition + static_cast<off_t>(oCount));
            });
            if (error != 0) return error;
            if (count == 0) return EIO;
            oCount += static_cast<std::size_t>(count);
        }
        // Long writes are on their way to the disk while the program goes on, so that a Sync has less to wait for. A mere
        // hint: what it cannot do, Sync does and reports.
        constexpr std::size_t cLong = std::size_t{128} << 10;
        if (iCount >= cLong)
            sync_file_range(Descriptor(iHandle), iPosition, static_cast<off_t>(iCount),
                            SYNC_FILE_RANGE_WRITE);
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
        return Ask([&] { return ftruncate(Descriptor(iHandle), iLength); });
    }

    Cmn_Int32 Sync(Handle iHandle) override
    {
        return Ask([&] { return fsync(Descriptor(iHandle)); });
    }

    Cmn_Int32 Replace(const std::string& iFrom, const std::string& iTo) override
    {
        const Cmn_Int32 error = TakeOverPermissions(iFrom, iTo);
        if (error != 0) return error;
        return std::rename(iFrom.c_str(), iTo.c_str()) == 0 ? 0 : errno;
    }

    Cmn_Int32 SyncFolder(const std::string& iFolder) override
    {
        int descriptor = -1;
        const Cmn_Int32 opened =
            Ask([&] { return descriptor = open(iFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
        if (opened != 0) return opened;
        const Cmn_Int32 synced = Sync(descriptor);
        close(descriptor);
        return synced == EINVAL ? 0 : synced; // what a file system answers that cannot sync folders
    }

    Cmn_Int32 Remove(const std::string& iPath) override { return unlink(iPath.c_str()) == 0 ? 0 : errno; }

    Cmn_Int32 Resolve(const std::string& iPath, std::string& oPath) override
    {
        const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(iPath.c_str(), nullptr),
                                                                   &std::free);
        if (resolved == nullptr && errno != ENOENT) return errno;
        oPath = resolved != nullptr ? resolved.get() : iPath;
        return 0;
    }

private:
    static Cmn_Int32 TakeOverPermissions(const std::string& iFrom, const std::string& iTo)
    {
        struct stat old;
        if (stat(iTo.c_str(), &old) != 0) return errno == ENOENT ? 0 : errno;
        int descriptor = -1;
        const Cmn_Int32 opened =
            Ask([&] { return descriptor = open(iFrom.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); });
        if (opened != 0) return opened;
        // Only an administrator can give a file away: owner and group stay the old ones where that is allowed.
        const bool isOwnerKept = fchown(descriptor, old.st_uid, old.st_gid) == 0 ||
                                 fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) == 0;
        // Rights of a group that could not be kept would be another group's.
        const mode_t mode = (old.st_mode & 07777) & (isOwnerKept ? ~mode_t{0} : ~mode_t{S_IRWXG});
        const Cmn_Int32 error = Ask([&] { return fchmod(descriptor, mode); });
        close(descriptor);
        return error;
    }
};

} // namespace

Sys_FileSystem& Sys_FileSystem::GetPlatform()
{
    // Never destroyed: statics of a host may close their files after this library's statics are gone.
    static PosixFileSystem* const sSystem = new PosixFileSystem;
    return *sSystem;
}
