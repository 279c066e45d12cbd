#include "Bastel/Sys/Posix/Sys_Descriptor_p.h"

#include <fcntl.h>

Cmn_Int32 Sys_OpenDescriptor(const std::string& iPath, int iFlags, mode_t iMode,
                             Sys_StDescriptor& ioDescriptor)
{
    // Without O_NONBLOCK the opening of a pipe would wait for its other end before it could be refused.
    constexpr int cAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    int descriptor = -1;
    const Cmn_Int32 error =
        Sys_Ask([&] { return descriptor = open(iPath.c_str(), iFlags | cAlways, iMode); });
    if (error == 0) ioDescriptor.Reset(descriptor);
    return error;
}

Cmn_Int32 Sys_RefuseUnlessRegular(int iDescriptor)
{
    struct stat status;
    if (fstat(iDescriptor, &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    return S_ISREG(status.st_mode) ? 0 : EOPNOTSUPP;
}

Cmn_Int32 Sys_Lock(int iDescriptor, int iKind, bool* oHasLocks)
{
    const Cmn_Int32 error = Sys_Ask([&] { return flock(iDescriptor, iKind | LOCK_NB); });
    const bool hasLocks = error != ENOLCK && error != ENOSYS && error != EOPNOTSUPP && error != EINVAL;
    if (oHasLocks != nullptr) *oHasLocks = hasLocks;
    return hasLocks ? error : 0;
}

bool Sys_IsAt(int iDescriptor, const std::string& iPath)
{
    struct stat ours;
    struct stat named;
    return fstat(iDescriptor, &ours) == 0 && lstat(iPath.c_str(), &named) == 0 &&
           ours.st_dev == named.st_dev && ours.st_ino == named.st_ino;
}
