#include "Bastel/Sys/Sys_FileSystem.h"

#include "Bastel/Sys/Sys_FileLoc.h"

#include <atomic>
#include <cstdio>
#include <random>

namespace {

// Null is the platform's. Release and acquire: the other one may be made just before it is put in force.
constinit std::atomic<Sys_FileSystem*> sInForce{nullptr};

std::string Hex(Cmn_UInt64 iValue)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(iValue));
    return text;
}

// FNV-1a. Names that meet in one value cost nothing: what one's saver finds of the
// other's is dead, or locked.
Cmn_UInt64 HashOf(const std::string& iText)
{
    Cmn_UInt64 hash = 0xCBF29CE484222325;
    for (const char c : iText)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return hash;
}

} // namespace

Sys_FileSystem::~Sys_FileSystem() = default;

Sys_FileSystem& Sys_FileSystem::Get()
{
    Sys_FileSystem* const system = sInForce.load(std::memory_order_acquire);
    return system != nullptr ? *system : GetPlatform();
}

Cmn_Int32 Sys_FileSystem::Replace(const std::string& iFrom, const std::string& iTo)
{
    Handle handle = cNoHandle;
    const Cmn_Int32 opened = Open(iFrom, eAccess_Move, handle);
    if (opened != 0) return opened;
    Cmn_UInt32 notKept = 0;
    const Cmn_Int32 error = TakePlace(handle, iFrom, iTo, notKept);
    Close(handle);
    return error;
}

std::string Sys_FileSystem::PrefixBeside(const std::string& iTarget)
{
    return ".kora-save-" + Hex(HashOf(Sys_FileLoc(iTarget).GetName())) + "-";
}

std::string Sys_FileSystem::NameBeside(const std::string& iTarget)
{
    std::random_device random;
    const Cmn_UInt64 high = random();
    return PrefixBeside(iTarget) + Hex(high << 32 | random());
}

Sys_FileSystem* Sys_FileSystem::Set(Sys_FileSystem* iSystem) noexcept
{
    return sInForce.exchange(iSystem, std::memory_order_acq_rel);
}
