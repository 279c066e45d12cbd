#include "Bastel/Sys/Sys_MemoryFile.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace {

// Grows or cuts off; what is new is 0.
Cmn_Int32 Resize(std::string& ioBytes, Cmn_UInt64 iSize)
{
    if (iSize > ioBytes.max_size()) return Sys_FileSystem::eError_NoMemory;
    try {
        ioBytes.resize(static_cast<std::size_t>(iSize));
        return 0;
    } catch (const std::bad_alloc&) {
        return Sys_FileSystem::eError_NoMemory;
    }
}

} // namespace

// Handles of a system are small, or -1.
Sys_MemoryFile::Sys_MemoryFile(std::string iBytes)
    : mBytes(std::move(iBytes))
    , mHandle((std::numeric_limits<Handle>::min)() +
              static_cast<Handle>(reinterpret_cast<std::uintptr_t>(this) >> 1))
{
}

Sys_MemoryFile::~Sys_MemoryFile() = default;

Cmn_Int32 Sys_MemoryFile::Open(const std::string&, EAccess iAccess, Handle& oHandle)
{
    if (iAccess == eAccess_New) mBytes.clear();
    oHandle = mHandle;
    return 0;
}

Cmn_Int32 Sys_MemoryFile::Close(Handle) { return 0; }

Cmn_Int32 Sys_MemoryFile::ReadAt(Handle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                                 std::size_t& oCount)
{
    const auto from = (std::min)(static_cast<Cmn_UInt64>(iPosition), Cmn_UInt64{mBytes.size()});
    oCount = mBytes.copy(static_cast<char*>(oBytes), iCount, static_cast<std::size_t>(from));
    return 0;
}

Cmn_Int32 Sys_MemoryFile::WriteAt(Handle, Cmn_Int64 iPosition, const void* iBytes, std::size_t iCount,
                                  std::size_t& oCount)
{
    oCount = 0;
    const Cmn_UInt64 end = static_cast<Cmn_UInt64>(iPosition) + iCount;
    if (end > mBytes.size()) {
        const Cmn_Int32 error = Resize(mBytes, end);
        if (error != 0) return error;
    }
    std::copy_n(static_cast<const char*>(iBytes), iCount, mBytes.data() + iPosition);
    oCount = iCount;
    return 0;
}

Cmn_Int32 Sys_MemoryFile::GetLength(Handle, Cmn_Int64& oLength)
{
    oLength = static_cast<Cmn_Int64>(mBytes.size());
    return 0;
}

Cmn_Int32 Sys_MemoryFile::SetLength(Handle, Cmn_Int64 iLength)
{
    return Resize(mBytes, static_cast<Cmn_UInt64>(iLength));
}

Cmn_Int32 Sys_MemoryFile::Sync(Handle) { return 0; }

Cmn_Int32 Sys_MemoryFile::OpenBeside(const std::string&, std::string&, Handle&) { return eError_NoOthers; }

Cmn_Int32 Sys_MemoryFile::TakePlace(Handle, const std::string&, const std::string&, Cmn_UInt32&)
{
    return eError_NoOthers;
}

Cmn_Int32 Sys_MemoryFile::SyncFolder(const std::string&) { return 0; }

Cmn_Int32 Sys_MemoryFile::Remove(const std::string&) { return eError_NoOthers; }

Cmn_Int32 Sys_MemoryFile::Resolve(const std::string& iPath, std::string& oPath)
{
    oPath = iPath;
    return 0;
}
