// RefreshListener: the service's side of a message pipe: where clients come in, and each one's messages.
//
// A service has a number of places. On Windows that is how many clients are served at once; on Linux, how
// many wait unserved beside those that are served. When all are taken, clients find the service busy.
//
// Failures: only the constructor throws, a std::runtime_error with one line of text.
// Threads:  Accept and Stop from any; a channel is one thread's. Channels go before their listener.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

using RefreshBytes = std::vector<std::uint8_t>;

// One client. It is told that the service left when the channel goes.
class RefreshChannel
{
public:
    virtual ~RefreshChannel() = default;
    // Waits for a message, however long. False when the client has left, or after Stop.
    virtual bool Read(RefreshBytes& oMessage) = 0;
    virtual bool Write(const RefreshBytes& iMessage) = 0;
    // Waits until the client has read all, or left. What it has not read is lost on
    // Windows when the channel goes.
    virtual void Drain() = 0;
};

class RefreshListener
{
public:
    // From here on clients find the service.
    RefreshListener(const std::string& iName, int iPlaces);
    ~RefreshListener();

    // Waits for a client; null after Stop.
    std::unique_ptr<RefreshChannel> Accept();
    // Ends all waits, those of channels too, for good.
    void Stop();

    struct Parts;

private:
    std::unique_ptr<Parts> mParts;
};
