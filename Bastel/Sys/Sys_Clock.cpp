#include "Bastel/Sys/Sys_Clock.h"

#include <atomic>
#include <chrono>

namespace {

template <class Clock>
Cmn_Int64 Now()
{
    return std::chrono::floor<std::chrono::microseconds>(Clock::now().time_since_epoch()).count();
}

constexpr Sys_Clock::Source cSystem = {&Now<std::chrono::system_clock>, &Now<std::chrono::steady_clock>};

// Release and acquire: a source may be filled in just before it is put in place.
constinit std::atomic<const Sys_Clock::Source*> sSource{&cSystem};

} // namespace

Cmn_Int64 Sys_Clock::GetMicroseconds() { return sSource.load(std::memory_order_acquire)->mTimeOfDay(); }

Cmn_Int64 Sys_Clock::GetMonotonicMicroseconds()
{
    return sSource.load(std::memory_order_acquire)->mCounter();
}

const Sys_Clock::Source* Sys_Clock::SetSource(const Source* iSource) noexcept
{
    return sSource.exchange(iSource != nullptr ? iSource : &cSystem, std::memory_order_acq_rel);
}
