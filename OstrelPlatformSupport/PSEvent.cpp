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
        if (left == 0) {
            mState.fetch_sub(cWaiter, std::memory_order_relaxed);
            // A signal that came at the last moment may have chosen this thread to wake: no other would look.
            return TakeSignal(mState, cSignal);
        }
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
