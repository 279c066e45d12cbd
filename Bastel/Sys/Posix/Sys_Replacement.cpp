#include "Bastel/Sys/Posix/Sys_Replacement_p.h"

#include "Bastel/Sys/Sys_FileLoc.h"
#include "Bastel/Sys/Sys_FileSystem.h"

#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>

namespace {

constexpr useconds_t cPause = 1000; // microseconds
// Savers hold the folder for a few system calls, a journal that is being written makes them long.
constexpr int cMostPausesForFolder = 2000;
// A killed saver's locks do not end all at once, and its processor may be taken away between two of them.
constexpr int cMostPausesForTarget = 200;
// A file system whose files have no steady identity must not keep us here.
constexpr int cMostTries = 64;

constexpr mode_t cNewFileMode = 0666; // less what the user's mask takes away
constexpr mode_t cOwnersMode = S_IRUSR | S_IWUSR;
constexpr mode_t cAllMayWrite = S_IWUSR | S_IWGRP | S_IWOTH;

std::string FolderOf(const std::string& iPath) { return Sys_FileLoc(iPath).GetFolder().GetPath(); }

// A writer's way in shows whether the caller may write, by whatever rule the system has.
Cmn_Int32 OpenAsWriter(const std::string& iPath, Sys_StDescriptor& oFile)
{
    Cmn_Int32 error = Sys_OpenDescriptor(iPath, O_RDWR | O_NOFOLLOW, 0, oFile);
    if (error == EACCES) error = Sys_OpenDescriptor(iPath, O_WRONLY | O_NOFOLLOW, 0, oFile);
    if (error == EACCES || error == EPERM) {
        // The folder may be closed to us just as well.
        struct stat status;
        return lstat(iPath.c_str(), &status) == 0 ? Cmn_Int32{Sys_FileSystem::eError_WriteProtected} : error;
    }
    if (error != 0) return error;
    error = Sys_RefuseUnlessRegular(oFile.Get());
    if (error != 0) return error;
    // An administrator may write what says that nobody may.
    struct stat status;
    if (fstat(oFile.Get(), &status) != 0) return errno;
    return (status.st_mode & cAllMayWrite) == 0 ? Cmn_Int32{Sys_FileSystem::eError_WriteProtected} : 0;
}

// The file that has the name now, locked until it is closed; none where there is none.
// The folder's lock is held.
Cmn_Int32 LockTarget(const std::string& iPath, Sys_StDescriptor& oTarget)
{
    for (int tries = 1;; ++tries) {
        oTarget.Reset();
        Cmn_Int32 error = OpenAsWriter(iPath, oTarget);
        if (error == 0) error = Sys_LockUnlessInUse(oTarget.Get(), LOCK_EX);
        if (error == 0 && tries < cMostTries && !Sys_IsAt(oTarget.Get(), iPath)) continue;
        if (error != 0) oTarget.Reset();
        return error == ENOENT ? 0 : error;
    }
}

bool IsNameBeside(const std::string& iName, const std::string& iPrefix, std::size_t iLength)
{
    return iName.size() == iLength && iName.starts_with(iPrefix);
}

// Whoever is first to lock a file that has nobody's lock may remove it; the lock keeps that from being the
// one who made it this moment, who looks afterwards whether it is still there.
void RemoveIfDead(const std::string& iPath)
{
    Sys_StDescriptor file;
    Cmn_Int32 error = Sys_OpenDescriptor(iPath, O_RDONLY | O_NOFOLLOW, 0, file);
    if (error == EACCES) error = Sys_OpenDescriptor(iPath, O_WRONLY | O_NOFOLLOW, 0, file);
    bool hasLocks = false;
    if (error != 0 || Sys_RefuseUnlessRegular(file.Get()) != 0) return;
    if (Sys_Lock(file.Get(), LOCK_EX, &hasLocks) != 0 || !hasLocks) return;
    if (Sys_IsAt(file.Get(), iPath)) unlink(iPath.c_str());
}

void RemoveDead(const std::string& iTarget)
{
    const std::string folder = FolderOf(iTarget);
    const std::string prefix = Sys_FileSystem::PrefixBeside(iTarget);
    const std::size_t length = Sys_FileSystem::NameBeside(iTarget).size();
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    if (listing == nullptr) return; // a folder that may be written and not be read
    while (const dirent* const entry = readdir(listing.get()))
        if (IsNameBeside(entry->d_name, prefix, length)) RemoveIfDead(folder + "/" + entry->d_name);
}

// A file that was not there before, locked before anybody else could take it for a dead one's.
Cmn_Int32 MakeLocked(const std::string& iTarget, mode_t iMode, std::string& oPath, Sys_StDescriptor& oNew)
{
    const std::string folder = FolderOf(iTarget);
    for (int tries = 1;; ++tries) {
        oPath = (folder == "/" ? "" : folder) + "/" + Sys_FileSystem::NameBeside(iTarget);
        Cmn_Int32 error = Sys_OpenDescriptor(oPath, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, iMode, oNew);
        if (error == EEXIST && tries < cMostTries) continue;
        if (error != 0) return error;
        error = Sys_Lock(oNew.Get(), LOCK_EX);
        if (error == 0 && Sys_IsAt(oNew.Get(), oPath)) return 0;
        if (Sys_IsAt(oNew.Get(), oPath)) unlink(oPath.c_str()); // and not what has the name instead
        oNew.Reset();
        if (error != 0 && error != EWOULDBLOCK) return error;
        if (tries == cMostTries) return EAGAIN;
    }
}

// Gives iFrom the name that nobody has; EEXIST where somebody does.
Cmn_Int32 RenameIfFree(const std::string& iFrom, const std::string& iTo)
{
    if (renameat2(AT_FDCWD, iFrom.c_str(), AT_FDCWD, iTo.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    if (link(iFrom.c_str(), iTo.c_str()) == 0) {
        unlink(iFrom.c_str());
        return 0;
    }
    if (errno != EPERM && errno != EOPNOTSUPP) return errno;
    // Neither request is known to such a file system: the lock of the folder is what is left.
    return std::rename(iFrom.c_str(), iTo.c_str()) == 0 ? 0 : errno;
}

} // namespace

Sys_StFolderLock::Sys_StFolderLock(const std::string& iFileInIt)
{
    if (Sys_OpenDescriptor(FolderOf(iFileInIt), O_RDONLY | O_DIRECTORY, 0, mFolder) != 0) return;
    for (int i = 0; Sys_Lock(mFolder.Get(), LOCK_EX) == EWOULDBLOCK && i < cMostPausesForFolder; ++i)
        usleep(cPause);
}

Cmn_Int32 Sys_LockUnlessInUse(int iDescriptor, int iKind)
{
    Cmn_Int32 error = Sys_Lock(iDescriptor, iKind);
    for (int i = 0; error == EWOULDBLOCK && i < cMostPausesForTarget; ++i) {
        usleep(cPause);
        error = Sys_Lock(iDescriptor, iKind);
    }
    return error == EWOULDBLOCK ? Cmn_Int32{Sys_FileSystem::eError_InUse} : error;
}

Cmn_Int32 Sys_OpenBeside(const std::string& iTarget, std::string& oPath, Sys_StDescriptor& oNew)
{
    if (Sys_FileLoc(iTarget).GetName().empty()) return ENOENT;
    mode_t mode = cNewFileMode;
    {
        const Sys_StFolderLock lock(iTarget);
        Sys_StDescriptor target;
        const Cmn_Int32 error = LockTarget(iTarget, target);
        if (error != 0) return error;
        struct stat status;
        if (target.IsOpen() && fstat(target.Get(), &status) != 0) return errno;
        if (target.IsOpen()) mode = status.st_mode & cOwnersMode;
    }
    RemoveDead(iTarget);
    const Cmn_Int32 error = MakeLocked(iTarget, mode, oPath, oNew);
    return error == ENOENT ? Cmn_Int32{Sys_FileSystem::eError_NoFolder} : error;
}

Cmn_Int32 Sys_TakePlace(int iNew, const std::string& iFrom, const std::string& iTo, Cmn_UInt32& oNotKept)
{
    oNotKept = 0;
    const Sys_StFolderLock lock(iTo);
    Cmn_Int32 error = EEXIST;
    for (int tries = 0; error == EEXIST && tries < cMostTries; ++tries) {
        Sys_StDescriptor target;
        error = LockTarget(iTo, target);
        if (error != 0) return error;
        if (!Sys_IsAt(iNew, iFrom)) return ENOENT; // somebody took it away, or put another there
        if (!target.IsOpen()) {
            error = RenameIfFree(iFrom, iTo);
            continue;
        }
        error = Sys_TakeOver(iNew, target.Get(), oNotKept);
        if (error == 0) error = std::rename(iFrom.c_str(), iTo.c_str()) == 0 ? 0 : errno;
    }
    // From here on the lock would say that somebody writes the target.
    if (error == 0) flock(iNew, LOCK_UN);
    return error;
}
