// PSIsPrivateFolder: whether a path is a folder of this user that nobody else may enter. In a shared
// place like /tmp anybody could have made it first, or a link in its place, and would then be whoever the
// user's programs talk to.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

inline bool PSIsPrivateFolder(const char* iPath)
{
    struct stat found;
    return lstat(iPath, &found) == 0 && S_ISDIR(found.st_mode) && found.st_uid == geteuid() &&
           (found.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}
