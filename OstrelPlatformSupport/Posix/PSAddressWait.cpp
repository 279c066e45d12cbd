#include "OstrelPlatformSupport/PSAddressWait_p.h"

#include <ctime>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <type_traits>
#include <unistd.h>

static_assert(sizeof(std::atomic<std::uint32_t>) == 4, "the system reads the word as it stands in memory");
static_assert(std::is_integral_v<pthread_t>, "a thread's handle serves as its number");

void PSSleepWhileEqual(const std::atomic<std::uint32_t>& iWord, std::uint32_t iValue, std::int32_t iTimeoutMs)
{
    timespec timeout{};
    timeout.tv_sec = iTimeoutMs / 1000;
    timeout.tv_nsec = iTimeoutMs % 1000 * 1000000L;
    // A relative time-out, which the system measures on its monotonic clock. The result is of no interest:
    // woken, timed out, interrupted and changed meanwhile all send the caller back to the word.
    syscall(SYS_futex, &iWord, FUTEX_WAIT_PRIVATE, iValue, iTimeoutMs < 0 ? nullptr : &timeout, nullptr, 0);
}

void PSWakeOne(const std::atomic<std::uint32_t>* iWord)
{
    syscall(SYS_futex, iWord, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

std::uintptr_t PSGetCurrentThreadID() { return static_cast<std::uintptr_t>(pthread_self()); }
