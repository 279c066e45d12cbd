// RefreshService: a small refresh service: shakes hands with each client and answers its
// request, or plays a fault.
//
//     RefreshService service("KelvaneMMERefreshPipe", {});   // serves until it is destroyed
//
// Its requests are the 32 bytes of Kora_RefreshClient::Request32. The first word says what is asked:
//
//     0                  the request itself comes back
//     1, size, seed      a sample: size bytes of a pattern (RefreshSample)
//
// Anything else is answered with status 1 and nothing.
//
// Threads: one for each place. Each serves a client until it leaves, then takes the next.
#pragma once

#include "refresh-service/RefreshListener.h"

#include <atomic>
#include <string_view>
#include <thread>

class PSMessagePipe;

enum RefreshEFault {
    eRefreshFault_None,
    eRefreshFault_Busy,
    eRefreshFault_SilentAtHandshake,
    eRefreshFault_SilentAtRequest,
    eRefreshFault_LeaveAtHandshake,
    eRefreshFault_LeaveAtRequest,
    eRefreshFault_LeaveBetween,
    eRefreshFault_WrongIdentifier,
    eRefreshFault_LongIdentifier,
    eRefreshFault_HandshakeStatus,
    eRefreshFault_RequestStatus,
    eRefreshFault_Cut,
    eRefreshFault_TwoMessages,
    eRefreshFault_TenMore,
    eRefreshFault_ElevenMore,
    eRefreshFault_StatusOnly,
    eRefreshFault_Claim,
    eRefreshFault_Count
};

struct RefreshFault
{
    RefreshEFault mFault;
    const char* mName; // as the command line has it
    const char* mWhat;
};
// In the order of the enumeration.
extern const RefreshFault cRefreshFaults[eRefreshFault_Count];

struct RefreshPlay
{
    RefreshEFault mFault = eRefreshFault_None;
    std::uint32_t mClaim = 0xFFFFFFFF; // the length that eRefreshFault_Claim gives a reply without a payload
    int mPlaces = 4;
};

// Byte i of a sample is bits 24 to 31 of (i + seed) × 2654435761.
RefreshBytes RefreshSample(std::uint64_t iSize, std::uint64_t iSeed);

class RefreshService
{
public:
    // Throws a std::runtime_error when the pipe cannot be served.
    RefreshService(const std::string& iName, const RefreshPlay& iPlay);
    ~RefreshService();

    // Clients that have been served and have left.
    int GetServed() const { return mServed; }
    // Ends eRefreshFault_Busy: the places are free, and clients are served.
    void StopBeingBusy();

private:
    void StartThreads();
    void ServeClients();
    void Serve(RefreshChannel& ioChannel) const;
    bool AnswerHandshake(RefreshChannel& ioChannel, const RefreshBytes& iRequest) const;
    bool AnswerRequest(RefreshChannel& ioChannel, const RefreshBytes& iRequest) const;

    const RefreshPlay mPlay;
    RefreshListener mListener;
    std::vector<std::unique_ptr<PSMessagePipe>> mOccupants; // what keeps the places while the service is busy
    std::atomic<int> mServed{0};
    std::vector<std::thread> mThreads;
};
