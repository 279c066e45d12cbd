// IPSSyncPrim: something that threads wait for, known by a name: a critical section or an event.
//
//                     Enter                              Leave
//   critical section  takes it, waiting while others     gives it back
//                     are inside
//   event             takes the signal, waiting until    signals
//                     there is one
//
// So whoever is handed an IPSSyncPrim to wake (a task's client event) signals it by leaving it.
//
// Units:     time-outs in milliseconds, measured on the monotonic clock; a wait never
//            ends early, but for success.
// Threads:   every operation may run on any thread.
// Real time: Enter(cTryOnly) never waits and never calls the system; Leave calls it only to wake a sleeper.
// Ownership: made by gPSThread (PSThread.h). Nobody may wait for it when it is destroyed.
#pragma once

#include "Export/Kora_API.h"

#include <cstdint>
#include <string>

class KORA_API IPSSyncPrim
{
public:
    static constexpr std::int32_t cWaitForever = -1; // as every negative time-out
    static constexpr std::int32_t cTryOnly = 0;      // takes it at once or not at all

    class StEnter;

    virtual ~IPSSyncPrim();
    IPSSyncPrim(const IPSSyncPrim&) = delete;
    IPSSyncPrim& operator=(const IPSSyncPrim&) = delete;

    // True once it was entered; false when the time was up before.
    [[nodiscard]] virtual bool Enter(std::int32_t iTimeoutMs) = 0;
    // False, and nothing changes, when the calling thread has nothing to leave; an event
    // can always be signalled.
    virtual bool Leave() = 0;

    // For debuggers and logs; names need not be unique.
    const std::string& GetName() const { return mName; }

protected:
    explicit IPSSyncPrim(std::string iName);

private:
    const std::string mName;
};

// Holds a critical section for a scope, waiting for it as long as it takes.
class [[nodiscard]] IPSSyncPrim::StEnter
{
public:
    // Waits without bound.
    explicit StEnter(IPSSyncPrim& iSection)
        : mSection(iSection)
    {
        static_cast<void>(mSection.Enter(cWaitForever));
    }
    ~StEnter() { mSection.Leave(); }
    StEnter(const StEnter&) = delete;
    StEnter& operator=(const StEnter&) = delete;

private:
    IPSSyncPrim& mSection;
};
