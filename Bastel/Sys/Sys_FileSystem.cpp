#include "Bastel/Sys/Sys_FileSystem.h"

#include <atomic>

constexpr Sys_FileSystem::Handle Sys_FileSystem::cNoHandle;

namespace {

// Null is the platform's. Release and acquire: the other one may be made just before it is put in force.
constinit std::atomic<Sys_FileSystem*> sInForce{nullptr};

} // namespace

Sys_FileSystem::~Sys_FileSystem() = default;

Sys_FileSystem& Sys_FileSystem::Get()
{
    Sys_FileSystem* const system = sInForce.load(std::memory_order_acquire);
    return system != nullptr ? *system : GetPlatform();
}

Sys_FileSystem* Sys_FileSystem::Set(Sys_FileSystem* iSystem) noexcept
{
    return sInForce.exchange(iSystem, std::memory_order_acq_rel);
}
