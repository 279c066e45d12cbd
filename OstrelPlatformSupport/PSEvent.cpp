#include "OstrelPlatformSupport/PSEvent.h"

#include "OstrelPlatformSupport/PSAddressWait_p.h"
#include "OstrelPlatformSupport/PSDeadline_p.h"

#include <utility>

namespace {

constexpr std::uint32_t cSignal = 1;
constexpr std::uint32_t cWaiter = 2;

// Removes iWhat from the state if it has a signal. Acquires what the signalling thread released.
bool TakeSignal(std::atomic<std::uint32_t>& ioState, std::uint32_t iWhat)
{
    std::uint32_t state = ioState.load(std::memory_order_relaxed);
    while ((state & cSignal) != 0)
        if (ioState.compare_exchange_weak(state, state - iWhat, std::memory_order_acquire,
                                          std::memory_order_relaxed))
            return true;
    return false;
}

// Removes a waiter whose time is up, and the signal with it when one came at the last moment.
bool Unregister(std::atomic<std::uint32_t>& ioState)
{
    std::uint32_t state = ioState.load(std::memory_order_relaxed);
    while (!ioState.compare_exchange_weak(state, state - cWaiter - (state & cSignal),
                                          std::memory_order_acquire, std::memory_order_relaxed))
    {
    }
    return (state & cSignal) != 0;
}

} // namespace

PSEvent::PSEvent(std::string iName)
    : IPSSyncPrim(std::move(iName))
{
}

PSEvent::~PSEvent() = default;

bool PSEvent::Enter(std::int32_t iTimeoutMs)
{
    if (TakeSignal(mState, cSignal)) return true;
    if (iTimeoutMs == cTryOnly) return false;

    const PSDeadline deadline(iTimeoutMs);
    mState.fetch_add(cWaiter, std::memory_order_relaxed);
    while (!TakeSignal(mState, cSignal + cWaiter)) {
        const std::int32_t left = deadline.GetMillisecondsLeft();
        if (left == 0) return Unregister(mState);
        const std::uint32_t state = mState.load(std::memory_order_relaxed);
        if ((state & cSignal) == 0) PSSleepWhileEqual(mState, state, left);
    }
    return true;
}

bool PSEvent::Leave()
{
    // From here on a waiter may have gone and taken the event with it: only its address is used below.
    const std::uint32_t before = mState.fetch_or(cSignal, std::memory_order_release);
    // A signal that stood already has woken its sleeper.
    if (before >= cWaiter && (before & cSignal) == 0) PSWakeOne(&mState);
    return true;
}
