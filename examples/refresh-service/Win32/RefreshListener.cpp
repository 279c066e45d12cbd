#include "refresh-service/RefreshListener.h"

#include "OstrelPlatformSupport/PSMessagePipe.h"

#include <mutex>
#include <stdexcept>
#include <windows.h>

namespace {

// A handle that is closed with its object.
struct StHandle
{
    explicit StHandle(HANDLE iHandle)
        : mHandle(iHandle)
    {
    }
    ~StHandle() { CloseHandle(mHandle); }
    StHandle(const StHandle&) = delete;
    StHandle& operator=(const StHandle&) = delete;
    const HANDLE mHandle;
};

std::wstring Wide(const std::string& iUtf8)
{
    std::wstring wide(iUtf8.size(), L'\0');
    const int size = static_cast<int>(iUtf8.size());
    wide.resize(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, iUtf8.data(), size, wide.data(), size)));
    return wide;
}

// One overlapped call at a time, which the service's stop ends.
class Transfer
{
public:
    explicit Transfer(HANDLE iStop)
        : mStop(iStop)
    {
    }
    OVERLAPPED* Begin()
    {
        mOverlapped = {};
        mOverlapped.hEvent = mEvent.mHandle;
        ResetEvent(mEvent.mHandle);
        return &mOverlapped;
    }
    // The call's error, 0 for none, once it is over. iError is what the call itself gave.
    DWORD End(HANDLE iPipe, DWORD iError, DWORD& oCount)
    {
        if (iError == ERROR_IO_PENDING) {
            const HANDLE both[] = {mEvent.mHandle, mStop};
            if (WaitForMultipleObjects(2, both, FALSE, INFINITE) != WAIT_OBJECT_0)
                CancelIoEx(iPipe, &mOverlapped);
        } else if (iError != ERROR_SUCCESS && iError != ERROR_MORE_DATA) {
            return iError;
        }
        return GetOverlappedResult(iPipe, &mOverlapped, &oCount, TRUE) ? ERROR_SUCCESS : GetLastError();
    }

private:
    const HANDLE mStop;
    StHandle mEvent{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    OVERLAPPED mOverlapped{};
};

DWORD ErrorOf(BOOL iResult) { return iResult ? ERROR_SUCCESS : GetLastError(); }

} // namespace

struct RefreshListener::Parts
{
    StHandle mStop{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    std::mutex mMutex;
    std::vector<HANDLE> mFree; // places that nobody waits at or is served at; one mutex for all
    void Return(HANDLE iPlace)
    {
        const std::lock_guard lock(mMutex);
        mFree.push_back(iPlace);
    }
};

namespace {

class PipeChannel final : public RefreshChannel
{
public:
    PipeChannel(HANDLE iPipe, RefreshListener::Parts& ioParts)
        : mPipe(iPipe)
        , mParts(ioParts)
        , mTransfer(ioParts.mStop.mHandle)
    {
    }
    // The place is closed to clients until Accept opens it again, but the pipe's name stays.
    ~PipeChannel() override
    {
        DisconnectNamedPipe(mPipe);
        mParts.Return(mPipe);
    }

    bool Read(RefreshBytes& oMessage) override
    {
        DWORD size = 0;
        DWORD error = ERROR_MORE_DATA;
        oMessage.clear();
        while (error == ERROR_MORE_DATA) {
            constexpr DWORD step = 4096;
            const std::size_t before = oMessage.size();
            oMessage.resize(before + step);
            size = 0;
            OVERLAPPED* const overlapped = mTransfer.Begin();
            error = ErrorOf(ReadFile(mPipe, oMessage.data() + before, step, nullptr, overlapped));
            error = mTransfer.End(mPipe, error, size);
            oMessage.resize(before + size);
        }
        return error == ERROR_SUCCESS;
    }

    bool Write(const RefreshBytes& iMessage) override
    {
        DWORD size = 0;
        OVERLAPPED* const overlapped = mTransfer.Begin();
        const DWORD bytes = static_cast<DWORD>(iMessage.size());
        const DWORD error = ErrorOf(WriteFile(mPipe, iMessage.data(), bytes, nullptr, overlapped));
        return mTransfer.End(mPipe, error, size) == ERROR_SUCCESS && size == bytes;
    }

    void Drain() override { FlushFileBuffers(mPipe); }

private:
    const HANDLE mPipe;
    RefreshListener::Parts& mParts;
    Transfer mTransfer;
};

} // namespace

RefreshListener::RefreshListener(const std::string& iName, int iPlaces)
    : mParts(std::make_unique<Parts>())
{
    const std::wstring address = Wide(PSMessagePipe::GetAddress(iName));
    if (address.empty()) throw std::runtime_error("no pipe can have this name here: " + iName);
    for (int i = 0; i < iPlaces; ++i) {
        const DWORD first = i == 0 ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0;
        constexpr DWORD buffer = 65536;
        const HANDLE place = CreateNamedPipeW(
            address.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | first,
            PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
            static_cast<DWORD>(iPlaces), buffer, buffer, 0, nullptr);
        if (place == INVALID_HANDLE_VALUE) {
            const std::string error = std::to_string(GetLastError());
            for (const HANDLE made : mParts->mFree)
                CloseHandle(made);
            throw std::runtime_error("the pipe " + iName + " cannot be served: error " + error);
        }
        mParts->Return(place);
    }
}

RefreshListener::~RefreshListener()
{
    for (const HANDLE place : mParts->mFree)
        CloseHandle(place);
}

std::unique_ptr<RefreshChannel> RefreshListener::Accept()
{
    HANDLE place = nullptr;
    {
        const std::lock_guard lock(mParts->mMutex);
        if (mParts->mFree.empty()) return nullptr; // more threads than places
        place = mParts->mFree.back();
        mParts->mFree.pop_back();
    }
    Transfer transfer(mParts->mStop.mHandle);
    for (;;) {
        OVERLAPPED* const overlapped = transfer.Begin();
        DWORD count = 0;
        DWORD error = ErrorOf(ConnectNamedPipe(place, overlapped));
        if (error != ERROR_PIPE_CONNECTED) error = transfer.End(place, error, count);
        if (error == ERROR_SUCCESS || error == ERROR_PIPE_CONNECTED)
            return std::make_unique<PipeChannel>(place, *mParts);
        DisconnectNamedPipe(place); // of a client that came and left, or for a stop
        if (WaitForSingleObject(mParts->mStop.mHandle, 0) == WAIT_OBJECT_0) break;
    }
    mParts->Return(place);
    return nullptr;
}

void RefreshListener::Stop() { SetEvent(mParts->mStop.mHandle); }
