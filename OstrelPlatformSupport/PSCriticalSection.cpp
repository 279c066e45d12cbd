#include "OstrelPlatformSupport/PSCriticalSection_p.h"

#include "OstrelPlatformSupport/PSAddressWait_p.h"
#include "OstrelPlatformSupport/PSDeadline_p.h"

#include <utility>

PSCriticalSection::PSCriticalSection(std::string iName)
    : IPSSyncPrim(std::move(iName))
{
}

PSCriticalSection::~PSCriticalSection() = default;

bool PSCriticalSection::Enter(std::int32_t iTimeoutMs)
{
    const std::uintptr_t self = PSGetCurrentThreadID();
    if (mOwner.load(std::memory_order_relaxed) == self) {
        ++mDepth;
        return true;
    }
    std::uint32_t state = eFree;
    if (!mState.compare_exchange_strong(state, eHeld, std::memory_order_acquire, std::memory_order_relaxed) &&
        (iTimeoutMs == cTryOnly || !SleepUntilTaken(iTimeoutMs)))
        return false;
    mOwner.store(self, std::memory_order_relaxed);
    mDepth = 1;
    return true;
}

bool PSCriticalSection::SleepUntilTaken(std::int32_t iTimeoutMs)
{
    const PSDeadline deadline(iTimeoutMs);
    while (mState.exchange(eContended, std::memory_order_acquire) != eFree) {
        const std::int32_t left = deadline.GetMillisecondsLeft();
        if (left == 0) return false;
        PSSleepWhileEqual(mState, eContended, left);
    }
    return true;
}

bool PSCriticalSection::Leave()
{
    if (mOwner.load(std::memory_order_relaxed) != PSGetCurrentThreadID()) return false;
    if (--mDepth != 0) return true;
    mOwner.store(0, std::memory_order_relaxed);
    // From here on the next thread may enter, leave and destroy the section: only its address is used below.
    if (mState.exchange(eFree, std::memory_order_release) == eContended) PSWakeOne(&mState);
    return true;
}
