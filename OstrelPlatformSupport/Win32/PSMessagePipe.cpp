#include "OstrelPlatformSupport/PSMessagePipe.h"

#include "OstrelPlatformSupport/Win32/PSWide_p.h"

#include <exception>
#include <windows.h>

namespace {

HANDLE Handle(std::intptr_t iHandle) { return reinterpret_cast<HANDLE>(iHandle); }

std::wstring WideAddress(const char* iName) { return PSWideFromUtf8(PSMessagePipe::GetAddress(iName)); }

// Ends a transfer that was started: oError is 0 when it is done, and oCount the bytes that it moved. Whatever
// happens, the system is through with the OVERLAPPED and the buffer when this returns.
void Finish(HANDLE iPipe, OVERLAPPED& ioTransfer, std::int32_t iTimeoutMs, DWORD& oError, DWORD& oCount)
{
    if (oError == ERROR_IO_PENDING) {
        const DWORD waited = WaitForSingleObject(ioTransfer.hEvent, static_cast<DWORD>(iTimeoutMs));
        if (waited != WAIT_OBJECT_0) {
            CancelIoEx(iPipe, &ioTransfer);
            // A cancelled transfer may write into the buffer until it has ended.
            GetOverlappedResult(iPipe, &ioTransfer, &oCount, TRUE);
            oError = WAIT_TIMEOUT;
            return;
        }
    } else if (oError != ERROR_SUCCESS && oError != ERROR_MORE_DATA) {
        return;
    }
    oError = GetOverlappedResult(iPipe, &ioTransfer, &oCount, FALSE) ? ERROR_SUCCESS : GetLastError();
}

} // namespace

PSPipeEvent::PSPipeEvent() noexcept
    : mHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr))
    , mIsGood(mHandle != nullptr)
{
}

void PSPipeEvent::Release(void* iHandle) noexcept
{
    if (iHandle != nullptr) CloseHandle(iHandle);
}

std::string PSMessagePipe::GetAddress(const std::string& iName, EFolder)
{
    constexpr std::size_t longest = 247; // 256 with the prefix
    if (iName.empty() || iName.size() > longest) return {};
    if (iName.find_first_of(std::string("/\\\0", 3)) != std::string::npos) return {};
    return "\\\\.\\pipe\\" + iName;
}

PSMessagePipe::EOpen PSMessagePipe::Open(const char* iName) noexcept
try {
    if (IsOpen()) return eOpen_Opened;
    const std::wstring address = WideAddress(iName);
    if (address.empty()) return eOpen_Failed;
    // Whoever holds the pipe's name may ask who the caller is, and not act in the caller's name.
    constexpr DWORD flags = FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
    const HANDLE handle =
        CreateFileW(address.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, flags, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_PIPE_BUSY ? eOpen_Busy : eOpen_Failed;
    mHandle = reinterpret_cast<std::intptr_t>(handle);
    return eOpen_Opened;
} catch (const std::exception&) {
    return eOpen_Failed;
}

void PSMessagePipe::WaitForPlace(const char* iName, std::int32_t iTimeoutMs) noexcept
try {
    // The system takes 0 for the service's own limit.
    if (iTimeoutMs != 0) WaitNamedPipeW(WideAddress(iName).c_str(), static_cast<DWORD>(iTimeoutMs));
} catch (const std::exception&) {
    // As if the time were up: the caller tries again, or gives up.
}

bool PSMessagePipe::SetMessageMode() noexcept
{
    DWORD mode = PIPE_READMODE_MESSAGE;
    return IsOpen() && SetNamedPipeHandleState(Handle(mHandle), &mode, nullptr, nullptr);
}

void PSMessagePipe::Close() noexcept
{
    if (IsOpen()) CloseHandle(Handle(mHandle));
    mHandle = cNoHandle;
}

bool PSMessagePipe::Write(const PSPipeEvent& iEvent, const void* iBytes, std::uint32_t iSize,
                          std::int32_t iTimeoutMs) noexcept
{
    OVERLAPPED transfer{};
    transfer.hEvent = iEvent.GetHandle();
    ResetEvent(transfer.hEvent);
    DWORD count = 0;
    DWORD error = WriteFile(Handle(mHandle), iBytes, iSize, nullptr, &transfer) ? 0 : GetLastError();
    Finish(Handle(mHandle), transfer, iTimeoutMs, error, count);
    return error == ERROR_SUCCESS && count == iSize;
}

PSMessagePipe::ERead PSMessagePipe::Read(const PSPipeEvent& iEvent, void* oBytes, std::uint32_t iSize,
                                         std::int32_t iTimeoutMs, std::uint32_t* oCount) noexcept
{
    if (iSize == 0) return eRead_Failed;
    OVERLAPPED transfer{};
    transfer.hEvent = iEvent.GetHandle();
    ResetEvent(transfer.hEvent);
    DWORD count = 0;
    DWORD error = ReadFile(Handle(mHandle), oBytes, iSize, nullptr, &transfer) ? 0 : GetLastError();
    Finish(Handle(mHandle), transfer, iTimeoutMs, error, count);
    if (oCount != nullptr) *oCount = count;
    if (error == ERROR_MORE_DATA && count == iSize) return eRead_More;
    return error == ERROR_SUCCESS && count > 0 ? eRead_Whole : eRead_Failed;
}

std::uint32_t PSMessagePipe::GetRest() noexcept
{
    DWORD rest = 0;
    return PeekNamedPipe(Handle(mHandle), nullptr, 0, nullptr, nullptr, &rest) ? rest : 0;
}
