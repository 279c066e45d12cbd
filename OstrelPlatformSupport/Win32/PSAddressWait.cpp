#include "OstrelPlatformSupport/PSAddressWait_p.h"

#include <windows.h>

static_assert(sizeof(std::atomic<std::uint32_t>) == 4, "the system reads the word as it stands in memory");

namespace {

// The system only reads the word, though it asks for a pointer to a changeable one.
volatile void* AddressOf(const std::atomic<std::uint32_t>* iWord)
{
    return const_cast<std::atomic<std::uint32_t>*>(iWord);
}

} // namespace

void PSSleepWhileEqual(const std::atomic<std::uint32_t>& iWord, std::uint32_t iValue, std::int32_t iTimeoutMs)
{
    const DWORD timeout = iTimeoutMs < 0 ? INFINITE : static_cast<DWORD>(iTimeoutMs);
    // The result is of no interest: woken, timed out and changed meanwhile all send the
    // caller back to the word.
    WaitOnAddress(AddressOf(&iWord), &iValue, sizeof(iValue), timeout);
}

void PSWakeOne(const std::atomic<std::uint32_t>* iWord)
{
    WakeByAddressSingle(const_cast<void*>(AddressOf(iWord)));
}

std::uintptr_t PSGetCurrentThreadID() { return GetCurrentThreadId(); }
