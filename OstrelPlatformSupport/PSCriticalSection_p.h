// PSCriticalSection: the recursive critical section that gPSThread makes; its operations are described there.
//
//              Enter, free            Enter, taken             last Leave
//   eFree      ───────────▶ eHeld
//   eHeld                             ───────▶ eContended      ───────▶ eFree
//   eContended                        sleeps                   ───────▶ eFree, wakes one sleeper
//
// A woken sleeper takes it as eContended, since others may sleep still; the worst that costs is one wake-up
// too many. A thread that comes by meanwhile may overtake a woken one.
#pragma once

#include "OstrelPlatformSupport/IPSSyncPrim.h"

#include <atomic>
#include <cstdint>

class PSCriticalSection final : public IPSSyncPrim
{
public:
    explicit PSCriticalSection(std::string iName);
    ~PSCriticalSection() override;

    bool Enter(std::int32_t iTimeoutMs) override;
    bool Leave() override;

private:
    enum : std::uint32_t { eFree, eHeld, eContended };

    bool SleepUntilTaken(std::int32_t iTimeoutMs);

    // Written by every thread that comes and goes; its acquire and release publish all the rest.
    std::atomic<std::uint32_t> mState{eFree};
    // The thread inside, or 0: written by that thread only. Others read it just to see that it is not theirs.
    std::atomic<std::uintptr_t> mOwner{0};
    // How often the thread inside has entered: touched by that thread only.
    std::uint32_t mDepth = 0;
};
