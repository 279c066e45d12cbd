#include "Tool/Tool_MemoryFile.h"

#include <algorithm>
#include <cstdint>
#include <limits>

Tool_MemoryFile::Tool_MemoryFile(std::string iPath, std::string iBytes)
    : mPath(std::move(iPath))
    , mBytes(std::move(iBytes))
    , mHandle(std::numeric_limits<Handle>::min() +
              static_cast<Handle>(reinterpret_cast<std::uintptr_t>(this) >> 1))
    , mBefore(nullptr)
    , mOther(Sys_FileSystem::Get())
{
    mBefore = Sys_FileSystem::Set(this);
}

Tool_MemoryFile::~Tool_MemoryFile() { Sys_FileSystem::Set(mBefore); }

Cmn_Int32 Tool_MemoryFile::Open(const std::string& iPath, EAccess iAccess, Handle& oHandle)
{
    if (iPath != mPath) return mOther.Open(iPath, iAccess, oHandle);
    if (iAccess == eAccess_New) mBytes.clear();
    oHandle = mHandle;
    return 0;
}

Cmn_Int32 Tool_MemoryFile::Close(Handle iHandle) { return IsOurs(iHandle) ? 0 : mOther.Close(iHandle); }

Cmn_Int32 Tool_MemoryFile::ReadAt(Handle iHandle, Cmn_Int64 iPosition, void* oBytes, std::size_t iCount,
                                  std::size_t& oCount)
{
    if (!IsOurs(iHandle)) return mOther.ReadAt(iHandle, iPosition, oBytes, iCount, oCount);
    const std::size_t from = std::min(static_cast<std::size_t>(iPosition), mBytes.size());
    oCount = mBytes.copy(static_cast<char*>(oBytes), iCount, from);
    return 0;
}

Cmn_Int32 Tool_MemoryFile::WriteAt(Handle iHandle, Cmn_Int64 iPosition, const void* iBytes,
                                   std::size_t iCount, std::size_t& oCount)
{
    if (!IsOurs(iHandle)) return mOther.WriteAt(iHandle, iPosition, iBytes, iCount, oCount);
    const auto from = static_cast<std::size_t>(iPosition);
    if (from + iCount > mBytes.size()) mBytes.resize(from + iCount);
    std::copy_n(static_cast<const char*>(iBytes), iCount, mBytes.data() + from);
    oCount = iCount;
    return 0;
}

Cmn_Int32 Tool_MemoryFile::GetLength(Handle iHandle, Cmn_Int64& oLength)
{
    if (!IsOurs(iHandle)) return mOther.GetLength(iHandle, oLength);
    oLength = static_cast<Cmn_Int64>(mBytes.size());
    return 0;
}

Cmn_Int32 Tool_MemoryFile::SetLength(Handle iHandle, Cmn_Int64 iLength)
{
    if (!IsOurs(iHandle)) return mOther.SetLength(iHandle, iLength);
    mBytes.resize(static_cast<std::size_t>(iLength));
    return 0;
}

Cmn_Int32 Tool_MemoryFile::Sync(Handle iHandle) { return IsOurs(iHandle) ? 0 : mOther.Sync(iHandle); }

Cmn_Int32 Tool_MemoryFile::OpenBeside(const std::string& iTarget, std::string& oPath, Handle& oHandle)
{
    return mOther.OpenBeside(iTarget, oPath, oHandle);
}

Cmn_Int32 Tool_MemoryFile::TakePlace(Handle iHandle, const std::string& iFrom, const std::string& iTo,
                                     Cmn_UInt32& oNotKept)
{
    return mOther.TakePlace(iHandle, iFrom, iTo, oNotKept);
}

Cmn_Int32 Tool_MemoryFile::SyncFolder(const std::string& iFolder) { return mOther.SyncFolder(iFolder); }

Cmn_Int32 Tool_MemoryFile::Remove(const std::string& iPath) { return mOther.Remove(iPath); }

Cmn_Int32 Tool_MemoryFile::Resolve(const std::string& iPath, std::string& oPath)
{
    return mOther.Resolve(iPath, oPath);
}
