// PSThread: where the critical sections and events of the process are made.
//
//   std::unique_ptr<IPSSyncPrim> lock = gPSThread.CreateCriticalSection("TempoMapReadLock");
//   if (lock->Enter(IPSSyncPrim::cTryOnly)) { …; lock->Leave(); }
//
// Threads:   any, at any time: gPSThread has no state, so statics may use it while the
//            library is being loaded.
// Ownership: the caller owns what is made.
#pragma once

#include "OstrelPlatformSupport/IPSSyncPrim.h"
#include "OstrelPlatformSupport/PSEvent.h"

#include <memory>
#include <string>

class PSThread
{
public:
    // A recursive critical section: the thread that is inside may enter again, and is outside once it has
    // left as often. Entering publishes to the thread what the one before it did inside. It belongs to the
    // thread that entered it, so it may be entered in one call and left in another, on the same thread; Leave
    // on a thread that is not inside is false and changes nothing.
    [[nodiscard]] KORA_API std::unique_ptr<IPSSyncPrim> CreateCriticalSection(std::string iName) const;

    // An event that falls back by itself when a wait has taken its signal.
    [[nodiscard]] KORA_API std::unique_ptr<PSEvent> CreateAutoResetEvent(std::string iName) const;
};

inline constexpr PSThread gPSThread{};
