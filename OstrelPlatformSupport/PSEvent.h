// PSEvent: lets a thread sleep until another has something for it.
//
// A signal stays until one wait takes it; signals that come before it is taken are one signal. So a
// waiter looks for all there is to do each time it wakes. What a thread did before Signal is seen by
// the one whose Wait took it.
//
// Threads:   any number may signal and wait.
// Real time: Signal is one atomic operation, and a call to the system only when somebody sleeps.
//            The waiter may destroy the event as soon as its wait has returned, even while that
//            Signal has not returned yet.
#pragma once

#include "OstrelPlatformSupport/IPSSyncPrim.h"

#include <atomic>

class KORA_API PSEvent final : public IPSSyncPrim
{
public:
    // Not signalled. The name is for debuggers and logs.
    explicit PSEvent(std::string iName);
    ~PSEvent() override;

    // True once a signal was taken; false when the time was up before. 0 only tries, -1 waits without bound.
    [[nodiscard]] bool Wait(std::int32_t iTimeoutMs) { return Enter(iTimeoutMs); }
    // Wakes one that waits, or lets the next wait pass at once. Several signals before a wait are one.
    void Signal() { Leave(); }

    [[nodiscard]] bool Enter(std::int32_t iTimeoutMs) override;
    bool Leave() override;

private:
    // Bit 0: there is a signal. The bits above it: how many threads are registered as waiters.
    std::atomic<std::uint32_t> mState{0};
};
