// PSMessagePipe: one client's end of a local pipe that carries whole messages both ways.
//
//     PSMessagePipe pipe;
//     if (pipe.Open("SomeService") == PSMessagePipe::eOpen_Opened && pipe.SetMessageMode()) …
//
// On Windows it is the named pipe \\.\pipe\NAME; on Linux a sequenced-packet Unix socket NAME in the
// user's runtime folder, $XDG_RUNTIME_DIR, or without one in /tmp/kora-<uid>, which must be a folder
// of the user that nobody else may enter. A message there is as long as the system's send buffer at
// most, about 200,000 bytes.
//
// Units:     time-outs in milliseconds, -1 waits without bound. A time-out is for one call.
// Failures:  are answers; only GetAddress throws, when memory is short. A lost peer raises no signal.
// Ownership: the object owns its handle. When a call returns, the system uses the caller's bytes no more,
//            whatever the call's outcome.
// Threads:   one at a time for an object; objects know nothing of each other.
#pragma once

#include "Export/Kora_API.h"

#include <cstdint>
#include <string>

// What a transfer waits on, made once for several transfers of one thread. Sockets need
// none, and there it is empty.
class KORA_API PSPipeEvent
{
public:
    // IsGood says whether it worked.
    PSPipeEvent() noexcept;
    ~PSPipeEvent() { Release(mHandle); }
    PSPipeEvent(const PSPipeEvent&) = delete;
    PSPipeEvent& operator=(const PSPipeEvent&) = delete;

    // False when the system has none left.
    bool IsGood() const noexcept { return mIsGood; }
    void* GetHandle() const noexcept { return mHandle; }

private:
    static void Release(void* iHandle) noexcept;

    void* mHandle = nullptr;
    bool mIsGood = true;
};

class KORA_API PSMessagePipe
{
public:
    // How Open went.
    enum [[nodiscard]] EOpen{
        eOpen_Opened,
        eOpen_Busy,  // there is a service, and all its places are taken
        eOpen_Failed // no service, or none that this user may speak to
    };
    // How Read went.
    enum [[nodiscard]] ERead{
        eRead_Whole, // the bytes are the message, or the last of it
        eRead_More,  // the buffer is full and the message goes on: see GetRest
        eRead_Failed // time's up, the peer is gone, or it sent a message without a byte
    };

    PSMessagePipe() noexcept = default;
    ~PSMessagePipe() { Close(); }
    PSMessagePipe(const PSMessagePipe&) = delete;
    PSMessagePipe& operator=(const PSMessagePipe&) = delete;

    // A service makes the folder that its users' pipes lie in.
    enum EFolder { eFolder_MustExist, eFolder_Make };
    // Where a service of this name listens; empty for a name with a slash or backslash in it, for
    // one that is too long, and when there is no folder to trust.
    [[nodiscard]] static std::string GetAddress(const std::string& iName,
                                                EFolder iFolder = eFolder_MustExist);

    // For reading and writing, of a service that is there already. An object that is open stays as it is.
    EOpen Open(const char* iName) noexcept;
    // After eOpen_Busy, until a place is free or the time is up: an Open then may still find it taken by
    // another. On Linux waiting takes the place, and the next Open of this object has it.
    void WaitForPlace(const char* iName, std::int32_t iTimeoutMs) noexcept;
    // Reads end where messages end. Needed once after Open.
    [[nodiscard]] bool SetMessageMode() noexcept;
    bool IsOpen() const noexcept { return mHandle != cNoHandle; }
    // Ends the connection, and gives up a place that WaitForPlace took.
    void Close() noexcept;

    // One message. True when all of it was written in time.
    [[nodiscard]] bool Write(const PSPipeEvent& iEvent, const void* iBytes, std::uint32_t iSize,
                             std::int32_t iTimeoutMs) noexcept;
    // Reads a message, or what eRead_More left of it. A size of 0 fails.
    // oCount, where it is given: how many bytes that were, unless it failed.
    ERead Read(const PSPipeEvent& iEvent, void* oBytes, std::uint32_t iSize, std::int32_t iTimeoutMs,
               std::uint32_t* oCount = nullptr) noexcept;
    // Bytes of the message that eRead_More left; 0 when that cannot be told.
    std::uint32_t GetRest() noexcept;

private:
    static constexpr std::intptr_t cNoHandle = -1;
    std::intptr_t mHandle = cNoHandle;
    std::intptr_t mPlace = cNoHandle; // a connection that WaitForPlace made
    std::uint32_t mTaken = 0;         // bytes of the present message that were read already
};
