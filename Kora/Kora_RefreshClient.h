// Kora_RefreshClient: asks the audio driver's refresh service, and brings its answer back.
//
//     const Cmn_UInt64 words[4] = {1, 0, 0, 0};
//     Cmn_UInt8 answer[256];
//     Cmn_UInt32 length = 0;
//     if (Kora_RefreshClient::Request32(words, answer, sizeof answer, length)) …   // length bytes came
//
// The service is part of the driver's installation and listens on a local pipe (PSMessagePipe says
// where). A client proves with a fixed identifier that it speaks with the right service, and then asks;
// what the words of a request and the bytes of an answer mean is the service's matter. The bytes on the
// pipe are in docs/architecture.md.
//
// Units:     sizes and lengths in bytes, time limits in milliseconds (-1: none).
// Failures:  every one is false, without a reason; nothing is asserted, written or thrown. An answer that
//            needs more memory than there is is one of them: the buffer grows by what the pipe holds,
//            never by what a reply claims.
// Threads:   Request and Request32 from any; an object is one thread's at a time. Of more callers than the
//            service has places, on Windows one may lose each of its four attempts to others.
// Real time: no. A request waits for the service, up to the limits.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"
#include "Export/Kora_API.h"
#include "OstrelPlatformSupport/PSMessagePipe.h"

#include <cstddef>
#include <memory>

// Where the service is, and how long to wait for it.
struct Kora_RefreshLimits
{
    // Copied by nobody: it must stay while it is used.
    const char* mPipeName = "KelvaneMMERefreshPipe";
    Cmn_Int32 mTransferMs = 10000; // for each write and each read
    Cmn_Int32 mBusyMs = 500;       // for a place, after each of four attempts
};

// Bytes of a request or a reply: zero where nobody wrote. It owns them; one that was moved from is empty. The
// bytes of an empty buffer are null, or not to be looked at.
class KORA_API Kora_RefreshBuffer
{
public:
    Kora_RefreshBuffer() = default;
    // Empty when there is no memory.
    explicit Kora_RefreshBuffer(Cmn_UInt32 iSize) noexcept { static_cast<void>(Resize(iSize)); }
    Kora_RefreshBuffer(Kora_RefreshBuffer&& ioOther) noexcept;
    Kora_RefreshBuffer& operator=(Kora_RefreshBuffer&& ioOther) noexcept;

    // Releases the old bytes and has new ones, all zero. False, and empty, when there is no memory.
    [[nodiscard]] bool Resize(Cmn_UInt32 iSize) noexcept;
    // Keeps the bytes, and has iMore zero ones behind them. False, and as it was, when there is no memory or
    // the size would pass 32 bits.
    [[nodiscard]] bool Grow(Cmn_UInt32 iMore) noexcept;

    Cmn_UInt8* GetBytes() { return mBytes.get(); }
    const Cmn_UInt8* GetBytes() const { return mBytes.get(); }
    Cmn_UInt32 GetSize() const { return mSize; }

private:
    std::unique_ptr<Cmn_UInt8[]> mBytes;
    Cmn_UInt32 mSize = 0;
};

// A connection. Each request has one of its own; most callers need no more than the static functions.
class KORA_API Kora_RefreshClient
{
public:
    // Sends a request of any kind. True when the service answered with status 0 and at most iCapacity bytes:
    // they are in oDestination then, and their number in oLength. Otherwise oLength is 0 and the destination
    // as it was. A destination of null has no capacity.
    [[nodiscard]] static bool Request(const Kora_RefreshBuffer& iRequest, void* oDestination,
                                      Cmn_UInt32 iCapacity, Cmn_UInt32& oLength,
                                      const Kora_RefreshLimits& iLimits = {}) noexcept;
    // The same with a request of 32 bytes, the four words as they lie in memory.
    [[nodiscard]] static bool Request32(const Cmn_UInt64 (&iWords)[4], void* oDestination,
                                        Cmn_UInt32 iCapacity, Cmn_UInt32& oLength,
                                        const Kora_RefreshLimits& iLimits = {}) noexcept;

    // Not connected yet. The limits hold for each of its connections.
    explicit Kora_RefreshClient(const Kora_RefreshLimits& iLimits = {}) noexcept
        : mLimits(iLimits)
    {
    }

    // Opens the pipe and shakes hands; true at once when that is done already. A service whose places are all
    // taken is tried four times. After a failure nothing stays open.
    [[nodiscard]] bool Connect() noexcept;
    bool IsConnected() const { return mConnected != 0; }
    // How often the last Connect found all places taken: 0 to 4.
    Cmn_Int32 GetBusyAttempts() const { return mBusyAttempts; }
    // Ends the connection; Connect makes a new one. Nothing where there is none.
    void Close() noexcept;

    // Writes a request and reads its reply, header included. True when the reply is as long as its header
    // says: an answer of L bytes has L + 11 or more. After a failure the reply holds anything, and the
    // connection is good for Close only.
    [[nodiscard]] bool Transact(const Kora_RefreshBuffer& iRequest, Kora_RefreshBuffer& oReply) noexcept;

private:
    [[nodiscard]] bool OpenPipe() noexcept;
    [[nodiscard]] bool ShakeHands() noexcept;

    Kora_RefreshLimits mLimits;
    PSMessagePipe mPipe;
    Cmn_UInt8 mConnected = 0;
    Cmn_Int32 mBusyAttempts = 0;
};
