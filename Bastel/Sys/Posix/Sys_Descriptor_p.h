// Sys_StDescriptor and what the requests on files share: asking again after a signal,
// locks, and who has a name.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <cerrno>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

// An open descriptor for a scope.
class Sys_StDescriptor
{
public:
    explicit Sys_StDescriptor(int iDescriptor = -1)
        : mDescriptor(iDescriptor)
    {
    }
    ~Sys_StDescriptor() { Reset(); }
    Sys_StDescriptor(const Sys_StDescriptor&) = delete;
    Sys_StDescriptor& operator=(const Sys_StDescriptor&) = delete;

    int Get() const { return mDescriptor; }
    bool IsOpen() const { return mDescriptor >= 0; }
    int Release() { return std::exchange(mDescriptor, -1); }
    void Reset(int iDescriptor = -1)
    {
        if (IsOpen()) close(mDescriptor);
        mDescriptor = iDescriptor;
    }

private:
    int mDescriptor;
};

// Makes a request again as long as a signal interrupts it; 0 or the error.
template <class Request>
Cmn_Int32 Sys_Ask(Request iRequest)
{
    while (iRequest() == -1) {
        if (errno != EINTR) return errno;
    }
    return 0;
}

// open() into ioDescriptor; 0 or the error.
Cmn_Int32 Sys_OpenDescriptor(const std::string& iPath, int iFlags, mode_t iMode,
                             Sys_StDescriptor& ioDescriptor);
// 0 for a regular file.
Cmn_Int32 Sys_RefuseUnlessRegular(int iDescriptor);
// LOCK_EX or LOCK_SH, without waiting. EWOULDBLOCK where another has it; success where there are no locks.
Cmn_Int32 Sys_Lock(int iDescriptor, int iKind, bool* oHasLocks = nullptr);
// Whether the path itself, no link, names the open file.
bool Sys_IsAt(int iDescriptor, const std::string& iPath);
