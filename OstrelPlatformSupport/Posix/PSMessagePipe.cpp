#include "OstrelPlatformSupport/PSMessagePipe.h"

#include "OstrelPlatformSupport/PSDeadline_p.h"
#include "OstrelPlatformSupport/PSEnvironment_p.h"
#include "OstrelPlatformSupport/Posix/PSPrivateFolder_p.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <limits>
#include <memory>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace {

std::string Folder(PSMessagePipe::EFolder iFolder)
{
    std::string runtime = PSGetEnvironment("XDG_RUNTIME_DIR");
    if (!runtime.empty() && runtime.front() == '/') return runtime;
    std::string own = "/tmp/kora-" + std::to_string(geteuid());
    if (iFolder == PSMessagePipe::eFolder_Make) mkdir(own.c_str(), S_IRWXU);
    return PSIsPrivateFolder(own.c_str()) ? own : std::string();
}

// False when there is no such address; throws bad_alloc.
bool FillAddress(const char* iName, sockaddr_un& oAddress)
{
    const std::string path = PSMessagePipe::GetAddress(iName);
    if (path.empty()) return false;
    oAddress.sun_family = AF_UNIX;
    std::memcpy(oAddress.sun_path, path.c_str(), path.size() + 1);
    return true;
}

int ConnectSocket(int iSocket, const sockaddr_un& iAddress)
{
    return connect(iSocket, reinterpret_cast<const sockaddr*>(&iAddress), sizeof iAddress);
}

// How long a connect waits while the backlog is full. The system takes 0 for ever.
void SetConnectTimeout(int iSocket, std::int32_t iTimeoutMs)
{
    timeval limit{};
    if (iTimeoutMs > 0) {
        limit.tv_sec = iTimeoutMs / 1000;
        limit.tv_usec = static_cast<suseconds_t>(iTimeoutMs % 1000) * 1000;
    }
    setsockopt(iSocket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

// Calls until it succeeds, fails, or the time is up while it would block. Negative for the latter two.
template <class Call>
ssize_t WithinTime(int iSocket, short iEvents, std::int32_t iTimeoutMs, Call iCall)
{
    const PSDeadline deadline(iTimeoutMs);
    for (;;) {
        const ssize_t result = iCall();
        if (result >= 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) return result;
        const std::int32_t left = deadline.GetMillisecondsLeft();
        if (left == 0) return -1;
        pollfd wait{iSocket, iEvents, 0};
        poll(&wait, 1, left);
    }
}

void CloseHandle(std::intptr_t& ioHandle)
{
    if (ioHandle >= 0) close(static_cast<int>(ioHandle));
    ioHandle = -1;
}

} // namespace

PSPipeEvent::PSPipeEvent() noexcept = default;
void PSPipeEvent::Release(void*) noexcept {}

std::string PSMessagePipe::GetAddress(const std::string& iName, EFolder iFolder)
{
    if (iName.empty() || iName.find_first_of(std::string("/\\\0", 3)) != std::string::npos) return {};
    const std::string folder = Folder(iFolder);
    const std::string path = folder + '/' + iName;
    return !folder.empty() && path.size() < sizeof sockaddr_un::sun_path ? path : std::string();
}

PSMessagePipe::EOpen PSMessagePipe::Open(const char* iName) noexcept
try {
    if (IsOpen()) return eOpen_Opened;
    if (mPlace == cNoHandle) {
        sockaddr_un address{};
        if (!FillAddress(iName, address)) return eOpen_Failed;
        std::intptr_t handle = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (handle < 0) return eOpen_Failed;
        if (ConnectSocket(static_cast<int>(handle), address) != 0) {
            const bool backlogIsFull = errno == EAGAIN;
            CloseHandle(handle);
            return backlogIsFull ? eOpen_Busy : eOpen_Failed;
        }
        mPlace = handle;
    }
    mHandle = mPlace;
    mPlace = cNoHandle;
    return eOpen_Opened;
} catch (const std::exception&) {
    return eOpen_Failed;
}

void PSMessagePipe::WaitForPlace(const char* iName, std::int32_t iTimeoutMs) noexcept
try {
    sockaddr_un address{};
    if (IsOpen() || mPlace != cNoHandle || iTimeoutMs == 0 || !FillAddress(iName, address)) return;
    // Only a connect can wait for the backlog, so the place that it finds is kept.
    std::intptr_t handle = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (handle < 0) return;
    const PSDeadline deadline(iTimeoutMs);
    int result = -1;
    std::int32_t left = iTimeoutMs;
    do {
        SetConnectTimeout(static_cast<int>(handle), left);
        result = ConnectSocket(static_cast<int>(handle), address);
        left = deadline.GetMillisecondsLeft();
    } while (result != 0 && errno == EINTR && left != 0);
    if (result == 0)
        mPlace = handle;
    else
        CloseHandle(handle);
} catch (const std::exception&) {
    // As if the time were up: the caller tries again, or gives up.
}

// Packets have no other mode.
bool PSMessagePipe::SetMessageMode() noexcept { return IsOpen(); }

void PSMessagePipe::Close() noexcept
{
    CloseHandle(mHandle);
    CloseHandle(mPlace);
    mTaken = 0;
}

bool PSMessagePipe::Write(const PSPipeEvent&, const void* iBytes, std::uint32_t iSize,
                          std::int32_t iTimeoutMs) noexcept
{
    const int handle = static_cast<int>(mHandle);
    const ssize_t sent = WithinTime(handle, POLLOUT, iTimeoutMs,
                                    [&] { return send(handle, iBytes, iSize, MSG_DONTWAIT | MSG_NOSIGNAL); });
    return sent == static_cast<ssize_t>(iSize);
}

// A packet is gone with the first read that takes any of it. So it is looked at, past what was taken before,
// and only the read that sees its end takes it from the socket.
PSMessagePipe::ERead PSMessagePipe::Read(const PSPipeEvent&, void* oBytes, std::uint32_t iSize,
                                         std::int32_t iTimeoutMs, std::uint32_t* oCount) noexcept
{
    const std::unique_ptr<unsigned char[]> taken(mTaken > 0 ? new (std::nothrow) unsigned char[mTaken]
                                                            : nullptr);
    if (iSize == 0 || (mTaken > 0 && taken == nullptr)) return eRead_Failed;
    iovec parts[] = {{taken.get(), mTaken}, {oBytes, iSize}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    const int handle = static_cast<int>(mHandle);
    const ssize_t whole = WithinTime(handle, POLLIN, iTimeoutMs, [&] {
        return recvmsg(handle, &message, MSG_DONTWAIT | MSG_PEEK | MSG_TRUNC);
    });
    if (whole <= static_cast<ssize_t>(mTaken)) return eRead_Failed;
    if (whole > static_cast<ssize_t>(mTaken) + static_cast<ssize_t>(iSize)) {
        mTaken += iSize;
        if (oCount != nullptr) *oCount = iSize;
        return eRead_More;
    }
    if (oCount != nullptr) *oCount = static_cast<std::uint32_t>(whole) - mTaken;
    mTaken = 0;
    return recv(handle, nullptr, 0, MSG_DONTWAIT | MSG_TRUNC) == whole ? eRead_Whole : eRead_Failed;
}

std::uint32_t PSMessagePipe::GetRest() noexcept
{
    const ssize_t whole = recv(static_cast<int>(mHandle), nullptr, 0, MSG_DONTWAIT | MSG_PEEK | MSG_TRUNC);
    const ssize_t rest = whole - static_cast<ssize_t>(mTaken);
    return mTaken > 0 && rest > 0 && rest <= std::numeric_limits<std::uint32_t>::max()
               ? static_cast<std::uint32_t>(rest)
               : 0;
}
