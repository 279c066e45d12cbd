#include "refresh-service/RefreshListener.h"

#include "OstrelPlatformSupport/PSMessagePipe.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// A descriptor that is closed with its object.
struct StDescriptor
{
    explicit StDescriptor(int iDescriptor)
        : mDescriptor(iDescriptor)
    {
    }
    ~StDescriptor()
    {
        if (mDescriptor >= 0) close(mDescriptor);
    }
    StDescriptor(const StDescriptor&) = delete;
    StDescriptor& operator=(const StDescriptor&) = delete;
    const int mDescriptor;
};

// True once something can be done with the descriptor, false once the service stops.
bool WaitFor(int iDescriptor, short iEvents, int iStop)
{
    pollfd both[] = {{iDescriptor, iEvents, 0}, {iStop, POLLIN, 0}};
    while (poll(both, 2, -1) < 0 && errno == EINTR) {
    }
    return both[1].revents == 0;
}

class SocketChannel final : public RefreshChannel
{
public:
    SocketChannel(int iSocket, int iStop)
        : mSocket(iSocket)
        , mStop(iStop)
    {
    }

    bool Read(RefreshBytes& oMessage) override
    {
        while (WaitFor(mSocket.mDescriptor, POLLIN, mStop)) {
            const ssize_t size = recv(mSocket.mDescriptor, nullptr, 0, MSG_PEEK | MSG_TRUNC | MSG_DONTWAIT);
            if (size < 0 && (errno == EINTR || errno == EAGAIN)) continue;
            if (size <= 0) return false;
            oMessage.resize(static_cast<std::size_t>(size));
            return recv(mSocket.mDescriptor, oMessage.data(), oMessage.size(), MSG_DONTWAIT) == size;
        }
        return false;
    }

    bool Write(const RefreshBytes& iMessage) override
    {
        while (WaitFor(mSocket.mDescriptor, POLLOUT, mStop)) {
            const ssize_t sent =
                send(mSocket.mDescriptor, iMessage.data(), iMessage.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            if (sent >= 0 || (errno != EINTR && errno != EAGAIN)) return sent >= 0;
        }
        return false;
    }

    void Drain() override {} // what was sent stays

private:
    StDescriptor mSocket;
    const int mStop;
};

[[noreturn]] void Fail(const std::string& iWhat)
{
    throw std::runtime_error(iWhat + ": " + std::strerror(errno));
}

// A socket that listens at the address. What a service that crashed left there is replaced.
void Bind(int iSocket, const std::string& iAddress)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, iAddress.c_str(), iAddress.size() + 1);
    const auto* const plain = reinterpret_cast<const sockaddr*>(&address);
    if (bind(iSocket, plain, sizeof address) == 0) return;
    if (errno != EADDRINUSE) Fail(iAddress);
    const StDescriptor probe(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (connect(probe.mDescriptor, plain, sizeof address) == 0 || errno != ECONNREFUSED) {
        errno = EADDRINUSE;
        Fail(iAddress);
    }
    unlink(iAddress.c_str());
    if (bind(iSocket, plain, sizeof address) != 0) Fail(iAddress);
}

int MakeStop(int (&oEnds)[2])
{
    if (pipe2(oEnds, O_CLOEXEC) != 0) Fail("no pipe");
    return oEnds[0];
}

} // namespace

struct RefreshListener::Parts
{
    int mEnds[2] = {-1, -1};
    StDescriptor mStop{MakeStop(mEnds)}; // has a byte to read once the service stops
    StDescriptor mStopper{mEnds[1]};
    StDescriptor mSocket{socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    std::string mAddress;
};

RefreshListener::RefreshListener(const std::string& iName, int iPlaces)
    : mParts(std::make_unique<Parts>())
{
    const std::string address = PSMessagePipe::GetAddress(iName, PSMessagePipe::eFolder_Make);
    if (address.empty()) throw std::runtime_error("no pipe can have this name here: " + iName);
    Bind(mParts->mSocket.mDescriptor, address);
    mParts->mAddress = address;
    // One more than the number given may wait.
    if (listen(mParts->mSocket.mDescriptor, iPlaces - 1) != 0) Fail(address);
}

RefreshListener::~RefreshListener()
{
    if (!mParts->mAddress.empty()) unlink(mParts->mAddress.c_str());
}

std::unique_ptr<RefreshChannel> RefreshListener::Accept()
{
    while (WaitFor(mParts->mSocket.mDescriptor, POLLIN, mParts->mStop.mDescriptor)) {
        const int client = accept4(mParts->mSocket.mDescriptor, nullptr, nullptr, SOCK_CLOEXEC);
        if (client >= 0) return std::make_unique<SocketChannel>(client, mParts->mStop.mDescriptor);
    }
    return nullptr;
}

void RefreshListener::Stop()
{
    while (write(mParts->mStopper.mDescriptor, "", 1) < 0 && errno == EINTR) {
    }
}
